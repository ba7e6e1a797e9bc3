#include "qareschar.h"

#include <cstdio>
#include <ostream>

template class QAResSingle<QChar>;

QAResChar::QAResChar(const char* tag, QChar value) : QAResSingle(Character, tag, value) {}

void QAResChar::write(std::ostream& stream, const char* indent) const
{
    QARes::write(stream, indent);
    const unsigned code = _value.unicode();
    if (code >= 32 && code <= 127) {
        stream << '\'' << char(code) << '\'';
    } else {
        // The reader takes two or four digits, nothing between.
        char text[16];
        std::snprintf(text, sizeof text, code < 0x10 ? "'&#%02X;'" : "'&#%04X;'", code);
        stream << text;
    }
    if (tag())
        stream << ";\n";
}
