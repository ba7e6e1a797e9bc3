#include "qaresidentifier.h"

#include <cstring>
#include <ostream>

template class QAResSingle<char*>;

QAResIdentifier::QAResIdentifier(const char* tag, const char* value)
    : QAResSingle(Identifier, tag, nullptr)
{
    if (value && *value) {
        const size_t size = std::strlen(value) + 1;
        _value = new char[size];
        std::memcpy(_value, value, size);
    }
}

QAResIdentifier::~QAResIdentifier()
{
    delete[] _value;
}

void QAResIdentifier::setValue(char* value)
{
    char* copy = nullptr;
    if (value && *value) {
        const size_t size = std::strlen(value) + 1;
        copy = new char[size];
        std::memcpy(copy, value, size);
    }
    delete[] _value;
    _value = copy;
}

void QAResIdentifier::write(std::ostream& stream, const char* indent) const
{
    QARes::write(stream, indent);
    if (_value)
        stream << _value;
    if (tag())
        stream << ";\n";
}
