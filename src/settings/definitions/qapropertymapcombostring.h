#pragma once

#include "qapropertycombostring.h"

/// A ComboString setting that lives in the store of its group.
class SDK_EXPORT QAPropertyMapComboString : public QAPropertyComboString
{
public:
    explicit QAPropertyMapComboString(const QString& key);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;
};
