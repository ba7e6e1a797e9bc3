#include "qastimportplugin.h"

#include "importinterface.h"
#include "qastpluginfaces_p.h"

namespace {

class QAStImportPluginPrivate : public QAStFeatureComponent<QAStImportPlugin, ImportInterface, IID_Import>
{
public:
    using QAStFeatureComponent::QAStFeatureComponent;

    bool import(const QString& feature, QUnknownInterface* studio, QWidget* parent) override
    {
        return plugin && plugin->import(feature, studio, parent);
    }
};

} // namespace

QUnknownInterface* QAStImportPlugin::component()
{
    return static_cast<ImportInterface*>(new QAStImportPluginPrivate(this));
}

bool QAStImportPlugin::import(const QString&, QUnknownInterface*, QWidget*) { return false; }
