#pragma once

#include "sdk_export.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <ctime>

class QTimer;

/// Takes the lines of a poll in batches, ahead of the line signal: whole
/// lines, each with its line feed, none holding a carriage return or a NUL
/// byte. For a reader that handles millions of lines, to which a signal for
/// each would cost more than the rest of its work.
class SDK_EXPORT QAFileSurveyReader
{
public:
    virtual ~QAFileSurveyReader() = default;
    virtual void takeLines(const char* lines, qsizetype size) = 0;
};

/// Follows one file on disk by polling, for files that another process
/// writes while the target runs: each poll opens the file, reads what was
/// appended since the last one, cuts it into lines and closes it again, so the
/// writer is never disturbed and a file deleted and written again is found
/// afresh.
///
/// An idle file backs off: each quiet poll lengthens the delay, up to 1000
/// times the base delay; a byte that arrives brings it back to the base.
/// Carriage returns and NUL bytes never reach a line; a byte 0xFF is taken as
/// the end of the file, so a stream holding one stalls there for good.
class SDK_EXPORT QAFileSurvey : public QObject
{
    Q_OBJECT
public:
    /// What a shrink or a disappearance does: signal only and read on, stop
    /// (a shrink is then resumed at the end of the poll), or read the file
    /// again from its first byte.
    enum Policy { Signal = 0, Stop = 1, Restart = 2 };

    QAFileSurvey(const QString& path, int delay, bool snapShot = false, QObject* parent = nullptr,
                 const char* name = nullptr);
    ~QAFileSurvey() override;

    bool isActive() const;
    void start();
    void stop();
    void restart(bool snapShot);
    /// Everything in the file at this moment will never be reported.
    void snapShot();
    void setDelay(int delay);
    /// \a reader, which the survey does not own, gets every line from now on.
    void setReader(QAFileSurveyReader* reader) { _reader = reader; }

    void setShrinkPolicy(int policy) { _shrinkPolicy = policy; }
    void setDisappearPolicy(int policy) { _disappearPolicy = policy; }
    int shrinkPolicy() const { return _shrinkPolicy; }
    int disappearPolicy() const { return _disappearPolicy; }
    QString path() const { return _path; }
    qint64 position() const { return _position; }
    int delay() const { return _baseDelay; }
    /// The interval of the next (re)start of the polling timer.
    int currentDelay() const { return _currentDelay; }

signals:
    void fileAppear();
    void fileDisappear();
    void fileShrink();
    /// Once for each byte read.
    void fileGrow();
    /// A whole line, its line feed included; valid during the emission only.
    void hasNewLine(const char* line);
    /// The modification time changed, and then stayed for the settle delay.
    void fileModified();
    void modified(const QString& path);
    void surveyDone();

public slots:
    void survey();
    void modificationFinished();

private:
    bool disappearing();
    bool shrinking();
    /// Applies \a policy to an \a event of the file, which is \a gone for a
    /// disappearance; true when the reading must end.
    bool follow(int policy, void (QAFileSurvey::*event)(), bool gone);
    void lengthenDelay();
    void noteModification(time_t modification);
    /// Reads and dispatches everything from position up to \a size.
    void readToEnd(int fd, qint64 size);
    void deliverLine(char* line, qsizetype length);
    void deliverBuffer();

    QString _path;
    QTimer* _timer = nullptr;
    QByteArray _lineBuffer;
    qint64 _position = 0;
    bool _exists = false;
    int _shrinkPolicy = Stop;
    int _disappearPolicy = Signal;
    int _baseDelay = 0;
    int _currentDelay = 0;
    time_t _lastModification = 0;
    bool _modificationKnown = false;
    int _settleDelay = 500;
    QTimer* _settleTimer = nullptr;
    /// Counts the restarts, so that a reading learns that one happened.
    quint64 _generation = 0;
    QAFileSurveyReader* _reader = nullptr;
    /// The block read at a time; kept between polls to spare an allocation.
    QByteArray _block;
};
