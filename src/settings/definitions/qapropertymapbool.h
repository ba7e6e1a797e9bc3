#pragma once

#include "qapropertybool.h"

/// A Bool setting that lives in the store of its group.
class SDK_EXPORT QAPropertyMapBool : public QAPropertyBool
{
public:
    explicit QAPropertyMapBool(const QString& key);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;
};
