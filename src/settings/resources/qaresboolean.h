#pragma once

#include "qaressingle.h"

extern template class SDK_EXPORT QAResSingle<bool>;

class SDK_EXPORT QAResBoolean : public QAResSingle<bool>
{
public:
    explicit QAResBoolean(const char* tag = nullptr, bool value = false);
    void write(std::ostream& stream, const char* indent) const override;

    const char* booleanString() const { return _value ? "true" : "false"; }
};
