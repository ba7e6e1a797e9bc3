#pragma once

#include "qaproperty.h"

#include <QMap>
#include <QStringList>

/// A text setting chosen by label from a fixed list.
class SDK_EXPORT QAPropertyComboString : public QAProperty
{
public:
    explicit QAPropertyComboString(const QString& key);

    QString displayValue() override;
    int type() override;
    QWidget* createEditor(QWidget* parent) override;

    /// Adds \a label for \a value behind the others; a known label takes the
    /// new value and keeps its place.
    virtual void insertItem(const QString& label, const QString& value);
    virtual QMap<QString, QString> content() const;
    /// The labels in the order of their definition.
    virtual QStringList originalList() const;

private:
    QMap<QString, QString> _content;
    QStringList _originalList;
};
