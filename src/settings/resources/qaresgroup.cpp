#include "qaresgroup.h"

#include <ostream>
#include <string>

QAResGroup::QAResGroup(const char* tag, QARes* child) : QAResMultiple(Group, tag, child) {}

void QAResGroup::write(std::ostream& stream, const char* indent) const
{
    QARes::write(stream, indent);
    const std::string outer = indent ? indent : "";
    const std::string inner = outer + "  ";
    stream << "{\n";
    for (const QARes* node = _child; node; node = node->next())
        node->write(stream, inner.c_str());
    stream << outer << "}\n";
}
