#pragma once

// Small helpers that several settings tests share.

#include "qapropertygroup.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <cstdio>
#include <unistd.h>

/// Writes \a text to \a path, making the directories on the way.
inline void writeFile(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
}

/// The leaves of a description tree, depth first.
inline QList<QAProperty*> leaves(QAProperty* property)
{
    if (!property->isGroup())
        return {property};
    QList<QAProperty*> all;
    for (QAProperty* child : static_cast<QAPropertyGroup*>(property)->children())
        all += leaves(child);
    return all;
}

/// What the process writes to standard error from construction to finish().
class StderrCapture
{
public:
    StderrCapture() : file(std::tmpfile()), saved(dup(2))
    {
        fflush(stderr);
        dup2(fileno(file), 2);
    }
    QByteArray finish()
    {
        fflush(stderr);
        dup2(saved, 2);
        ::close(saved);
        std::rewind(file);
        QByteArray text;
        char buffer[256];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;)
            text.append(buffer, qsizetype(n));
        std::fclose(file);
        return text;
    }

private:
    FILE* file;
    int saved;
};
