#pragma once

#include "qaresmultiple.h"

/// Named children in braces.
class SDK_EXPORT QAResGroup : public QAResMultiple
{
public:
    explicit QAResGroup(const char* tag = nullptr, QARes* child = nullptr);
    void write(std::ostream& stream, const char* indent) const override;
};
