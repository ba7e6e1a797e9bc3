#include "qastfileanalyse.h"

#include "qastdata.h"
#include "qastfile.h"

#include <QProgressDialog>

QAStFileAnalyse::QAStFileAnalyse(const QList<QAStFile*>& files, bool force, QObject* parent)
    : QObject(parent), _force(force)
{
    for (QAStFile* file : files)
        _files.append(file);
    connect(&_timer, &QTimer::timeout, this, &QAStFileAnalyse::displayProgress);
}

QAStFileAnalyse::~QAStFileAnalyse()
{
    delete _running;
    delete _progress;
}

void QAStFileAnalyse::start()
{
    if (inProgress())
        return;
    if (_cancelEnabled && !_progress) {
        _progress = new QProgressDialog(tr("Analysing file in progress"), tr("Abort"), 0, int(_files.size()),
                                        QAStData::mainWindow());
        _progress->setWindowModality(Qt::ApplicationModal);
        _timer.start(1000);
        connect(_progress, &QProgressDialog::canceled, this, &QAStFileAnalyse::stop);
    }
    _stopped = false;
    emit analyseStart();
    _running = new QList<QPointer<QAStFile>>(_files);
    taggingFirstFileInformation();
}

void QAStFileAnalyse::taggingFirstFileInformation()
{
    // A file deleted meanwhile is passed over.
    while (_running && !_running->isEmpty() && !_running->first())
        _running->removeFirst();
    if (!_running || _running->isEmpty()) {
        terminate();
        return;
    }
    taggingFile(_running->first());
}

void QAStFileAnalyse::taggingFile(QAStFile* file)
{
    connect(file, &QAStFile::taggingTerminated, this, &QAStFileAnalyse::taggingNextFileInformation);
    if (_progress) {
        _progress->setLabelText(tr("Analysing File:%1").arg(file->name()));
        _progress->setValue(_progress->value() + 1);
    }
    // A file that neither starts nor answers, for want of a project or an
    // environment file, would hold the queue: the next one goes.
    const int step = ++_step;
    file->taggingInformation(_force);
    if (_running && _step == step && !file->isTagging())
        taggingNextFileInformation();
}

void QAStFileAnalyse::taggingNextFileInformation()
{
    if (!_running)
        return;
    if (QAStFile* current = _running->isEmpty() ? nullptr : _running->first().data())
        disconnect(current, &QAStFile::taggingTerminated, this, &QAStFileAnalyse::taggingNextFileInformation);
    if (!_running->isEmpty())
        _running->removeFirst();
    taggingFirstFileInformation();
}

void QAStFileAnalyse::displayProgress()
{
    if (_progress)
        _progress->repaint();
}

void QAStFileAnalyse::stop()
{
    if (!_running)
        return;
    if (QAStFile* current = _running->isEmpty() ? nullptr : _running->first().data()) {
        disconnect(current, &QAStFile::taggingTerminated, this, &QAStFileAnalyse::taggingNextFileInformation);
        QAStFile::stopFileInformationProcess();
        current->stop();
    }
    _stopped = true;
    terminate();
}

void QAStFileAnalyse::terminate()
{
    delete _running;
    _running = nullptr;
    if (_progress) {
        _progress->deleteLater();
        _progress = nullptr;
    }
    _timer.stop();
    emit analyseFinished();
    _files.clear();
    if (_autoDelete)
        deleteLater();
}
