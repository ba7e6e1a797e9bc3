#include "qalogconsole.h"

#include <QByteArray>
#include <QTextStream>

#include <cstdio>

namespace {

// Flushed at once: the text of a script and the lines that the host prints
// itself must reach a terminal or a pipe in the order they were written.
void write(QTextStream* stream, FILE* standard, const QString& text)
{
    if (stream) {
        *stream << text;
        stream->flush();
        return;
    }
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), standard);
    std::fflush(standard);
}

} // namespace

QALogConsole::QALogConsole() = default;

QALogConsole::QALogConsole(QTextStream* log, QTextStream* error) : _log(log), _error(error) {}

void QALogConsole::log(const QString& text)
{
    write(_log, stdout, text);
}

void QALogConsole::error(const QString& text)
{
    write(_error, stderr, text);
    ++_errorCount;
}

int QALogConsole::errorCount() const
{
    return _errorCount;
}

void QALogConsole::resetError()
{
    _errorCount = 0;
}
