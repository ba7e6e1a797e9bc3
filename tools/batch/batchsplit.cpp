#include "batchsplit.h"

#include "batchhost.h"
#include "batchsession.h"

#include "qafilesurvey.h"
#include "qastsplitsurvey.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QTextStream>

#include <cstdio>
#include <unistd.h>

int splitCommand(const QStringList& arguments, int stopSocket, int (*usageError)(const QString&))
{
    if (arguments.isEmpty())
        return usageError(QStringLiteral("split needs a split file"));
    if (arguments.size() > 2)
        return usageError(QStringLiteral("too many arguments for split"));
    const QString splitFile = arguments.at(0);
    QString tio, tdf, tpf, tqf;
    if (arguments.size() == 2) {
        const QDir dir(arguments.at(1));
        if (!dir.mkpath(QStringLiteral("."))) {
            reportError(QStringLiteral("cannot make the directory %1").arg(dir.path()));
            return ExitBuildFailed;
        }
        tio = dir.absoluteFilePath(QStringLiteral("zentacov.tio"));
        tdf = dir.absoluteFilePath(QStringLiteral("tracer.tdf"));
        tpf = dir.absoluteFilePath(QStringLiteral("memvexlt.tpf"));
        tqf = dir.absoluteFilePath(QStringLiteral("timvexlt.tqf"));
    }
    QASTSplitSurvey splitter(splitFile, tio, tdf, tpf, tqf);
    splitter.splitExistingLines();
    QTextStream out(stdout);
    out << "splitting " << splitFile << " into " << QFileInfo(splitter.outputPath(QASTSplitSurvey::TraceOutput)).path()
        << " until Ctrl-C\n";
    out.flush();
    // A pipe's stream is not flushed at a line's end: the caller waits for it.
    std::fflush(stdout);

    QSocketNotifier interrupt(stopSocket, QSocketNotifier::Read);
    QObject::connect(&interrupt, &QSocketNotifier::activated, &splitter, [&] {
        char byte = 0;
        [[maybe_unused]] const ssize_t got = ::read(stopSocket, &byte, 1);
        interrupt.setEnabled(false);
        // What was written before the stop still arrives.
        splitter.fileSurvey()->survey();
        splitter.fileSurvey()->stop();
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    return ExitSuccess;
}
