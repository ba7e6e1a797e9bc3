#include "metricscommand.h"

#include "batchhost.h"
#include "batchsession.h"
#include "qastmetricmanager.h"
#include "qmetelement.h"
#include "qmetmetric.h"
#include "qmettree.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFileInfo>
#include <QTextStream>

#include <cmath>

namespace {

QString number(float value)
{
    return QString::number(double(value), 'g', 6);
}

} // namespace

MetricsCommand::MetricsCommand(BatchSession& session, QTextStream& out, const QString& stroud)
    : _session(session), _out(out), _stroud(stroud)
{
}

int MetricsCommand::run(const QStringList& files)
{
    float stroud = DefaultStroud;
    if (!_stroud.isNull()) {
        bool ok = false;
        stroud = _stroud.toFloat(&ok);
        if (!ok || !std::isfinite(stroud) || stroud <= 0) {
            reportError(QStringLiteral("the Stroud number must be a positive number, not \"%1\"").arg(_stroud));
            return ExitUsage;
        }
    }
    if (files.isEmpty()) {
        reportError(QStringLiteral("metrics needs a file (velmont-batch --help tells more)"));
        return ExitUsage;
    }
    QStringList absolute;
    for (const QString& file : files)
        absolute << QFileInfo(file).absoluteFilePath();

    QAStMetricManager manager(absolute, _session.resolve(QString()), false, false);
    _manager = &manager;
    QEventLoop loop;
    connect(&manager, &QAStMetricManager::computeMetricFinished, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    // The batch waits for each script's end; a file whose environment file
    // cannot be written would leave it waiting for ever.
    connect(&manager, &QAStMetricManager::perlScriptTerminated, this, &MetricsCommand::checkProgress,
            Qt::QueuedConnection);
    manager.start();
    checkProgress();
    if (manager.inProgress())
        loop.exec();
    QCoreApplication::sendPostedEvents();
    _manager = nullptr;

    const QMap<QString, QStringList>& results = manager.metricFilesMap();
    int failed = 0;
    QStringList metricFiles;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const auto found = results.constFind(absolute.at(i));
        if (found == results.constEnd() || found->isEmpty()) {
            if (!manager.isStopped())
                reportError(QStringLiteral("no metrics for %1").arg(files.at(i)));
            ++failed;
            continue;
        }
        metricFiles << found.value();
    }
    QMetTree tree(metricFiles);
    tree.init();
    tree.stroudChange(stroud);
    if (QMetElement* root = tree.root()) {
        for (const QMetElement* file : root->children())
            printItem(file, 0);
        if (const QMetMetric* total = root->metric(QStringLiteral("TestingTime_SUM")))
            _out << "testing time of all files: " << number(total->value()) << " s (Stroud number "
                 << number(stroud) << ")\n";
    }
    _out.flush();
    if (manager.isStopped())
        return ExitStopped;
    return failed ? ExitBuildFailed : ExitSuccess;
}

void MetricsCommand::printItem(const QMetElement* item, int indent)
{
    const QString pad(indent * 2, QLatin1Char(' '));
    _out << pad << item->type().toLower() << ' ' << item->name();
    if (!item->className().isEmpty() && item->parentElement() && item->className() != item->parentElement()->name())
        _out << " of " << item->className();
    if (item->type() == QLatin1String("FILE"))
        _out << " in " << item->dir();
    else if (!item->line().isEmpty())
        _out << " at line " << item->line();
    _out << '\n';
    const bool file = item->type() == QLatin1String("FILE");
    // A function shows what was measured; a file and a class their own
    // values and the totals over their functions.
    QStringList values;
    for (auto it = item->metrics().constBegin(); it != item->metrics().constEnd(); ++it) {
        if (!file && item->children().isEmpty() && QMetElement::testEndSring(it.key()) != 0)
            continue;
        values << it.key() + QLatin1Char('=') + number(it.value()->value());
    }
    for (auto it = item->metrics2().constBegin(); it != item->metrics2().constEnd(); ++it)
        values << it.key() + QLatin1Char('=') + number(it.value()->value());
    if (!values.isEmpty())
        _out << pad << "  " << values.join(QLatin1Char(' ')) << '\n';
    for (const QMetElement* child : item->children())
        printItem(child, indent + 1);
}

void MetricsCommand::checkProgress()
{
    if (_manager && _manager->inProgress() && !_manager->runningProcess()) {
        reportError(QStringLiteral("the metrics batch cannot go on: no environment file could be written"));
        _manager->stop();
    }
}

void MetricsCommand::stop()
{
    if (_manager)
        _manager->stop();
}
