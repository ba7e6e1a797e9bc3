#pragma once

#include "qaststudioplugin.h"

class QAILogMonitor;
class QAIProgressMonitor;

/// The class a plug-in of a report viewer derives from. It overrides
/// filters(), the patterns of the files it reads, and create(), which opens
/// a window on such files.
class SDK_EXPORT QAStViewerPlugin : public QAStStudioPlugin
{
    Q_OBJECT
public:
    using QAStStudioPlugin::QAStStudioPlugin;

    QUnknownInterface* component() override;

    virtual QWidget* create(QStringList& files, QWidget* parent, const char* name);
    /// The one above by default, whatever \a reload says.
    virtual QWidget* create(QStringList& files, bool reload, QWidget* parent, const char* name);
    virtual QWidget* openedWindow(const QString& file);
    virtual bool exportHTML(const QString& file, const QString& target, QAIProgressMonitor* progress,
                            QAILogMonitor* log);
};
