#pragma once

#include "sdk_export.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

class QAStFile;
class QProgressDialog;

/// Runs the tag pass over a list of files, one after the other: a file's
/// taggingTerminated() starts the next. Only one tag file can be read at a
/// time, so files are never analysed side by side.
class SDK_EXPORT QAStFileAnalyse : public QObject
{
    Q_OBJECT
public:
    explicit QAStFileAnalyse(const QList<QAStFile*>& files, bool force = true, QObject* parent = nullptr);
    ~QAStFileAnalyse() override;

    void setAutoDelete(bool on) { _autoDelete = on; }
    /// With cancel enabled, a progress dialog with an abort button shows.
    void setCancelEnabled(bool on) { _cancelEnabled = on; }
    void setForce(bool force) { _force = force; }
    bool inProgress() const { return _running != nullptr; }
    bool isStopped() const { return _stopped; }
    const QList<QPointer<QAStFile>>& files() const { return _files; }

signals:
    void analyseStart();
    void analyseFinished();

public slots:
    void start();
    void stop();

private slots:
    void taggingNextFileInformation();
    void displayProgress();

private:
    void taggingFirstFileInformation();
    void taggingFile(QAStFile* file);
    void terminate();

    bool _autoDelete = false;
    bool _cancelEnabled = false;
    bool _stopped = false;
    bool _force = true;
    QList<QPointer<QAStFile>> _files;
    /// The working copy of the list, null when idle; its head is the file
    /// being analysed.
    QList<QPointer<QAStFile>>* _running = nullptr;
    QProgressDialog* _progress = nullptr;
    QTimer _timer;
    int _step = 0;
};
