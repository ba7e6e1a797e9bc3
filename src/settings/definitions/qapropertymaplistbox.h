#pragma once

#include "qapropertylistbox.h"

/// A ListBox setting that lives in the store of its group.
class SDK_EXPORT QAPropertyMapListBox : public QAPropertyListBox
{
public:
    explicit QAPropertyMapListBox(const QString& key);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;
};
