#pragma once

#include "sdk_export.h"

#include <QString>

class QAStData;
class QTextStream;

/// Writes the variables of an environment file: the Perl source of plain
/// assignments that a tool chain script reads to learn what to do.
///
/// Every value between single quotes is escaped so that Perl reads back
/// exactly the intended text: backslashes doubled, quotes preceded by one.
class SDK_EXPORT QAStPerlGen
{
public:
    static void generateEnv(QTextStream& out, QAStData* data);

    /// \a text as it may stand between single quotes in Perl.
    static QString perlQuoted(const QString& text);

private:
    static void quoted(QTextStream& out, const char* name, const QString& value);
    static void integer(QTextStream& out, const char* name, int value);
};
