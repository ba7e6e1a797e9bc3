#pragma once

#include "qaressingle.h"

extern template class SDK_EXPORT QAResSingle<int>;

class SDK_EXPORT QAResInt : public QAResSingle<int>
{
public:
    explicit QAResInt(const char* tag = nullptr, int value = 0);
    void write(std::ostream& stream, const char* indent) const override;
};
