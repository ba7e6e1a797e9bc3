#pragma once

#include "qaressingle.h"

struct RGBValue
{
    qint32 red = 0;
    qint32 green = 0;
    qint32 blue = 0;
};

extern template class SDK_EXPORT QAResSingle<RGBValue>;

class SDK_EXPORT QAResRGB : public QAResSingle<RGBValue>
{
public:
    explicit QAResRGB(const char* tag = nullptr, int red = 0, int green = 0, int blue = 0);
    void write(std::ostream& stream, const char* indent) const override;

    /// Stores the three channels as they are, without a range check.
    void setRGB(int red, int green, int blue);
};
