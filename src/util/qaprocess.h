#pragma once

#include "sdk_export.h"

#include <QByteArray>
#include <QDir>
#include <QHash>
#include <QList>
#include <QObject>
#include <QProcess>
#include <QStringList>

class QTextCodec;

/// A child process with text signals: standard output and standard error
/// arrive decoded, in batches of whole lines, and the end comes as one signal.
///
/// The synchronous mode keeps the event loop turning while it waits, so slots
/// of other objects (and of this object's own receivers) run inside start().
///
/// Each run leads a process group of its own: kill() and tryTerminate() reach
/// whatever the child started as well, and a terminal's Ctrl-C reaches the
/// host alone, which stops a run through its own means.
class SDK_EXPORT QAProcess : public QObject
{
    Q_OBJECT
public:
    explicit QAProcess(QObject* parent = nullptr, const char* name = nullptr);
    ~QAProcess() override;

    bool start(const QStringList& args, const QDir& workingDir, bool& normalExit, int& exitStatus,
               QStringList* environment = nullptr, bool asynchronous = true);
    bool start(const QString& commandLine, const QDir& workingDir, bool& normalExit, int& exitStatus,
               QStringList* environment = nullptr, bool asynchronous = true);

    static void commandLineToArgs(const QString& commandLine, QStringList& args);
    static void killAll();
    /// The processes started and not yet ended; a shutdown kills them.
    static int runningCount();
    /// Kills what is left of the process groups that runs led, and waits up
    /// to \a msecs until they are gone; a member that became a child of this
    /// process is reaped. For the end of a program, once the objects that ran
    /// the processes are deleted: a group whose leader runs still is left to
    /// its object. False when some group outlived the wait.
    static bool endGroups(int msecs);

    void kill();
    void tryTerminate();
    qint64 pid() const;
    void setTextCodec(QTextCodec* codec);
    QTextCodec* textCodecUsed() const { return textCodec; }
    bool isFinished() const { return finished; }

signals:
    void stdoutReceived(const QString& text);
    void stderrReceived(const QString& text);
    void exited(bool normalExit, int exitStatus);

public slots:
    void stdoutRead();
    void stderrRead();
    void terminated();

private:
    void readChannel(QProcess::ProcessChannel channel, bool flushTail);
    void releaseProcess();
    void finish();
    void signalGroup(int signal);
    void leaderReaped();

    QProcess* process = nullptr;
    bool finished = false;
    bool normalExit = false;
    bool failed = false;
    bool asynchronous = true;
    QTextCodec* textCodec = nullptr;
    bool lineByLine = false;
    /// Slots of this object that a signal of the QProcess runs at the moment;
    /// while there is one, the QProcess is deleted later, not at once.
    int deliveringSignals = 0;
    /// The process group of the current run: the child's own process id.
    qint64 group = 0;

    static QList<QAProcess*> _listOfProcess;
    /// Every group a run led that may still have members, with the object
    /// whose child leads it, or null once that leader is reaped.
    static QHash<qint64, QAProcess*> _groups;
};

/// Splits \a text on \a separator; a separator preceded by a backslash is kept
/// as text and loses the backslash. A last piece that is empty or one character
/// long is not added.
SDK_EXPORT QStringList splitWithEscapeSequence(const QString& separator, const QString& text);
