#pragma once

#include "qapropertycomboint.h"

/// A ComboInt setting that lives in the store of its group.
class SDK_EXPORT QAPropertyMapComboInt : public QAPropertyComboInt
{
public:
    explicit QAPropertyMapComboInt(const QString& key);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;
};
