#pragma once

#include "qapropertyint.h"

/// A Int setting that lives in the store of its group.
class SDK_EXPORT QAPropertyMapInt : public QAPropertyInt
{
public:
    explicit QAPropertyMapInt(const QString& key);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;
};
