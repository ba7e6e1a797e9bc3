#include "batchsession.h"

#include "batchhost.h"
#include "batchoutputs.h"
#include "batchtags.h"
#include "executionstatusname.h"
#include "qaprocess.h"
#include "qastconfiguration.h"
#include "qastnode.h"
#include "qastnodetest.h"
#include "qastnodeplugincenter.h"
#include "qastproject.h"
#include "qasttargetpackage.h"
#include "qasttargetpackagelist.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QSet>
#include <QTextStream>

namespace {

const char* stateName(QAStNode::State state)
{
    switch (state) {
    case QAStNode::Included: return "included";
    case QAStNode::Excluded: return "excluded";
    case QAStNode::ReportOnly: return "report only";
    }
    return "unknown";
}

} // namespace

QString BatchSession::kindOf(const QAStNode* node)
{
    if (node->inherits("QAStSubProject"))
        return QStringLiteral("sub-project");
    if (node->inherits("QAStProject"))
        return QStringLiteral("project");
    QString kind = QString::fromLatin1(node->metaObject()->className());
    for (const char* prefix : {"QAStNode", "QASt"}) {
        if (kind.startsWith(QLatin1String(prefix)) && kind.size() > int(qstrlen(prefix))) {
            kind.remove(0, int(qstrlen(prefix)));
            break;
        }
    }
    return kind.toLower();
}

namespace {

QString quoted(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    text.replace(QLatin1Char('"'), QLatin1String("\\\""));
    text.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QString valueText(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType: return QStringLiteral("(unset)");
    case QMetaType::Bool: return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double: return value.toString();
    case QMetaType::QStringList: {
        QStringList items = value.toStringList();
        for (QString& item : items)
            item = quoted(item);
        return QLatin1Char('[') + items.join(QLatin1String(", ")) + QLatin1Char(']');
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        QStringList items;
        for (auto it = map.constBegin(); it != map.constEnd(); ++it)
            items << quoted(it.key()) + QLatin1String(": ") + quoted(it.value().toString());
        return QLatin1Char('{') + items.join(QLatin1String(", ")) + QLatin1Char('}');
    }
    default: return quoted(value.toString());
    }
}

// The reason of a failed load, from the project's message: its first
// paragraph names the file, which the caller names itself.
QString reasonOf(const QString& message)
{
    QStringList lines;
    const QStringList paragraphs = message.split(QLatin1String("\n\n"));
    for (qsizetype i = paragraphs.size() > 1 ? 1 : 0; i < paragraphs.size(); ++i) {
        for (const QString& line : paragraphs.at(i).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            lines << line.trimmed();
    }
    lines.removeAll(QString());
    return lines.isEmpty() ? QStringLiteral("it could not be read") : lines.join(QLatin1Char(' '));
}

} // namespace

BatchSession::BatchSession(BatchHost& host, QTextStream& out) : _host(host), _out(out) {}

BatchSession::~BatchSession() = default;

int BatchSession::open(const QString& path, const QString& configuration)
{
    const QFileInfo file(path);
    if (!file.isFile()) {
        reportError(QStringLiteral("no project file at %1").arg(path));
        return ExitLoad;
    }
    _project = std::make_unique<QAStProject>();
    _host.messages().hold();
    const bool loaded = _project->open(file.absoluteFilePath());
    const QString notes = _host.messages().release();
    if (!loaded) {
        reportError(QStringLiteral("cannot open the project %1: %2").arg(path, reasonOf(notes)));
        return ExitLoad;
    }
    if (!notes.isEmpty())
        _host.messages().log(notes);
    _documentConfiguration = _project->currentConfigurationName();
    if (configuration.isNull())
        return ExitSuccess;
    const QStringList names = _project->initialConfigurations().keys();
    if (!names.contains(configuration)) {
        reportError(QStringLiteral("unknown configuration \"%1\"; the project has: %2")
                 .arg(configuration, names.isEmpty() ? QStringLiteral("none") : names.join(QLatin1String(", "))));
        return ExitUsage;
    }
    // Not a change of the document: the run takes the configuration for
    // itself, and gives it back before the build is saved.
    _project->setCurrentConfiguration(configuration);
    return ExitSuccess;
}

void BatchSession::close()
{
    _project.reset();
}

QAStNode* BatchSession::resolve(const QString& path) const
{
    if (path.isEmpty() || path == _project->name())
        return _project.get();
    // Names may hold dots themselves: every child whose name starts the
    // rest of the path is tried, and the first full match wins.
    struct Step {
        QAStNode* node;
        QString rest;
    };
    QList<Step> pending {{_project.get(), path}};
    if (path.startsWith(_project->name() + QLatin1Char('.')))
        pending.prepend({_project.get(), path.mid(_project->name().size() + 1)});
    while (!pending.isEmpty()) {
        const Step step = pending.takeFirst();
        const QList<QAStNode*> children = step.node->children();
        for (qsizetype i = children.size() - 1; i >= 0; --i) {
            QAStNode* child = children.at(i);
            const QString name = child->name();
            if (step.rest == name)
                return child;
            if (step.rest.startsWith(name + QLatin1Char('.')))
                pending.prepend({child, step.rest.mid(name.size() + 1)});
        }
    }
    return nullptr;
}

QString BatchSession::pathOf(const QAStData* node) const
{
    QStringList names;
    for (const QAStData* each = node; each && each != _project.get(); each = each->parent())
        names.prepend(each->name());
    return names.isEmpty() ? _project->name() : names.join(QLatin1Char('.'));
}

int BatchSession::tree()
{
    struct Entry {
        QAStNode* node;
        int depth;
    };
    QList<Entry> pending {{_project.get(), 0}};
    while (!pending.isEmpty()) {
        const Entry entry = pending.takeLast();
        QAStNode* node = entry.node;
        _out << QString(entry.depth * 2, QLatin1Char(' ')) << node->name() << "  (" << kindOf(node) << ", "
             << stateName(node->effectiveState()) << ", " << executionStatusName(node->executionStatus()) << ")\n";
        const QList<QAStNode*> children = node->children();
        for (qsizetype i = children.size() - 1; i >= 0; --i)
            pending.append({children.at(i), entry.depth + 1});
    }
    return ExitSuccess;
}

int BatchSession::configs()
{
    const QString current = _project->currentConfigurationName();
    const auto& initial = _project->initialConfigurations();
    for (auto it = initial.constBegin(); it != initial.constEnd(); ++it) {
        const QString port = it.value()->property(QStringLiteral("targetPath")).toString();
        _out << (it.key() == current ? "* " : "  ") << it.key() << "  (port "
             << (port.isEmpty() ? QStringLiteral("none") : port) << ")\n";
    }
    if (initial.isEmpty())
        _out << "no configuration\n";
    return ExitSuccess;
}

int BatchSession::ports(QTextStream& out)
{
    const QAStTargetPackageList* installed = QAStTargetPackageList::installTargetPackages();
    if (!installed || installed->isEmpty()) {
        reportError(QStringLiteral("no port is installed"));
        return ExitLoad;
    }
    for (const QAStTargetPackage* port : *installed)
        out << port->directory << "  " << quoted(port->name) << "  " << port->language << "  "
            << port->fullPath << '\n';
    return ExitSuccess;
}

int BatchSession::plugins(QTextStream& out)
{
    for (const QAStNodePluginCenter::Plugin& plugin : QAStNodePluginCenter::nodePluginCenter()->plugins()) {
        out << (plugin.file.isEmpty() ? QStringLiteral("(linked in)") : plugin.file) << "  ";
        if (!plugin.problem.isEmpty()) {
            out << "refused: " << plugin.problem << '\n';
            continue;
        }
        out << quoted(plugin.name) << "  " << plugin.features.join(QLatin1Char(' '));
        if (!plugin.duplicates.isEmpty())
            out << "  (served by another plug-in: " << plugin.duplicates.join(QLatin1Char(' ')) << ')';
        out << '\n';
    }
    return ExitSuccess;
}

QString BatchSession::originOf(const QAStNode* node, const QString& key) const
{
    for (const QAPropertyStore* store = node->currentConfiguration(); store; store = store->inheritOf()) {
        if (!store->hasProperty(key))
            continue;
        const auto* configuration = qobject_cast<const QAStConfiguration*>(store);
        const QAStNode* owner = configuration ? configuration->node() : nullptr;
        if (const auto* holder = qobject_cast<const QAStProject*>(owner)) {
            const bool initial = holder->initialConfiguration(configuration->name()) == configuration;
            const QString what = initial ? QStringLiteral("initial configuration") : QStringLiteral("project");
            return holder == _project.get() ? what : what + QLatin1String(" of ") + pathOf(holder);
        }
        if (owner == node)
            return QStringLiteral("node");
        return owner ? QStringLiteral("ancestor ") + pathOf(owner) : QStringLiteral("unknown");
    }
    return QStringLiteral("nowhere");
}

int BatchSession::settings(QAStNode* node)
{
    const QAStConfiguration* current = node->currentConfiguration();
    if (!current) {
        reportError(QStringLiteral("%1 has no configuration").arg(pathOf(node)));
        return ExitUsage;
    }
    QSet<QString> keys;
    for (const QAPropertyStore* store = current; store; store = store->inheritOf()) {
        const QStringList names = store->propertyNames();
        keys.unite(QSet<QString>(names.begin(), names.end()));
    }
    QStringList sorted(keys.begin(), keys.end());
    sorted.sort();
    _out << "configuration " << quoted(current->name()) << " of " << pathOf(node) << '\n';
    for (const QString& key : std::as_const(sorted))
        _out << key << " = " << valueText(current->property(key)) << "  (" << originOf(node, key) << ")\n";
    return ExitSuccess;
}

// The file as a step of the node writes it: a step runs in the node's
// directory, and its file ends in the true value that loading it expects.
int BatchSession::env(QAStNode* node)
{
    const QString previous = QDir::currentPath();
    QDir::setCurrent(node->directory());
    node->generateEnv(_out);
    QDir::setCurrent(previous);
    _out << "\n1;\n";
    _out.flush();
    return ExitSuccess;
}

int BatchSession::clean(QAStNode* node)
{
    node->clean();
    _out << "cleaned " << pathOf(node) << '\n';
    return ExitSuccess;
}

void BatchSession::saveBuildState()
{
    if (_project->currentConfigurationName() != _documentConfiguration)
        _project->setCurrentConfiguration(_documentConfiguration);
    _host.messages().hold();
    const bool saved = _project->saveProcess();
    const QString notes = _host.messages().release().simplified();
    if (!saved)
        reportError(QStringLiteral("the build was not recorded in %1, so the next run builds it again%2")
                        .arg(_project->path(), notes.isEmpty() ? QString() : QStringLiteral(": ") + notes));
}

void BatchSession::watch(QAStNode* top)
{
    QList<QAStNode*> pending {top};
    while (!pending.isEmpty()) {
        QAStNode* node = pending.takeLast();
        connect(node, &QAStNode::buildExecuteStarted, this, &BatchSession::nodeStarted);
        connect(node, &QAStNode::buildExecuteFinished, this, &BatchSession::nodeFinished);
        pending += node->children();
    }
}

void BatchSession::nodeStarted()
{
    const auto* node = qobject_cast<const QAStNode*>(sender());
    if (!node || _started.contains(node))
        return;
    _started[node].start();
    _out << "start " << pathOf(node) << '\n';
    _out.flush();
}

void BatchSession::nodeFinished()
{
    const auto* node = qobject_cast<const QAStNode*>(sender());
    // An end without a start is a node that had nothing to run, or the reset
    // of an ancestor's status as a run begins.
    if (!node || !_started.contains(node))
        return;
    const qint64 elapsed = _started.take(node).elapsed();
    ++_endedNodes;
    _out << "end " << pathOf(node) << ": " << executionStatusName(node->executionStatus())
         << QStringLiteral(" (%1 s)").arg(elapsed / 1000.0, 0, 'f', 2) << '\n';
    _failedNodes += node->executionStatus() == QAStData::ExecutionFailed;
    _failedTests += node->executionStatus() == QAStData::ExecutionTestFailed;
    if (auto* test = qobject_cast<QAStNodeTest*>(const_cast<QAStNode*>(node)))
        finishFollowing(test);
    _out.flush();
}

// The run is over: what the program still wrote is split before the files
// are named, so that they are whole when the caller reads them.
bool BatchSession::finishFollowing(QAStNodeTest* test)
{
    if (test->splitSurvey()) {
        test->stopOnTheFlySurvey();
        _followed.insert(test);
    }
    return _followed.contains(test);
}

int BatchSession::run(const QString& command, QAStNode* node)
{
    watch(node);
    _running = node;
    _failedNodes = _failedTests = _endedNodes = 0;
    _followed.clear();
    QElapsedTimer whole;
    whole.start();
    _out << command << ' ' << pathOf(node) << " in configuration " << quoted(node->currentConfigurationName())
         << '\n';
    _out.flush();
    QEventLoop* loop = nullptr;
    bool finished = false;
    // Queued, so that the library's own handlers of the end have run.
    const QMetaObject::Connection end = connect(node, &QAStNode::buildExecuteFinished, this, [&] {
        finished = true;
        if (loop)
            loop->quit();
    }, Qt::QueuedConnection);
    if (command == QLatin1String("build"))
        node->build();
    else if (command == QLatin1String("rebuild"))
        node->rebuild();
    else
        node->execute();
    // Every run ends with the node's end signal. An execution of nodes that
    // are up to date starts no process: its walk goes on through queued
    // calls alone, and must be waited for all the same.
    if (!finished) {
        QEventLoop waiting;
        loop = &waiting;
        waiting.exec();
        loop = nullptr;
    }
    QCoreApplication::sendPostedEvents();
    disconnect(end);
    int status = node->executionStatus();
    // A container's execution runs its children and leaves its own status
    // as it was: what they ended with is the run's outcome.
    if (status == QAStData::ExecutionNone && _endedNodes)
        status = _failedNodes ? QAStData::ExecutionFailed
            : _failedTests    ? QAStData::ExecutionTestFailed
                              : QAStData::ExecutionSuccess;
    _out << command << ' ' << pathOf(node) << ": " << executionStatusName(status)
         << QStringLiteral(" (%1 s)").arg(whole.elapsed() / 1000.0, 0, 'f', 2);
    if (_failedNodes)
        _out << ", " << _failedNodes << (_failedNodes == 1 ? " node failed" : " nodes failed");
    if (_failedTests)
        _out << ", " << _failedTests << (_failedTests == 1 ? " test node failed" : " test nodes failed");
    _out << '\n';
    _out.flush();
    BatchOutputs::report(*this, node, _out);
    _running = nullptr;
    if (_stopping || status == QAStData::ExecutionStopped)
        return ExitStopped;
    // A group's own script has the last word on the group's status, and it
    // may well succeed after a child failed; the caller must still learn
    // that something below failed.
    if (status == QAStData::ExecutionFailed || _failedNodes)
        return ExitBuildFailed;
    if (status == QAStData::ExecutionTestFailed || _failedTests)
        return ExitTestFailed;
    return ExitSuccess;
}

void BatchSession::stop()
{
    if (!_running)
        return;
    if (_stopping) {
        // A second request does not wait for the stop scripts.
        QAProcess::killAll();
        return;
    }
    _stopping = true;
    _out << "stopping " << pathOf(_running) << '\n';
    _out.flush();
    _running->stop();
}

int BatchSession::tagCommand(const QString& command, const QStringList& arguments)
{
    if (command == QLatin1String("tag"))
        return BatchTags::tag(_project.get(), arguments, _out);
    if (arguments.size() > 1) {
        reportError(QStringLiteral("too many arguments for tags"));
        return ExitUsage;
    }
    return BatchTags::tags(_project.get(), arguments.value(0), _out);
}
