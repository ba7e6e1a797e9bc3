#pragma once

#include "qapropertypathitem.h"

/// A PathItem setting that lives in the store of its group.
class SDK_EXPORT QAPropertyMapPathItem : public QAPropertyPathItem
{
public:
    explicit QAPropertyMapPathItem(const QString& key);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;
};
