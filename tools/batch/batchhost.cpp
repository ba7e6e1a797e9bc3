#include "batchhost.h"

#include "qainstall.h"
#include "qamessagebox.h"
#include "qastdata.h"

#include <QFileInfo>
#include <QTextStream>

// One call is one message, and the library leaves the line end of many to
// the console: without it a message would run into the next one.
void BatchConsole::write(const QString& text)
{
    if (text.isEmpty())
        return;
    QString message = text;
    if (!message.endsWith(QLatin1Char('\n')))
        message += QLatin1Char('\n');
    if (_held) {
        _kept += message;
        return;
    }
    _standardError.error(message);
}

void reportError(const QString& message)
{
    QTextStream(stderr) << "velmont-batch: " << message << '\n';
}

void BatchConsole::log(const QString& text)
{
    write(text);
}

void BatchConsole::error(const QString& text)
{
    ++_errors;
    write(text);
}

QString BatchConsole::release()
{
    _held = false;
    QString kept;
    kept.swap(_kept);
    return kept;
}

namespace {

// The program's path as the shell gave it is relative to the directory the
// program started in; a step runs in its node's directory, where the same
// relative path would find no interpreter.
QString absoluteProgram(const QString& argv0)
{
    return argv0.contains(QLatin1Char('/')) ? QFileInfo(argv0).absoluteFilePath() : argv0;
}

} // namespace

BatchHost::BatchHost(const QString& argv0)
    : _argv0(absoluteProgram(argv0)), _install(QAInstall::installDir(argv0)), _binaries(QAInstall::binaryDir(argv0))
{
}

QString BatchHost::scriptsDir()
{
    return _install + QStringLiteral("/lib/scripts");
}

QString BatchHost::helpDir()
{
    return QAInstall::helpDir(_argv0);
}

QString BatchHost::targetDir()
{
    return QAInstall::targetDir(_argv0);
}

QString BatchHost::userName()
{
    return QString::fromLocal8Bit(qgetenv("USER"));
}

QStringList BatchHost::perlCommand()
{
    return QAInstall::perlCommand(_argv0);
}

QAILogMonitor* BatchHost::console(int console)
{
    return console == QAStData::MessageConsole ? &_messages : &_build;
}

QString BatchHost::applicationName()
{
    return QStringLiteral("velmont-batch");
}

int BatchHost::messageBox(QMessageBox::Icon, const QString& caption, const QString& text,
                          QMessageBox::StandardButtons, QMessageBox::StandardButton defaultButton)
{
    // The batch form writes one line to standard error and blocks nothing.
    QAMessageBox::warning(nullptr, false, caption, text, QMessageBox::Ok);
    return defaultButton == QMessageBox::NoButton ? int(QMessageBox::Ok) : int(defaultButton);
}
