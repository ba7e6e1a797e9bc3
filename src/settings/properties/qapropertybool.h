#pragma once

#include "qaproperty.h"

/// A boolean setting, edited in a check box.
class SDK_EXPORT QAPropertyBool : public QAProperty
{
public:
    explicit QAPropertyBool(const QString& key);

    QString displayValue() override;
    int type() override;
    QWidget* createEditor(QWidget* parent) override;

    /// The word shown for \a value.
    virtual QString text(bool value) const;
};
