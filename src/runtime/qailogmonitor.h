#pragma once

#include "sdk_export.h"

#include <QString>

/// The small logging interface behind every console end: the console pane
/// (QAStOutputWidget), the standard streams of a batch run (QALogConsole), or
/// message boxes (QALogMessageBox). An error is counted until resetError(), so
/// that a caller learns whether a step gave errors.
class SDK_EXPORT QAILogMonitor
{
public:
    virtual ~QAILogMonitor();
    virtual void log(const QString& text) = 0;
    virtual void error(const QString& text) = 0;
    virtual int errorCount() const = 0;
    virtual void resetError() = 0;
};
