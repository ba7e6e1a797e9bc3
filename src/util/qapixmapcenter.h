#pragma once

#include "sdk_export.h"

#include <QMap>
#include <QPixmap>
#include <QString>
#include <QStringList>

/// Finds images by file name in a list of directories, remembering each hit.
class SDK_EXPORT QAPixmapCenter
{
public:
    static void insertDirectory(const QString& directory);
    static QString getPathByFileName(const QString& name);
    static QPixmap getPixmapByFilePath(const QString& name, const char* format = nullptr,
                                       Qt::ImageConversionFlags mode = Qt::AutoColor);
    /// Forgets the directories and the cache.
    static void clear();

private:
    static QStringList _directories;
    static QMap<QString, QString> _cache;
};
