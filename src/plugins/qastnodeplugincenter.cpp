#include "qastnodeplugincenter.h"

#include "nodetestinterface.h"
#include "qacomponentplugin.h"
#include "qainstall.h"
#include "qainterfaceids.h"
#include "qaplugininformationinterface.h"
#include "qastdata.h"
#include "qastnodeplugincenter_p.h"
#include "qlibraryinterface.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
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

// A directory full of broken files must not bury the console: past this
// many, the refusals are counted in one line, and plugins() still has each.
const int MessagesShown = 20;

const Served* servedFor(const QUuid& interface)
{
    for (const Served& each : served) {
        if (each.interface == interface)
            return &each;
    }
    return nullptr;
}

QString tr(const char* text)
{
    return QCoreApplication::translate("QAStNodePluginCenter", text);
}

// The loader's reason, which names the file again and again, without it:
// the message names it once.
QString reason(const QPluginLoader& loader, const QString& path)
{
    return loader.errorString()
        .replace(QLatin1Char('\'') + path + QLatin1Char('\''), tr("the file"))
        .replace(path, tr("the file"));
}

struct Registry {
    QList<QAStNodePluginCenter::Plugin> plugins;
    /// The component of each plug-in taken, with the registry's reference.
    QList<QUnknownInterface*> components;
    /// A prefixed feature to the component that serves it, the first found.
    QHash<QString, QUnknownInterface*> byFeature;
    /// The file, or the name, of the plug-in that serves each prefixed feature.
    QHash<QString, QString> servedBy;
    /// The features of each served identity, without prefix, in the order found.
    QHash<QUuid, QStringList> lists;
};

// Never destroyed: what it holds lives as long as the process, as the
// plug-ins' libraries do.
Registry& registry()
{
    static auto* instance = new Registry;
    return *instance;
}

QAStNodePluginCenter*& singleton()
{
    static QAStNodePluginCenter* center = nullptr;
    return center;
}

QStringList& addedDirectories()
{
    static QStringList directories;
    return directories;
}

// The installation's plugins directory and each of its sub-directories, one
// level down, then those the host added.
QStringList searchedDirectories()
{
    const QString install = QAStData::installDir();
    const QString top = install.isEmpty() ? QAInstall::pluginsDir(QCoreApplication::applicationFilePath())
                                          : install + QStringLiteral("/plugins");
    QStringList directories(top);
    for (const QString& name : QDir(top).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
        directories << top + QLatin1Char('/') + name;
    return directories + addedDirectories();
}

bool offers(QUnknownInterface* component, const QUuid& interface)
{
    QUnknownInterface* face = nullptr;
    if (component->queryInterface(interface, &face) != QS_OK || !face)
        return false;
    face->release();
    return true;
}

QString nameOf(QUnknownInterface* component, QObject* instance)
{
    QUnknownInterface* face = nullptr;
    QString name;
    if (component->queryInterface(IID_QAPluginInformation, &face) == QS_OK && face) {
        name = static_cast<QAPluginInformationInterface*>(face)->pluginName();
        face->release();
    }
    return name.isEmpty() ? QString::fromLatin1(instance->metaObject()->className()) : name;
}

// Its library's start; a plug-in without the library interface needs none.
bool startLibrary(QUnknownInterface* component)
{
    QUnknownInterface* face = nullptr;
    if (component->queryInterface(IID_QLibrary, &face) != QS_OK || !face)
        return true;
    const bool started = static_cast<QLibraryInterface*>(face)->init();
    face->release();
    return started;
}

// Files and directories reached twice, through a link or a repeated entry,
// are looked at once.
class Search
{
public:
    void takeInstance(QObject* instance, QAStNodePluginCenter::Plugin& plugin);
    void takeFile(const QFileInfo& info, const QString& canonicalDirectory);
    QSet<QString> seen;

private:
    void load(const QString& path, QAStNodePluginCenter::Plugin& plugin);
};

void Search::takeInstance(QObject* instance, QAStNodePluginCenter::Plugin& plugin)
{
    auto* root = qobject_cast<QAComponentPlugin*>(instance);
    QUnknownInterface* component = root ? root->component() : nullptr;
    QUnknownInterface* face = nullptr;
    if (!component || component->queryInterface(IID_QFeatureList, &face) != QS_OK || !face) {
        if (component)
            component->release();
        plugin.problem = tr("the plug-in offers no feature list");
        return;
    }
    plugin.name = nameOf(component, instance);
    const QStringList offered = static_cast<QFeatureListInterface*>(face)->featureList();
    face->release();
    if (!startLibrary(component)) {
        component->release();
        plugin.problem = tr("the plug-in refused to start");
        return;
    }
    Registry& r = registry();
    r.components << component;
    const QString origin = plugin.file.isEmpty() ? plugin.name : plugin.file;
    for (const QString& feature : offered) {
        if (r.byFeature.contains(feature) || plugin.features.contains(feature)) {
            plugin.duplicates << feature;
            continue;
        }
        r.byFeature.insert(feature, component);
        r.servedBy.insert(feature, origin);
        plugin.features << feature;
    }
    for (const Served& each : served) {
        if (!offers(component, each.interface))
            continue;
        const QString prefix = QLatin1String(each.prefix);
        for (const QString& feature : std::as_const(plugin.features)) {
            if (feature.startsWith(prefix))
                r.lists[each.interface] << feature.mid(prefix.size());
        }
    }
}

// Whether the file opens, and whether its first bytes are a shared
// library's, read before the loader is made: a directory of thousands of
// files named like libraries would otherwise cost a loader, with its
// registration and file look-ups, for each.
enum class Content { Unreadable, Other, Library };

Content contentOf(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return Content::Unreadable;
    return file.read(4) == QByteArrayLiteral("\x7f" "ELF") ? Content::Library : Content::Other;
}

void Search::takeFile(const QFileInfo& info, const QString& canonicalDirectory)
{
    const QString path = info.filePath();
    if (!QLibrary::isLibrary(path))
        return;
    // Only regular files: a pipe or a device named like a library would
    // block the read, and a link that leads nowhere has nothing to read.
    // Only a link needs resolving; the directory's own path is resolved.
    const QString canonical = info.isSymLink() ? info.canonicalFilePath()
                                               : canonicalDirectory + QLatin1Char('/') + info.fileName();
    if (canonical.isEmpty() || !info.isFile() || seen.contains(canonical))
        return;
    seen.insert(canonical);
    QAStNodePluginCenter::Plugin plugin;
    plugin.file = path;
    switch (contentOf(path)) {
    case Content::Unreadable:
        plugin.problem = tr("cannot be read");
        break;
    case Content::Other:
        plugin.problem = tr("not a plug-in (not a shared library)");
        break;
    case Content::Library:
        load(path, plugin);
        break;
    }
    registry().plugins << plugin;
}

void Search::load(const QString& path, QAStNodePluginCenter::Plugin& plugin)
{
    QPluginLoader loader(path);
    // A plug-in that misses a function is refused now, not when the
    // function is first called.
    loader.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    const QJsonObject meta = loader.metaData();
    const QString iid = meta.value(QStringLiteral("IID")).toString();
    if (meta.isEmpty()) {
        plugin.problem = tr("not a plug-in (%1)").arg(reason(loader, path));
    } else if (iid != QLatin1String(QAComponentPlugin_iid)) {
        plugin.problem = tr("built for another interface (%1, not %2)").arg(iid, QLatin1String(QAComponentPlugin_iid));
    } else if (QObject* instance = loader.instance()) {
        takeInstance(instance, plugin);
    } else {
        plugin.problem = tr("cannot be loaded (%1)").arg(reason(loader, path));
    }
}

void report(const QList<QAStNodePluginCenter::Plugin>& plugins)
{
    int shown = 0;
    int withheld = 0;
    const auto show = [&](const QString& text) {
        if (shown++ < MessagesShown)
            QAStData::displayMessage(QAStData::MessageConsole, text, QAStData::ErrorStream);
        else
            ++withheld;
    };
    const Registry& r = registry();
    for (const QAStNodePluginCenter::Plugin& plugin : plugins) {
        const QString origin = plugin.file.isEmpty() ? plugin.name : plugin.file;
        if (!plugin.problem.isEmpty())
            show(tr("Plug-in %1: %2\n").arg(origin, plugin.problem));
        for (const QString& feature : plugin.duplicates)
            show(tr("Plug-in %1: the feature %2 is served already by %3\n")
                     .arg(origin, feature, r.servedBy.value(feature, origin)));
    }
    if (withheld > 0)
        QAStData::displayMessage(QAStData::MessageConsole,
                                 tr("%1 further problems with plug-ins are not shown\n").arg(withheld),
                                 QAStData::ErrorStream);
}

} // namespace

QAStNodePluginCenter* QAStNodePluginCenter::nodePluginCenter()
{
    QAStNodePluginCenter*& center = singleton();
    if (!center) {
        // Known before the search, so that a plug-in may reach the registry
        // while it is being found.
        center = new QAStNodePluginCenter;
        center->search();
    }
    return center;
}

void QAStNodePluginCenter::addPluginDirectory(const QString& directory)
{
    if (!addedDirectories().contains(directory))
        addedDirectories() << directory;
}

void QAStNodePluginCenter::search()
{
    Search search;
    for (QObject* instance : QPluginLoader::staticInstances()) {
        if (!qobject_cast<QAComponentPlugin*>(instance))
            continue;
        Plugin plugin;
        search.takeInstance(instance, plugin);
        registry().plugins << plugin;
    }
    QSet<QString> directoriesSeen;
    for (const QString& directory : searchedDirectories()) {
        const QString canonical = QFileInfo(directory).canonicalFilePath();
        if (canonical.isEmpty() || directoriesSeen.contains(canonical))
            continue;
        directoriesSeen.insert(canonical);
        const QDir dir(directory);
        for (const QFileInfo& info : dir.entryInfoList(QDir::Files, QDir::Name))
            search.takeFile(info, canonical);
    }
    report(registry().plugins);
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

void QAStNodePluginCenterPrivate::reset()
{
    QAStNodePluginCenter*& center = singleton();
    delete center;
    center = nullptr;
    Registry& r = registry();
    for (QUnknownInterface* component : std::as_const(r.components))
        component->release();
    r = Registry();
    addedDirectories().clear();
}
