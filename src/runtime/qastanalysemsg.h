#pragma once

#include "sdk_export.h"

#include <QString>

/// Finds the file, line and column that a line of tool output speaks of.
///
/// The file is found by asking the file system, not by the look of the text:
/// the leftmost substring that names an existing regular file wins, and there
/// the longest. So names with blanks are found, and words that merely look
/// like paths are not. Each candidate costs a file system call, and there are
/// as many as the square of the message's length: analyse on request, not on
/// every line that arrives.
class SDK_EXPORT QAStAnalyseMsg
{
public:
    QAStAnalyseMsg();

    /// True when the message names a file; line and column stay 0 when no
    /// known form of a line number follows the name.
    bool analyze(const QString& message);
    /// Reads a line number, and a column behind \a separator, from \a index on.
    /// \a prefix must be found at or behind \a index; the digits must follow
    /// it at once. Either pattern may be null.
    bool analyzeLineNumber(const QString& message, int index, const char* prefix, const char* separator);

    QString file;
    QString anchor;
    int line = 0;
    int column = 0;
};
