#pragma once

#include "qares.h"

/// A resource node that holds one value of type \a T.
template <typename T>
class QAResSingle : public QARes
{
public:
    virtual void setValue(T value) { _value = value; }
    T value() const { return _value; }

protected:
    QAResSingle(Type type, const char* tag, T value) : QARes(type, tag), _value(value) {}

    T _value;
};
