#include "qapixmapcenter.h"

#include "qatrace.h"

#include <QDir>
#include <QFileInfo>

QStringList QAPixmapCenter::_directories;
QMap<QString, QString> QAPixmapCenter::_cache;

void QAPixmapCenter::insertDirectory(const QString& directory)
{
    if (!QFileInfo(directory).isDir())
        warning("'%s' directory doesn't exists : Pixmap Center", qPrintable(directory));
    _directories.append(directory);
}

QString QAPixmapCenter::getPathByFileName(const QString& name)
{
    const auto cached = _cache.constFind(name);
    if (cached != _cache.constEnd())
        return cached.value();
    QString found;
    if (QFileInfo(name).isFile()) {
        found = name;
    } else {
        for (const QString& directory : std::as_const(_directories)) {
            const QString candidate = QDir(directory).filePath(name);
            if (QFileInfo(candidate).isFile()) {
                found = candidate;
                break;
            }
        }
    }
    if (!found.isEmpty())
        _cache.insert(name, found);
    return found;
}

QPixmap QAPixmapCenter::getPixmapByFilePath(const QString& name, const char* format,
                                            Qt::ImageConversionFlags mode)
{
    QPixmap pixmap;
    const QString path = getPathByFileName(name);
    if (!path.isEmpty())
        pixmap.load(path, format, mode);
    return pixmap;
}

void QAPixmapCenter::clear()
{
    _directories.clear();
    _cache.clear();
}
