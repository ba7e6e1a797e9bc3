#include "qaresmultiple.h"

QAResMultiple::QAResMultiple(Type type, const char* tag, QARes* child) : QARes(type, tag), _child(child)
{
    processCount();
}

QAResMultiple::~QAResMultiple()
{
    delete _child;
}

void QAResMultiple::setChild(QARes* child)
{
    _child = child;
    processCount();
}

void QAResMultiple::processCount()
{
    _count = 0;
    for (const QARes* node = _child; node; node = node->next())
        ++_count;
}
