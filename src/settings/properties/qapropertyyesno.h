#pragma once

#include "qapropertybool.h"

/// A boolean setting that reads as "Yes" or "No".
class SDK_EXPORT QAPropertyYesNo : public QAPropertyBool
{
public:
    explicit QAPropertyYesNo(const QString& key);

    QString text(bool value) const override;
};
