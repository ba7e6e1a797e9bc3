#include "qastmetricmanager.h"

#include "qafileutil.h"
#include "qastperlgen.h"
#include "qatrace.h"

#include <QProgressDialog>
#include <QTextStream>

QAStMetricManager::QAStMetricManager(QAStNode* node)
    : QAStNode(QStringLiteral("Metrics"), QPixmap()), current(files.cend()), node(node)
{
}

QAStMetricManager::QAStMetricManager(const QStringList& files, QAStNode* node, bool cancelEnabled,
                                     bool autoDelete)
    : QAStNode(QStringLiteral("Metrics"), QPixmap()), autoDelete(autoDelete), cancelEnabled(cancelEnabled),
      files(files), current(this->files.cend()), node(node)
{
}

QAStMetricManager::~QAStMetricManager()
{
    delete progress;
}

void QAStMetricManager::setFileList(const QStringList& list)
{
    if (running)
        return;
    files = list;
    current = files.cend();
}

void QAStMetricManager::start()
{
    if (running || !node || files.isEmpty())
        return;
    if (cancelEnabled) {
        delete progress;
        progress = new QProgressDialog(tr("Computing Metric in progress"), tr("Abort"), 0, int(files.size()),
                                       mainWindow());
        progress->setModal(true);
        progress->setMinimumDuration(0);
        progress->setValue(0);
        progress->show();
        connect(progress, &QProgressDialog::canceled, this, &QAStMetricManager::stop);
    }
    stopped = false;
    running = true;
    emit computeMetricStarted();
    current = files.cbegin();
    warning(" _itFile begin = %s", qPrintable(*current));
    executeNextFile();
}

void QAStMetricManager::executeNextFile()
{
    clearOutFileNames();
    QTextStream stream;
    // Without an environment file the batch cannot go on; it stays under
    // way, and only the abort button ends it.
    if (node && !createEnvironmentFile(stream)) {
        success = false;
        return;
    }
    if (cancelEnabled && progress) {
        progress->setLabelText(tr("Compute Metric for File:%1").arg(*current));
        progress->setValue(progress->value() + 1);
    }
    node->generateEnv(stream);
    stream << "$METDIR='" << QAStPerlGen::safeStr(QAFileUtil::perlDirPath(directory()), nullptr) << "';\n";
    stream << "$FILENAME='"
           << QAStPerlGen::safeStr(QAFileUtil::perlDirPath(node->determineAbsolutePathFile(*current)), nullptr)
           << "';\n";
    stream << "$LOGFILENAME2='" << QAStPerlGen::perlQuoted(QAFileUtil::perlDirPath(logFilename())) << "';\n";
    connect(this, &QAStData::perlScriptTerminated, this, &QAStMetricManager::nextFileToCompute);
    executePerlScript(QStringLiteral("Metrics.pl"), directory(), &stream, true, MessageConsole);
}

void QAStMetricManager::nextFileToCompute()
{
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStMetricManager::nextFileToCompute);
    const int status = executionStatus();
    if (status == ExecutionFailed) {
        warning("QAStMetricManager::nextFileToCompute -Failed-");
        success = false;
        ++current;
    } else if (status == ExecutionStopped) {
        warning("QAStMetricManager::nextFileToCompute -Stopped-");
        success = false;
        current = files.cend();
    } else {
        readLogFile();
        QStringList& entry = metricFiles[*current];
        entry.clear();
        outFileNames(QStringLiteral("MET"), entry);
        ++current;
    }
    if (current == files.cend()) {
        warning("QAStMetricManager::nextFileToCompute -The End-");
        terminate();
    } else {
        warning("QAStMetricManager::nextFileToCompute -Execute Next-");
        executeNextFile();
    }
}

void QAStMetricManager::stop()
{
    warning("QAStMetricManager::stop 1");
    if (!running)
        return;
    warning("QAStMetricManager::stop 2");
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStMetricManager::nextFileToCompute);
    QAStData::stop();
    stopped = true;
    success = false;
    terminate();
}

void QAStMetricManager::terminate()
{
    warning("QAStMetricManager::terminate");
    current = files.cend();
    if (cancelEnabled && progress) {
        disconnect(progress, &QProgressDialog::canceled, this, &QAStMetricManager::stop);
        progress->hide();
    }
    running = false;
    emit computeMetricFinished();
    if (autoDelete)
        deleteLater();
}

QMenu* QAStMetricManager::popupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStMetricManager::addChildPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStMetricManager::addNextPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStMetricManager::viewPopupMenu(QWidget*)
{
    return nullptr;
}

void QAStMetricManager::localActionMenuItems(QMenu*) {}

QStringList QAStMetricManager::vcsItems()
{
    return QStringList();
}

void QAStMetricManager::doubleClickAction() {}
