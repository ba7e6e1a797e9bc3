#include "batchdryrun.h"

#include "batchhost.h"
#include "batchplan.h"
#include "batchsession.h"
#include "qastnode.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSaveFile>
#include <QTextStream>

BatchDryRun::BatchDryRun(BatchSession& session, QTextStream& out) : _session(session), _out(out) {}

// The file as the step writes it before it starts its script: in the node's
// directory, without the execution steps, ending in the value that loading
// it expects.
bool BatchDryRun::writeEnvironment(QAStNode* node, const QString& file)
{
    QFile environment(file);
    if (!environment.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        reportError(QStringLiteral("cannot write %1").arg(file));
        return false;
    }
    QTextStream stream(&environment);
    stream.setEncoding(QStringConverter::System);
    const QString previous = QDir::currentPath();
    QDir::setCurrent(node->directory());
    node->generateBuildEnv(stream);
    QDir::setCurrent(previous);
    stream << "\n1;\n";
    stream.flush();
    return environment.error() == QFile::NoError;
}

int BatchDryRun::run(const QString& command, QAStNode* top, const QString& directory)
{
    const QDir where(directory.isEmpty() ? _session.resolve(QString())->directory() : QDir(directory).absolutePath());
    const QString environments = where.filePath(QStringLiteral("environment"));
    if (!QDir().mkpath(environments)) {
        reportError(QStringLiteral("cannot make the directory %1").arg(environments));
        return ExitUsage;
    }
    const QList<BatchPlan::Step> plan
        = command == QLatin1String("build") ? BatchPlan::ofBuild(top) : BatchPlan::ofRebuild(top);
    QStringList perl = QAStData::perlCommand();
    const QString program = perl.takeFirst();
    const QString compileStep = QAStData::scriptsDir() + QStringLiteral("/Source.pl");
    QJsonArray database;
    int status = ExitSuccess;
    for (const BatchPlan::Step& step : plan) {
        QAStNode* node = step.node;
        const bool source = node->inherits("QAStNodeSource") && node->effectiveState() == QAStNode::Included;
        if (!source && !(step.runs && !node->perlScriptAfterChild().isEmpty()))
            continue;
        QString name = _session.pathOf(node);
        name.replace(QLatin1Char('/'), QLatin1Char('_'));
        const QString file = environments + QLatin1Char('/') + name + QStringLiteral(".pl");
        if (!writeEnvironment(node, file)) {
            status = ExitBuildFailed;
            continue;
        }
        _out << "environment " << _session.pathOf(node) << ": " << file << '\n';
        if (!source)
            continue;
        QProcess print;
        print.setWorkingDirectory(node->directory());
        print.start(program, perl + QStringList {compileStep, QStringLiteral("--print-command"), file, node->name()});
        const bool ended = print.waitForFinished(30000) && print.exitStatus() == QProcess::NormalExit;
        const QJsonObject entry = QJsonDocument::fromJson(print.readAllStandardOutput()).object();
        if (!ended || print.exitCode() != 0 || entry.isEmpty()) {
            reportError(QStringLiteral("no compile command for %1: %2")
                            .arg(_session.pathOf(node), QString::fromLocal8Bit(print.readAllStandardError()).trimmed()));
            status = ExitBuildFailed;
            continue;
        }
        database.append(entry);
    }
    const QString databaseFile = where.filePath(QStringLiteral("compile_commands.json"));
    QSaveFile out(databaseFile);
    if (!out.open(QIODevice::WriteOnly) || out.write(QJsonDocument(database).toJson()) < 0 || !out.commit()) {
        reportError(QStringLiteral("cannot write %1").arg(databaseFile));
        return ExitBuildFailed;
    }
    _out << "compile commands: " << databaseFile << " (" << database.size() << " sources)\n";
    _out.flush();
    return status;
}
