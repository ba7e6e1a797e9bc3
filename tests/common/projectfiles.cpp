#include "projectfiles.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <algorithm>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

bool setModified(const QString& path, const QDateTime& time)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::ReadWrite) && file.setFileTime(time, QFileDevice::FileModificationTime);
}

bool touchFile(const QString& path, int secondsFromNow)
{
    return setModified(path, QDateTime::currentDateTime().addSecs(secondsFromNow));
}

bool copyTree(const QString& from, const QString& to)
{
    for (QDirIterator it(from, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        const QString copy = to + it.next().mid(from.size());
        if (!QDir().mkpath(QFileInfo(copy).path()) || !QFile::copy(it.filePath(), copy))
            return false;
    }
    return true;
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QMap<QString, QByteArray> snapshot(const QString& dir)
{
    QMap<QString, QByteArray> files;
    QDirIterator it(dir, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files.insert(QDir(dir).relativeFilePath(path),
                     QCryptographicHash::hash(readFile(path), QCryptographicHash::Sha1));
    }
    return files;
}

QString documentBody(const QDomDocument& document)
{
    QString text;
    QTextStream stream(&text);
    for (QDomNode node = document.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (!node.isDocumentType() && node.nodeName() != QLatin1String("xml"))
            node.save(stream, 1);
    }
    return text;
}

void withoutDacOverride(const std::function<void()>& run)
{
    __user_cap_header_struct header {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved[2] {}, reduced[2] {};
    const bool known = syscall(SYS_capget, &header, saved) == 0;
    std::copy(saved, saved + 2, reduced);
    reduced[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
    const bool dropped = known && syscall(SYS_capset, &header, reduced) == 0;
    run();
    if (dropped)
        syscall(SYS_capset, &header, saved);
}

QList<QByteArray> withoutInstallationLines(const QByteArray& text)
{
    QList<QByteArray> lines;
    for (const QByteArray& line : text.split('\n')) {
        const QByteArray trimmed = line.trimmed();
        if (!trimmed.startsWith("<!DOCTYPE") && !trimmed.startsWith("<targetFullPath>"))
            lines << line;
    }
    return lines;
}
