#pragma once

#include "qapropertylineedit.h"

/// A LineEdit setting that lives in the store of its group. What is written
/// is kept on one line: line ends and runs of blanks become one blank, and
/// the ends are trimmed.
class SDK_EXPORT QAPropertyMapLineEdit : public QAPropertyLineEdit
{
public:
    explicit QAPropertyMapLineEdit(const QString& key);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;
};
