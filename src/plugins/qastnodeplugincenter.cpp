#include "qastnodeplugincenter.h"

#include "nodetestinterface.h"
#include "qacomponentplugin.h"
#include "qainstall.h"
#include "qainterfaceids.h"
#include "qastdata.h"
#include "qatrace.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>
#include <QSet>

namespace {

struct Served {
    QUuid interface;
    const char* prefix;
};

// The identities the registry serves, each with the prefix of its features.
const Served served[] = {
    {IID_NodeTest, "node:"},
    {IID_NodeTag, "tag:"},
    {IID_ConfigurationBlock, "conf:"},
    {IID_EnvironmentBlock, "conf:"},
};

const Served* servedFor(const QUuid& interface)
{
    for (const Served& each : served) {
        if (each.interface == interface)
            return &each;
    }
    return nullptr;
}

struct Registry {
    QList<QAStNodePluginCenter::Plugin> plugins;
    /// The component of each plug-in taken, with the registry's reference.
    QList<QUnknownInterface*> components;
    /// A prefixed feature to the component that serves it, the first found.
    QHash<QString, QUnknownInterface*> byFeature;
    /// The features of each served identity, without prefix, in the order found.
    QHash<QUuid, QStringList> lists;
};

Registry& registry()
{
    static Registry instance;
    return instance;
}

QStringList& addedDirectories()
{
    static QStringList directories;
    return directories;
}

QStringList searchedDirectories()
{
    QStringList directories;
    const QString install = QAStData::installDir();
    if (!install.isEmpty()) {
        const QString top = install + QStringLiteral("/plugins");
        directories << top;
        for (const QString& name : QDir(top).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
            directories << top + QLatin1Char('/') + name;
    } else {
        directories << QAInstall::pluginsDirList(QCoreApplication::applicationFilePath());
    }
    directories << addedDirectories();
    return directories;
}

bool offers(QUnknownInterface* component, const QUuid& interface)
{
    QUnknownInterface* face = nullptr;
    if (component->queryInterface(interface, &face) != QS_OK || !face)
        return false;
    face->release();
    return true;
}

// Files and directories reached twice, through a link or a repeated entry,
// are looked at once.
class Search
{
public:
    void takeInstance(QObject* instance, const QString& file, QAStNodePluginCenter::Plugin& plugin);
    void takeFile(const QString& path);
    QSet<QString> seen;
};

void Search::takeInstance(QObject* instance, const QString& file, QAStNodePluginCenter::Plugin& plugin)
{
    auto* root = qobject_cast<QAComponentPlugin*>(instance);
    QUnknownInterface* component = root ? root->component() : nullptr;
    QUnknownInterface* face = nullptr;
    if (!component || component->queryInterface(IID_QFeatureList, &face) != QS_OK || !face) {
        if (component)
            component->release();
        plugin.problem = QCoreApplication::translate("QAStNodePluginCenter", "the plug-in offers no feature list");
        return;
    }
    auto* list = static_cast<QFeatureListInterface*>(face);
    plugin.features = list->featureList();
    face->release();
    plugin.name = instance->metaObject()->className();
    Registry& r = registry();
    r.components << component;
    QStringList taken;
    for (const QString& feature : std::as_const(plugin.features)) {
        if (r.byFeature.contains(feature)) {
            warning("QAStNodePluginCenter: %s of %s is served already", qPrintable(feature), qPrintable(file));
            continue;
        }
        r.byFeature.insert(feature, component);
        taken << feature;
    }
    for (const Served& each : served) {
        if (!offers(component, each.interface))
            continue;
        const QString prefix = QLatin1String(each.prefix);
        for (const QString& feature : std::as_const(taken)) {
            if (feature.startsWith(prefix))
                r.lists[each.interface] << feature.mid(prefix.size());
        }
    }
}

void Search::takeFile(const QString& path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    if (canonical.isEmpty() || seen.contains(canonical) || !QLibrary::isLibrary(path))
        return;
    seen.insert(canonical);
    QAStNodePluginCenter::Plugin plugin;
    plugin.file = path;
    QPluginLoader loader(path);
    const QJsonObject meta = loader.metaData();
    const QString iid = meta.value(QStringLiteral("IID")).toString();
    if (meta.isEmpty()) {
        plugin.problem = QCoreApplication::translate("QAStNodePluginCenter", "not a plug-in (%1)")
                             .arg(loader.errorString());
    } else if (iid != QLatin1String(QAComponentPlugin_iid)) {
        plugin.problem = QCoreApplication::translate("QAStNodePluginCenter",
                                                     "built for another interface (%1, not %2)")
                             .arg(iid, QLatin1String(QAComponentPlugin_iid));
    } else if (QObject* instance = loader.instance()) {
        takeInstance(instance, path, plugin);
    } else {
        plugin.problem = QCoreApplication::translate("QAStNodePluginCenter", "cannot be loaded (%1)")
                             .arg(loader.errorString());
    }
    registry().plugins << plugin;
}

} // namespace

QAStNodePluginCenter* QAStNodePluginCenter::nodePluginCenter()
{
    static QAStNodePluginCenter* center = new QAStNodePluginCenter;
    return center;
}

void QAStNodePluginCenter::addPluginDirectory(const QString& directory)
{
    if (!addedDirectories().contains(directory))
        addedDirectories() << directory;
}

QAStNodePluginCenter::QAStNodePluginCenter()
{
    Search search;
    for (QObject* instance : QPluginLoader::staticInstances()) {
        if (!qobject_cast<QAComponentPlugin*>(instance))
            continue;
        Plugin plugin;
        search.takeInstance(instance, QString(), plugin);
        registry().plugins << plugin;
    }
    QSet<QString> directoriesSeen;
    for (const QString& directory : searchedDirectories()) {
        const QString canonical = QFileInfo(directory).canonicalFilePath();
        if (canonical.isEmpty() || directoriesSeen.contains(canonical))
            continue;
        directoriesSeen.insert(canonical);
        const QDir dir(directory);
        for (const QString& name : dir.entryList(QDir::Files, QDir::Name))
            search.takeFile(dir.filePath(name));
    }
    for (const Plugin& plugin : std::as_const(registry().plugins)) {
        if (plugin.problem.isEmpty())
            continue;
        const QString text = QCoreApplication::translate("QAStNodePluginCenter", "Plug-in %1: %2\n")
                                 .arg(plugin.file.isEmpty() ? plugin.name : plugin.file, plugin.problem);
        QAStData::displayMessage(QAStData::MessageConsole, text, QAStData::ErrorStream);
    }
    // A test node plug-in prepares each of its kinds once.
    for (const QString& feature : featureList(IID_NodeTest)) {
        QUnknownInterface* face = nullptr;
        queryComponentInterface(feature, IID_NodeTest, &face);
        if (face) {
            static_cast<NodeTestInterface*>(face)->initialize();
            face->release();
        }
    }
}

QStringList QAStNodePluginCenter::featureList(const QUuid& interface) const
{
    return registry().lists.value(interface);
}

QRESULT QAStNodePluginCenter::queryComponentInterface(const QString& feature, const QUuid& interface,
                                                      QUnknownInterface** result)
{
    *result = nullptr;
    const Served* kind = servedFor(interface);
    if (!kind)
        return QE_NOINTERFACE;
    QUnknownInterface* component = registry().byFeature.value(QLatin1String(kind->prefix) + feature);
    if (component)
        component->queryInterface(interface, result);
    return QS_OK;
}

QList<QAStNodePluginCenter::Plugin> QAStNodePluginCenter::plugins() const
{
    return registry().plugins;
}
