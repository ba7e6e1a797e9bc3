#include "qaresboolean.h"

#include <ostream>

template class QAResSingle<bool>;

QAResBoolean::QAResBoolean(const char* tag, bool value) : QAResSingle(Boolean, tag, value) {}

void QAResBoolean::write(std::ostream& stream, const char* indent) const
{
    QARes::write(stream, indent);
    stream << booleanString();
    if (tag())
        stream << ";\n";
}
