#include "batchprogress.h"

#include <QTextStream>

#include <sys/ioctl.h>
#include <unistd.h>

BatchProgress::BatchProgress(QTextStream& out, bool terminal) : _out(out), _terminal(terminal)
{
    _tick.setInterval(1000);
    connect(&_tick, &QTimer::timeout, this, &BatchProgress::draw);
}

BatchProgress::~BatchProgress()
{
    finish();
}

bool BatchProgress::outputIsTerminal()
{
    const QByteArray term = qgetenv("TERM");
    return ::isatty(STDOUT_FILENO) && !term.isEmpty() && term != "dumb";
}

void BatchProgress::start(int total)
{
    _total = total;
    _started = 0;
    _clock.start();
    if (!_terminal)
        return;
    winsize size = {};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row < 3 || size.ws_col < 10)
        return;
    _rows = size.ws_row;
    _columns = size.ws_col;
    // A new line first, so that the cursor is not on the row the region
    // leaves out; setting the region moves the cursor, hence the save.
    _out << "\n\x1b" "7\x1b[1;" << _rows - 1 << "r\x1b" "8\x1b[1A";
    _out.flush();
    _tick.start();
}

void BatchProgress::nodeStarted(const QString& path)
{
    ++_started;
    // A plan counts what it can foresee; a run may start more.
    _total = std::max(_total, _started);
    _running = path;
    draw();
}

void BatchProgress::finish()
{
    if (!_tick.isActive())
        return;
    _tick.stop();
    _out << "\x1b" "7\x1b[r\x1b[" << _rows << ";1H\x1b[K\x1b" "8";
    _out.flush();
    _running.clear();
}

void BatchProgress::draw()
{
    if (!_tick.isActive() || _running.isEmpty())
        return;
    QString line = QStringLiteral("[%1/%2] %3  %4 s").arg(_started).arg(_total).arg(_running).arg(_clock.elapsed() / 1000);
    // A line that wrapped would leave the region.
    if (line.size() >= _columns)
        line = line.left(_columns - 4) + QLatin1String("...");
    _out << "\x1b" "7\x1b[" << _rows << ";1H\x1b[K" << line << "\x1b" "8";
    _out.flush();
}
