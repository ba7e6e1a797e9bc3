#pragma once

#include "qaressingle.h"

extern template class SDK_EXPORT QAResSingle<float>;

class SDK_EXPORT QAResFloat : public QAResSingle<float>
{
public:
    explicit QAResFloat(const char* tag = nullptr, float value = 0);
    void write(std::ostream& stream, const char* indent) const override;
};
