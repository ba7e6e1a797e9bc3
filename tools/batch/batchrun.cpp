#include "batchrun.h"

#include "batchdryrun.h"
#include "batchplan.h"
#include "batchprogress.h"
#include "batchhost.h"
#include "batchsession.h"
#include "qastnode.h"
#include "qastnodetest.h"
#include "qastproject.h"

#include <QDir>
#include <QFileInfo>
#include <QTextStream>

namespace {

// Stop outranks a failed build, which outranks a failed test verdict.
int worse(int a, int b)
{
    static const QList<int> order {ExitSuccess, ExitTestFailed, ExitBuildFailed, ExitStopped};
    return order.indexOf(a) >= order.indexOf(b) ? a : b;
}

QList<QAStNode*> subtree(QAStNode* top)
{
    QList<QAStNode*> nodes {top};
    for (qsizetype i = 0; i < nodes.size(); ++i)
        nodes += nodes.at(i)->children();
    return nodes;
}

} // namespace

bool BatchRunOptions::take(const QStringList& arguments, qsizetype& i, QString& error)
{
    const QString& argument = arguments.at(i);
    const qsizetype equals = argument.indexOf(QLatin1Char('='));
    const QString name = equals < 0 ? argument : argument.left(equals);
    static const QStringList withValue {"--junit", "--json", "--shard"};
    if (argument == QLatin1String("--no-save")) {
        save = false;
        return true;
    }
    if (name == QLatin1String("--dry-run")) {
        dryRun = true;
        if (equals >= 0)
            dryRunDirectory = argument.mid(equals + 1);
        return true;
    }
    if (!withValue.contains(name))
        return false;
    QString value;
    if (equals >= 0) {
        value = argument.mid(equals + 1);
    } else if (++i < arguments.size()) {
        value = arguments.at(i);
    } else {
        error = name + (name == QLatin1String("--shard") ? QStringLiteral(" needs K/N") : QStringLiteral(" needs a file"));
        return true;
    }
    if (name == QLatin1String("--junit")) {
        junitFile = value;
    } else if (name == QLatin1String("--json")) {
        jsonFile = value;
    } else {
        bool kOk = false, nOk = false;
        shard = value.section(QLatin1Char('/'), 0, 0).toInt(&kOk);
        shards = value.section(QLatin1Char('/'), 1).toInt(&nOk);
        if (!kOk || !nOk || shards < 1 || shard < 1 || shard > shards)
            error = QStringLiteral("--shard needs K/N with 1 <= K <= N, not \"%1\"").arg(value);
    }
    return true;
}

void BatchRunOptions::takeConfigurations(QString& configuration)
{
    if (!configuration.contains(QLatin1Char(',')))
        return;
    configurations = configuration.split(QLatin1Char(','), Qt::SkipEmptyParts);
    configuration = configurations.value(0);
}

BatchRun::BatchRun(BatchSession& session, QTextStream& out, const BatchRunOptions& options)
    : _session(session), _out(out), _options(options)
{
}

BatchRun::~BatchRun()
{
    delete _progress;
    // The shard is this run's choice, not the document's, which may be
    // saved after the run.
    for (QAStNode* node : std::as_const(_leftOut))
        node->setState(QAStNode::Included);
}

// FNV-1a of the path: the same on every machine and in every run, whatever
// the order or number of the other nodes.
int BatchRun::shardOf(const QString& path, int shards)
{
    quint32 hash = 2166136261u;
    for (const char byte : path.toUtf8()) {
        hash ^= quint8(byte);
        hash *= 16777619u;
    }
    return int(hash % quint32(shards));
}

void BatchRun::selectShard(QAStNode* top)
{
    int kept = 0, all = 0;
    for (QAStNode* node : subtree(top)) {
        if (!node->inherits("QAStNodeTest") || node->effectiveState() != QAStNode::Included)
            continue;
        ++all;
        // Left out as the user leaves a node out, until the run is over.
        if (shardOf(_session.pathOf(node), _options.shards) == _options.shard - 1) {
            ++kept;
        } else {
            node->setState(QAStNode::Excluded);
            _leftOut << node;
        }
    }
    _out << "shard " << _options.shard << '/' << _options.shards << ": " << kept << " of " << all
         << " test nodes\n";
    _out.flush();
}

void BatchRun::watch(QAStNode* top)
{
    for (QAStNode* node : subtree(top)) {
        _connections << connect(node, &QAStNode::buildExecuteStarted, this, [this, node] { started(node); });
        _connections << connect(node, &QAStNode::buildExecuteFinished, this, [this, node] { ended(node); });
    }
}

void BatchRun::started(QAStNode* node)
{
    // A node that builds and then executes starts twice in one run.
    if (_started.contains(node))
        return;
    _started.insert(node, QDateTime::currentDateTime());
    _progress->nodeStarted(_session.pathOf(node));
}

BatchNodeRecord BatchRun::recordOf(QAStNode* node) const
{
    BatchNodeRecord record;
    record.path = _session.pathOf(node);
    record.kind = BatchSession::kindOf(node);
    record.configuration = node->currentConfigurationName();
    record.status = node->executionStatus();
    record.test = node->inherits("QAStNodeTest");
    record.start = _started.value(node);
    record.end = QDateTime::currentDateTime();
    // The node's own entries of its log, in this configuration.
    const QString prefix = node->outFileNameKey(QString());
    const QMap<QString, QStringList>& map = node->outFileNameMap();
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        const QString type = it.key().mid(prefix.size());
        if (!it.key().startsWith(prefix) || type == QLatin1String("DUM"))
            continue;
        for (const QString& path : it.value())
            record.files.append({type, node->determineAbsolutePathFile(path)});
    }
    if (record.test)
        record.tests = BatchReport::readResultFile(node->outFileName(QStringLiteral("XRD")));
    return record;
}

void BatchRun::ended(QAStNode* node)
{
    // An end without a start is a node with nothing to run, or the reset of
    // an ancestor's status as a run begins.
    if (!_started.contains(node))
        return;
    // A source that an execution passes through, after its build or when up
    // to date, has no step to run and ends as it was: it is no run to report.
    if (node->executionStatus() == QAStData::ExecutionNone && !node->inherits("QAStNodeTest")) {
        _started.remove(node);
        return;
    }
    BatchNodeRecord record = recordOf(node);
    // The coverage file is whole only when the stream has been read to its
    // end, and it is this run's only when the run was followed: the file of
    // an earlier run in another configuration may lie at the same place.
    auto* test = qobject_cast<QAStNodeTest*>(node);
    if (test && _session.finishFollowing(test))
        record.functionCoverage = BatchReport::readFunctionCoverage(test->tioFile());
    _records.append(std::move(record));
    _started.remove(node);
    if (_json.isOpen()) {
        _json.write(BatchReport::jsonLine(_records.constLast()) + '\n');
        _json.flush();
    }
    if (_records.constLast().test && !_options.junitFile.isEmpty()
        && !BatchReport::writeJUnit(_options.junitFile, _records, _severalConfigurations))
        reportError(QStringLiteral("cannot write %1").arg(_options.junitFile));
}

int BatchRun::explain(QAStNode* node)
{
    if (_options.shards)
        selectShard(node);
    return BatchPlan::explain(_session, node, _out);
}

int BatchRun::run(const QString& command, QAStNode* node)
{
    if (_options.shards)
        selectShard(node);
    if (_options.dryRun)
        return BatchDryRun(_session, _out).run(command, node, _options.dryRunDirectory);
    auto* root = static_cast<QAStProject*>(_session.resolve(QString()));
    QStringList configurations = _options.configurations;
    const QStringList known = root->initialConfigurations().keys();
    for (const QString& configuration : std::as_const(configurations)) {
        if (!known.contains(configuration)) {
            reportError(QStringLiteral("unknown configuration \"%1\"; the project has: %2")
                            .arg(configuration, known.join(QLatin1String(", "))));
            return ExitUsage;
        }
    }
    _severalConfigurations = configurations.size() > 1;
    if (configurations.isEmpty())
        configurations << node->currentConfigurationName();
    // A CI job names its reports' place before anything has made it.
    for (const QString& report : {_options.jsonFile, _options.junitFile}) {
        if (!report.isEmpty())
            QDir().mkpath(QFileInfo(report).absolutePath());
    }
    if (!_options.jsonFile.isEmpty()) {
        _json.setFileName(_options.jsonFile);
        if (!_json.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            reportError(QStringLiteral("cannot write %1").arg(_options.jsonFile));
            return ExitUsage;
        }
    }
    // A run killed before its first test node ends still leaves a file.
    if (!_options.junitFile.isEmpty() && !BatchReport::writeJUnit(_options.junitFile, {}, false)) {
        reportError(QStringLiteral("cannot write %1").arg(_options.junitFile));
        return ExitUsage;
    }
    _progress = new BatchProgress(_out, BatchProgress::outputIsTerminal());
    watch(node);
    int status = ExitSuccess;
    for (const QString& configuration : std::as_const(configurations)) {
        if (_severalConfigurations)
            root->setCurrentConfiguration(configuration);
        // An execution of a node that is out of date rebuilds it first.
        const bool rebuilds = command == QLatin1String("rebuild")
            || (command == QLatin1String("execute") && node->mustRebuilt());
        const QList<BatchPlan::Step> plan = rebuilds ? BatchPlan::ofRebuild(node) : BatchPlan::ofBuild(node);
        _progress->start(int(std::count_if(plan.begin(), plan.end(), [](const BatchPlan::Step& s) { return s.runs; })));
        _started.clear();
        // The session's status already counts a node that failed below a
        // group that ended well.
        status = worse(status, _session.run(command, node));
        _progress->finish();
        if (status == ExitStopped)
            break;
    }
    for (const QMetaObject::Connection& connection : std::as_const(_connections))
        disconnect(connection);
    _connections.clear();
    BatchReport::summary(_records, _out);
    if (_severalConfigurations)
        BatchReport::matrix(_records, configurations, _out);
    return status;
}
