#pragma once

// Small helpers that several settings tests share.

#include "projectfiles.h"
#include "qapropertygroup.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <cstdio>
#include <unistd.h>

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

/// What the process writes to standard error while \a run runs.
template <typename Run>
QByteArray standardErrorOf(Run run)
{
    std::fflush(stderr);
    FILE* file = std::tmpfile();
    const int saved = dup(2);
    dup2(fileno(file), 2);
    run();
    std::fflush(stderr);
    dup2(saved, 2);
    ::close(saved);
    std::rewind(file);
    QFile text;
    const QByteArray written = text.open(file, QIODevice::ReadOnly) ? text.readAll() : QByteArray("unreadable");
    text.close();
    std::fclose(file);
    return written;
}
