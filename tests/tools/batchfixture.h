#pragma once

#include "projectfiles.h"
#include "recordinghost.h"

#include <QDirIterator>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <memory>
#include <unistd.h>

/// velmont-batch run as a child process, on copies of the first example, with
/// installations that are the staged one but for the scripts a test gives.
struct BatchFixture {
    struct Run {
        int status = -1;
        QString out, err;
    };
    QTemporaryDir work;

    QString path(const QString& name) const { return work.filePath(name); }
    /// The bytes of a file; empty when it cannot be read.
    static QByteArray contents(const QString& path) { return readFile(path); }
    /// The lines "path: runs (reason)" of an explanation, or those of the
    /// nodes that do not run: each node's reason by its path.
    static QMap<QString, QString> explanation(const QString& out, bool runs)
    {
        QMap<QString, QString> nodes;
        static const QRegularExpression line(QStringLiteral("^ *(.+): (runs|skipped) \\((.*)\\)$"),
                                             QRegularExpression::MultilineOption);
        for (auto it = line.globalMatch(out); it.hasNext();) {
            const QRegularExpressionMatch match = it.next();
            if ((match.captured(2) == QLatin1String("runs")) == runs)
                nodes.insert(match.captured(1), match.captured(3));
        }
        return nodes;
    }
    /// The file that the variable BATCH_TEST_FILE names for the scripts.
    QString scriptFile() const { return path(QStringLiteral("batch-test-file")); }

    /// Copies the first example into \a name; the copy's project file.
    QString copyExample(const QString& name) const
    {
        return copyTree(QStringLiteral(SDK_EXAMPLES_DIR "/first"), path(name)) ? path(name) + QStringLiteral("/first.vmp")
                                                                               : QString();
    }
    /// An installation linking the staged one, with \a scripts (a name and
    /// its text) in place of the staged scripts, and without ports unless
    /// \a ports.
    QString installationWith(const QString& name, const QMap<QString, QByteArray>& scripts, bool ports = true) const
    {
        const QString top = path(QStringLiteral("install-") + name), stage = RecordingHost::stageDir();
        QStringList entries {"doc", "plugins", "Common", "lib/perl", "lib/locale", "lib/project.dtd"};
        if (ports)
            entries << QStringLiteral("targets");
        for (const QString& script : QDir(stage + QStringLiteral("/lib/scripts")).entryList(QDir::Files))
            entries << QStringLiteral("lib/scripts/") + script;
        QDir().mkpath(top + QStringLiteral("/lib/scripts"));
        for (const QString& entry : std::as_const(entries))
            QFile::link(stage + QLatin1Char('/') + entry, top + QLatin1Char('/') + entry);
        for (auto it = scripts.constBegin(); it != scripts.constEnd(); ++it) {
            QFile file(top + QStringLiteral("/lib/scripts/") + it.key());
            file.remove();
            if (file.open(QIODevice::WriteOnly))
                file.write(it.value());
        }
        return top;
    }
    /// Starts the program in the work directory, in a process group of its
    /// own as a shell starts a command: a signal to the group is a terminal's.
    std::unique_ptr<QProcess> start(const QStringList& arguments, const QString& installation = QString(),
                                    const QString& program = QStringLiteral(SDK_BATCH_PROGRAM)) const
    {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("ZENTAHOME"));
        environment.insert(QStringLiteral("VELMONTDIR"), installation);
        environment.insert(QStringLiteral("BATCH_TEST_FILE"), scriptFile());
        process->setProcessEnvironment(environment);
        process->setWorkingDirectory(work.path());
        process->setChildProcessModifier([] { ::setpgid(0, 0); });
        process->start(program, arguments);
        return process;
    }
    Run run(const QStringList& arguments, const QString& installation = QString(),
            const QString& program = QStringLiteral(SDK_BATCH_PROGRAM)) const
    {
        const std::unique_ptr<QProcess> process = start(arguments, installation, program);
        Run result;
        if (process->waitForFinished(25000) && process->exitStatus() == QProcess::NormalExit)
            result = {process->exitCode(), QString::fromLocal8Bit(process->readAllStandardOutput()),
                      QString::fromLocal8Bit(process->readAllStandardError())};
        return result;
    }
};
