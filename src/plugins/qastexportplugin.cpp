#include "qastexportplugin.h"

#include "exportinterface.h"
#include "qastpluginfaces_p.h"

namespace {

class QAStExportPluginPrivate : public QAStFeatureComponent<QAStExportPlugin, ExportInterface, IID_Export>
{
public:
    using QAStFeatureComponent::QAStFeatureComponent;

    bool doExport(const QString& feature, QUnknownInterface* studio, QWidget* parent) override
    {
        return plugin && plugin->doExport(feature, studio, parent);
    }
};

} // namespace

QUnknownInterface* QAStExportPlugin::component()
{
    return static_cast<ExportInterface*>(new QAStExportPluginPrivate(this));
}

bool QAStExportPlugin::doExport(const QString&, QUnknownInterface*, QWidget*) { return false; }
