#include "qaproperty.h"
#include "qapropertymapgroup.h"
#include "qapropertypathbox.h"
#include "qapropertypathitem.h"
#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastprojectpref.h"
#include "qastproject.h"
#include "qasttargetpackage.h"
#include "qasttargetpackagelist.h"
#include "recordinghost.h"
#include "settingsfixture.h"

#include <QDomDocument>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

namespace {

const QString flagKey = QStringLiteral("executionFlag");

} // namespace

class tst_Configurations : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QAStData::initialize(&host);
        // A port that refuses coverage, one that refuses nothing.
        QVERIFY(writeFile(ports.filePath("refusing/tp.ini"), "NAME = \"Refusing\"\nLANGUAGE = \"C\"\nZTCMODE = \"0\"\n"));
        QVERIFY(writeFile(ports.filePath("plain/tp.ini"), "NAME = \"Plain\"\nLANGUAGE = \"CPP\"\n"));
        QAStData::preferences()->setValue(QStringLiteral("tdpDirectories"), QStringList(ports.path()));
        QVERIFY(QAStTargetPackageList::initialize(&host));
        QVERIFY(QAStConfiguration::initialize(&host));
        QVERIFY(QAStConfiguration::initialize(&host)); // a second call changes nothing
        QVERIFY(host.consoleText(QAStData::MessageConsole, true).isEmpty());
    }

    void cleanupTestCase()
    {
        QAStConfiguration::terminate();
        QAStTargetPackageList::terminate();
    }

    void init()
    {
        project = new QAStProject(QPixmap());
        project->create(QDir::temp().filePath(QStringLiteral("configured.vmp")));
        QVERIFY(project->addConfiguration(QStringLiteral("Debug")));
    }

    void cleanup()
    {
        delete project;
        project = nullptr;
    }

    void shippedDefinitionDescribesTheSettings()
    {
        QStringList keys;
        for (QAProperty* leaf : leaves(QAStConfiguration::propertyDescriptor()))
            keys << leaf->key();
        for (const char* key : {"executionFlag", " st_dtrack", "envVariables", "ztc_instr_blocks", "misraconf"})
            QVERIFY2(keys.contains(QString::fromLatin1(key)), key);
        QCOMPARE(QSet<QString>(keys.begin(), keys.end()).size(), keys.size());
    }

    void initialConfigurationHoldsTheDefaults()
    {
        QVERIFY(project->addConfiguration(QStringLiteral("a/b c")));
        QAStConfiguration* initial = project->initialConfiguration(QStringLiteral("a/b c"));
        QVERIFY(initial);
        QCOMPARE(initial->property(QStringLiteral("intdir")).toString(), QStringLiteral("a_b_c"));
        QCOMPARE(initial->property(QStringLiteral("outdir")).toString(), QStringLiteral("a_b_c"));
        QCOMPARE(initial->property(QStringLiteral("csvSeparator")).toString(), host.csvSeparator());
        // The node stores hold nothing but their names.
        QCOMPARE(project->configuration(QStringLiteral("a/b c"))->propertyNames(), QStringList("name"));
    }

    void languageTypeIsTheUpperCaseWord()
    {
        QAStConfiguration* configuration = chain(2).last()->currentConfiguration();
        const QList<std::pair<const char*, int>> languages {
            {"C", 1}, {"cpp", 2}, {"Ada95", 4}, {"ADA83", 4}, {"JAVA", 8}, {"COBOL", 1}};
        for (const auto& [language, type] : languages) {
            configuration->setProperty(QStringLiteral("sourceLanguage"), language);
            QVERIFY2(configuration->languageType() == type, language);
        }
    }

    void adoptingAPortWritesItsKeys()
    {
        QAStTargetPackage port;
        port.name = QStringLiteral("Cross");
        port.directory = QStringLiteral("cross");
        port.fullPath = QStringLiteral("/opt/ports/cross");
        port.language = QStringLiteral("C");
        port.objectExt = QStringLiteral(".o");
        port.cppFlags = QStringLiteral("-E");
        port.cFlags = QStringLiteral("-O2");
        port.defines = QStringLiteral("D");
        port.includePaths = QStringList {QStringLiteral("/i1"), QStringLiteral("/i2")};
        port.j2meRestriction = true;
        port.flags = 0x61C00;
        // Further defaults of each kind the port can fill, converted by the
        // setting's kind.
        port.defaults = {{"misc_options", "text"}, {"exclude_dir", "a,b"}, {"nuerror", "42"}, {"debug", "Yes"}};
        const QVariantMap expected {{flagKey, 0x61C3F}, {"targetName", "Cross"}, {"targetPath", "cross"},
                                    {"targetFullPath", port.fullPath}, {"iniFileName", "tp.ini"}, {"objectExt", ".o"},
                                    {"cppFlags", "-E"}, {"cflags", "-O2"}, {"tcflags", "D"}, {"sourceLanguage", "C"},
                                    {"intdir", "cross"}, {"ge_incdir", port.includePaths}, {"j2meRestriction", true},
                                    {"misc_options", "text"}, {"exclude_dir", QStringList {"a", "b"}}, {"nuerror", 42},
                                    {"debug", true}};
        QAStConfiguration* initial = project->initialConfiguration(QStringLiteral("Debug"));
        initial->init(port);
        for (auto it = expected.cbegin(); it != expected.cend(); ++it)
            QVERIFY2(initial->property(it.key()) == it.value(), qPrintable(it.key()));

        // Dropped on a node store, the port's values give way to the inherited
        // ones; the flag stays.
        QAStConfiguration* own = chain(1).last()->currentConfiguration();
        own->init(port);
        own->reset(port);
        QCOMPARE(own->propertyNames(), (QStringList {flagKey, QStringLiteral("name")}));
    }

    void readingTakesAwayWhatThePortRefuses_data()
    {
        QTest::addColumn<QString>("targetPath");
        QTest::addColumn<int>("stored");
        QTest::addColumn<int>("read");
        QTest::addColumn<QString>("fullPath");
        QTest::newRow("a port without coverage clears coverage and data coupling")
            << "refusing" << 0x8063F << 0x43F << "/refusing";
        QTest::newRow("an unchanged port leaves even unknown bits") << "plain" << 0x7008023F << 0x7008023F << "/plain";
        QTest::newRow("a port not installed leaves the file's values")
            << "gone" << 0x80E3F << 0x80E3F << "/from/the/file";
    }

    void readingTakesAwayWhatThePortRefuses()
    {
        QFETCH(QString, targetPath);
        QFETCH(int, stored);
        QFETCH(QString, fullPath);
        QDomDocument document;
        QVERIFY(document.setContent(QStringLiteral("<configuration><name>Target</name>"
                                                   "<executionFlag>%1</executionFlag><targetPath>%2</targetPath>"
                                                   "<targetFullPath>/from/the/file</targetFullPath></configuration>")
                                        .arg(stored)
                                        .arg(targetPath)));
        QAStConfiguration configuration(QString(), project);
        configuration.init(document.documentElement(), 1);
        QCOMPARE(configuration.name(), QStringLiteral("Target"));
        QTEST(configuration.property(flagKey).toInt(), "read");
        const QString expected = fullPath.startsWith(QLatin1String("/from")) ? fullPath : ports.path() + fullPath;
        QCOMPARE(configuration.property(QStringLiteral("targetFullPath")).toString(), expected);
    }

    void onlyOverridesAreWrittenAndRoundTrip()
    {
        QAStNode* leaf = chain(3).last();
        leaf->currentConfiguration()->setProperty(QStringLiteral("cflags"), QStringLiteral("-g"));
        leaf->currentConfiguration()->setProperty(QStringLiteral("ge_incdir"), QStringList {"a", "c"});
        project->addConfiguration(QStringLiteral("Release"));
        project->initialConfiguration(QStringLiteral("Release"))->init(*QAStNode::getTDP(QStringLiteral("plain")));
        project->setCurrentConfiguration(QStringLiteral("Release"));
        const QString text = project->toString();
        // The node store that overrides two settings writes just those.
        static const QRegularExpression overrides(QStringLiteral(
            "<configuration>\\s*<name>Debug</name>\\s*<cflags>-g</cflags>\\s*<ge_incdir>a,c</ge_incdir>\\s*"
            "</configuration>"));
        QVERIFY(text.contains(overrides));
        QCOMPARE(text.count(QLatin1String("<cflags>")), 3); // the node's, and each initial one's

        // A key the description does not know is lost at the next save.
        QDomDocument document;
        QVERIFY(document.setContent(QString(text).replace(QLatin1String("<name>Debug</name>"),
                                                          QLatin1String("<name>Debug</name><unknownKey>1</unknownKey>"))));
        QAStProject reread {QPixmap()};
        reread.init(document.documentElement());
        QCOMPARE(reread.toString(), text);
        QCOMPARE(reread.children().first()->currentConfigurationName(), QStringLiteral("Release"));

        // Older files keep the steps in the project's node, for all its stores.
        QDomDocument older;
        QVERIFY(older.setContent(QString(text).replace(QLatin1String("</current_configuration>"),
                                                       QLatin1String("</current_configuration><execution_flag>7</execution_flag>"))));
        QAStProject old {QPixmap()};
        old.init(older.documentElement());
        for (const QAStConfiguration* configuration : old.configurations())
            QCOMPARE(configuration->property(flagKey).toInt(), 7);
    }

    void projectOperationsOnTheWholeTree()
    {
        const QList<QAStNode*> nodes = chain(3);
        QSignalSpy added(project, &QAStNode::configurationAdded);
        QSignalSpy removed(project, &QAStNode::configurationRemoved);
        QAStConfiguration* existing = project->configuration(QStringLiteral("Debug"));
        QCOMPARE(project->addConfiguration(QStringLiteral("Debug")), existing);
        QVERIFY(!project->dupConfiguration(QStringLiteral("None"), QStringLiteral("Copy")));
        QCOMPARE(project->dupConfiguration(QStringLiteral("Debug"), QStringLiteral("Debug")), existing);
        QCOMPARE(added.count(), 0);

        nodes.last()->configuration(QStringLiteral("Debug"))->setProperty(flagKey, 5);
        QVERIFY(project->dupConfiguration(QStringLiteral("Debug"), QStringLiteral("Copy")));
        QCOMPARE(added.count(), 1);
        for (QAStNode* node : nodes)
            QCOMPARE(node->configurationList(), (QStringList {"Copy", "Debug"}));
        QAStConfiguration* copy = nodes.last()->configuration(QStringLiteral("Copy"));
        QCOMPARE(copy->property(flagKey).toInt(), 5);
        QCOMPARE(copy->name(), QStringLiteral("Copy"));
        QVERIFY(project->initialConfiguration(QStringLiteral("Copy")));

        // A node made later gets every configuration and the current name.
        project->setCurrentConfiguration(QStringLiteral("Copy"));
        auto* late = new QAStNodeGroup(QStringLiteral("late"), nodes.last());
        QCOMPARE(late->configurationList(), (QStringList {"Copy", "Debug"}));
        QCOMPARE(late->executionFlag(), 5);

        // Moving a node to another port drops what the former one brought.
        late->setTDP(*QAStNode::getTDP(QStringLiteral("Plain")));
        QCOMPARE(late->getcurrentTDP(), QAStNode::getTDP(QStringLiteral("plain")));
        late->setTDP(*QAStNode::getTDP(QStringLiteral("refusing")));
        QCOMPARE(late->getcurrentTDP()->name, QStringLiteral("Refusing"));
        QCOMPARE(late->executionFlag(), 0x61C3F);

        project->removeConfiguration(QStringLiteral("Copy"));
        QCOMPARE(removed.count(), 1);
        QVERIFY(!project->initialConfiguration(QStringLiteral("Copy")));
        QCOMPARE(late->configurationList(), QStringList("Debug"));
        // The current name is gone: the first configuration stands in.
        QCOMPARE(late->currentConfiguration(), late->configuration(QStringLiteral("Debug")));
    }

    void pathsStartInTheProjectDirectory()
    {
        QAPropertyMapGroup* descriptor = QAStConfiguration::propertyDescriptor();
        descriptor->setPropertyStore(chain(2).last()->currentConfiguration());
        QStringList bases;
        for (QAProperty* leaf : leaves(descriptor)) {
            if (auto* path = dynamic_cast<QAPropertyPathItem*>(leaf))
                bases << "item " + path->basePath();
            else if (auto* paths = dynamic_cast<QAPropertyPathBox*>(leaf))
                bases << "box " + paths->basePath();
        }
        bases.removeDuplicates();
        QCOMPARE(bases, (QStringList {"item " + QDir::temp().path(), "box " + QDir::temp().path()}));
    }

private:
    /// A project with a chain of groups below it, \a depth deep.
    QList<QAStNode*> chain(int depth)
    {
        QList<QAStNode*> nodes {project};
        for (int i = 1; i <= depth; ++i)
            nodes << new QAStNodeGroup(QStringLiteral("level%1").arg(i), nodes.last());
        return nodes;
    }

    RecordingHost host;
    QTemporaryDir ports;
    QAStProject* project = nullptr;
};

QTEST_MAIN(tst_Configurations)
#include "tst_configurations.moc"
