#include "qasttestnodeplugin.h"

#include "configurationblockinterface.h"
#include "nodetaginterface.h"
#include "nodetestinterface.h"
#include "qastpluginfaces_p.h"

namespace {

QStringList prefixed(const char* prefix, const QStringList& features)
{
    QStringList result;
    for (const QString& feature : features)
        result << QLatin1String(prefix) + feature;
    return result;
}

class QAStTestNodePluginPrivate
    : public QAStComponent<QAStTestNodePlugin, NodeTestInterface, NodeTagInterface, ConfigurationBlockInterface,
                           QAStInformationFace, QAStLibraryFace>
{
public:
    using QAStComponent::QAStComponent;

    // A feature list holds every kind the plug-in serves, each under the
    // prefix by which the registry sorts it.
    QStringList featureList() const override
    {
        if (!plugin)
            return {};
        return prefixed("node:", plugin->nodeFeatures()) + prefixed("tag:", plugin->tagFeatures())
               + prefixed("conf:", plugin->configurationFeatures());
    }

    void initialize() override
    {
        if (plugin)
            plugin->initialize();
    }
    QString name(const QString& feature) const override { return plugin ? plugin->name(feature) : QString(); }
    QPixmap pixmap(const QString& feature) const override { return plugin ? plugin->pixmap(feature) : QPixmap(); }
    QAStData* nodeTest(const QString& feature, const QString& name, QAStData* parent, QAStData* after) override
    {
        return plugin ? plugin->nodeTest(feature, name, parent, after) : nullptr;
    }
    QAStData* nodeTest(const QString& feature, const QDomElement& element, int version, QAStData* parent,
                       QAStData* after) override
    {
        return plugin ? plugin->nodeTest(feature, element, version, parent, after) : nullptr;
    }
    bool toAddChild(const QString& feature, QAStData* parent, QAStData* after) override
    {
        return plugin && plugin->toAddChild(feature, parent, after);
    }
    bool toAddNext(const QString& feature, QAStData* parent, QAStData* after) override
    {
        return plugin && plugin->toAddNext(feature, parent, after);
    }

    QAStData* nodeTag(const QString& feature, QMap<QString, QVariant>& values, int version, QAStData* parent,
                      QAStData* after) override
    {
        return plugin ? plugin->nodeTag(feature, values, version, parent, after) : nullptr;
    }
    QAStData* nodeTag(const QString& feature, const QDomElement& element, int version, QAStData* parent,
                      QAStData* after) override
    {
        return plugin ? plugin->nodeTag(feature, element, version, parent, after) : nullptr;
    }

    QStringList configurationList() const override
    {
        return plugin ? plugin->configurationFeatures() : QStringList();
    }
    QAPropertyGroup* propertyDescriptor(const QString& feature) override
    {
        return plugin ? plugin->propertyDescriptor(feature) : nullptr;
    }
    void init(const QString& feature, QAStConfiguration* configuration) override
    {
        if (plugin)
            plugin->init(feature, configuration);
    }
    void init(const QString& feature, QAStConfiguration* configuration, const QAStTargetPackage& port) override
    {
        if (plugin)
            plugin->init(feature, configuration, port);
    }
    void reset(const QString& feature, QAStConfiguration* configuration, const QAStTargetPackage& port) override
    {
        if (plugin)
            plugin->reset(feature, configuration, port);
    }
    void init(const QString& feature, QAStConfiguration* configuration, const QDomElement& element,
              int version) override
    {
        if (plugin)
            plugin->init(feature, configuration, element, version);
    }

protected:
    QUnknownInterface* face(const QUuid& id) override
    {
        if (id == IID_QUnknown || id == IID_QFeatureList || id == IID_NodeTest)
            return static_cast<NodeTestInterface*>(this);
        if (id == IID_NodeTag)
            return static_cast<NodeTagInterface*>(this);
        if (id == IID_ConfigurationBlock)
            return static_cast<ConfigurationBlockInterface*>(this);
        return nullptr;
    }
};

} // namespace

QUnknownInterface* QAStTestNodePlugin::component()
{
    return static_cast<NodeTestInterface*>(new QAStTestNodePluginPrivate(this));
}

QStringList QAStTestNodePlugin::nodeFeatures() const { return {}; }
QStringList QAStTestNodePlugin::tagFeatures() const { return {}; }
QStringList QAStTestNodePlugin::configurationFeatures() const { return {}; }
void QAStTestNodePlugin::initialize() {}
QString QAStTestNodePlugin::name(const QString& feature) const { return feature; }
QPixmap QAStTestNodePlugin::pixmap(const QString&) const { return QPixmap(); }
QAStData* QAStTestNodePlugin::nodeTest(const QString&, const QString&, QAStData*, QAStData*) { return nullptr; }
QAStData* QAStTestNodePlugin::nodeTest(const QString&, const QDomElement&, int, QAStData*, QAStData*)
{
    return nullptr;
}
bool QAStTestNodePlugin::toAddChild(const QString&, QAStData*, QAStData*) { return true; }
bool QAStTestNodePlugin::toAddNext(const QString&, QAStData*, QAStData*) { return true; }
QAStData* QAStTestNodePlugin::nodeTag(const QString&, QMap<QString, QVariant>&, int, QAStData*, QAStData*)
{
    return nullptr;
}
QAStData* QAStTestNodePlugin::nodeTag(const QString&, const QDomElement&, int, QAStData*, QAStData*)
{
    return nullptr;
}
QAPropertyGroup* QAStTestNodePlugin::propertyDescriptor(const QString&) { return nullptr; }
void QAStTestNodePlugin::init(const QString&, QAStConfiguration*) {}
void QAStTestNodePlugin::init(const QString&, QAStConfiguration*, const QAStTargetPackage&) {}
void QAStTestNodePlugin::reset(const QString&, QAStConfiguration*, const QAStTargetPackage&) {}
void QAStTestNodePlugin::init(const QString&, QAStConfiguration*, const QDomElement&, int) {}
