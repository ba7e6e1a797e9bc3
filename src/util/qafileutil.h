#pragma once

#include "sdk_export.h"

#include <QString>
#include <QStringList>

#include <cstdio>

class QTextStream;

/// Path and file operations shared by the whole library. All static.
class SDK_EXPORT QAFileUtil
{
public:
    /// The path with "." and ".." resolved and doubled separators removed.
    static QString cleanDirPath(const QString& path);
    /// Splits at the directory separator, dropping empty pieces.
    static void pathToStringList(const QString& path, QStringList& list);
    /// \a path relative to \a base; unchanged when their first pieces differ.
    static QString absPathToRelative(const QString& base, const QString& path);

    /// Open with the path in the local 8-bit code.
    static FILE* fopen(const QString& path, const char* mode);
    static int open(const QString& path, int flags);
    /// The path unchanged: this platform has one form of path only.
    static QString longPath(const QString& path) { return path; }
    static QString shortPath(const QString& path) { return path; }

    /// \a name with every character that cannot stand in a file name made "_".
    static QString generateFilename(const QString& name);
    /// \a prefix and a counter that runs from 1 to 10, then starts again.
    static QString generateTempFilename(const QString& prefix);
    /// Every backslash doubled.
    static QString perlDirPath(const QString& path);
    static void perlString(QTextStream& stream, const QString& name, const QString& value);
    static void perlPath(QTextStream& stream, const QString& name, const QString& value);

    /// The directory of \a program: its own when it names a file, else the
    /// first directory of PATH that holds it; null when none does.
    static QString findInPath(const QString& program);
    static bool mkdir(const QString& path);
    static bool removeDirectory(const QString& path);
    static bool copyFile(const QString& from, const QString& to);
    /// The sorted paths of the existing files that match a wildcard pattern.
    static QStringList matchWildcard(const QString& pattern);
    /// The language variant of a file for \a locale, down to the plain file.
    static QString fileExistsForLocale(const QString& path, const QString& locale);
};
