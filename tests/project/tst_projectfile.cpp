#include "qastdatafactory.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QDomDocument>
#include <QTest>

namespace {

// A project as an older studio may have written it: an icon, a node with an
// older element and output files, a nested tree, and white space everywhere.
const char* const projectText = R"(<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE project SYSTEM "/nowhere/lib/project.dtd" >
<project>
  <group>
    <node>
      <data>
        <name>proj</name>
        <quid>77</quid>
        <renameable>false</renameable>
        <deletable>false</deletable>
        <open>true</open>
        <sorted>false</sorted>
        <executionResult>5</executionResult>
      </data>
      <current_configuration>Host</current_configuration>
      <state>0</state>
      <background>false</background>
      <configuration_list>
      </configuration_list>
      <execution_flag>512</execution_flag>
    </node>
    <group_child>
      <group>
        <node>
          <data><name>first</name><quid>100</quid><sorted>false</sorted><executionResult>0</executionResult></data>
          <current_configuration>Host</current_configuration>
          <checked>true</checked>
          <background>true</background>
          <outfilename_list>
            <outfilename><filetype>1234_ROD</filetype><filepath>a.rod,sub#comma#dir/b.rod</filepath></outfilename>
            <outfilename><filepath>skipped.rod</filepath></outfilename>
          </outfilename_list>
          <perlscript_after_child>after.pl</perlscript_after_child>
          <configuration_list/>
        </node>
        <group_child>
          <group><node><data><name>inner</name><quid>101</quid><sorted>false</sorted><executionResult>5</executionResult></data></node></group>
        </group_child>
      </group>
      <group>
        <node>
          <data><name>second</name><quid>102</quid><sorted>true</sorted><executionResult>1</executionResult></data>
          <state>2</state>
        </node>
      </group>
    </group_child>
  </group>
  <object_file>proj.inf</object_file>
  <sort_method>3</sort_method>
  <root_configuration_list>
  </root_configuration_list>
  <plugin_list/>
  <version_file>1</version_file>
</project>
)";

QDomElement parse(QDomDocument& document, const QString& text)
{
    const bool parsed = bool(document.setContent(text));
    return parsed ? document.documentElement() : QDomElement();
}

QString nestedGroups(int depth)
{
    QString text = QStringLiteral("<project>");
    for (int i = 0; i < depth; ++i)
        text += QStringLiteral("<group><node><data><name>g%1</name></data></node><group_child>").arg(i);
    for (int i = 0; i < depth; ++i)
        text += QStringLiteral("</group_child></group>");
    return text + QStringLiteral("<object_file>p.inf</object_file><root_configuration_list/>"
                                 "<version_file>1</version_file></project>");
}

// A tree of every kind of value a node can carry, in a shape that mixes
// wide and deep parts.
void growTree(QAStNodeContainer* project, int count)
{
    QList<QAStNodeContainer*> holders {project};
    quint32 random = 12345;
    for (int i = 0; i < count; ++i) {
        random = random * 1103515245u + 12345u;
        QAStNodeContainer* parent = holders.at((random >> 8) % holders.size());
        auto* group = new QAStNodeGroup(QStringLiteral("node %1 <&,>").arg(i), parent, parent->last());
        if (i % 3 == 0)
            group->setState(QAStNode::State(i % 9 / 3));
        if (i % 5 == 0)
            group->backgroundAttribute() = true;
        if (i % 4 == 0)
            group->addOutFileName(QStringLiteral("ROD"), {QStringLiteral("r%1.rod").arg(i), QStringLiteral("x,y")});
        if (i % 6 == 0)
            group->setPerlScriptAfterChild(QStringLiteral("after%1.pl").arg(i));
        if (i % 11 == 0)
            group->setPerlScriptBeforeChild(QStringLiteral("before.pl"));
        group->setOpen(i % 2 == 0);
        group->setExecutionStatus(i % 7);
        holders.append(group);
    }
}

QString written(QAStData* data)
{
    QString text;
    QTextStream stream(&text);
    data->write(stream, 0);
    stream.flush();
    return text;
}

} // namespace

class tst_ProjectFile : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void readsTheTreeInFileOrder();
    void writesBackWhatItRead();
    void missingElementsStopTheReading_data();
    void missingElementsStopTheReading();
    void childrenThatCannotStandAreDropped_data();
    void childrenThatCannotStandAreDropped();
    void olderCheckedElementMeansTheReverse_data();
    void olderCheckedElementMeansTheReverse();
    void clipboardTextRebuildsAnObject();
    void largeTreeWritesTheSameFileTwice();
    void badFilesLoadWithoutHarm_data();
    void badFilesLoadWithoutHarm();

private:
    RecordingHost host;
};

void tst_ProjectFile::initTestCase()
{
    QAStData::initialize(&host);
}

void tst_ProjectFile::init()
{
    QAStData::clearLastErrorString();
    host.messages.clear();
    host.boxes.clear();
}

void tst_ProjectFile::readsTheTreeInFileOrder()
{
    QDomDocument document;
    QAStProject project(QStringLiteral("proj"), QPixmap());
    project.init(parse(document, QString::fromLatin1(projectText)));

    QCOMPARE(childNames(&project), (QStringList{"first", "second"}));
    QVERIFY(project.isValid());
    QCOMPARE(project.getQuid(), 77u);
    QCOMPARE(project.sortMethod(), 3);
    QVERIFY(!project.isRenameable());
    auto* first = qobject_cast<QAStNodeGroup*>(project.findNode(QStringLiteral("first")));
    QVERIFY(first);
    QCOMPARE(first->executionStatus(), 0);
    QCOMPARE(first->effectiveState(), QAStNode::Excluded);
    QVERIFY(first->backgroundAttribute().get());
    QCOMPARE(first->perlScriptAfterChild(), QStringLiteral("after.pl"));
    QCOMPARE(first->outFileNameMap().keys(), QStringList{"1234_ROD"});
    QCOMPARE(first->outFileNameMap().value(QStringLiteral("1234_ROD")),
             (QStringList{"a.rod", "sub,dir/b.rod"}));
    QCOMPARE(childNames(first), QStringList{"inner"});
    auto* second = qobject_cast<QAStNode*>(project.findNode(QStringLiteral("second")));
    QCOMPARE(second->effectiveState(), QAStNode::ReportOnly);
    QVERIFY(second->isAlphabeticallySorted());

    // The older selection of steps is not a node element of today.
    QCOMPARE(host.consoleText(QAStData::MessageConsole),
             QStringLiteral("Element unknown in node : execution_flag"));
    QCOMPARE(QAStData::lastErrorString(), QString());
    QVERIFY(host.boxes.isEmpty());
}

void tst_ProjectFile::writesBackWhatItRead()
{
    QDomDocument document;
    QAStProject project(QStringLiteral("proj"), QPixmap());
    project.init(parse(document, QString::fromLatin1(projectText)));
    const QString text = written(&project);

    QVERIFY(text.startsWith(QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE project SYSTEM \"")
                            + RecordingHost::stageDir() + QStringLiteral("/lib/project.dtd\" >\n<project>\n")));
    QVERIFY(text.endsWith(QLatin1String("  <object_file>proj.inf</object_file>\n  <sort_method>3</sort_method>\n"
                                        "  <root_configuration_list>\n  </root_configuration_list>\n"
                                        "  <version_file>1</version_file>\n</project>\n")));
    // Output files only where there are some; the configuration list always.
    QCOMPARE(text.count(QLatin1String("<outfilename_list>")), 1);
    QCOMPARE(text.count(QLatin1String("<configuration_list>")), 4);
    QVERIFY(text.contains(QLatin1String("<filetype>1234_ROD</filetype>")));
    QVERIFY(text.contains(QLatin1String("<filepath>a.rod,sub#comma#dir/b.rod</filepath>")));
    QVERIFY(!text.contains(QLatin1String("checked")));
    QVERIFY(!text.contains(QLatin1String("execution_flag")));

    // A second round gives the same text: nothing is lost or added.
    QDomDocument again;
    QAStProject reread(QStringLiteral("proj"), QPixmap());
    reread.init(parse(again, text));
    QCOMPARE(written(&reread), text);
}

void tst_ProjectFile::missingElementsStopTheReading_data()
{
    QTest::addColumn<QString>("removed");
    QTest::addColumn<QStringList>("children");
    QTest::addColumn<int>("sortMethod");
    QTest::addColumn<QString>("error");
    QTest::newRow("version_file") << "version_file" << QStringList() << 1
                                  << "Unable to find tag version_file\n";
    QTest::newRow("object_file") << "object_file" << QStringList{"first", "second"} << 1
                                 << "Unable to find tag object_file\n";
    QTest::newRow("sort_method is optional") << "sort_method" << QStringList{"first", "second"} << 1 << "";
    QTest::newRow("root_configuration_list") << "root_configuration_list" << QStringList{"first", "second"}
                                             << 3 << "Unable to find tag root_configuration_list\n";
    QTest::newRow("execution_flag is harmless") << "execution_flag" << QStringList{"first", "second"} << 3
                                                << "Unable to find tag execution_flag\n";
}

void tst_ProjectFile::missingElementsStopTheReading()
{
    QFETCH(QString, removed);
    QFETCH(QStringList, children);
    QFETCH(int, sortMethod);
    QFETCH(QString, error);
    QDomDocument document;
    const QDomElement root = parse(document, QString::fromLatin1(projectText));
    QDomElement doomed = document.elementsByTagName(removed).item(0).toElement();
    doomed.parentNode().removeChild(doomed);

    QAStProject project(QStringLiteral("proj"), QPixmap());
    project.init(root);
    QCOMPARE(childNames(&project), children);
    QCOMPARE(project.sortMethod(), sortMethod);
    QCOMPARE(QAStData::lastErrorString(), error);
    QVERIFY(project.isValid());
    QVERIFY(host.boxes.isEmpty());
}

void tst_ProjectFile::childrenThatCannotStandAreDropped_data()
{
    QTest::addColumn<QString>("element");
    QTest::addColumn<QStringList>("allowed");
    QTest::addColumn<QString>("error");
    QTest::newRow("unknown element") << "<x/>" << QStringList{"QAStNode"}
                                     << "No plugin found for feature \"x\"\n";
    QTest::newRow("known class in the wrong place") << "<group/>" << QStringList{"QAStFile"}
                                                    << "group bad place\ngroup bad place\n";
}

void tst_ProjectFile::childrenThatCannotStandAreDropped()
{
    QFETCH(QString, element);
    QFETCH(QStringList, allowed);
    QFETCH(QString, error);
    QDomDocument document;
    const QDomElement holder = parse(
        document, QStringLiteral("<group_child>") + element
                      + QStringLiteral("<group><node><data><name>kept</name><sorted>false</sorted>"
                                       "<executionResult>5</executionResult></data></node></group>"
                                       "</group_child>"));
    TestData parent(QStringLiteral("parent"));
    parent.initChildren(holder, 1, allowed);
    QCOMPARE(childNames(&parent), allowed.contains(QLatin1String("QAStNode")) ? QStringList{"kept"} : QStringList());
    QVERIFY(!parent.isValid());
    // An empty element also misses the inner elements; the place comes last.
    QVERIFY2(QAStData::lastErrorString().endsWith(error), qPrintable(QAStData::lastErrorString()));
    const QString tag = element.mid(1, element.size() - 3);
    QVERIFY(host.consoleText(QAStData::MessageConsole).startsWith(QStringLiteral("Tag ignored in the group: ") + tag));
}

void tst_ProjectFile::olderCheckedElementMeansTheReverse_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<int>("state");
    QTest::newRow("true excludes") << "true" << 1;
    QTest::newRow("false includes") << "false" << 0;
}

void tst_ProjectFile::olderCheckedElementMeansTheReverse()
{
    QFETCH(QString, value);
    QFETCH(int, state);
    QDomDocument document;
    const QDomElement element = parse(document, QStringLiteral("<group><node><data><name>n</name></data><checked>")
                                                    + value + QStringLiteral("</checked></node></group>"));
    QAStNodeGroup group(element, 1);
    QCOMPARE(int(group.effectiveState()), state);
    QVERIFY(group.stateAttribute().isSet);
}

void tst_ProjectFile::clipboardTextRebuildsAnObject()
{
    QAStNodeGroup original(QStringLiteral("a<b>,&c"));
    new QAStNodeGroup(QStringLiteral("child"), &original);
    QScopedPointer<QAStData> copy(QAStData::stringContentToData(original.toString()));
    QVERIFY(copy);
    QVERIFY(copy->inherits("QAStNodeGroup"));
    QCOMPARE(copy->name(), original.name());
    QCOMPARE(copy->getQuid(), original.getQuid());
    QCOMPARE(childNames(copy.data()), QStringList{"child"});
    QVERIFY(!QAStData::stringContentToData(QString()));
    QVERIFY(!QAStData::stringContentToData(QStringLiteral("<group>")));
    QVERIFY(!QAStData::stringContentToData(QStringLiteral("<unknown/>")));
}

void tst_ProjectFile::largeTreeWritesTheSameFileTwice()
{
    QAStProject project(QStringLiteral("big"), QPixmap());
    growTree(&project, 10000);
    const QString first = written(&project);

    QDomDocument document;
    QAStProject reread(QStringLiteral("big"), QPixmap());
    reread.init(parse(document, first));
    QVERIFY(reread.isValid());
    QCOMPARE(reread.childrenOfClass("QAStNodeGroup", true).size(), 10000);
    const QString second = written(&reread);
    QCOMPARE(second.size(), first.size());
    QVERIFY(second == first);
}

void tst_ProjectFile::badFilesLoadWithoutHarm_data()
{
    const QString good = QString::fromLatin1(projectText);
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("parses");
    QTest::addColumn<int>("nodes");
    QTest::addColumn<QString>("error");
    QTest::newRow("truncated") << good.left(good.size() / 2) << false << 0 << "";
    QTest::newRow("binary garbage") << QString::fromLatin1("\x01\xff<\x00>&&\x7f", 9) << false << 0 << "";
    QTest::newRow("node where the group should be")
        << QStringLiteral("<project><node><data><name>x</name></data></node><object_file/>"
                          "<root_configuration_list/><version_file>1</version_file></project>")
        << true << 0 << "Wait for tag name and read data\n";
    QTest::newRow("group holding data directly")
        << QStringLiteral("<project><group><node><data><name>p</name><sorted/><executionResult/></data></node>"
                          "<group_child><group><data><name>x</name></data></group></group_child></group>"
                          "<object_file/><root_configuration_list/><execution_flag/><version_file>1</version_file></project>")
        << true << 1 << "Wait for tag name and read data\n";
    QTest::newRow("huge numbers")
        << QStringLiteral("<project><group><node><data><name>p</name><quid>99999999999999999999999</quid>"
                          "<sorted>false</sorted><executionResult>123456789012</executionResult></data>"
                          "<state>-99999999999</state></node></group><object_file/>"
                          "<sort_method>99999999999999</sort_method><root_configuration_list/>"
                          "<version_file>999999999999999999</version_file></project>")
        << true << 0 << "";
    // Three elements a group: ten thousand levels of elements. The XML parser
    // itself slows down sharply with depth, which is why it stops there.
    QTest::newRow("ten thousand levels") << nestedGroups(3334) << true << 3333 << "";
}

void tst_ProjectFile::badFilesLoadWithoutHarm()
{
    QFETCH(QString, text);
    QFETCH(bool, parses);
    QFETCH(int, nodes);
    QFETCH(QString, error);
    QDomDocument document;
    QCOMPARE(bool(document.setContent(text)), parses);
    if (!parses)
        return;
    QAStProject project(QStringLiteral("p"), QPixmap());
    project.init(document.documentElement());
    QCOMPARE(project.childrenOfClass("QAStNode", true).size(), nodes);
    if (!error.isEmpty())
        QVERIFY2(QAStData::lastErrorString().contains(error), qPrintable(QAStData::lastErrorString()));
    QVERIFY(int(project.effectiveState()) >= 0 && int(project.effectiveState()) <= 2);
    // Whatever was read can be written again and read back alike.
    QDomDocument again;
    QAStProject reread(QStringLiteral("p"), QPixmap());
    reread.init(parse(again, written(&project)));
    QCOMPARE(written(&reread), written(&project));
}

QTEST_MAIN(tst_ProjectFile)
#include "tst_projectfile.moc"
