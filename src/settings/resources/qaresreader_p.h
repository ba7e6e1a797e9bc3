#pragma once

#include <cstdio>

class QARes;

/// The state shared by QARes::read, the scanner and the parser. It is
/// process-wide, as the reader is not reentrant, and set up by each read.
struct QAResReadState
{
    const char* fileName = nullptr;
    bool crIsSeparator = false;
    /// Set by '=': in line-end mode the next line end stands for ';'.
    bool equalSign = false;
    int line = 1;
    int column = 1;
    /// Length of the previous token, added to the column by the next one.
    int step = 0;
    QARes* result = nullptr;

    /// Gives \a tag, a non-empty text allocated with new[], to \a node,
    /// sparing the copy that setTag() makes.
    static void adoptTag(QARes* node, char* tag);
};

extern QAResReadState qaresReadState;

void qaresScanBegin(FILE* file);
void qaresScanEnd();
int qaresparse();
