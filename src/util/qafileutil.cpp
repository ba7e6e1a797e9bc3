#include "qafileutil.h"

#include "qatrace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <fcntl.h>
#include <sys/stat.h>

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
    // The parts are compared in place: a tag pass makes the paths of
    // thousands of headers relative, and lists of parts cost it more than
    // the rest of the work on a file.
    const QChar separator = QDir::separator();
    const auto baseParts = QStringView(base).tokenize(separator, Qt::SkipEmptyParts);
    const auto pathParts = QStringView(path).tokenize(separator, Qt::SkipEmptyParts);
    auto inBase = baseParts.begin();
    auto inPath = pathParts.begin();
    if (inBase == baseParts.end() || inPath == pathParts.end() || *inBase != *inPath)
        return path;
    while (inBase != baseParts.end() && inPath != pathParts.end() && *inBase == *inPath) {
        ++inBase;
        ++inPath;
    }
    QString result;
    for (; inBase != baseParts.end(); ++inBase)
        result += QLatin1String("..") + separator;
    for (bool first = true; inPath != pathParts.end(); ++inPath, first = false) {
        if (!first)
            result += separator;
        result += *inPath;
    }
    return result.isEmpty() ? QStringLiteral(".") : result;
}

FILE* QAFileUtil::fopen(const QString& path, const char* mode)
{
    return std::fopen(QFile::encodeName(path).constData(), mode);
}

int QAFileUtil::open(const QString& path, int flags)
{
    return ::open(QFile::encodeName(path).constData(), flags, 0666);
}

QString QAFileUtil::generateFilename(const QString& name)
{
    static const QString forbidden = QStringLiteral("\\/+*?~|,:\"'` ");
    QString result = name;
    for (QChar& c : result) {
        if (forbidden.contains(c))
            c = QLatin1Char('_');
    }
    return result;
}

QString QAFileUtil::generateTempFilename(const QString& prefix)
{
    static int counter = 0;
    counter = counter % 10 + 1;
    const QString name = prefix + QString::number(counter);
    warning("temp filename = %s", qPrintable(name));
    return name;
}

QString QAFileUtil::perlDirPath(const QString& path)
{
    QString result = path;
    result.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    return result;
}

void QAFileUtil::perlString(QTextStream& stream, const QString& name, const QString& value)
{
    stream << '$' << name << "='" << value << "';\n";
}

void QAFileUtil::perlPath(QTextStream& stream, const QString& name, const QString& value)
{
    perlString(stream, name, perlDirPath(value));
}

QString QAFileUtil::findInPath(const QString& program)
{
    const QFileInfo own(program);
    if (!program.isEmpty() && own.isFile())
        return own.absolutePath();
    if (!program.isEmpty() && !program.contains(QDir::separator())) {
        const QStringList directories =
            QString::fromLocal8Bit(qgetenv("PATH")).split(QLatin1Char(':'), Qt::SkipEmptyParts);
        for (const QString& directory : directories) {
            const QFileInfo candidate(QDir(directory), program);
            if (candidate.isFile())
                return candidate.absolutePath();
        }
    }
    warning("FATAL ERROR: unable to find directory of binary\n");
    return QString();
}

bool QAFileUtil::mkdir(const QString& path)
{
    if (path.isEmpty())
        return false;
    return QDir().mkpath(path);
}

bool QAFileUtil::removeDirectory(const QString& path)
{
    QDir directory(path);
    if (!directory.exists())
        return false;
    return directory.removeRecursively();
}

bool QAFileUtil::copyFile(const QString& from, const QString& to)
{
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return false;
    QFile target(to);
    if (!target.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    char buffer[65536];
    qint64 n;
    while ((n = source.read(buffer, sizeof buffer)) > 0) {
        if (target.write(buffer, n) != n)
            return false;
    }
    if (n < 0 || !target.flush())
        return false;
    target.close();
    struct stat status;
    if (::stat(QFile::encodeName(from).constData(), &status) == 0)
        ::chmod(QFile::encodeName(to).constData(), status.st_mode & 07777);
    return true;
}

QStringList QAFileUtil::matchWildcard(const QString& pattern)
{
    const QFileInfo info(pattern);
    QDir directory(info.path());
    const QStringList names =
        directory.entryList(QStringList(info.fileName()), QDir::Files | QDir::Hidden, QDir::Name);
    QStringList result;
    for (const QString& name : names)
        result.append(QDir::cleanPath(directory.filePath(name)));
    result.sort();
    return result;
}

QString QAFileUtil::fileExistsForLocale(const QString& path, const QString& locale)
{
    const QFileInfo info(path);
    const QString suffix = info.suffix();
    const QString extension = suffix.isEmpty() ? QString() : QLatin1Char('.') + suffix;
    QString base = path.left(path.size() - extension.size());
    QString variant = locale;
    for (;;) {
        const QString candidate =
            variant.isEmpty() ? base + extension : base + QLatin1Char('_') + variant + extension;
        if (QFileInfo::exists(candidate))
            return candidate;
        if (variant.contains(QLatin1Char('@')))
            variant = variant.left(variant.indexOf(QLatin1Char('@')));
        else if (variant.contains(QLatin1Char('_')))
            variant = variant.left(variant.indexOf(QLatin1Char('_')));
        else if (variant.isEmpty())
            return QString();
        else
            variant.chop(1);
    }
}
