#include "qaresint.h"

#include <ostream>

template class QAResSingle<int>;

QAResInt::QAResInt(const char* tag, int value) : QAResSingle(Integer, tag, value) {}

void QAResInt::write(std::ostream& stream, const char* indent) const
{
    QARes::write(stream, indent);
    stream << _value;
    if (tag())
        stream << ";\n";
}
