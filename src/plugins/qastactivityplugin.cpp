#include "qastactivityplugin.h"

#include "activityinterface.h"
#include "qastpluginfaces_p.h"

namespace {

class QAStActivityPluginPrivate : public QAStFeatureComponent<QAStActivityPlugin, ActivityInterface, IID_Activity>
{
public:
    using QAStFeatureComponent::QAStFeatureComponent;

    bool start(const QString& feature, QUnknownInterface* studio, QWidget* parent) override
    {
        return plugin && plugin->start(feature, studio, parent);
    }
};

} // namespace

QUnknownInterface* QAStActivityPlugin::component()
{
    return static_cast<ActivityInterface*>(new QAStActivityPluginPrivate(this));
}

bool QAStActivityPlugin::start(const QString&, QUnknownInterface*, QWidget*) { return false; }
