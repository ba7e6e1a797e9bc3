#pragma once

#include "qaproperty.h"

/// A list of texts, edited in a list with buttons.
class SDK_EXPORT QAPropertyListBox : public QAProperty
{
public:
    explicit QAPropertyListBox(const QString& key);

    QString displayValue() override;
    int type() override;
    QWidget* createEditor(QWidget* parent) override;
};
