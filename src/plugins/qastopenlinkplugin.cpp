#include "qastopenlinkplugin.h"

#include "openlinkinterface.h"
#include "qastpluginfaces_p.h"

namespace {

class QAStOpenLinkPluginPrivate : public QAStComponent<QAStOpenLinkPlugin, OpenLinkInterface,
                                                       QAStComponentInformationFace, QAStInformationFace,
                                                       QAStLibraryFace>
{
public:
    using QAStComponent::QAStComponent;

    QString title() const override { return plugin ? plugin->title() : QString(); }
    bool doLink(const QString& text, QWidget* parent) override { return plugin && plugin->doLink(text, parent); }

protected:
    QUnknownInterface* face(const QUuid& id) override
    {
        if (id == IID_QUnknown || id == IID_OpenLink)
            return static_cast<OpenLinkInterface*>(this);
        return nullptr;
    }
};

} // namespace

QUnknownInterface* QAStOpenLinkPlugin::component()
{
    return static_cast<OpenLinkInterface*>(new QAStOpenLinkPluginPrivate(this));
}

QString QAStOpenLinkPlugin::title() const { return pluginName(); }
bool QAStOpenLinkPlugin::doLink(const QString&, QWidget*) { return false; }
