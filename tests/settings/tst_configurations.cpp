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

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString flagKey = QStringLiteral("executionFlag");

void writeFile(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
}

// The first leaf of the description whose kind is \a type, outside the
// settings that a port sets by name.
QAProperty* leafOfKind(QAProperty* property, int type)
{
    static const QStringList named {"executionFlag", "targetName", "targetPath", "targetFullPath",
                                    "iniFileName", "objectExt", "libraryStaticExt", "libraryDynamicExt",
                                    "binaryExt", "sourceExt", "cppFlags", "cflags", "tcflags", "ldflags",
                                    "additionnalObjects", "sourceLanguage", "intdir", "outdir",
                                    "ge_incdir", "ge_libdir", "javaBootClasspath", "j2meRestriction"};
    if (!property->isGroup())
        return property->type() == type && !named.contains(property->key()) ? property : nullptr;
    for (QAProperty* child : static_cast<QAPropertyGroup*>(property)->children()) {
        if (QAProperty* found = leafOfKind(child, type))
            return found;
    }
    return nullptr;
}

} // namespace

class tst_Configurations : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();
    void valuesResolveThroughTheTree_data();
    void valuesResolveThroughTheTree();
    void initialConfigurationHoldsTheDefaults();
    void languageType_data();
    void languageType();
    void adoptingAPortWritesItsKeys();
    void readingTakesAwayWhatThePortRefuses_data();
    void readingTakesAwayWhatThePortRefuses();
    void onlyOverridesAreWrittenAndRoundTrip();
    void projectOperationsOnTheWholeTree();
    void duplicatingSharesTheValues();
    void pathsStartInTheProjectDirectory();

private:
    /// A project with a chain of groups below it, \a depth deep.
    QList<QAStNode*> chain(int depth);

    RecordingHost host;
    QTemporaryDir ports;
    QAStProject* project = nullptr;
};

void tst_Configurations::initTestCase()
{
    QAStData::initialize(&host);
    // A port that refuses coverage, one that refuses nothing.
    writeFile(ports.filePath("refusing/tp.ini"), "NAME = \"Refusing\"\nLANGUAGE = \"C\"\nZTCMODE = \"0\"\n");
    writeFile(ports.filePath("plain/tp.ini"), "NAME = \"Plain\"\nLANGUAGE = \"CPP\"\n");
    QAStData::preferences()->setValue(QStringLiteral("tdpDirectories"), QStringList(ports.path()));
    QVERIFY(QAStTargetPackageList::initialize(&host));
    QVERIFY(QAStConfiguration::initialize(&host));
    QVERIFY(QAStConfiguration::initialize(&host)); // a second call changes nothing
    QVERIFY(host.consoleText(QAStData::MessageConsole, true).isEmpty());
}

void tst_Configurations::cleanupTestCase()
{
    QAStConfiguration::terminate();
    QAStTargetPackageList::terminate();
}

void tst_Configurations::init()
{
    project = new QAStProject(QPixmap());
    project->create(QDir::temp().filePath(QStringLiteral("configured.vmp")));
    QVERIFY(project->addConfiguration(QStringLiteral("Debug")));
}

void tst_Configurations::cleanup()
{
    delete project;
    project = nullptr;
}

QList<QAStNode*> tst_Configurations::chain(int depth)
{
    QList<QAStNode*> nodes {project};
    for (int i = 1; i <= depth; ++i)
        nodes << new QAStNodeGroup(QStringLiteral("level%1").arg(i), nodes.last());
    return nodes;
}

void tst_Configurations::valuesResolveThroughTheTree_data()
{
    QTest::addColumn<int>("level");
    for (int level = 0; level <= 5; ++level)
        QTest::addRow("set on level %d", level) << level;
}

void tst_Configurations::valuesResolveThroughTheTree()
{
    QFETCH(int, level);
    const QList<QAStNode*> nodes = chain(5);
    nodes.at(level)->configuration(QStringLiteral("Debug"))->setProperty(flagKey, 0x13);

    for (int i = 0; i < nodes.size(); ++i)
        QCOMPARE(nodes.at(i)->executionFlag(), i >= level ? 0x13 : 63);

    nodes.at(level)->configuration(QStringLiteral("Debug"))->unsetProperty(flagKey);
    for (QAStNode* node : nodes)
        QCOMPARE(node->executionFlag(), 63);
    // The chain ends at the initial configuration, which inherits from nothing.
    QCOMPARE(nodes.last()->currentConfiguration()->property(QStringLiteral("computerPort")), QVariant(10000));
    QVERIFY(!project->initialConfiguration(QStringLiteral("Debug"))->inheritOf());
}

void tst_Configurations::initialConfigurationHoldsTheDefaults()
{
    QVERIFY(project->addConfiguration(QStringLiteral("a/b c")));
    QAStConfiguration* initial = project->initialConfiguration(QStringLiteral("a/b c"));
    QVERIFY(initial);
    for (const QString& key : QAStConfiguration::defaultKeys())
        QVERIFY2(initial->hasProperty(key), qPrintable(key));
    QCOMPARE(initial->property(QStringLiteral("intdir")).toString(), QStringLiteral("a_b_c"));
    QCOMPARE(initial->property(QStringLiteral("outdir")).toString(), QStringLiteral("a_b_c"));
    QCOMPARE(initial->property(QStringLiteral("csvSeparator")).toString(), host.csvSeparator());
    QCOMPARE(initial->property(QStringLiteral(" st_dtrack")), QVariant(false));
    // The node stores hold nothing but their names.
    QCOMPARE(project->configuration(QStringLiteral("a/b c"))->propertyNames(), QStringList("name"));
}

void tst_Configurations::languageType_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<int>("type");
    QTest::newRow("C") << "C" << 1;
    QTest::newRow("C++ in lower case") << "cpp" << 2;
    QTest::newRow("Ada95 in mixed case") << "Ada95" << 4;
    QTest::newRow("ADA83") << "ADA83" << 4;
    QTest::newRow("Java") << "JAVA" << 8;
    QTest::newRow("an unknown word counts as C") << "COBOL" << 1;
}

void tst_Configurations::languageType()
{
    QFETCH(QString, language);
    QFETCH(int, type);
    QAStNode* leaf = chain(2).last();
    leaf->currentConfiguration()->setProperty(QStringLiteral("sourceLanguage"), language);
    QCOMPARE(leaf->currentConfiguration()->languageType(), type);
}

void tst_Configurations::adoptingAPortWritesItsKeys()
{
    QAStTargetPackage port;
    port.name = QStringLiteral("Cross");
    port.directory = QStringLiteral("cross");
    port.fullPath = QStringLiteral("/opt/ports/cross");
    port.language = QStringLiteral("C");
    port.objectExt = QStringLiteral(".o");
    port.cFlags = QStringLiteral("-O2");
    port.includePaths = QStringList {QStringLiteral("/i1"), QStringLiteral("/i2")};
    port.j2meRestriction = true;
    port.flags = 0x61C00;
    // A further default for a setting of each kind the port can fill.
    QAPropertyMapGroup* descriptor = QAStConfiguration::propertyDescriptor();
    const QList<QPair<int, QString>> further {{QAProperty::StringType, QStringLiteral("text")},
                                              {QAProperty::StringListType, QStringLiteral("a,b")},
                                              {QAProperty::IntType, QStringLiteral("42")},
                                              {QAProperty::BoolType, QStringLiteral("Yes")}};
    QStringList furtherKeys;
    for (const auto& [type, text] : further) {
        QAProperty* leaf = leafOfKind(descriptor, type);
        QVERIFY(leaf);
        port.defaults.insert(leaf->key(), text);
        furtherKeys << leaf->key();
    }

    QAStConfiguration* initial = project->initialConfiguration(QStringLiteral("Debug"));
    initial->init(port);
    QCOMPARE(initial->property(flagKey).toInt(), 0x61C3F);
    QCOMPARE(initial->property(QStringLiteral("targetPath")).toString(), QStringLiteral("cross"));
    QCOMPARE(initial->property(QStringLiteral("targetFullPath")).toString(), port.fullPath);
    QCOMPARE(initial->property(QStringLiteral("iniFileName")).toString(), QStringLiteral("tp.ini"));
    QCOMPARE(initial->property(QStringLiteral("objectExt")).toString(), QStringLiteral(".o"));
    QCOMPARE(initial->property(QStringLiteral("cflags")).toString(), QStringLiteral("-O2"));
    QCOMPARE(initial->property(QStringLiteral("sourceLanguage")).toString(), QStringLiteral("C"));
    QCOMPARE(initial->property(QStringLiteral("intdir")).toString(), QStringLiteral("cross"));
    QCOMPARE(initial->property(QStringLiteral("ge_incdir")).toStringList(), port.includePaths);
    QCOMPARE(initial->property(QStringLiteral("j2meRestriction")), QVariant(true));
    QCOMPARE(initial->property(furtherKeys.at(0)), QVariant(QStringLiteral("text")));
    QCOMPARE(initial->property(furtherKeys.at(1)), QVariant(QStringList {"a", "b"}));
    QCOMPARE(initial->property(furtherKeys.at(2)), QVariant(42));
    QCOMPARE(initial->property(furtherKeys.at(3)), QVariant(true));

    // Dropped on a node store, the port's values give way to the inherited
    // ones; the flag stays.
    QAStNode* leaf = chain(1).last();
    QAStConfiguration* own = leaf->currentConfiguration();
    own->init(port);
    own->reset(port);
    QCOMPARE(own->propertyNames(), (QStringList {flagKey, QStringLiteral("name")}));
}

void tst_Configurations::readingTakesAwayWhatThePortRefuses_data()
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

void tst_Configurations::readingTakesAwayWhatThePortRefuses()
{
    QFETCH(QString, targetPath);
    QFETCH(int, stored);
    QFETCH(int, read);
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
    QCOMPARE(configuration.property(flagKey).toInt(), read);
    const QString expected = fullPath.startsWith(QLatin1String("/from")) ? fullPath : ports.path() + fullPath;
    QCOMPARE(configuration.property(QStringLiteral("targetFullPath")).toString(), expected);
}

void tst_Configurations::onlyOverridesAreWrittenAndRoundTrip()
{
    QAStNode* leaf = chain(3).last();
    leaf->currentConfiguration()->setProperty(QStringLiteral("cflags"), QStringLiteral("-DX='a<b>'"));
    leaf->currentConfiguration()->setProperty(QStringLiteral("ge_incdir"), QStringList {"a,b", "c"});
    project->addConfiguration(QStringLiteral("Release"));
    project->initialConfiguration(QStringLiteral("Release"))->init(*QAStNode::getTDP(QStringLiteral("plain")));
    project->setCurrentConfiguration(QStringLiteral("Release"));
    const QString text = project->toString();
    // The node store that overrides two settings writes just those.
    static const QRegularExpression overrides(QStringLiteral(
        "<configuration>\\s*<name>Debug</name>\\s*<cflags>[^<]*</cflags>\\s*"
        "<ge_incdir>a#comma#b,c</ge_incdir>\\s*</configuration>"));
    QVERIFY(text.contains(overrides));
    QCOMPARE(text.count(QLatin1String("<cflags>")), 3); // the node's, and each initial one's

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

void tst_Configurations::projectOperationsOnTheWholeTree()
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
    QCOMPARE(nodes.last()->configuration(QStringLiteral("Copy"))->property(flagKey).toInt(), 5);
    QCOMPARE(nodes.last()->configuration(QStringLiteral("Copy"))->name(), QStringLiteral("Copy"));
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
    QCOMPARE(QAStNode::getTDPnames().size(), 2);

    project->removeConfiguration(QStringLiteral("Copy"));
    QCOMPARE(removed.count(), 1);
    QVERIFY(!project->initialConfiguration(QStringLiteral("Copy")));
    QCOMPARE(late->configurationList(), QStringList("Debug"));
    // The current name is gone: the first configuration stands in.
    QCOMPARE(late->currentConfiguration(), late->configuration(QStringLiteral("Debug")));
}

void tst_Configurations::duplicatingSharesTheValues()
{
    QList<QAStNode*> nodes {project};
    const QStringList big(1000, QStringLiteral("include/directory"));
    for (int i = 0; i < 10000; ++i) {
        auto* group = new QAStNodeGroup(QStringLiteral("n%1").arg(i), nodes.at(i / 10));
        group->configuration(QStringLiteral("Debug"))->setProperty(QStringLiteral("ge_incdir"), big);
        nodes << group;
    }
    QVERIFY(project->dupConfiguration(QStringLiteral("Debug"), QStringLiteral("Copy")));
    for (QAStNode* node : std::as_const(nodes)) {
        const QStringList from = node->configuration(QStringLiteral("Debug"))->propertyMap().value("ge_incdir").toStringList();
        const QStringList to = node->configuration(QStringLiteral("Copy"))->propertyMap().value("ge_incdir").toStringList();
        if (node != project)
            QCOMPARE(to.constData(), from.constData());
    }
    // The copy is a copy: writing it leaves the original alone.
    nodes.last()->configuration(QStringLiteral("Copy"))->setProperty(QStringLiteral("ge_incdir"), QStringList());
    QCOMPARE(nodes.last()->configuration(QStringLiteral("Debug"))->property("ge_incdir").toStringList().size(), 1000);
}

void tst_Configurations::pathsStartInTheProjectDirectory()
{
    QAStNode* leaf = chain(2).last();
    QAPropertyMapGroup* descriptor = QAStConfiguration::propertyDescriptor();
    descriptor->setPropertyStore(leaf->currentConfiguration());
    for (int type : {int(QAProperty::StringType), int(QAProperty::StringListType)}) {
        QAProperty* leafOfPaths = nullptr;
        QList<QAProperty*> pending {descriptor};
        while (!pending.isEmpty() && !leafOfPaths) {
            QAProperty* property = pending.takeFirst();
            if (property->isGroup())
                pending << static_cast<QAPropertyGroup*>(property)->children();
            else if (property->type() == type && dynamic_cast<QAPropertyPathItem*>(property))
                leafOfPaths = property;
            else if (property->type() == type && dynamic_cast<QAPropertyPathBox*>(property))
                leafOfPaths = property;
        }
        QVERIFY(leafOfPaths);
        const QString base = type == QAProperty::StringType ? static_cast<QAPropertyPathItem*>(leafOfPaths)->basePath()
                                                           : static_cast<QAPropertyPathBox*>(leafOfPaths)->basePath();
        QCOMPARE(base, QDir::temp().path());
    }
}

QTEST_MAIN(tst_Configurations)
#include "tst_configurations.moc"
