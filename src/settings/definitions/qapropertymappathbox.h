#pragma once

#include "qapropertypathbox.h"

/// A PathBox setting that lives in the store of its group.
class SDK_EXPORT QAPropertyMapPathBox : public QAPropertyPathBox
{
public:
    explicit QAPropertyMapPathBox(const QString& key);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;
};
