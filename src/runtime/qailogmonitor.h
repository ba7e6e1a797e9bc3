#pragma once

#include "sdk_export.h"

#include <QString>

/// The small logging interface behind every console end: a console pane, the
/// standard streams of a batch run, or message boxes.
class SDK_EXPORT QAILogMonitor
{
public:
    virtual ~QAILogMonitor();
    virtual void log(const QString& text) = 0;
    virtual void error(const QString& text) = 0;
    virtual int errorCount() const = 0;
    virtual void resetError() = 0;
};
