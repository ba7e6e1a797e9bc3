#pragma once

#include "qaproperty.h"

#include <QList>
#include <QPixmap>

#include <functional>

/// A node of a description tree. It owns its children, in insertion order,
/// and has no value of its own: it answers overridden as soon as one child
/// does, so that a subgroup answers for everything below it.
class SDK_EXPORT QAPropertyGroup : public QAProperty
{
public:
    explicit QAPropertyGroup(const QString& key);
    ~QAPropertyGroup() override;

    bool isGroup() const override;
    QString displayValue() override;
    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;
    int type() override;
    QWidget* createEditor(QWidget* parent) override;

    /// Takes \a child over, behind the others; a child of another group
    /// leaves that group first.
    virtual void addChild(QAProperty* child);
    /// Gives \a child up without deleting it.
    virtual void removeChild(QAProperty* child);

    int count() const;
    int nbGroup() const;
    /// The direct child with \a key, or null; subgroups are not searched.
    QAProperty* property(const QString& key) const;
    const QList<QAProperty*>& children() const { return _children; }

    /// The image shown for the group when it is \a opened, or closed.
    QPixmap icon(bool opened) const;

    /// Whoever owns the values behind this tree hears through \a handler of
    /// each value stored through a property below, unless a nearer group has
    /// a handler of its own. The store-bound kinds do not tell; those that
    /// hold an attribute of project data do.
    using ModifiedHandler = std::function<void(QAProperty*)>;
    void setModifiedHandler(const ModifiedHandler& handler) { _modifiedHandler = handler; }

private:
    friend class QAProperty;

    QList<QAProperty*> _children;
    ModifiedHandler _modifiedHandler;
};
