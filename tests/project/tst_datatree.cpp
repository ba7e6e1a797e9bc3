#include "qafileutil.h"
#include "qapropertygroup.h"
#include "qapropertywidget.h"
#include "qastnodegroup.h"
#include "qastprojectpref.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QPointer>
#include <QSet>
#include <QSignalSpy>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using SL = QStringList;

namespace {

class SpecialData : public TestData { Q_OBJECT using TestData::TestData; };

TestData* add(const QString& name, QAStData* parent) { return new TestData(name, parent, parent->last()); }

// r: a(a1(a11) a2) s(s1) b(b1), with s and s1 of class SpecialData.
void buildTree(TestData& r)
{
    QAStData* a = add("a", &r);
    add("a11", add("a1", a));
    add("a2", a);
    new SpecialData("s1", new SpecialData("s", &r, a));
    add("b1", add("b", &r));
}

// Every link agrees with its counterpart, and the list of children holds as many as the chain.
bool chainIsSound(const QAStData* parent)
{
    const QAStData* previous = nullptr;
    int count = 0;
    for (const QAStData* c = parent->firstChild(); c; previous = c, c = c->next(), ++count) {
        if (c->previous() != previous || c->parent() != parent)
            return false;
    }
    return parent->last() == previous && parent->childrenOfClass(nullptr, false).size() == count;
}

// Signals go into the same list as the tree events, so that their interleaving is checked.
void record(QAStData* d)
{
    const QString n = d->name();
    auto log = [](const QString& line) { TestData::events << line; };
    QObject::connect(d, &QAStData::childAdded, d, [=](QAStData* c) { log(n + " emits childAdded(" + c->name() + ")"); });
    QObject::connect(d, &QAStData::childRemoved, d, [=](QAStData* c) { log(n + " emits childRemoved(" + c->name() + ")"); });
    QObject::connect(d, &QAStData::added, d, [=] { log(n + " emits added"); });
    QObject::connect(d, &QAStData::removed, d, [=] { log(n + " emits removed"); });
}

SL names(const QList<QAStData*>& list)
{
    SL n;
    for (QAStData* d : list)
        n << d->name();
    return n;
}

} // namespace

class tst_DataTree : public QObject
{
    Q_OBJECT
    RecordingHost host;

private slots:
    void initTestCase() { QAStData::initialize(&host); }
    void init() { TestData::events.clear(); QAStData::clearLastErrorString(); }
    void cleanupTestCase() { QAStData::initialize(nullptr); }

    void chainPositions_data()
    {
        QTest::addColumn<SL>("built");  // constructed in order, "name>after"
        QTest::addColumn<QString>("op"); // then addChild("child>after"); "x" comes from another parent
        QTest::addColumn<SL>("expected");
        const SL abc{"a", "b>a", "c>b"};
        QTest::newRow("constructed newest first") << SL{"a", "b", "c"} << "" << SL{"c", "b", "a"};
        QTest::newRow("constructed behind the head") << SL{"a", "b", "c>b"} << "" << SL{"b", "c", "a"};
        QTest::newRow("constructed after the parent: head") << SL{"a", "b>p"} << "" << SL{"b", "a"};
        QTest::newRow("newcomer to the head") << abc << "x>" << SL{"x", "a", "b", "c"};
        QTest::newRow("newcomer behind b") << abc << "x>b" << SL{"a", "b", "x", "c"};
        QTest::newRow("newcomer behind the tail") << abc << "x>c" << SL{"a", "b", "c", "x"};
        QTest::newRow("own child without after stays") << abc << "b>" << SL{"a", "b", "c"};
        QTest::newRow("own child behind its previous stays") << abc << "b>a" << SL{"a", "b", "c"};
        QTest::newRow("own child moved behind c") << abc << "b>c" << SL{"a", "c", "b"};
        QTest::newRow("head moved behind the tail") << abc << "a>c" << SL{"b", "c", "a"};
        QTest::newRow("tail moved to the head by after = parent") << abc << "c>p" << SL{"c", "a", "b"};
    }
    void chainPositions()
    {
        QFETCH(SL, built);
        QFETCH(QString, op);
        TestData p("p"), other("other");
        auto find = [&](const QString& n) { return n == "p" ? &p : p.findNode(n); };
        for (const QString& s : built)
            new TestData(s.section('>', 0, 0), &p, find(s.section('>', 1)));
        add("x", &other);
        if (!op.isEmpty())
            p.addChild(op.startsWith('x') ? other.firstChild() : find(op.section('>', 0, 0)), find(op.section('>', 1)));
        QTEST(childNames(&p), "expected");
        QVERIFY(chainIsSound(&p) && chainIsSound(&other));
        QCOMPARE(other.firstChild() == nullptr, op.startsWith('x'));
    }

    void eventsAndSignalsInOrder_data()
    {
        QTest::addColumn<int>("operation");
        QTest::addColumn<SL>("expected");
        QTest::addColumn<bool>("oldParentModified");
        const SL removal{"remove:x", "P1 emits childRemoved(x)", "x emits removed",
                         "parentRemove:y<x", "childRemove:P1>x", "childRemove:R1>x"};
        const SL adding{"add:x", "parentAdd:y<x"};
        QTest::newRow("move to another parent: old side, then new side") << 0
            << removal + adding + SL{"childAdd:P2>x", "childAdd:R2>x", "P2 emits childAdded(x)", "P2 emits added"} << false;
        QTest::newRow("re-adding in place repeats the add events") << 1
            << adding + SL{"childAdd:P1>x", "childAdd:R1>x", "P1 emits childAdded(x)", "P1 emits added"} << true;
        QTest::newRow("remove marks nothing") << 2 << removal << false;
    }
    void eventsAndSignalsInOrder()
    {
        QFETCH(int, operation);
        TestData r1("R1"), r2("R2");
        auto* p1 = new TestData("P1", &r1);
        auto* p2 = new TestData("P2", &r2);
        auto* x = new TestData("x", p1);
        new TestData("y", x);
        for (QAStData* d : {&r1, &r2, p1, p2, x}) {
            record(d);
            d->setModified(false);
        }
        if (operation == 0)
            p2->addChild(x);
        else if (operation == 1)
            p1->addChild(x);
        else
            x->remove();
        QTEST(TestData::events, "expected");
        QTEST(p1->isModified(), "oldParentModified");
        QCOMPARE(p2->isModified(), operation == 0);
        if (!x->parent())
            delete x;
    }

    void addChildRefusesCycles()
    {
        TestData r("r");
        buildTree(r);
        const SL before = names(r.childrenOfClass(nullptr, true));
        QAStData* a1 = r.findNode("a.a1");
        a1->addChild(a1);
        a1->addChild(r.findNode("a"));
        r.findNode("a.a1.a11")->addChild(&r);
        QCOMPARE(TestData::events, SL());
        QCOMPARE(names(r.childrenOfClass(nullptr, true)), before);
        QVERIFY(!r.parent() && chainIsSound(&r) && chainIsSound(a1));
    }

    void destructionGoesHeadToTailEachChildWhole()
    {
        TestData r("r");
        buildTree(r);
        QAStData* s = r.findNode("s");
        int childSignals = 0;
        connect(s->firstChild(), &QAStData::removed, this, [&] { ++childSignals; });
        QSignalSpy removedFromRoot(&r, &QAStData::childRemoved);
        delete s; // a middle child with a child of its own
        QCOMPARE(childSignals, 0);
        QCOMPARE(removedFromRoot.size(), 1);
        QCOMPARE(TestData::events, SL({"delete:s", "parentRemove:s1<s", "childRemove:r>s", "delete quietly:s1"}));
        QCOMPARE(childNames(&r), SL({"a", "b"}));
        QVERIFY(chainIsSound(&r));

        TestData::events.clear();
        r.deleteChildren();
        QVERIFY(!r.firstChild() && r.children().isEmpty());
        QCOMPARE(TestData::events.filter("delete"), SL({"delete:a", "delete quietly:a11", "delete quietly:a1",
                                                       "delete quietly:a2", "delete:b", "delete quietly:b1"}));
    }

    void treeQueries()
    {
        TestData r("r");
        buildTree(r);
        QCOMPARE(names(r.childrenOfClass(nullptr, true)), SL({"a", "a1", "a11", "a2", "s", "s1", "b", "b1"}));
        QCOMPARE(names(r.childrenOfClass(nullptr, false)), SL({"a", "s", "b"}));
        QCOMPARE(names(r.childrenOfClass("SpecialData", true)), SL({"s", "s1"}));
        QCOMPARE(r.childrenOfClass("TestData", true).size(), 8);

        QAStData* s1 = r.findNode("s.s1");
        QCOMPARE(s1->parentOfClass(nullptr)->name(), QString("s"));
        QCOMPARE(r.findNode("a.a1.a11")->parentOfClass("TestData")->name(), QString("a1"));
        QVERIFY(!r.findNode("a.a1.a11")->parentOfClass("SpecialData"));
        QCOMPARE(names(s1->parentsOfClass("TestData")), SL({"s", "r"}));
        QCOMPARE(names(s1->parentsOfClass("SpecialData")), SL{"s"});

        QCOMPARE(r.searchChildOfClass("s1", "SpecialData", true), s1);
        QVERIFY(!r.searchChildOfClass("s1", "TestData", true)); // the exact class, not inherits
        QVERIFY(!r.searchChildOfClass("s1", nullptr, false));
        new TestData("a2", r.findNode("b"));
        QCOMPARE(r.searchChildOfClass("a2", nullptr, true), r.findNode("a.a2")); // pre-order
    }

    void findNode_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("expected"); // "parent/name", empty for null
        QTest::newRow("direct child") << "b" << "r/b";
        QTest::newRow("dotted path") << "a.a1.a11" << "a1/a11";
        QTest::newRow("wrong branch") << "a.b1" << "";
        QTest::newRow("empty path") << "" << "";
        QTest::newRow("trailing dot") << "a." << "";
        QTest::newRow("a name holding a dot is unreachable") << "a.b" << "";
    }
    void findNode()
    {
        QFETCH(QString, path);
        TestData r("r");
        buildTree(r);
        new TestData("a.b", &r);
        new TestData("", &r);
        QAStData* found = r.findNode(path);
        QTEST(found ? found->parent()->name() + "/" + found->name() : QString(), "expected");
    }

    void flagsPropagateUpwards()
    {
        TestData r("r");
        buildTree(r);
        r.setModified(false);
        for (QAStData* d : r.childrenOfClass(nullptr, true))
            d->setModified(false);
        QVERIFY(!r.isModified());
        r.findNode("a.a1.a11")->setModified(true);
        QVERIFY(r.isModified() && r.findNode("a")->isModified() && !r.findNode("b")->isModified());
        r.findNode("s.s1")->setValid(false);
        QVERIFY(!r.isValid() && !r.findNode("s")->isValid() && r.findNode("a")->isValid());

        r.findNode("b.b1")->setExecutionStatus(QAStData::ExecutionRunningOther);
        QVERIFY(r.isRunning() && r.findNode("b")->isRunning() && !r.findNode("a")->isRunning());
    }

    void pathsWithoutProject()
    {
        TestData d("d");
        const QString cwd = QDir::currentPath();
        QStringList paths{"src/a.c", "../x.c", "/a/./b//c/../d"};
        for (const QString& path : paths)
            QCOMPARE(d.determineRelativePathFile(path), path);
        d.determineAbsolutePathFiles(paths);
        QCOMPARE(paths, SL({cwd + "/src/a.c", QDir::cleanPath(cwd + "/../x.c"), "/a/b/d"}));
    }

    void absPathToRelative_data()
    {
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("expected");
        QTest::newRow("sibling branch") << "/a/b" << "/a/c/d" << "../c/d";
        QTest::newRow("below the base") << "/a" << "/a/b/c" << "b/c";
        QTest::newRow("above the base: a separator after each ..") << "/a/b/c" << "/a" << "../../";
        QTest::newRow("no common first piece") << "/a/b" << "/x/y" << "/x/y";
        QTest::newRow("equal") << "/a/b" << "/a/b" << ".";
        QTest::newRow("doubled separators ignored") << "/a//b/" << "/a/b/c" << "c";
        QTest::newRow("a part that only begins like the base's differs") << "/a/bc" << "/a/b/x" << "../b/x";
    }
    void absPathToRelative()
    {
        QFETCH(QString, base);
        QFETCH(QString, path);
        QTEST(QAFileUtil::absPathToRelative(base, path), "expected");
    }

    void writtenExecutionResult_data()
    {
        QTest::addColumn<bool>("keep");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("written");
        QTest::newRow("not kept: a failure is forgotten") << false << 1 << 5;
        QTest::newRow("kept: success") << true << 0 << 0;
        QTest::newRow("kept: test failed") << true << 6 << 6;
        QTest::newRow("kept: running never reaches a file") << true << 3 << 5;
    }
    void writtenExecutionResult()
    {
        QFETCH(bool, keep);
        QFETCH(int, status);
        QVERIFY(QAStData::preferences());
        QAStData::preferences()->setValue("use_keep_execution", keep);
        TestData d("d");
        d.setExecutionStatus(status);
        const QString text = d.toString();
        QAStData::preferences()->setValue("use_keep_execution", false);
        QDomDocument doc;
        QVERIFY(doc.setContent(text));
        QTEST(doc.documentElement().firstChildElement("executionResult").text().toInt(), "written");
    }

    void indentationIsTwoBlanksALevel_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("blanks");
        QTest::newRow("below zero: none") << -3 << 0;
        QTest::newRow("zero: none") << 0 << 0;
        QTest::newRow("one level") << 1 << 2;
        QTest::newRow("one past 64 levels") << 65 << 130;
        QTest::newRow("a thousand levels") << 1000 << 2000;
    }
    void indentationIsTwoBlanksALevel()
    {
        QFETCH(int, level);
        QString text;
        QTextStream stream(&text);
        QAStData::toStream(stream, "v", "x", level);
        stream.flush();
        QTEST(int(text.size() - text.trimmed().size()) - 1, "blanks");
        QCOMPARE(text.trimmed(), QString("<v>x</v>"));
    }

    // What the properties dialog changes reaches the object: typed into a
    // name, picked in a combo, ticked in a box.
    void propertiesTellTheirObject_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("typed"); // into a line edit; else one key press
        QTest::addColumn<int>("pressed");
        QTest::addColumn<QString>("node"); // name, state, background
        QTest::newRow("a new name") << "name" << "new name" << 0 << "new name 0 0";
        QTest::newRow("dots and commas refused in a name") << "name" << "a.b,c" << 0 << "abc 0 0";
        QTest::newRow("the build state") << "state" << "" << int(Qt::Key_Down) << "g 1 0";
        QTest::newRow("execute in background") << "backMode" << "" << int(Qt::Key_Space) << "g 0 1";
    }
    void propertiesTellTheirObject()
    {
        QFETCH(QString, key);
        QFETCH(QString, typed);
        QFETCH(int, pressed);
        QAStNodeGroup node("g");
        node.setModified(false);
        QSignalSpy renamed(&node, &QAStData::renamed);
        QSignalSpy stateChanged(&node, &QAStNode::stateChanged);
        std::unique_ptr<QAPropertyGroup> group(node.propertyGroup());
        std::unique_ptr<QWidget> widget(group->property(key)->createEditor(nullptr));
        QWidget* editor = static_cast<QAPropertyWidget*>(widget.get())->editor();
        if (pressed) {
            QTest::keyClick(editor, Qt::Key(pressed));
        } else {
            static_cast<QLineEdit*>(editor)->clear();
            QTest::keyClicks(editor, typed);
            QTest::keyClick(editor, Qt::Key_Return);
        }
        QTEST(QString("%1 %2 %3").arg(node.name()).arg(node.effectiveState()).arg(node.backgroundAttribute().get()), "node");
        QVERIFY(node.isModified());
        QCOMPARE(renamed.size(), key == "name" ? 1 : 0);
        if (key == "name")
            QCOMPARE(renamed.first().first().toString(), node.name());
        QCOMPARE(stateChanged.size(), key == "state" ? 1 : 0);
    }

    void readingIncompleteData_data()
    {
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QString>("errors");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("renameable");
        QTest::newRow("no sorted, no executionResult")
            << "<data><name>x</name><quid>7</quid><renameable>false</renameable></data>"
            << "Unable to find tag sorted\nUnable to find tag executionResult\n" << "x" << false;
        QTest::newRow("no name: nothing else is read")
            << "<data><quid>7</quid><renameable>false</renameable><sorted>true</sorted>"
               "<executionResult>1</executionResult></data>"
            << "Unable to find tag name\n" << "" << true;
        QTest::newRow("other root element: the tag read comes first")
            << "<date><name>x</name></date>" << "Wait for tag date and read data\n" << "" << true;
        QTest::newRow("null element") << "" << "Unable to find tag data\n" << "" << true;
    }
    void readingIncompleteData()
    {
        QFETCH(QString, xml);
        QFETCH(QString, name);
        QDomDocument doc;
        QVERIFY(xml.isEmpty() || doc.setContent(xml));
        TestData d(doc.documentElement(), 1);
        QTEST(QAStData::lastErrorString(), "errors");
        QCOMPARE(d.name(), name);
        QTEST(d.isRenameable(), "renameable");
        QVERIFY(!d.isAlphabeticallySorted() && d.executionStatus() == QAStData::ExecutionNone);
        QCOMPARE(d.getQuid() == 7u, !name.isEmpty()); // without a read quid one is computed
        QVERIFY(d.getQuid() != 0);
    }

    // Commands run one after another within a second each restart the
    // counter: an object made now must not take a value that a run a moment
    // ago gave and that the file read here holds.
    void newIdentitiesNeverRepeatThoseRead()
    {
        const unsigned int now = TestData("clock").getQuid();
        QSet<unsigned int> seen;
        std::vector<std::unique_ptr<TestData>> read;
        for (unsigned int quid = now; quid < now + 5; ++quid) {
            QDomDocument doc;
            QVERIFY(doc.setContent(QString("<data><name>x</name><quid>%1</quid></data>").arg(quid)));
            read.push_back(std::make_unique<TestData>(doc.documentElement(), 1));
            QCOMPARE(read.back()->getQuid(), quid);
            seen.insert(quid);
        }
        for (int i = 0; i < 5; ++i) {
            const unsigned int made = TestData("new").getQuid();
            QVERIFY2(!seen.contains(made), qPrintable(QString::number(made)));
            seen.insert(made);
        }
    }

    void hostFallbacksAndEditFile()
    {
        // Without a host nothing is asked, and nothing breaks.
        QAStData::initialize(nullptr);
        QAStData::displayMessage(QAStData::MessageConsole, "to the trace", QAStData::ErrorStream);
        QAStData::clearMessage(QAStData::BuildConsole);
        QAStData::editFile("/nonexistent/file.c", 3);
        QAStData::initialize(&host);
        QVERIFY(host.messages.isEmpty() && host.boxes.isEmpty() && host.cleared.isEmpty());

        QAStData::editFile("/nonexistent/file.c", 3);
        QCOMPARE(host.boxes, SL{"Velmont Studio|/nonexistent/file.c\n\nFile not found."});
        QTemporaryDir dir;
        QFile file(dir.filePath("real.c"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        QAStData::editFile(file.fileName(), 12);
        QCOMPARE(host.editorRequests, SL{file.fileName() + ":12"});
        QCOMPARE(host.boxes.size(), 1);
    }
};

QTEST_MAIN(tst_DataTree)
#include "tst_datatree.moc"
