#include "projectfiles.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QDomDocument>
#include <QFile>
#include <QTextStream>

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
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
