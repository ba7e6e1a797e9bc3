#include "qasteditorplugin.h"

#include "editorinterface.h"
#include "qastpluginfaces_p.h"

namespace {

// An editor says nothing of itself beyond its component information.
class QAStEditorPluginPrivate : public QAStComponent<QAStEditorPlugin, QAStWindowFace<EditorInterface>,
                                                     QAStComponentInformationFace, QAStPreferenceFace,
                                                     QAStLibraryFace>
{
public:
    using QAStComponent::QAStComponent;

    QWidget* create(QWidget* parent, const char* name) override
    {
        return plugin ? plugin->create(parent, name) : nullptr;
    }
    QWidget* openedWindow(const QString& file) override { return plugin ? plugin->openedWindow(file) : nullptr; }

protected:
    QUnknownInterface* face(const QUuid& id) override
    {
        if (id == IID_QUnknown || id == IID_ViewerComponent || id == IID_Editor)
            return static_cast<EditorInterface*>(this);
        return nullptr;
    }
};

} // namespace

QUnknownInterface* QAStEditorPlugin::component()
{
    return static_cast<EditorInterface*>(new QAStEditorPluginPrivate(this));
}

QWidget* QAStEditorPlugin::create(QWidget*, const char*) { return nullptr; }
QWidget* QAStEditorPlugin::openedWindow(const QString&) { return nullptr; }
