#pragma once

#include "qaproperty.h"

#include <QMap>
#include <QStringList>

/// An integer setting chosen by label from a fixed list.
class SDK_EXPORT QAPropertyComboInt : public QAProperty
{
public:
    explicit QAPropertyComboInt(const QString& key);

    QString displayValue() override;
    int type() override;
    QWidget* createEditor(QWidget* parent) override;

    /// Adds \a label for \a value behind the others; a known label takes the
    /// new value and keeps its place.
    void insertItem(const QString& label, qint32 value);
    virtual QMap<QString, qint32> content() const;
    /// The labels in the order of their definition.
    virtual QStringList originalList() const;

private:
    QMap<QString, qint32> _content;
    QStringList _originalList;
};
