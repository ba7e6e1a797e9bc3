#include "qainstall.h"

#include "qafileutil.h"

#include <QDir>
#include <QFileInfo>

namespace {

QString fromEnvironment(const char* name)
{
    const QByteArray value = qgetenv(name);
    return value.isEmpty() ? QString() : QString::fromLocal8Bit(value);
}

QString sub(const QString& top, const QString& name)
{
    return top + QDir::separator() + name;
}

} // namespace

QString QAInstall::versionText()
{
    return QStringLiteral("8.2.0.1");
}

QString QAInstall::temporaryDir()
{
    if (QFileInfo(QStringLiteral("/tmp")).isDir())
        return QStringLiteral("/tmp");
    const QString temp = fromEnvironment("TEMP");
    return temp.isEmpty() ? QDir::currentPath() : temp;
}

QString QAInstall::binaryDir(const QString& argv0)
{
    return QAFileUtil::findInPath(argv0);
}

QString QAInstall::installDir(const QString& argv0)
{
    const QString velmont = fromEnvironment("VELMONTDIR");
    if (!velmont.isEmpty())
        return velmont;
    const QString zenta = fromEnvironment("ZENTAHOME");
    if (!zenta.isEmpty())
        return zenta;
    const QString binaries = binaryDir(argv0);
    if (binaries.isNull())
        return QString();
    return QAFileUtil::cleanDirPath(binaries + QStringLiteral("/../../.."));
}

QString QAInstall::binarySubDir(const QString& argv0)
{
    const QString binaries = binaryDir(argv0);
    if (binaries.isNull())
        return QString();
    const QString absolute = QAFileUtil::cleanDirPath(QFileInfo(binaries).absoluteFilePath());
    const QString top = QAFileUtil::cleanDirPath(absolute + QStringLiteral("/../../.."));
    QString rest = absolute.mid(top == QDir::rootPath() ? 0 : top.size());
    while (rest.startsWith(QDir::separator()))
        rest.remove(0, 1);
    return rest;
}

QString QAInstall::helpDir(const QString& argv0)
{
    return sub(installDir(argv0), QStringLiteral("doc"));
}

QString QAInstall::pluginsDir(const QString& argv0)
{
    return sub(installDir(argv0), QStringLiteral("plugins"));
}

QStringList QAInstall::pluginsDirList(const QString& argv0)
{
    const QString top = pluginsDir(argv0);
    QStringList result(top);
    const QStringList names = QDir(top).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& name : names)
        result.append(sub(top, name));
    return result;
}

QString QAInstall::targetDir(const QString& argv0)
{
    return sub(installDir(argv0), QStringLiteral("targets"));
}

QString QAInstall::localeDir(const QString& argv0)
{
    static const QString kept = sub(sub(installDir(argv0), QStringLiteral("lib")), QStringLiteral("locale"));
    return kept;
}

QString QAInstall::applicationData(const QString&)
{
    const QString directory =
        sub(sub(fromEnvironment("HOME"), QStringLiteral(".Velmont")), versionText());
    if (!QFileInfo(directory).isDir())
        QAFileUtil::mkdir(directory);
    return directory;
}

QStringList QAInstall::perlCommand(const QString& argv0)
{
    return {sub(binaryDir(argv0), QStringLiteral("Velmontperl")), QStringLiteral("-I"),
            sub(sub(installDir(argv0), QStringLiteral("lib")), QStringLiteral("perl"))};
}
