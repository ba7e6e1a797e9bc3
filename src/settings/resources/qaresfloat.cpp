#include "qaresfloat.h"

#include <ostream>

template class QAResSingle<float>;

QAResFloat::QAResFloat(const char* tag, float value) : QAResSingle(Float, tag, value) {}

void QAResFloat::write(std::ostream& stream, const char* indent) const
{
    QARes::write(stream, indent);
    stream << double(_value);
    if (tag())
        stream << ";\n";
}
