#pragma once

#include "qailogmonitor.h"
#include "qalogconsole.h"
#include "studiointerface.h"

#include <QString>

/// Writes one line "velmont-batch: \a message" to standard error.
void reportError(const QString& message);

/// A console end for a run without a user: text goes to standard error, the
/// stream that batch mode keeps for whatever is not the program's own
/// report; each message ends its line. While held, the text is kept instead, so that the caller can turn
/// it into one line of its own.
class BatchConsole : public QAILogMonitor
{
public:
    void log(const QString& text) override;
    void error(const QString& text) override;
    int errorCount() const override { return _errors; }
    void resetError() override { _errors = 0; }

    void hold() { _held = true; }
    /// Stops holding and gives what was kept.
    QString release();

private:
    void write(const QString& text);

    QALogConsole _standardError {nullptr, nullptr};
    bool _held = false;
    QString _kept;
    int _errors = 0;
};

/// The host of a batch run: it finds its installation from the program's own
/// path, has no widgets, answers every question with its default and cancels
/// every request for text.
class BatchHost : public StudioInterface
{
public:
    explicit BatchHost(const QString& argv0);

    QString installDir() override { return _install; }
    QString scriptsDir() override;
    QString binaryDir() override { return _binaries; }
    QString helpDir() override;
    QString targetDir() override;
    QString userName() override;
    QStringList perlCommand() override;
    QAILogMonitor* console(int console) override;
    QString applicationName() override;
    /// The batch host shows no windows, yet it follows a running test's
    /// coverage and trace: the splitter fills their files, and the session
    /// says where they are when the test ends.
    QStringList viewerFeatureList() override;
    int messageBox(QMessageBox::Icon icon, const QString& caption, const QString& text,
                   QMessageBox::StandardButtons buttons,
                   QMessageBox::StandardButton defaultButton) override;

    /// Both consoles, the build and the message one.
    BatchConsole& messages() { return _messages; }

private:
    QString _argv0;
    QString _install;
    QString _binaries;
    BatchConsole _build;
    BatchConsole _messages;
};
