#pragma once

#include "qaproperty.h"
#include "qastattribute.h"

#include <QPointer>

class QAStData;

/// The absolute path of a file reference, shown beside its key: the key with
/// its project macros expanded, made absolute from the node's directory. It
/// follows the key and cannot be edited.
class SDK_EXPORT QAStPropertyFullPath : public QAProperty
{
public:
    QAStPropertyFullPath(const QString& key, QAStData* node, QAStAttribute<QString>* attribute);

    QString displayValue() override;
    bool isOverriden() const override { return false; }
    bool isResetable() const override { return false; }
    void reset() override {}
    void setValue(const QVariant&) override {}
    QVariant value() override { return displayValue(); }
    int type() override { return StringType; }
    QWidget* createEditor(QWidget* parent) override;

private:
    // The properties dialog may outlive the node.
    QPointer<QAStData> _node;
    QAStAttribute<QString>* _attribute;
};
