#pragma once

#include "qaressingle.h"

#include <QChar>

extern template class SDK_EXPORT QAResSingle<QChar>;

class SDK_EXPORT QAResChar : public QAResSingle<QChar>
{
public:
    explicit QAResChar(const char* tag = nullptr, QChar value = QChar());
    void write(std::ostream& stream, const char* indent) const override;
};
