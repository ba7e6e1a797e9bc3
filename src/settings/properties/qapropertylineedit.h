#pragma once

#include "qaproperty.h"

/// A one-line text setting.
class SDK_EXPORT QAPropertyLineEdit : public QAProperty
{
public:
    explicit QAPropertyLineEdit(const QString& key);

    QString displayValue() override;
    int type() override;
    QWidget* createEditor(QWidget* parent) override;
};
