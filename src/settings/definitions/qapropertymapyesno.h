#pragma once

#include "qapropertyyesno.h"

/// A YesNo setting that lives in the store of its group.
class SDK_EXPORT QAPropertyMapYesNo : public QAPropertyYesNo
{
public:
    explicit QAPropertyMapYesNo(const QString& key);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;
};
