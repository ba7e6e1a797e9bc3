#pragma once

#include "qaresmultiple.h"

/// Unnamed values in brackets.
class SDK_EXPORT QAResList : public QAResMultiple
{
public:
    explicit QAResList(const char* tag = nullptr, QARes* child = nullptr);
    void write(std::ostream& stream, const char* indent) const override;

    /// The element at \a index, or null outside the list.
    QARes* at(int index) const;
    QARes* operator[](int index) const { return at(index); }
    /// Every element is of \a type; true for an empty list.
    bool isListOf(Type type) const;
    bool isNtupleOf(int count, Type type) const;
};
