#include "qafilesurvey.h"

#include "qafileutil.h"
#include "qatrace.h"

#include <QMetaMethod>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

// Large enough that a busy stream costs few system calls; the file is read to
// its end within one poll whatever its size.
constexpr qsizetype blockSize = 256 * 1024;
constexpr int maximumBackOff = 1000;

const char* findOr(const char* from, const char* end, char c)
{
    const void* found = std::memchr(from, c, size_t(end - from));
    return found ? static_cast<const char*>(found) : end;
}

} // namespace

QAFileSurvey::QAFileSurvey(const QString& path, int delay, bool snapShot, QObject* parent, const char* name)
    : QObject(parent), _path(path), _baseDelay(delay), _currentDelay(delay)
{
    if (name)
        setObjectName(QString::fromLatin1(name));
    _timer = new QTimer(this);
    _timer->setObjectName(QStringLiteral("f-survey"));
    connect(_timer, &QTimer::timeout, this, &QAFileSurvey::survey);
    if (snapShot)
        this->snapShot();
}

QAFileSurvey::~QAFileSurvey()
{
    _timer->stop();
    delete _timer;
}

bool QAFileSurvey::isActive() const
{
    return _timer && _timer->isActive();
}

void QAFileSurvey::start()
{
    _timer->start(_currentDelay);
}

void QAFileSurvey::stop()
{
    _timer->stop();
}

void QAFileSurvey::restart(bool snapShot)
{
    stop();
    _lineBuffer.clear();
    _position = 0;
    _exists = false;
    _modificationKnown = false;
    // A reading under way must not go on at the old offsets.
    ++_generation;
    if (snapShot)
        this->snapShot();
    start();
}

void QAFileSurvey::snapShot()
{
    const int fd = QAFileUtil::open(_path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        _exists = false;
        return;
    }
    const off_t end = ::lseek(fd, 0, SEEK_END);
    if (end >= 0) {
        _position = end;
        _exists = true;
    }
    struct stat status;
    if (::fstat(fd, &status) == 0) {
        _lastModification = status.st_mtime;
        _modificationKnown = true;
    }
    ::close(fd);
}

void QAFileSurvey::setDelay(int delay)
{
    _baseDelay = delay;
    _currentDelay = delay;
    _timer->setInterval(delay);
}

void QAFileSurvey::lengthenDelay()
{
    _currentDelay = int(std::min<qint64>(qint64(_currentDelay) + _baseDelay, qint64(_baseDelay) * maximumBackOff));
}

void QAFileSurvey::noteModification(time_t modification)
{
    if (modification == _lastModification) {
        lengthenDelay();
        return;
    }
    _lastModification = modification;
    // The first time ever seen is no change: a file just surveyed must not
    // look modified.
    if (_modificationKnown) {
        if (!_settleTimer) {
            _settleTimer = new QTimer(this);
            _settleTimer->setObjectName(QStringLiteral("f-survey"));
            _settleTimer->setSingleShot(true);
            connect(_settleTimer, &QTimer::timeout, this, &QAFileSurvey::modificationFinished);
        }
        _settleTimer->start(_settleDelay);
    }
    _currentDelay = _baseDelay;
    _modificationKnown = true;
}

void QAFileSurvey::survey()
{
    const int fd = QAFileUtil::open(_path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        if (_exists)
            disappearing();
        emit surveyDone();
        return;
    }
    if (!_exists)
        emit fileAppear();
    _exists = true;

    struct stat status;
    // A poll reads what the file held when it began: a listener that writes
    // into the file it follows must not keep the poll going for ever.
    qint64 size = std::numeric_limits<qint64>::max();
    if (::fstat(fd, &status) == 0) {
        noteModification(status.st_mtime);
        size = status.st_size;
    }
    if (::lseek(fd, off_t(_position), SEEK_SET) < 0) {
        ::close(fd);
        emit surveyDone();
        return;
    }
    // Stopped while the listeners run, so that a slow one cannot cause a
    // second poll inside this one.
    stop();
    warning("check for new Line for %s (delay = %d)", qPrintable(_path), _currentDelay);
    lengthenDelay();
    readToEnd(fd, size);
    start();
    ::close(fd);
    emit surveyDone();
}

void QAFileSurvey::deliverLine(char* line, qsizetype length)
{
    if (_reader)
        _reader->takeLines(line, length);
    // The byte behind the line feed is borrowed for the terminator; the block
    // has room for one byte more than is ever read into it.
    const char kept = line[length];
    line[length] = '\0';
    emit hasNewLine(line);
    line[length] = kept;
}

void QAFileSurvey::deliverBuffer()
{
    // Emptied before the delivery: a listener may restart the survey.
    QByteArray line = std::exchange(_lineBuffer, QByteArray());
    if (_reader)
        _reader->takeLines(line.constData(), line.size());
    emit hasNewLine(line.constData());
}

void QAFileSurvey::readToEnd(int fd, qint64 size)
{
    static const QMetaMethod growSignal = QMetaMethod::fromSignal(&QAFileSurvey::fileGrow);
    static const QMetaMethod lineSignal = QMetaMethod::fromSignal(&QAFileSurvey::hasNewLine);
    // Once for the poll: a listener connected during it waits for the next.
    const bool eachByte = isSignalConnected(growSignal);
    const bool batches = _reader && !eachByte && !isSignalConnected(lineSignal);
    if (_block.size() != blockSize + 1)
        _block.resize(blockSize + 1);
    const quint64 generation = _generation;
    bool stalled = false;
    while (!stalled) {
        char* const data = _block.data();
        const ssize_t got = ::read(fd, data, size_t(std::clamp<qint64>(size - _position, 0, blockSize)));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        // A byte 0xFF reads as the end of the file: the position stays in
        // front of it, so that every later poll stops at the same place.
        const char* end = findOr(data, data + got, '\xff');
        stalled = end != data + got;
        const char* carriageReturn = data - 1;
        const char* nul = data - 1;
        for (char* p = data; p < end && generation == _generation;) {
            if (carriageReturn < p)
                carriageReturn = findOr(p, end, '\r');
            if (nul < p)
                nul = findOr(p, end, '\0');
            if (batches && _lineBuffer.isEmpty()) {
                // Every whole line up to the next byte that must be dropped.
                const char* limit = std::min(carriageReturn, nul);
                if (const void* last = ::memrchr(p, '\n', size_t(limit - p))) {
                    const qsizetype taken = static_cast<const char*>(last) + 1 - p;
                    _position += taken;
                    _currentDelay = _baseDelay;
                    _reader->takeLines(p, taken);
                    p += taken;
                    continue;
                }
            }
            const char* lineFeed = findOr(p, end, '\n');
            char* const next = lineFeed == end ? const_cast<char*>(end) : const_cast<char*>(lineFeed) + 1;
            _position += next - p;
            _currentDelay = _baseDelay;
            if (eachByte) {
                for (qsizetype i = next - p; i > 0 && generation == _generation; --i)
                    emit fileGrow();
                if (generation != _generation)
                    break;
            }
            // Carriage returns and NUL bytes never reach a line: a NUL would
            // end the text that the listeners see in the middle of a record.
            if (carriageReturn < next || nul < next) {
                for (const char* c = p; c < next; ++c) {
                    if (*c != '\r' && *c != '\0')
                        _lineBuffer.append(*c);
                }
            } else if (lineFeed != end && _lineBuffer.isEmpty()) {
                deliverLine(p, next - p);
                p = next;
                continue;
            } else {
                _lineBuffer.append(p, next - p);
            }
            if (lineFeed != end)
                deliverBuffer();
            p = next;
        }
        if (generation != _generation)
            return;
    }
    const off_t end = ::lseek(fd, 0, SEEK_END);
    if (end >= 0 && end < _position) {
        _position = end;
        shrinking();
    }
}

bool QAFileSurvey::disappearing()
{
    return follow(_disappearPolicy, &QAFileSurvey::fileDisappear, true);
}

bool QAFileSurvey::shrinking()
{
    return follow(_shrinkPolicy, &QAFileSurvey::fileShrink, false);
}

bool QAFileSurvey::follow(int policy, void (QAFileSurvey::*event)(), bool gone)
{
    switch (policy) {
    case Signal:
    case Stop:
        if (policy == Stop)
            stop();
        if (gone)
            _exists = false;
        emit(this->*event)();
        return policy == Stop;
    case Restart:
        stop();
        emit(this->*event)();
        restart(false);
        return true;
    default:
        return true;
    }
}

void QAFileSurvey::modificationFinished()
{
    if (_settleTimer) {
        _settleTimer->stop();
        // Deleted later: this runs inside the timer's own signal.
        _settleTimer->deleteLater();
        _settleTimer = nullptr;
    }
    emit fileModified();
    emit modified(_path);
}
