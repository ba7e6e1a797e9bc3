#pragma once

#include "sdk_export.h"

#include <QString>
#include <QStringList>

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
    /// The path unchanged: this platform has one form of path only.
    static QString longPath(const QString& path) { return path; }
    static QString shortPath(const QString& path) { return path; }
};
