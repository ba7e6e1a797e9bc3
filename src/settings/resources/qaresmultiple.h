#pragma once

#include "qares.h"

/// A node that owns a chain of children.
class SDK_EXPORT QAResMultiple : public QARes
{
public:
    ~QAResMultiple() override;
    /// Makes \a child the first child and counts the chain; a former chain
    /// is not deleted.
    virtual void setChild(QARes* child);

    QARes* child() const { return _child; }
    int count() const { return _count; }
    /// Counts the chain of children again.
    void processCount();

protected:
    QAResMultiple(Type type, const char* tag, QARes* child);

    qint32 _count = 0;
    QARes* _child = nullptr;
};
