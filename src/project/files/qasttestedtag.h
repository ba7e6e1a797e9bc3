#pragma once

#include "qastatag.h"

/// A tag that a test can be generated from: the base of files, classes,
/// packages, functions and structures. It adds nothing but its element.
class SDK_EXPORT QAStTestedTag : public QAStATag
{
    Q_OBJECT
public:
    using QAStATag::QAStATag;
    void write(QTextStream& stream, int indent) override;
};
