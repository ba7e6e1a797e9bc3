#include "projectfiles.h"
#include "nodetestinterface.h"
#include "qainterfaceids.h"
#include "qastdata.h"
#include "qastdatafactory.h"
#include "qastnodeplugincenter.h"
#include "qastnodeplugincenter_p.h"
#include "qasttestnodeplugin.h"
#include "recordinghost.h"

#include <QDomDocument>
#include <QLoggingCategory>
#include <QPluginLoader>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

QStringList featuresSeenWhileFound;

// Linked into the program: found without a file. Its kind's preparation
// asks the registry, which is still searching.
class LinkedPlugin : public QAStTestNodePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QAComponentPlugin_iid)
public:
    QStringList nodeFeatures() const override { return {"linked"}; }
    void initialize() override
    {
        featuresSeenWhileFound = QAStNodePluginCenter::nodePluginCenter()->featureList(IID_NodeTest);
    }
};

// The installation is the test's own, so that each case has its plug-ins.
class Host : public RecordingHost
{
public:
    QString installDir() override { return work.filePath(QStringLiteral("install")); }
    QString plugins() const { return work.filePath(QStringLiteral("install/plugins")); }
    QString added() const { return work.filePath(QStringLiteral("added")); }

    /// Makes "path=source" below the plug-ins directory, or below the added
    /// one for a path "added/...". A source is a built plug-in, "text",
    /// "text*N" for N files (the path's %1 numbering them), "cut" (a plug-in's
    /// first 4 KiB), "secret" (a plug-in nobody may read), "fifo", or
    /// "link:TARGET".
    bool stage(const QString& entry) const
    {
        const QString where = entry.section(QLatin1Char('='), 0, 0);
        const QString source = entry.section(QLatin1Char('='), 1);
        QString path = where.startsWith(QLatin1String("added/")) ? added() + where.mid(5) : plugins() + '/' + where;
        if (!QDir().mkpath(QFileInfo(path).path()))
            return false;
        if (source.startsWith(QLatin1String("link:")))
            return QFile::link(source.mid(5), path);
        if (source == QLatin1String("fifo"))
            return ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0;
        if (source == QLatin1String("probe") || source == QLatin1String("foreign") || source == QLatin1String("broken"))
            return QFile::copy(built(source), path);
        if (source == QLatin1String("secret"))
            return QFile::copy(built(QStringLiteral("probe")), path) && QFile::setPermissions(path, {});
        if (source == QLatin1String("cut")) {
            QFile from(built(QStringLiteral("probe"))), to(path);
            return from.open(QIODevice::ReadOnly) && to.open(QIODevice::WriteOnly) && to.write(from.read(4096)) > 0;
        }
        const int count = source.startsWith(QLatin1String("text*")) ? source.mid(5).toInt() : 1;
        for (int i = 0; i < count; ++i) {
            QFile file(count > 1 ? path.arg(i) : path);
            if (!file.open(QIODevice::WriteOnly) || file.write("no library here\n") < 0)
                return false;
        }
        return true;
    }
    static QString built(const QString& name)
    {
        return QStringLiteral(SDK_TEST_PLUGINS_DIR "/lib%1plugin.so").arg(name);
    }

    QTemporaryDir work;
};

QStringList prefixed(const char* prefix, const QStringList& features)
{
    QStringList result;
    for (const QString& feature : features)
        result << QLatin1String(prefix) + feature;
    return result;
}

} // namespace

Q_IMPORT_PLUGIN(LinkedPlugin)

class tst_PluginRegistry : public QObject
{
    Q_OBJECT

    Host host;

    // A registry that searches the plug-ins of \a entries, and the host
    // added directory when one of them is there.
    QAStNodePluginCenter* search(const QStringList& entries)
    {
        QAStNodePluginCenterPrivate::reset();
        QDir(host.work.path()).removeRecursively();
        QDir().mkpath(host.plugins());
        for (const QString& entry : entries) {
            if (!host.stage(entry))
                return nullptr;
        }
        if (QFileInfo::exists(host.added()))
            QAStNodePluginCenter::addPluginDirectory(host.added());
        host.messages.clear();
        return QAStNodePluginCenter::nodePluginCenter();
    }

private slots:
    void initTestCase()
    {
        QVERIFY(host.work.isValid());
        QAStData::initialize(&host);
    }
    void cleanupTestCase()
    {
        QAStNodePluginCenterPrivate::reset();
        QAStData::initialize(nullptr);
    }

    // Every file that is no plug-in of ours is named with its fault, and the
    // others still load; a link, a loop or a pipe neither repeats nor blocks.
    void searchTakesPluginsAndNamesTheRest_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QStringList>("nodes");
        QTest::addColumn<int>("files"); // entries of plugins(), the linked one among them
        QTest::addColumn<QStringList>("messages"); // "@" is the plug-ins directory, "+" the added one
        QTest::addColumn<int>("messageCount");
        const QStringList probe{"libprobeplugin.so=probe"};
        const QStringList found{"linked", "probe", "dual"};
        QTest::newRow("an empty directory leaves the linked plug-in") << QStringList() << QStringList{"linked"} << 1
                                                                      << QStringList() << 0;
        QTest::newRow("a plug-in of every kind") << probe << found << 2 << QStringList() << 0;
        QTest::newRow("a text file named like a library")
            << probe + QStringList{"libnotes.so=text"} << found << 3 << QStringList{"Plug-in @/libnotes.so: not a plug-in ("}
            << 1;
        QTest::newRow("a file that is not named like a library is not looked at")
            << probe + QStringList{"notes.txt=text"} << found << 2 << QStringList() << 0;
        QTest::newRow("a plug-in of another interface")
            << probe + QStringList{"libforeignplugin.so=foreign"} << found << 3
            << QStringList{"Plug-in @/libforeignplugin.so: built for another interface (org.example.Elsewhere/2.0, not "
                           "org.velmont.sdk.ComponentPlugin/1.0)"}
            << 1;
        QTest::newRow("a plug-in that misses a function")
            << probe + QStringList{"libbrokenplugin.so=broken"} << found << 3
            << QStringList{"Plug-in @/libbrokenplugin.so: cannot be loaded (", "sdkTestsMissingFunction"} << 1;
        QTest::newRow("a plug-in cut short") << probe + QStringList{"libcut.so=cut"} << found << 3
                                             << QStringList{"Plug-in @/libcut.so: not a plug-in ("} << 1;
        QTest::newRow("a copy in a sub-directory serves nothing twice")
            << probe + QStringList{"more/libcopy.so=probe"} << found << 3
            << QStringList{"Plug-in @/more/libcopy.so: the feature node:probe is served already by @/libprobeplugin.so",
                           "the feature conf:dual is served already"}
            << 5;
        QTest::newRow("a link to a plug-in is the plug-in")
            << probe + QStringList{"more/liblink.so=link:../libprobeplugin.so"} << found << 2 << QStringList() << 0;
        QTest::newRow("a link to itself") << probe + QStringList{"libself.so=link:libself.so"} << found << 2
                                          << QStringList() << 0;
        QTest::newRow("a directory link to its parent") << probe + QStringList{"up=link:.."} << found << 2
                                                        << QStringList() << 0;
        QTest::newRow("a directory link to the plug-ins directory") << probe + QStringList{"again=link:."} << found << 2
                                                                    << QStringList() << 0;
        QTest::newRow("a pipe named like a library") << probe + QStringList{"libpipe.so=fifo"} << found << 2
                                                     << QStringList() << 0;
        QTest::newRow("a directory the host added") << QStringList{"added/libprobeplugin.so=probe", "added/libx.so=text"}
                                                    << found << 3 << QStringList{"Plug-in +/libx.so: not a plug-in"}
                                                    << 1;
        QTest::newRow("many broken files: the first ones named, the rest counted")
            << probe + QStringList{"libjunk%1.so=text*300"} << found << 302
            << QStringList{"Plug-in @/libjunk0.so: not a plug-in", "280 further problems with plug-ins are not shown"}
            << 21;
    }
    void searchTakesPluginsAndNamesTheRest()
    {
        QFETCH(QStringList, entries);
        QFETCH(QStringList, messages);
        QFETCH(int, messageCount);
        QAStNodePluginCenter* center = search(entries);
        QVERIFY(center);
        QTEST(center->featureList(IID_NodeTest), "nodes");
        QTEST(int(center->plugins().size()), "files");
        const QString errors = host.consoleText(QAStData::MessageConsole, true);
        for (QString message : messages) {
            message.replace('@', host.plugins()).replace('+', host.added());
            QVERIFY2(errors.contains(message), qPrintable(errors));
        }
        QCOMPARE(int(host.messages.size()), messageCount);
        // Whatever else the directory holds, the plug-in serves every kind.
        if (center->featureList(IID_NodeTest).contains("probe")) {
            QCOMPARE(center->featureList(IID_NodeTag), QStringList{"marker"});
            QCOMPARE(center->featureList(IID_ConfigurationBlock), (QStringList{"probeconf", "dual"}));
            QCOMPARE(center->featureList(IID_EnvironmentBlock), (QStringList{"probeconf", "dual"}));
        }
    }

    void unreadablePluginIsNamed()
    {
        QAStNodePluginCenter* center = nullptr;
        // Even the superuser is refused a file of mode 000 without this capability.
        withoutDacOverride([&] { center = search({"libprobeplugin.so=probe", "libsecret.so=secret"}); });
        QVERIFY(center && center->featureList(IID_NodeTest).contains("probe"));
        QCOMPARE(host.consoleText(QAStData::MessageConsole, true),
                 "Plug-in " + host.plugins() + "/libsecret.so: cannot be read\n");
    }

    // The features of an identity, and an interface by feature: an identity
    // the registry does not serve is refused, a feature of another kind is
    // not found.
    void interfacesByFeature_data()
    {
        QTest::addColumn<QString>("feature");
        QTest::addColumn<QUuid>("interface");
        QTest::addColumn<quint32>("code");
        QTest::addColumn<bool>("found");
        QTest::newRow("a test node kind") << "probe" << IID_NodeTest << QS_OK << true;
        QTest::newRow("a tag kind asked as a test node kind") << "marker" << IID_NodeTest << QS_OK << false;
        QTest::newRow("a tag kind") << "marker" << IID_NodeTag << QS_OK << true;
        QTest::newRow("a configuration block") << "probeconf" << IID_ConfigurationBlock << QS_OK << true;
        QTest::newRow("its environment lines") << "dual" << IID_EnvironmentBlock << QS_OK << true;
        QTest::newRow("a feature with its prefix") << "node:probe" << IID_NodeTest << QS_OK << false;
        QTest::newRow("an identity the registry does not serve") << "probe" << IID_Viewer << QE_NOINTERFACE << false;
    }
    void interfacesByFeature()
    {
        QFETCH(QString, feature);
        QFETCH(QUuid, interface);
        QAStNodePluginCenter* center = search({"libprobeplugin.so=probe"});
        QVERIFY(center);
        QUnknownInterface* face = reinterpret_cast<QUnknownInterface*>(quintptr(1));
        QTEST(center->queryComponentInterface(feature, interface, &face), "code");
        QFETCH(bool, found);
        QCOMPARE(face != nullptr, found);
        if (face)
            face->release();
        if (!servedByRegistry(interface))
            QCOMPARE(center->featureList(interface), QStringList());
    }

    // Once found, a plug-in's library starts once and each of its test node
    // kinds is prepared once; the registry answers a plug-in that asks
    // during the search.
    void pluginsArePreparedOnce()
    {
        QAStNodePluginCenter* center = search({"libprobeplugin.so=probe"});
        QVERIFY(center);
        QObject* probe = QPluginLoader(host.plugins() + "/libprobeplugin.so").instance();
        QVERIFY(probe);
        const int started = probe->property("started").toInt();
        const int initialized = probe->property("initialized").toInt();
        QCOMPARE(QAStNodePluginCenter::nodePluginCenter(), center);
        QVERIFY(started >= 1 && initialized == 2 * started);
        QCOMPARE(featuresSeenWhileFound, (QStringList{"linked", "probe", "dual"}));

        const QList<QAStNodePluginCenter::Plugin> plugins = center->plugins();
        QCOMPARE(plugins.size(), 2);
        QCOMPARE(plugins.at(0).name, QStringLiteral("LinkedPlugin"));
        QVERIFY(plugins.at(0).file.isEmpty());
        QCOMPARE(plugins.at(1).name, QStringLiteral("Probe"));
        QCOMPARE(plugins.at(1).features, prefixed("node:", {"probe", "dual"}) + prefixed("tag:", {"marker"})
                                             + prefixed("conf:", {"probeconf", "dual"}));
    }

    // The factory makes what the plug-ins serve as test nodes and tags; a
    // name served as a configuration block makes nothing, also when a test
    // node kind has it too, and so does a name that nothing serves.
    void factoryMakesWhatPluginsServe_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("made"); // class, and the class of its first child after a "/"
        QTest::newRow("a built-in element") << "<group><node><data><name>g</name></data></node></group>"
                                            << "QAStNodeGroup";
        QTest::newRow("a test node") << "<probe><group><node><data><name>p</name></data></node></group></probe>"
                                     << "ProbeNode";
        QTest::newRow("a test node among a group's children")
            << "<group><node><data><name>g</name></data></node><group_child>"
               "<probe><group><node><data><name>p</name></data></node></group></probe></group_child></group>"
            << "QAStNodeGroup/ProbeNode";
        QTest::newRow("a tag") << "<marker><name>m</name></marker>" << "MarkerTag";
        QTest::newRow("a configuration block") << "<probeconf/>" << QString();
        QTest::newRow("a configuration block first") << "<dual/>" << QString();
        QTest::newRow("a name nothing serves") << "<nothing/>" << QString();
    }
    void factoryMakesWhatPluginsServe()
    {
        QFETCH(QString, text);
        QFETCH(QString, made);
        QVERIFY(search({"libprobeplugin.so=probe"}));
        QDomDocument document;
        QVERIFY(document.setContent(text));
        const QDomElement element = document.documentElement();
        static QStringList traces;
        traces.clear();
        QLoggingCategory::setFilterRules(QStringLiteral("sdk.trace.debug=true"));
        const QtMessageHandler previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
            traces << text;
        });
        // Twice: the second comes from what the factory kept of the first.
        for (int round = 0; round < 2; ++round) {
            std::unique_ptr<QAStData> data(QAStDataFactory::create(element, 1, nullptr, nullptr));
            QString kind = data ? QString::fromLatin1(data->metaObject()->className()) : QString();
            if (data && data->firstChild())
                kind += '/' + QString::fromLatin1(data->firstChild()->metaObject()->className());
            QCOMPARE(kind, made);
        }
        qInstallMessageHandler(previous);
        QLoggingCategory::setFilterRules(QString());
        const QString refusal = "No plugin found for feature " + element.tagName();
        QCOMPARE(int(traces.count(refusal)), made.isEmpty() ? 2 : 0);
    }

private:
    static bool servedByRegistry(const QUuid& interface)
    {
        return interface == IID_NodeTest || interface == IID_NodeTag || interface == IID_ConfigurationBlock
            || interface == IID_EnvironmentBlock;
    }
};

QTEST_MAIN(tst_PluginRegistry)
#include "tst_pluginregistry.moc"
