#pragma once

#include "qailogmonitor.h"

class QTextStream;

/// The console end of a batch run: text goes to the streams it was given, or
/// to the standard streams of the process when it was given none. Nothing is
/// added to the text, not even a line feed.
class SDK_EXPORT QALogConsole : public QAILogMonitor
{
public:
    QALogConsole();
    QALogConsole(QTextStream* log, QTextStream* error);

    void log(const QString& text) override;
    void error(const QString& text) override;
    int errorCount() const override;
    void resetError() override;

private:
    int _errorCount = 0;
    QTextStream* _log = nullptr;
    QTextStream* _error = nullptr;
};
