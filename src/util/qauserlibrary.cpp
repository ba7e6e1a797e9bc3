#include "qauserlibrary.h"

#include "qafileutil.h"
#include "qailogmonitor.h"
#include "qainstall.h"

#include <QDir>
#include <QFileInfo>

int QAUserLibrary::checkAndInstall(const QString& argv0, QAILogMonitor* log)
{
    const QString examples = QDir(QAInstall::applicationData(argv0)).filePath(QStringLiteral("examples"));
    const QDir targets(QAInstall::targetDir(argv0));
    const QFileInfoList ports = targets.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    int copied = 0;
    for (const QFileInfo& port : ports) {
        const QString from = QDir(port.absoluteFilePath()).filePath(QStringLiteral("xml"));
        if (!QFileInfo(from).isDir())
            continue;
        const QString to = QDir(QDir(examples).filePath(port.baseName())).filePath(QStringLiteral("xml"));
        if (QFileInfo(to).isDir())
            continue;
        if (InstallUserLibraryJob(from, to, log).run())
            ++copied;
    }
    return copied;
}

InstallUserLibraryJob::InstallUserLibraryJob(const QString& from, const QString& to, QAILogMonitor* log)
    : source(from), destination(to), log(log)
{
}

bool InstallUserLibraryJob::run()
{
    const bool ok = copyTree(source, destination);
    if (log && !ok)
        log->error(QStringLiteral("Unable to install %1 into %2\n").arg(source, destination));
    return ok;
}

bool InstallUserLibraryJob::copyTree(const QString& from, const QString& to)
{
    if (!QAFileUtil::mkdir(to))
        return false;
    const QFileInfoList entries =
        QDir(from).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    bool ok = true;
    for (const QFileInfo& entry : entries) {
        const QString target = QDir(to).filePath(entry.fileName());
        if (entry.isDir() && !entry.isSymLink()) {
            ok = copyTree(entry.absoluteFilePath(), target) && ok;
        } else {
            const bool copied = QAFileUtil::copyFile(entry.absoluteFilePath(), target);
            if (log && copied)
                log->log(QStringLiteral("%1\n").arg(target));
            ok = copied && ok;
        }
    }
    return ok;
}
