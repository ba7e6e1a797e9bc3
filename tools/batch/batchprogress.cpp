#include "batchprogress.h"

#include <QTextStream>

#include <unistd.h>

BatchProgress* BatchProgress::_current = nullptr;

BatchProgress::BatchProgress(QTextStream& out, bool terminal) : _out(out), _terminal(terminal)
{
    _tick.setInterval(1000);
    connect(&_tick, &QTimer::timeout, this, &BatchProgress::draw);
    _redraw.setSingleShot(true);
    _redraw.setInterval(0);
    connect(&_redraw, &QTimer::timeout, this, &BatchProgress::draw);
    if (_terminal)
        _current = this;
}

BatchProgress::~BatchProgress()
{
    finish();
    if (_current == this)
        _current = nullptr;
}

bool BatchProgress::outputIsTerminal()
{
    const QByteArray term = qgetenv("TERM");
    return ::isatty(STDOUT_FILENO) && !term.isEmpty() && term != "dumb";
}

void BatchProgress::hideLine()
{
    if (_current)
        _current->hide();
}

void BatchProgress::start(int total)
{
    _total = total;
    _started = 0;
    _clock.start();
    if (_terminal)
        _tick.start();
}

void BatchProgress::nodeStarted(const QString& path)
{
    ++_started;
    // A plan counts what it can foresee; a run may start more.
    _total = std::max(_total, _started);
    _running = path;
    hide();
}

void BatchProgress::nodeEnded()
{
    hide();
}

void BatchProgress::finish()
{
    _tick.stop();
    _redraw.stop();
    if (_shown) {
        _out << "\r\x1b[K";
        _out.flush();
        _shown = false;
    }
    _running.clear();
}

// The line goes at once, and comes back when the writer is done with its
// lines, which it writes before the event loop turns again.
void BatchProgress::hide()
{
    if (!_terminal)
        return;
    if (_shown) {
        _out << "\r\x1b[K";
        _out.flush();
        _shown = false;
    }
    if (_tick.isActive())
        _redraw.start();
}

void BatchProgress::draw()
{
    if (!_terminal || _running.isEmpty())
        return;
    _out << "\r\x1b[K"
         << QStringLiteral("[%1/%2] %3  %4 s").arg(_started).arg(_total).arg(_running).arg(_clock.elapsed() / 1000);
    _out.flush();
    _shown = true;
}
