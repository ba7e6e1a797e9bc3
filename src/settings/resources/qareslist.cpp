#include "qareslist.h"

#include <ostream>

QAResList::QAResList(const char* tag, QARes* child) : QAResMultiple(List, tag, child) {}

void QAResList::write(std::ostream& stream, const char* indent) const
{
    QARes::write(stream, indent);
    stream << "( ";
    for (const QARes* node = _child; node; node = node->next()) {
        if (node != _child)
            stream << ", ";
        node->write(stream, indent);
    }
    stream << ")";
    if (tag())
        stream << ";\n";
}

QARes* QAResList::at(int index) const
{
    if (index < 0)
        return nullptr;
    QARes* node = _child;
    while (node && index-- > 0)
        node = node->next();
    return node;
}

bool QAResList::isListOf(Type type) const
{
    for (const QARes* node = _child; node; node = node->next())
        if (node->type() != type)
            return false;
    return true;
}

bool QAResList::isNtupleOf(int count, Type type) const
{
    return _count == count && isListOf(type);
}
