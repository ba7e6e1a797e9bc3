#include "qastviewerplugin.h"

#include "qastpluginfaces_p.h"
#include "viewerinterface.h"

namespace {

class QAStViewerPluginPrivate
    : public QAStComponent<QAStViewerPlugin, QAStWindowFace<ViewerInterface>, QAStComponentInformationFace,
                           QAStPreferenceFace, QAStInformationFace, QAStLibraryFace>
{
public:
    using QAStComponent::QAStComponent;

    QWidget* create(QStringList& files, QWidget* parent, const char* name) override
    {
        return plugin ? plugin->create(files, parent, name) : nullptr;
    }
    QWidget* create(QStringList& files, bool reload, QWidget* parent, const char* name) override
    {
        return plugin ? plugin->create(files, reload, parent, name) : nullptr;
    }
    QWidget* openedWindow(const QString& file) override { return plugin ? plugin->openedWindow(file) : nullptr; }
    bool exportHTML(const QString& file, const QString& target, QAIProgressMonitor* progress,
                    QAILogMonitor* log) override
    {
        return plugin && plugin->exportHTML(file, target, progress, log);
    }

protected:
    QUnknownInterface* face(const QUuid& id) override
    {
        if (id == IID_QUnknown || id == IID_ViewerComponent || id == IID_Viewer)
            return static_cast<ViewerInterface*>(this);
        return nullptr;
    }
};

} // namespace

QUnknownInterface* QAStViewerPlugin::component()
{
    return static_cast<ViewerInterface*>(new QAStViewerPluginPrivate(this));
}

QWidget* QAStViewerPlugin::create(QStringList&, QWidget*, const char*) { return nullptr; }
QWidget* QAStViewerPlugin::create(QStringList& files, bool, QWidget* parent, const char* name)
{
    return create(files, parent, name);
}
QWidget* QAStViewerPlugin::openedWindow(const QString&) { return nullptr; }
bool QAStViewerPlugin::exportHTML(const QString&, const QString&, QAIProgressMonitor*, QAILogMonitor*)
{
    return false;
}
