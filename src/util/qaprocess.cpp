#include "qaprocess.h"

#include "qatrace.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QPointer>
#include <QRegExp>
#include <QTextCodec>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

QList<QAProcess*> QAProcess::_listOfProcess;
QHash<qint64, QAProcess*> QAProcess::_groups;

namespace {

bool groupExists(qint64 group)
{
    return ::kill(pid_t(-group), 0) == 0 || errno == EPERM;
}

} // namespace

QAProcess::QAProcess(QObject* parent, const char* name)
    : QObject(parent), textCodec(QTextCodec::codecForLocale())
{
    if (name)
        setObjectName(QString::fromLatin1(name));
}

QAProcess::~QAProcess()
{
    _listOfProcess.removeAll(this);
    releaseProcess();
}

// Ends and frees the QProcess. A QProcess cannot outlive its object with the
// child still running; ending the child's group here, and waiting for the
// child, keeps the reaping quiet and bounded. A receiver may delete this
// object, or start the next run, from inside stdoutReceived, stderrReceived or
// exited: then a signal of that very QProcess is being delivered, Qt still runs
// code of it when the signal returns, and it may only be deleted later.
void QAProcess::releaseProcess()
{
    if (!process)
        return;
    const bool running = process->state() != QProcess::NotRunning;
    if (running)
        signalGroup(SIGKILL);
    QProcess* old = process;
    process = nullptr;
    old->disconnect(this);
    const bool insideItsSignal = deliveringSignals > 0;
    if (running && !insideItsSignal)
        old->waitForFinished(5000);
    if (insideItsSignal) {
        old->setParent(nullptr);
        old->deleteLater();
        // The leader is reaped later, by the QProcess: endGroups must not
        // reap it first, so the group is forgotten; it had its kill.
        if (running) {
            _groups.remove(group);
            group = 0;
        }
    } else {
        delete old;
    }
    leaderReaped();
}

// The number of a group stays reserved while any member lives, so a group
// still found under it is this run's; an empty one is forgotten.
void QAProcess::leaderReaped()
{
    if (group <= 0)
        return;
    if (groupExists(group))
        _groups.insert(group, nullptr);
    else
        _groups.remove(group);
    group = 0;
}

// While the leader is not reaped its number cannot name another group.
void QAProcess::signalGroup(int signal)
{
    if (!process || process->state() == QProcess::NotRunning)
        return;
    if (group > 0 && ::kill(pid_t(-group), signal) == 0)
        return;
    if (signal == SIGKILL)
        process->kill();
    else
        process->terminate();
}

bool QAProcess::start(const QStringList& args, const QDir& workingDir, bool& normalExit,
                      int& exitStatus, QStringList* environment, bool asynchronous)
{
    if (args.isEmpty())
        return false;
    finished = false;
    this->asynchronous = asynchronous;
    _listOfProcess.removeAll(this);
    releaseProcess();

    process = new QProcess(this);
    process->setProgram(args.first());
    process->setArguments(args.mid(1));
    process->setWorkingDirectory(workingDir.absolutePath());
    if (environment)
        process->setEnvironment(*environment);
    // Nobody writes to a script: reading its input must end at once, not hang.
    process->setStandardInputFile(QProcess::nullDevice());
    process->setChildProcessModifier([] { ::setpgid(0, 0); });
    connect(process, &QProcess::readyReadStandardError, this, &QAProcess::stderrRead);
    connect(process, &QProcess::readyReadStandardOutput, this, &QAProcess::stdoutRead);
    connect(process, &QProcess::finished, this, &QAProcess::terminated);

    process->start();
    if (!process->waitForStarted(-1)) {
        warning("%s: unable to start the command\n", qPrintable(args.first()));
        releaseProcess();
        return false;
    }
    group = process->processId();
    _groups.insert(group, this);
    _listOfProcess.append(this);

    if (!asynchronous) {
        QPointer<QAProcess> self(this);
        if (QCoreApplication::instance()) {
            // A nested loop keeps the user interface and other objects' slots
            // alive while this caller waits.
            QEventLoop loop;
            connect(this, &QAProcess::exited, &loop, &QEventLoop::quit);
            connect(this, &QObject::destroyed, &loop, &QEventLoop::quit);
            if (!finished)
                loop.exec();
        } else if (!finished) {
            process->waitForFinished(-1);
            if (self && !finished)
                terminated();
        }
        if (!self)
            return true;
        normalExit = this->normalExit;
        exitStatus = failed ? 1 : 0;
    }
    return true;
}

bool QAProcess::start(const QString& commandLine, const QDir& workingDir, bool& normalExit,
                      int& exitStatus, QStringList* environment, bool asynchronous)
{
    QStringList args;
    commandLineToArgs(commandLine, args);
    if (!args.isEmpty() && args.last().contains(QLatin1Char('&'))) {
        args.removeLast();
        asynchronous = true;
    }
    return start(args, workingDir, normalExit, exitStatus, environment, asynchronous);
}

void QAProcess::kill()
{
    signalGroup(SIGKILL);
}

void QAProcess::tryTerminate()
{
    signalGroup(SIGTERM);
}

void QAProcess::killAll()
{
    const QList<QAProcess*> running = _listOfProcess;
    for (QAProcess* member : running)
        member->kill();
    _listOfProcess.clear();
}

int QAProcess::runningCount()
{
    return int(_listOfProcess.size());
}

bool QAProcess::endGroups(int msecs)
{
    QList<qint64> left;
    for (auto it = _groups.cbegin(); it != _groups.cend(); ++it) {
        if (it.value())
            continue;
        ::kill(pid_t(-it.key()), SIGKILL);
        left.append(it.key());
    }
    const QDeadlineTimer deadline(msecs);
    for (;;) {
        for (qsizetype i = left.size() - 1; i >= 0; --i) {
            const qint64 each = left.at(i);
            // A member whose parent died is this process's child when this
            // process is a subreaper; reaping one may hand over the next.
            siginfo_t info {};
            while (::waitid(P_PGID, id_t(each), &info, WEXITED | WNOHANG) == 0 && info.si_pid != 0)
                info.si_pid = 0;
            if (!groupExists(each)) {
                _groups.remove(each);
                left.removeAt(i);
            }
        }
        if (left.isEmpty())
            return true;
        if (deadline.hasExpired())
            return false;
        QThread::msleep(5);
    }
}

qint64 QAProcess::pid() const
{
    return process ? process->processId() : -1;
}

void QAProcess::setTextCodec(QTextCodec* codec)
{
    if (codec)
        textCodec = codec;
}

void QAProcess::stdoutRead()
{
    QPointer<QAProcess> self(this);
    ++deliveringSignals;
    readChannel(QProcess::StandardOutput, false);
    if (self)
        --deliveringSignals;
}

void QAProcess::stderrRead()
{
    QPointer<QAProcess> self(this);
    ++deliveringSignals;
    readChannel(QProcess::StandardError, false);
    if (self)
        --deliveringSignals;
}

// The one place where process bytes become lines. While the process runs only
// whole lines leave; at its end, flushTail sends a last line that has no line
// end as well, completed with one.
void QAProcess::readChannel(QProcess::ProcessChannel channel, bool flushTail)
{
    if (!process)
        return;
    const bool isOut = channel == QProcess::StandardOutput;
    auto readyRead = isOut ? &QProcess::readyReadStandardOutput : &QProcess::readyReadStandardError;
    auto slot = isOut ? &QAProcess::stdoutRead : &QAProcess::stderrRead;

    // The receivers may turn the event loop; no second read may start meanwhile.
    disconnect(process, readyRead, this, slot);
    QPointer<QProcess> guard(process);
    process->setReadChannel(channel);
    QByteArray buffer;
    QList<QByteArray> lines;
    while (process->canReadLine()) {
        QByteArray line = process->readLine();
        if (line.endsWith('\n'))
            line.chop(1);
        if (line.endsWith('\r'))
            line.chop(1);
        line.append('\n');
        if (lineByLine)
            lines.append(line);
        else
            buffer.append(line);
    }
    if (flushTail && process->bytesAvailable() > 0) {
        QByteArray tail = process->readAll();
        tail.append('\n');
        if (lineByLine)
            lines.append(tail);
        else
            buffer.append(tail);
    }

    QPointer<QAProcess> self(this);
    auto deliver = [&](const QByteArray& bytes) {
        const QString text = textCodec->toUnicode(bytes);
        if (isOut)
            emit stdoutReceived(text);
        else
            emit stderrReceived(text);
    };
    for (const QByteArray& line : std::as_const(lines)) {
        deliver(line);
        if (!self)
            return;
    }
    if (!buffer.isEmpty())
        deliver(buffer);
    if (self && guard && guard == process) {
        connect(process, readyRead, this, slot, Qt::UniqueConnection);
        // Lines that came while the receivers turned the event loop raised a
        // signal that found no connection; read them on the next turn instead
        // of letting them wait for more output or for the end.
        process->setReadChannel(channel);
        if (process->canReadLine())
            QMetaObject::invokeMethod(this, slot, Qt::QueuedConnection);
    }
}

void QAProcess::terminated()
{
    if (!process || finished)
        return;
    QPointer<QAProcess> self(this);
    ++deliveringSignals;
    finish();
    if (self)
        --deliveringSignals;
}

// The receivers of the last lines may delete this object or start the next
// run; then the end of this run is no longer this object's to report.
void QAProcess::finish()
{
    QPointer<QAProcess> self(this);
    QProcess* const ended = process;
    readChannel(QProcess::StandardOutput, true);
    if (!self || process != ended)
        return;
    readChannel(QProcess::StandardError, true);
    if (!self || process != ended)
        return;
    normalExit = process->exitStatus() == QProcess::NormalExit;
    const int status = process->exitCode();
    finished = true;
    failed = !normalExit || status != 0;
    _listOfProcess.removeAll(this);
    leaderReaped();
    emit exited(normalExit, status);
}

// ---------------------------------------------------------------------------
// Command lines

namespace {

const char* const wordClass = R"([_A-Za-z0-9/\\:\.\+\~\#\{\}\[\]\|\@\$\%\,\;\?\!\-\*\&\=\<\>\)\(])";

QList<QRegExp> tokenExpressions()
{
    const QString word = QString::fromLatin1(wordClass);
    return {
        QRegExp(word + QLatin1String("+")),
        QRegExp(QLatin1String(R"(["]([^"]|[^"\\]|[\\]["\\]|)") + word + QLatin1String(R"()*["])")),
        QRegExp(QLatin1String(R"([']([^']|[^'\\]|[\\]['\\]|)") + word + QLatin1String(R"()*['])")),
        QRegExp(QLatin1String(R"([\&])")),
    };
}

} // namespace

void QAProcess::commandLineToArgs(const QString& commandLine, QStringList& args)
{
    args.clear();
    QList<QRegExp> expressions = tokenExpressions();
    // A match found from an earlier position that still begins at or behind
    // the current one is the match from the current one: keep it, so that a
    // long line is not searched again for every token.
    int index[4] = {-2, -2, -2, -2};
    int length[4] = {0, 0, 0, 0};
    int position = 0;
    while (position <= commandLine.size()) {
        int best = -1;
        for (int i = 0; i < 4; ++i) {
            if (index[i] == -2 || (index[i] >= 0 && index[i] < position)) {
                index[i] = expressions[i].indexIn(commandLine, position);
                length[i] = index[i] >= 0 ? expressions[i].matchedLength() : 0;
            }
            if (index[i] < 0)
                continue;
            if (best < 0 || index[i] < index[best]
                || (index[i] == index[best] && length[i] >= length[best]))
                best = i;
        }
        if (best < 0 || length[best] <= 0)
            break;
        const QString matched = commandLine.mid(index[best], length[best]);
        if (matched.startsWith(QLatin1Char('"')) || matched.startsWith(QLatin1Char('\'')))
            args.append(matched.mid(1, matched.size() - 2));
        else
            args.append(matched);
        position = index[best] + length[best];
    }
}

QStringList splitWithEscapeSequence(const QString& separator, const QString& text)
{
    QStringList pieces;
    QString rest = text;
    qsizetype start = 0;
    if (!separator.isEmpty()) {
        qsizetype from = 0;
        qsizetype found;
        while ((found = rest.indexOf(separator, from)) != -1) {
            // Only a backslash of the current piece escapes: the last character
            // of the previous separator (found == start) is no escape.
            if (found > start && rest.at(found - 1) == QLatin1Char('\\')) {
                rest.remove(found - 1, 1);
                from = found - 1 + separator.size();
                continue;
            }
            pieces.append(rest.mid(start, found - start));
            start = from = found + separator.size();
        }
    }
    if (start < rest.size() - 1)
        pieces.append(rest.mid(start));
    return pieces;
}
