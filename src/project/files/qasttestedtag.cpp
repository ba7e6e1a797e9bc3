#include "qasttestedtag.h"

void QAStTestedTag::write(QTextStream& stream, int indent)
{
    writeWrapped<QAStATag>(stream, indent, "tested_tag");
}
