#pragma once

#include "viewercomponentinterface.h"

#include <QString>
#include <QStringList>

class QAILogMonitor;
class QAIProgressMonitor;
class QWidget;

/// A viewer of reports: it opens windows on files whose patterns filters()
/// gives, and turns a report into HTML for a batch export.
class SDK_EXPORT ViewerInterface : public ViewerComponentInterface
{
public:
    /// A new window on \a files, or null. A viewer may take files out of the
    /// list that it cannot show.
    virtual QWidget* create(QStringList& files, QWidget* parent, const char* name) = 0;
    /// The same, \a reload telling whether a window already showing them is
    /// refreshed rather than a new one opened.
    virtual QWidget* create(QStringList& files, bool reload, QWidget* parent, const char* name) = 0;
    /// The window that shows \a file, or null.
    virtual QWidget* openedWindow(const QString& file) = 0;
    virtual bool exportHTML(const QString& file, const QString& target, QAIProgressMonitor* progress,
                            QAILogMonitor* log) = 0;
};
