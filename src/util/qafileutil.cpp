#include "qafileutil.h"

#include <QDir>

QString QAFileUtil::cleanDirPath(const QString& path)
{
    return QDir::toNativeSeparators(QDir::cleanPath(path));
}

void QAFileUtil::pathToStringList(const QString& path, QStringList& list)
{
    list = path.split(QDir::separator(), Qt::SkipEmptyParts);
}

QString QAFileUtil::absPathToRelative(const QString& base, const QString& path)
{
    QStringList baseList;
    QStringList pathList;
    pathToStringList(base, baseList);
    pathToStringList(path, pathList);
    if (baseList.isEmpty() || pathList.isEmpty() || baseList.first() != pathList.first())
        return path;

    qsizetype common = 0;
    while (common < baseList.size() && common < pathList.size()
           && baseList.at(common) == pathList.at(common))
        ++common;

    QString result;
    for (qsizetype i = common; i < baseList.size(); ++i)
        result += QLatin1String("..") + QDir::separator();
    result += pathList.mid(common).join(QDir::separator());
    return result.isEmpty() ? QStringLiteral(".") : result;
}
