#include "qaresrgb.h"

#include <ostream>

template class QAResSingle<RGBValue>;

QAResRGB::QAResRGB(const char* tag, int red, int green, int blue)
    : QAResSingle(Colour, tag, RGBValue{red, green, blue})
{
}

void QAResRGB::setRGB(int red, int green, int blue)
{
    setValue(RGBValue{red, green, blue});
}

void QAResRGB::write(std::ostream& stream, const char* indent) const
{
    QARes::write(stream, indent);
    stream << "rgb( " << _value.red << ", " << _value.green << ", " << _value.blue << " )";
    if (tag())
        stream << ";\n";
}
