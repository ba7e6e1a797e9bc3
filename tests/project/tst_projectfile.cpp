#include "projectfiles.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QBuffer>
#include <QDomDocument>
#include <QTest>
#include <QThread>

namespace {

// A project as an older studio may have written it: an icon, a node with an
// older element and output files, a nested tree, and white space everywhere.
QString projectText()
{
    return QString::fromUtf8(readFile(QStringLiteral(SDK_TESTDATA_DIR "/older-studio.vmp")));
}

QDomElement parse(QDomDocument& document, const QString& text)
{
    const bool parsed = bool(document.setContent(text));
    return parsed ? document.documentElement() : QDomElement();
}

// A project whose groups stand each in the one before, \a depth deep.
QString nestedGroups(int depth)
{
    QString text = QStringLiteral("<project>");
    for (int i = 0; i < depth; ++i)
        text += QStringLiteral("<group><node><data><name>g%1</name><sorted>false</sorted><executionResult>5"
                               "</executionResult></data></node><group_child>").arg(i);
    for (int i = 0; i < depth; ++i)
        text += QStringLiteral("</group_child></group>");
    return text + QStringLiteral("<object_file>p.inf</object_file><root_configuration_list/>"
                                 "<version_file>1</version_file></project>");
}

} // namespace

class tst_ProjectFile : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QAStData::initialize(&host); }
    void init()
    {
        QAStData::clearLastErrorString();
        host.messages.clear();
        host.boxes.clear();
    }

    void readsTheTreeInFileOrder()
    {
        QDomDocument document;
        QAStProject project(QStringLiteral("proj"), QPixmap());
        project.init(parse(document, projectText()));

        QCOMPARE(childNames(&project), (QStringList {"first", "second"}));
        QVERIFY(project.isValid());
        QCOMPARE(project.getQuid(), 77u);
        QCOMPARE(project.sortMethod(), 3);
        QVERIFY(!project.isRenameable());
        auto* first = qobject_cast<QAStNodeGroup*>(project.findNode(QStringLiteral("first")));
        QVERIFY(first);
        QCOMPARE(first->executionStatus(), 0);
        // The older "checked" means the reverse of its word, and counts as set.
        QCOMPARE(first->effectiveState(), QAStNode::Excluded);
        QVERIFY(first->stateAttribute().isSet);
        QVERIFY(first->backgroundAttribute().get());
        QCOMPARE(first->perlScriptAfterChild(), QStringLiteral("after.pl"));
        QCOMPARE(first->outFileNameMap().keys(), QStringList {"1234_ROD"});
        QCOMPARE(first->outFileNameMap().value(QStringLiteral("1234_ROD")), (QStringList {"a.rod", "sub,dir/b.rod"}));
        QCOMPARE(childNames(first), QStringList {"inner"});
        auto* second = qobject_cast<QAStNode*>(project.findNode(QStringLiteral("second")));
        QCOMPARE(second->effectiveState(), QAStNode::ReportOnly);
        QVERIFY(second->isAlphabeticallySorted());

        // The older selection of steps is not a node element of today.
        QCOMPARE(host.consoleText(QAStData::MessageConsole), QStringLiteral("Element unknown in node : execution_flag"));
        QCOMPARE(QAStData::lastErrorString(), QString());
        QVERIFY(host.boxes.isEmpty());
    }

    void writesBackWhatItRead()
    {
        QDomDocument document;
        QAStProject project(QStringLiteral("proj"), QPixmap());
        project.init(parse(document, projectText()));
        const QString text = project.toString();

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
        QVERIFY(!text.contains(QLatin1String("checked")) && !text.contains(QLatin1String("execution_flag")));

        // A second round gives the same text: nothing is lost or added.
        QDomDocument again;
        QAStProject reread(QStringLiteral("proj"), QPixmap());
        reread.init(parse(again, text));
        QCOMPARE(reread.toString(), text);
    }

    void missingElementsStopTheReading_data()
    {
        QTest::addColumn<QString>("removed");
        QTest::addColumn<QStringList>("children");
        QTest::addColumn<int>("sortMethod");
        QTest::addColumn<QString>("error");
        const QStringList both {"first", "second"};
        QTest::newRow("version_file") << "version_file" << QStringList() << 1 << "Unable to find tag version_file\n";
        QTest::newRow("object_file") << "object_file" << both << 1 << "Unable to find tag object_file\n";
        QTest::newRow("sort_method is optional") << "sort_method" << both << 1 << "";
        QTest::newRow("root_configuration_list")
            << "root_configuration_list" << both << 3 << "Unable to find tag root_configuration_list\n";
        QTest::newRow("execution_flag is harmless") << "execution_flag" << both << 3 << "Unable to find tag execution_flag\n";
    }
    void missingElementsStopTheReading()
    {
        QFETCH(QString, removed);
        QDomDocument document;
        const QDomElement root = parse(document, projectText());
        QDomElement doomed = document.elementsByTagName(removed).item(0).toElement();
        doomed.parentNode().removeChild(doomed);

        QAStProject project(QStringLiteral("proj"), QPixmap());
        project.init(root);
        QTEST(childNames(&project), "children");
        QTEST(project.sortMethod(), "sortMethod");
        QTEST(QAStData::lastErrorString(), "error");
        QVERIFY(project.isValid() && host.boxes.isEmpty());
    }

    void childrenThatCannotStandAreDropped_data()
    {
        QTest::addColumn<QString>("elements"); // inside a group_child, before a group "kept"
        QTest::addColumn<QStringList>("allowed");
        QTest::addColumn<QString>("ignored");
        QTest::addColumn<QString>("error");
        const QStringList nodes {"QAStNode"};
        QTest::newRow("unknown element") << "<x/>" << nodes << "x" << "No plugin found for feature \"x\"\n";
        QTest::newRow("known class in the wrong place")
            << "<group/>" << QStringList {"QAStFile"} << "group,group" << "group bad place\ngroup bad place\n";
        QTest::newRow("a child's subtree speaks before its next sibling")
            << "<group><node><data><name>g</name><sorted/><executionResult/></data></node>"
               "<group_child><x/></group_child></group><y/>"
            << nodes << "x,y"
            << "No plugin found for feature \"x\"\nNo plugin found for feature \"y\"\n";
    }
    void childrenThatCannotStandAreDropped()
    {
        QFETCH(QString, elements);
        QFETCH(QStringList, allowed);
        QDomDocument document;
        const QDomElement holder = parse(
            document, QStringLiteral("<group_child>") + elements
                          + QStringLiteral("<group><node><data><name>kept</name><sorted>false</sorted>"
                                           "<executionResult>5</executionResult></data></node></group>"
                                           "</group_child>"));
        TestData parent(QStringLiteral("parent"));
        parent.initChildren(holder, 1, allowed);
        QCOMPARE(childNames(&parent).contains(QLatin1String("kept")), allowed.contains(QLatin1String("QAStNode")));
        QVERIFY(!parent.isValid());
        QFETCH(QString, ignored);
        QString console;
        for (const QString& tag : ignored.split(QLatin1Char(',')))
            console += QStringLiteral("Tag ignored in the group: ") + tag;
        QCOMPARE(host.consoleText(QAStData::MessageConsole), console);
        // An empty element also misses the inner elements; the place comes last.
        QFETCH(QString, error);
        QVERIFY2(QAStData::lastErrorString().endsWith(error), qPrintable(QAStData::lastErrorString()));
    }

    void clipboardTextRebuildsAnObject()
    {
        QAStNodeGroup original(QStringLiteral("a<b>,&c"));
        new QAStNodeGroup(QStringLiteral("child"), &original);
        QScopedPointer<QAStData> copy(QAStData::stringContentToData(original.toString()));
        QVERIFY(copy && copy->inherits("QAStNodeGroup"));
        QCOMPARE(copy->name(), original.name());
        QCOMPARE(copy->getQuid(), original.getQuid());
        QCOMPARE(childNames(copy.data()), QStringList {"child"});
        QVERIFY(!QAStData::stringContentToData(QString()));
        QVERIFY(!QAStData::stringContentToData(QStringLiteral("<group>")));
        QVERIFY(!QAStData::stringContentToData(QStringLiteral("<unknown/>")));
    }

    void parsesAsTheDocumentDoes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("a whole project") << projectText();
        QTest::newRow("blank values, blanks around a value")
            << "<a>\n <b> </b>\t<c> x </c><d/>\n</a>";
        QTest::newRow("comments, instructions, character data")
            << "<?xml version=\"1.0\"?><!-- before --><a><!--in--><?pi data?><b><![CDATA[ <x>&amp; ]]></b></a>";
        QTest::newRow("a prefix nobody declared") << "<a><x:b y:c=\"1\"/></a>";
        QTest::newRow("attributes and entities") << "<a x=\"1\" y=\"&amp;&lt;\"><b z='&quot;'>&amp;&#65;</b></a>";
        QTest::newRow("a truncated file") << projectText().left(700);
        QTest::newRow("text after the root") << "<a/>tail";
        QTest::newRow("a DOCTYPE inside the root") << "<a><!DOCTYPE b></a>";
        QTest::newRow("a blank CDATA section") << "<a><![CDATA[ ]]></a>";
        QTest::newRow("binary garbage") << QString::fromLatin1("\x01\xff<\x00>&&\x7f", 9);
        QTest::newRow("nothing") << "";
    }
    void parsesAsTheDocumentDoes()
    {
        QFETCH(QString, text);
        QDomDocument expected;
        QString expectedMessage;
        int expectedLine = 0, expectedColumn = 0;
        const bool parses = bool(expected.setContent(text, &expectedMessage, &expectedLine, &expectedColumn));

        QBuffer buffer;
        buffer.setData(text.toUtf8());
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        QDomDocument document;
        QString message;
        int line = 0, column = 0;
        QCOMPARE(QAStData::parseDocument(&buffer, document, &message, &line, &column), parses);
        if (parses)
            QCOMPARE(documentBody(document), documentBody(expected));
        else
            QCOMPARE(QStringList({message, QString::number(line), QString::number(column)}),
                     QStringList({expectedMessage, QString::number(expectedLine), QString::number(expectedColumn)}));
    }

    // Reading, writing and deleting a deep tree must not take a stack frame
    // a level: on a thread with a small stack, a recursion would overflow it.
    void deepTreesNeedNoStack()
    {
        const int depth = 300;
        QDomDocument document;
        QVERIFY(QAStData::parseDocument(nestedGroups(depth + 1), document));
        int groups = 0;
        qsizetype length = 0;
        QThread* thread = QThread::create([&] {
            auto* project = new QAStProject(QStringLiteral("p"), QPixmap());
            project->init(document.documentElement());
            groups = int(project->childrenOfClass("QAStNodeGroup", true).size());
            length = project->toString().size();
            delete project;
        });
        thread->setStackSize(256 * 1024);
        thread->start();
        QVERIFY(thread->wait(QDeadlineTimer(8000)));
        delete thread;
        QCOMPARE(groups, depth);
        // Two blanks a level, however deep.
        QVERIFY(length > qsizetype(depth) * depth * 4);
    }

    void badFilesLoadWithoutHarm_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("nodes");
        QTest::addColumn<QString>("error");
        QTest::newRow("node where the group should be")
            << QStringLiteral("<project><node><data><name>x</name></data></node><object_file/>"
                              "<root_configuration_list/><version_file>1</version_file></project>")
            << 0 << "Wait for tag name and read data\n";
        QTest::newRow("group holding data directly")
            << QStringLiteral("<project><group><node><data><name>p</name><sorted/><executionResult/></data></node>"
                              "<group_child><group><data><name>x</name></data></group></group_child></group>"
                              "<object_file/><root_configuration_list/><execution_flag/><version_file>1</version_file></project>")
            << 1 << "Wait for tag name and read data\n";
    }
    void badFilesLoadWithoutHarm()
    {
        QFETCH(QString, text);
        QFETCH(QString, error);
        QDomDocument document;
        QVERIFY(QAStData::parseDocument(text, document));
        QAStProject project(QStringLiteral("p"), QPixmap());
        project.init(document.documentElement());
        QTEST(int(project.childrenOfClass("QAStNode", true).size()), "nodes");
        QVERIFY2(QAStData::lastErrorString().contains(error), qPrintable(QAStData::lastErrorString()));
        QVERIFY(int(project.effectiveState()) >= 0 && int(project.effectiveState()) <= 2);
        // Whatever was read can be written again and read back alike.
        QDomDocument again;
        QAStProject reread(QStringLiteral("p"), QPixmap());
        reread.init(parse(again, project.toString()));
        QCOMPARE(reread.toString(), project.toString());
    }

private:
    RecordingHost host;
};

QTEST_MAIN(tst_ProjectFile)
#include "tst_projectfile.moc"
