#include "environmentblockinterface.h"
#include "qainterfaceids.h"
#include "qapropertymapgroup.h"
#include "qapropertymapint.h"
#include "qapropertyserializer.h"
#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastprojectpref.h"
#include "qastproject.h"
#include "qasttargetpackage.h"
#include "qasttargetpackagelist.h"
#include "qasttestnodeplugin.h"
#include "recordinghost.h"
#include "settingsfixture.h"
#include "withoutmenus.h"

#include <QDomDocument>
#include <QPluginLoader>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtPlugin>

// A block of settings linked into this program: it records what the library
// tells it, and writes one line of its own to each environment file.
class RecordingBlock : public QAStTestNodePlugin, public EnvironmentBlockInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QAComponentPlugin_iid)
    Q_INTERFACES(QAComponentPlugin)
public:
    RecordingBlock() : group(new QAPropertyMapGroup(QStringLiteral("recorded")))
    {
        auto* level = new QAPropertyMapInt(QStringLiteral("recordedLevel"));
        level->setPerlVarName(QStringLiteral("RECORDED_LEVEL"));
        group->addChild(level);
    }
    ~RecordingBlock() override { delete group; }

    QStringList configurationFeatures() const override { return {QStringLiteral("recorded")}; }
    QAPropertyGroup* propertyDescriptor(const QString&) override { return group; }
    void init(const QString& feature, QAStConfiguration* configuration) override
    {
        events << "init " + feature + ' ' + configuration->name();
        configuration->setProperty(QStringLiteral("recordedLevel"), 3);
    }
    void init(const QString& feature, QAStConfiguration* configuration, const QAStTargetPackage& port) override
    {
        events << "adopt " + feature + ' ' + configuration->name() + ' ' + port.name;
    }
    void reset(const QString& feature, QAStConfiguration* configuration, const QAStTargetPackage& port) override
    {
        events << "drop " + feature + ' ' + configuration->name() + ' ' + port.name;
    }
    void init(const QString& feature, QAStConfiguration* configuration, const QDomElement& element,
              int version) override
    {
        events << QStringLiteral("read %1 %2 <%3> %4").arg(feature, configuration->name(), element.tagName()).arg(version);
        QAPropertySerializer::read(configuration, group, element);
    }
    QUnknownInterface* queryExtension(const QUuid& id) override
    {
        QUnknownInterface* face = nullptr;
        queryInterface(id, &face);
        return face;
    }
    QRESULT queryInterface(const QUuid& id, QUnknownInterface** iface) override
    {
        *iface = id == IID_EnvironmentBlock ? static_cast<EnvironmentBlockInterface*>(this) : nullptr;
        return *iface ? QS_OK : QE_NOINTERFACE;
    }
    ulong addRef() override { return 1; }
    ulong release() override { return 1; }
    void generateEnv(const QString& feature, QAStData* data, QTextStream& stream) override
    {
        stream << "$RECORDED_BLOCK='" << feature << ' ' << data->name() << "';\n";
    }

    QAPropertyMapGroup* group;
    static QStringList events;
};

QStringList RecordingBlock::events;

Q_IMPORT_PLUGIN(RecordingBlock)

namespace {

// A node kind with lines of its own behind the library's.
class OwnLinesNode : public WithoutMenus<QAStNode>
{
public:
    OwnLinesNode(const QString& name, QAStData* parent) : WithoutMenus(name, QPixmap(), parent) {}
    void generateEnv(QTextStream& stream) override
    {
        QAStNode::generateEnv(stream);
        stream << "$OWN_KIND=1;\n";
    }
};

const QString levelKey = QStringLiteral("recordedLevel");

QString written(QAStConfiguration* configuration)
{
    QString text;
    QTextStream stream(&text);
    configuration->write(stream, 0);
    stream.flush();
    return text;
}

} // namespace

class tst_ConfigurationBlocks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QAStData::initialize(&host);
        QVERIFY(writeFile(ports.filePath("plain/tp.ini"), "NAME = \"Plain\"\nLANGUAGE = \"C\"\n"));
        QAStData::preferences()->setValue(QStringLiteral("tdpDirectories"), QStringList(ports.path()));
        QVERIFY(QAStTargetPackageList::initialize(&host));
        QVERIFY(QAStConfiguration::initialize(&host));
    }

    void cleanupTestCase()
    {
        QAStConfiguration::terminate();
        QAStTargetPackageList::terminate();
    }

    void init()
    {
        project = std::make_unique<QAStProject>(QPixmap());
        project->create(dir.filePath(QStringLiteral("blocks.vmp")));
        RecordingBlock::events.clear();
        project->addConfiguration(QStringLiteral("Debug"));
        project->initialConfiguration(QStringLiteral("Debug"))
            ->init(*QAStTargetPackageList::installTargetPackages()->targetPackage("plain"));
        group = new QAStNodeGroup(QStringLiteral("G"), project.get());
        node = new OwnLinesNode(QStringLiteral("n"), group);
    }

    // Each block joins the descriptor below its root, in the order of the
    // features, and stays its plug-in's: the library gives it back when it
    // drops its own tree, and takes it again with the next one.
    void descriptorBorrowsEachBlock()
    {
        QAPropertyMapGroup* descriptor = QAStConfiguration::propertyDescriptor();
        const QList<QAProperty*> children = descriptor->children();
        QVERIFY(children.size() > 2);
        QCOMPARE(children.at(children.size() - 2), static_cast<QAProperty*>(recording()->group));
        QCOMPARE(children.last()->key(), QStringLiteral("file_check_options"));
        QVERIFY(node->currentConfiguration()->perlVariables().contains(recording()->group->children().first()));

        QAStConfiguration::terminate();
        QVERIFY(!recording()->group->parent());
        QCOMPARE(recording()->group->count(), 1);
        QVERIFY(QAStConfiguration::initialize(&host));
        QCOMPARE(recording()->group->parent(), QAStConfiguration::propertyDescriptor());
    }

    // A block hears of each event of a configuration, with the configuration
    // and what the event concerns.
    void eachEventReachesTheBlock_data()
    {
        QTest::addColumn<QString>("event");
        QTest::addColumn<QString>("heard");
        QTest::newRow("defaults") << "init" << "init recorded Debug";
        QTest::newRow("a port adopted") << "adopt" << "adopt recorded Debug Plain";
        QTest::newRow("a port dropped") << "drop" << "drop recorded Debug Plain";
        QTest::newRow("its element read, with the file's version") << "read" << "read recorded Debug <recorded> 7";
    }
    void eachEventReachesTheBlock()
    {
        QFETCH(QString, event);
        RecordingBlock::events.clear();
        QAStConfiguration configuration(QStringLiteral("Debug"), node);
        const QAStTargetPackage& port = *QAStTargetPackageList::installTargetPackages()->targetPackage("plain");
        if (event == QLatin1String("init")) {
            configuration.init();
            QCOMPARE(configuration.property(levelKey).toInt(), 3);
        } else if (event == QLatin1String("adopt")) {
            configuration.init(port);
        } else if (event == QLatin1String("drop")) {
            configuration.reset(port);
        } else {
            QDomDocument document;
            QVERIFY(document.setContent(QStringLiteral("<configuration><name>Debug</name><extension_block_list>"
                                                       "<recorded><recordedLevel>9</recordedLevel></recorded>"
                                                       "</extension_block_list></configuration>")));
            configuration.init(document.documentElement(), 7);
            QCOMPARE(configuration.property(levelKey).toInt(), 9);
        }
        QTEST(RecordingBlock::events.join('|'), "heard");
    }

    // A block's setting resolves through the tree like the library's own.
    void blockSettingsInherit_data()
    {
        QTest::addColumn<QString>("setOn"); // the stores that hold a value of their own, from the top
        QTest::addColumn<int>("resolved");
        QTest::newRow("the block's default in the initial configuration") << "" << 3;
        QTest::newRow("the project's value") << "project" << 10;
        QTest::newRow("the group's value over the project's") << "project,group" << 11;
        QTest::newRow("the node's own value over all") << "project,group,node" << 12;
    }
    void blockSettingsInherit()
    {
        QFETCH(QString, setOn);
        const QList<QAStNode*> chain {project.get(), group, node};
        const QStringList names {"project", "group", "node"};
        for (int i = 0; i < chain.size(); ++i) {
            if (setOn.split(',').contains(names.at(i)))
                chain.at(i)->currentConfiguration()->setProperty(levelKey, 10 + i);
        }
        QTEST(node->currentConfiguration()->property(levelKey).toInt(), "resolved");
    }

    // A block's values are written inside its own element, and only there;
    // one that no installed plug-in serves is written back as it was read,
    // in its place. Reading the text back and writing it again gives it
    // unchanged.
    void blocksRoundTrip_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected"); // empty: the text itself
        QTest::addColumn<int>("level");        // the own value read, -1 for none
        const QString plain = "<configuration>\n  <name>Debug</name>\n  <cflags>-O2</cflags>\n</configuration>\n";
        QTest::newRow("no value of a block: no list") << plain << "" << -1;
        const QString own = "<configuration>\n  <name>Debug</name>\n  <extension_block_list>\n    <recorded>\n"
                            "      <recordedLevel>5</recordedLevel>\n    </recorded>\n  </extension_block_list>\n"
                            "</configuration>\n";
        QTest::newRow("a block's value in its element") << own << "" << 5;
        QTest::newRow("a block's key among the library's is not the block's")
            << "<configuration>\n  <name>Debug</name>\n  <recordedLevel>5</recordedLevel>\n</configuration>\n"
            << "<configuration>\n  <name>Debug</name>\n</configuration>\n" << -1;
        const QString gone = "    <gone>\n      <a>x#comma#y &amp;lt;z&amp;gt;</a>\n      <empty></empty>\n"
                             "      <configuration_list>\n      </configuration_list>\n"
                             "      <deep attribute=\"&quot;q&quot;\">\n        <b>2</b>\n      </deep>\n    </gone>\n";
        QTest::newRow("a block nothing serves, kept as read")
            << "<configuration>\n  <name>Debug</name>\n  <extension_block_list>\n" + gone
                   + "  </extension_block_list>\n</configuration>\n"
            << "" << -1;
        QTest::newRow("a block nothing serves keeps its place before a served one")
            << "<configuration>\n  <name>Debug</name>\n  <extension_block_list>\n" + gone
                   + "    <recorded>\n      <recordedLevel>6</recordedLevel>\n    </recorded>\n"
                     "  </extension_block_list>\n</configuration>\n"
            << "" << 6;
    }
    void blocksRoundTrip()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QFETCH(int, level);
        QAStConfiguration* configuration = node->currentConfiguration();
        QDomDocument document;
        QVERIFY(QAStData::parseDocument(text, document));
        configuration->init(document.documentElement(), 1);
        QCOMPARE(configuration->hasProperty(levelKey), level >= 0);
        if (level >= 0)
            QCOMPARE(configuration->property(levelKey).toInt(), level);
        const QString first = written(configuration);
        QCOMPARE(first, expected.isEmpty() ? text : expected);

        // A copy carries the kept blocks as well.
        QAStConfiguration copy(QStringLiteral("Debug"), node);
        copy = *configuration;
        QCOMPARE(written(&copy), first);
        QAStConfiguration again(QStringLiteral("Debug"), node);
        QVERIFY(QAStData::parseDocument(first, document));
        again.init(document.documentElement(), 1);
        QCOMPARE(written(&again), first);
    }

    // The environment file: the library's lines with the blocks' settings
    // among them, then each block's own lines in the order of the features,
    // then the node kind's.
    void environmentLinesStandBetweenSettingsAndNode()
    {
        node->currentConfiguration()->setProperty(levelKey, 4);
        QString text;
        QTextStream stream(&text);
        node->generateEnv(stream);
        stream.flush();
        const QStringList lines = text.split('\n', Qt::SkipEmptyParts);
        const qsizetype setting = lines.indexOf(QStringLiteral("$RECORDED_LEVEL=4;"));
        const qsizetype recorded = lines.indexOf(QStringLiteral("$RECORDED_BLOCK='recorded n';"));
        const qsizetype sample = lines.indexOf(QRegularExpression("\\$FILECHECK_ROOT=.*"));
        QVERIFY2(setting >= 0 && recorded >= 0 && sample >= 0, qPrintable(text));
        QVERIFY(lines.indexOf(QRegularExpression("\\$FILECHECK_WARN_ONLY=.*")) < recorded);
        QCOMPARE(recorded, setting + 4); // behind the sample block's three settings
        QCOMPARE(sample, recorded + 1);
        QCOMPARE(lines.last(), QStringLiteral("$OWN_KIND=1;"));
        QCOMPARE(lines.at(lines.size() - 2), lines.at(sample));
    }

private:
    static RecordingBlock* recording()
    {
        for (QObject* instance : QPluginLoader::staticInstances()) {
            if (auto* block = qobject_cast<RecordingBlock*>(instance))
                return block;
        }
        return nullptr;
    }

    RecordingHost host;
    QTemporaryDir ports;
    QTemporaryDir dir;
    std::unique_ptr<QAStProject> project;
    QAStNodeGroup* group = nullptr;
    QAStNode* node = nullptr;
};

QTEST_MAIN(tst_ConfigurationBlocks)
#include "tst_configurationblocks.moc"
