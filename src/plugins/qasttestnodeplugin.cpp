#include "qasttestnodeplugin.h"

#include "qainterfaceids.h"
#include "qasttestnodeplugin_p.h"

QAComponentPlugin::~QAComponentPlugin() = default;

namespace {

QStringList prefixed(const char* prefix, const QStringList& features)
{
    QStringList result;
    for (const QString& feature : features)
        result << QLatin1String(prefix) + feature;
    return result;
}

} // namespace

QAStTestNodePlugin::QAStTestNodePlugin(QObject* parent) : QObject(parent) {}

QAStTestNodePlugin::~QAStTestNodePlugin() = default;

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
QString QAStTestNodePlugin::pluginName() const { return QString::fromLatin1(metaObject()->className()); }
QPixmap QAStTestNodePlugin::pluginIcon() const { return QPixmap(); }
QString QAStTestNodePlugin::pluginDescription() const { return QString(); }
QString QAStTestNodePlugin::pluginCompanyName() const { return QString(); }
QPixmap QAStTestNodePlugin::pluginCompanyIcon() const { return QPixmap(); }
QString QAStTestNodePlugin::pluginCompanyDescription() const { return QString(); }
QString QAStTestNodePlugin::pluginCopyRight() const { return QString(); }
QString QAStTestNodePlugin::pluginVersion() const { return QString(); }
QDateTime QAStTestNodePlugin::pluginCreation() const { return QDateTime(); }
bool QAStTestNodePlugin::initLibrary() { return true; }
void QAStTestNodePlugin::cleanupLibrary() {}
bool QAStTestNodePlugin::canUnload() const { return true; }
QUnknownInterface* QAStTestNodePlugin::queryExtension(const QUuid&) { return nullptr; }

// ---------------------------------------------------------------------------

QAStTestNodePluginPrivate::QAStTestNodePluginPrivate(QAStTestNodePlugin* plugin) : plugin(plugin) {}

QAStTestNodePluginPrivate::~QAStTestNodePluginPrivate() = default;

QRESULT QAStTestNodePluginPrivate::queryInterface(const QUuid& id, QUnknownInterface** iface)
{
    *iface = nullptr;
    if (id == IID_QUnknown || id == IID_QFeatureList || id == IID_NodeTest)
        *iface = static_cast<NodeTestInterface*>(this);
    else if (id == IID_NodeTag)
        *iface = static_cast<NodeTagInterface*>(this);
    else if (id == IID_ConfigurationBlock)
        *iface = static_cast<ConfigurationBlockInterface*>(this);
    else if (id == IID_QAPluginInformation)
        *iface = static_cast<QAPluginInformationInterface*>(this);
    else if (id == IID_QLibrary)
        *iface = static_cast<QLibraryInterface*>(this);
    else if (plugin)
        *iface = plugin->queryExtension(id); // counted by the plug-in already
    else
        return QE_NOINTERFACE;
    if (!*iface)
        return QE_NOINTERFACE;
    if (id == IID_QUnknown || id == IID_QFeatureList || id == IID_NodeTest || id == IID_NodeTag
        || id == IID_ConfigurationBlock || id == IID_QAPluginInformation || id == IID_QLibrary)
        addRef();
    return QS_OK;
}

ulong QAStTestNodePluginPrivate::addRef()
{
    return ulong(references.ref() ? references.loadRelaxed() : 0);
}

ulong QAStTestNodePluginPrivate::release()
{
    if (references.deref())
        return ulong(references.loadRelaxed());
    delete this;
    return 0;
}

// A feature list holds every kind the plug-in serves, each under the prefix
// by which the registry sorts it.
QStringList QAStTestNodePluginPrivate::featureList() const
{
    if (!plugin)
        return {};
    return prefixed("node:", plugin->nodeFeatures()) + prefixed("tag:", plugin->tagFeatures())
           + prefixed("conf:", plugin->configurationFeatures());
}

void QAStTestNodePluginPrivate::initialize()
{
    if (plugin)
        plugin->initialize();
}

QString QAStTestNodePluginPrivate::name(const QString& feature) const
{
    return plugin ? plugin->name(feature) : QString();
}

QPixmap QAStTestNodePluginPrivate::pixmap(const QString& feature) const
{
    return plugin ? plugin->pixmap(feature) : QPixmap();
}

QAStData* QAStTestNodePluginPrivate::nodeTest(const QString& feature, const QString& name, QAStData* parent,
                                              QAStData* after)
{
    return plugin ? plugin->nodeTest(feature, name, parent, after) : nullptr;
}

QAStData* QAStTestNodePluginPrivate::nodeTest(const QString& feature, const QDomElement& element, int version,
                                              QAStData* parent, QAStData* after)
{
    return plugin ? plugin->nodeTest(feature, element, version, parent, after) : nullptr;
}

bool QAStTestNodePluginPrivate::toAddChild(const QString& feature, QAStData* parent, QAStData* after)
{
    return plugin && plugin->toAddChild(feature, parent, after);
}

bool QAStTestNodePluginPrivate::toAddNext(const QString& feature, QAStData* parent, QAStData* after)
{
    return plugin && plugin->toAddNext(feature, parent, after);
}

QAStData* QAStTestNodePluginPrivate::nodeTag(const QString& feature, QMap<QString, QVariant>& values,
                                             int version, QAStData* parent, QAStData* after)
{
    return plugin ? plugin->nodeTag(feature, values, version, parent, after) : nullptr;
}

QAStData* QAStTestNodePluginPrivate::nodeTag(const QString& feature, const QDomElement& element, int version,
                                             QAStData* parent, QAStData* after)
{
    return plugin ? plugin->nodeTag(feature, element, version, parent, after) : nullptr;
}

QStringList QAStTestNodePluginPrivate::configurationList() const
{
    return plugin ? plugin->configurationFeatures() : QStringList();
}

QAPropertyGroup* QAStTestNodePluginPrivate::propertyDescriptor(const QString& feature)
{
    return plugin ? plugin->propertyDescriptor(feature) : nullptr;
}

void QAStTestNodePluginPrivate::init(const QString& feature, QAStConfiguration* configuration)
{
    if (plugin)
        plugin->init(feature, configuration);
}

void QAStTestNodePluginPrivate::init(const QString& feature, QAStConfiguration* configuration,
                                     const QAStTargetPackage& port)
{
    if (plugin)
        plugin->init(feature, configuration, port);
}

void QAStTestNodePluginPrivate::reset(const QString& feature, QAStConfiguration* configuration,
                                      const QAStTargetPackage& port)
{
    if (plugin)
        plugin->reset(feature, configuration, port);
}

void QAStTestNodePluginPrivate::init(const QString& feature, QAStConfiguration* configuration,
                                     const QDomElement& element, int version)
{
    if (plugin)
        plugin->init(feature, configuration, element, version);
}

QString QAStTestNodePluginPrivate::pluginName() const { return plugin ? plugin->pluginName() : QString(); }
QPixmap QAStTestNodePluginPrivate::pluginIcon() const { return plugin ? plugin->pluginIcon() : QPixmap(); }
QString QAStTestNodePluginPrivate::pluginDescription() const
{
    return plugin ? plugin->pluginDescription() : QString();
}
QString QAStTestNodePluginPrivate::pluginCompanyName() const
{
    return plugin ? plugin->pluginCompanyName() : QString();
}
QPixmap QAStTestNodePluginPrivate::pluginCompanyIcon() const
{
    return plugin ? plugin->pluginCompanyIcon() : QPixmap();
}
QString QAStTestNodePluginPrivate::pluginCompanyDescription() const
{
    return plugin ? plugin->pluginCompanyDescription() : QString();
}
QString QAStTestNodePluginPrivate::pluginCopyRight() const { return plugin ? plugin->pluginCopyRight() : QString(); }
QString QAStTestNodePluginPrivate::pluginVersion() const { return plugin ? plugin->pluginVersion() : QString(); }
QDateTime QAStTestNodePluginPrivate::pluginCreation() const
{
    return plugin ? plugin->pluginCreation() : QDateTime();
}

bool QAStTestNodePluginPrivate::init()
{
    return plugin && plugin->initLibrary();
}

void QAStTestNodePluginPrivate::cleanup()
{
    if (plugin)
        plugin->cleanupLibrary();
}

bool QAStTestNodePluginPrivate::canUnload() const
{
    return !plugin || plugin->canUnload();
}
