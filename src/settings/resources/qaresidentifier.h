#pragma once

#include "qaressingle.h"

extern template class SDK_EXPORT QAResSingle<char*>;

/// A bare word as a value; the node owns a copy of the text.
class SDK_EXPORT QAResIdentifier : public QAResSingle<char*>
{
public:
    explicit QAResIdentifier(const char* tag = nullptr, const char* value = nullptr);
    ~QAResIdentifier() override;
    void write(std::ostream& stream, const char* indent) const override;
    /// Stores a copy of \a value, or null for a null or empty text.
    void setValue(char* value) override;
};
