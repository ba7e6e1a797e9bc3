#include "qafileutil.h"
#include "qastprojectpref.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QDomDocument>
#include <QSignalSpy>
#include <QTemporaryFile>
#include <QTest>

#include <memory>

// Tree order, events and signals of QAStData, identity, flags, the `data`
// element and the host fall-backs.
class tst_TreeChain : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void attachingPutsNewObjectsAtTheHead();
    void addChildPlacesBehindAfter_data();
    void addChildPlacesBehindAfter();
    void addChildReportsEventsAndSignalsInOrder();
    void addChildRepeatsEventsForAChildInPlace();
    void addChildRefusesACycle();
    void removeUnlinksHeadMiddleAndTail_data();
    void removeUnlinksHeadMiddleAndTail();
    void destructionRelinksSiblings();
    void queriesWalkInChainOrder();
    void findNodeFollowsDottedPaths_data();
    void findNodeFollowsDottedPaths();
    void flagsPropagateFromDescendants();
    void setNameHonoursRenameable();
    void attributeReadsThroughItsParents();
    void computedIdsAscendWithinASecond();
    void pathsWithoutAProject();
    void dataElementRoundTrips_data();
    void dataElementRoundTrips();
    void readingReportsMissingTags();
    void hostFallbacks();
};

void tst_TreeChain::init()
{
    TestData::events.clear();
    QAStData::clearLastErrorString();
    QAStData::initialize(nullptr);
}

void tst_TreeChain::attachingPutsNewObjectsAtTheHead()
{
    TestData root(QStringLiteral("root"));
    auto* a = new TestData(QStringLiteral("a"), &root);
    new TestData(QStringLiteral("b"), &root);
    new TestData(QStringLiteral("c"), &root, a);
    QCOMPARE(childNames(&root), QStringList({"b", "a", "c"}));
    QCOMPARE(a->QObject::parent(), &root);
    QCOMPARE(root.last()->name(), QStringLiteral("c"));
    QVERIFY(!root.isModified());
}

void tst_TreeChain::addChildPlacesBehindAfter_data()
{
    QTest::addColumn<QString>("child");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QStringList>("order");
    QTest::newRow("a child in place with no after stays") << "c" << "" << QStringList{"a", "b", "c"};
    QTest::newRow("a newcomer with no after goes to the head") << "x" << "" << QStringList{"x", "a", "b", "c"};
    QTest::newRow("behind the first") << "c" << "a" << QStringList{"a", "c", "b"};
    QTest::newRow("behind the last") << "a" << "c" << QStringList{"b", "c", "a"};
    QTest::newRow("a stranger from another tree") << "x" << "b" << QStringList{"a", "b", "x", "c"};
}

void tst_TreeChain::addChildPlacesBehindAfter()
{
    QFETCH(QString, child);
    QFETCH(QString, after);
    QFETCH(QStringList, order);
    TestData root(QStringLiteral("root"));
    TestData other(QStringLiteral("other"));
    new TestData(QStringLiteral("x"), &other);
    auto* c = new TestData(QStringLiteral("c"), &root);
    auto* b = new TestData(QStringLiteral("b"), &root);
    new TestData(QStringLiteral("a"), &root);
    Q_UNUSED(c);
    Q_UNUSED(b);
    QAStData* moving = child == QLatin1String("x") ? other.firstChild() : root.findNode(child);
    root.addChild(moving, after.isEmpty() ? nullptr : root.findNode(after));
    QCOMPARE(childNames(&root), order);
    QVERIFY(root.isModified());
    for (QAStData* d = root.firstChild(); d; d = d->next()) {
        QCOMPARE(d->parent(), &root);
        QCOMPARE(d->next() ? d->next()->previous() : d, d);
    }
    QCOMPARE(other.firstChild() == nullptr, child == QLatin1String("x"));
}

void tst_TreeChain::addChildReportsEventsAndSignalsInOrder()
{
    TestData top(QStringLiteral("top"));
    auto* middle = new TestData(QStringLiteral("middle"), &top);
    TestData loose(QStringLiteral("loose"));
    new TestData(QStringLiteral("leaf"), &loose);
    QStringList& log = TestData::events;
    connect(middle, &QAStData::childAdded, this, [&](QAStData* c) { log << "childAdded:" + c->name(); });
    connect(middle, &QAStData::added, this, [&] { log << QStringLiteral("added"); });
    middle->addChild(&loose, nullptr);
    QCOMPARE(log, QStringList({"add:loose", "parentAdd:leaf<loose", "childAdd:middle>loose",
                               "childAdd:top>loose", "childAdded:loose", "added"}));

    log.clear();
    connect(middle, &QAStData::childRemoved, this, [&](QAStData* c) { log << "childRemoved:" + c->name(); });
    connect(&loose, &QAStData::removed, this, [&] { log << QStringLiteral("removed"); });
    loose.remove();
    QCOMPARE(log, QStringList({"remove:loose", "childRemoved:loose", "removed",
                               "parentRemove:leaf<loose", "childRemove:middle>loose",
                               "childRemove:top>loose"}));
    QVERIFY(!loose.parent());
}

void tst_TreeChain::addChildRepeatsEventsForAChildInPlace()
{
    TestData root(QStringLiteral("root"));
    auto* a = new TestData(QStringLiteral("a"), &root);
    new TestData(QStringLiteral("b"), &root);
    QSignalSpy added(&root, &QAStData::childAdded);
    root.addChild(a, nullptr);
    QCOMPARE(childNames(&root), QStringList({"b", "a"}));
    QCOMPARE(TestData::events, QStringList({"add:a", "childAdd:root>a"}));
    QCOMPARE(added.count(), 1);
}

void tst_TreeChain::addChildRefusesACycle()
{
    TestData root(QStringLiteral("root"));
    auto* a = new TestData(QStringLiteral("a"), &root);
    auto* b = new TestData(QStringLiteral("b"), a);
    b->addChild(&root, nullptr);
    b->addChild(b, nullptr);
    QCOMPARE(b->parent(), a);
    QVERIFY(!root.parent());
    QVERIFY(!b->firstChild());
}

void tst_TreeChain::removeUnlinksHeadMiddleAndTail_data()
{
    QTest::addColumn<QString>("victim");
    QTest::addColumn<QStringList>("rest");
    QTest::newRow("head") << "a" << QStringList{"b", "c"};
    QTest::newRow("middle") << "b" << QStringList{"a", "c"};
    QTest::newRow("tail") << "c" << QStringList{"a", "b"};
}

void tst_TreeChain::removeUnlinksHeadMiddleAndTail()
{
    QFETCH(QString, victim);
    QFETCH(QStringList, rest);
    TestData root(QStringLiteral("root"));
    for (const char* name : {"c", "b", "a"})
        new TestData(QString::fromLatin1(name), &root);
    std::unique_ptr<QAStData> removed(root.findNode(victim));
    removed->remove();
    QCOMPARE(childNames(&root), rest);
    QVERIFY(!removed->parent() && !removed->next() && !removed->previous());
    QVERIFY(!root.isModified());
    QCOMPARE(root.last()->name(), rest.last());
}

void tst_TreeChain::destructionRelinksSiblings()
{
    TestData root(QStringLiteral("root"));
    for (const char* name : {"c", "b", "a"})
        new TestData(QString::fromLatin1(name), &root);
    auto* b = root.findNode(QStringLiteral("b"));
    for (int i = 0; i < 50; ++i)
        new TestData(QStringLiteral("g%1").arg(i), b);
    delete b;
    QCOMPARE(childNames(&root), QStringList({"a", "c"}));
    QCOMPARE(root.firstChild()->next()->previous(), root.firstChild());
    delete root.firstChild();
    QCOMPARE(childNames(&root), QStringList({"c"}));
    QVERIFY(!root.firstChild()->previous());
}

void tst_TreeChain::queriesWalkInChainOrder()
{
    TestData root(QStringLiteral("root"));
    auto* b = new TestData(QStringLiteral("b"), &root);
    auto* a = new TestData(QStringLiteral("a"), &root);
    auto* a1 = new TestData(QStringLiteral("a1"), a);
    new TestData(QStringLiteral("a2"), a, a1);
    new TestData(QStringLiteral("b1"), b);
    QStringList names;
    for (QAStData* d : root.childrenOfClass("QAStData", true))
        names << d->name();
    QCOMPARE(names, QStringList({"a", "a1", "a2", "b", "b1"}));
    QCOMPARE(root.childrenOfClass(nullptr, false).size(), 2);
    QCOMPARE(root.childrenOfClass("QAStNode", true).size(), 0);
    QCOMPARE(a1->parentsOfClass("QAStData"), QList<QAStData*>({a, &root}));
    QCOMPARE(a1->parentOfClass(nullptr), a);
    QCOMPARE(root.searchChildOfClass(QStringLiteral("b1"), "TestData", true)->name(), QStringLiteral("b1"));
    QVERIFY(!root.searchChildOfClass(QStringLiteral("b1"), "TestData", false));
    // An exact class is asked for, not one that the object inherits.
    QVERIFY(!root.searchChildOfClass(QStringLiteral("b1"), "QAStData", true));
}

void tst_TreeChain::findNodeFollowsDottedPaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("found");
    QTest::newRow("a direct child") << "a" << "a";
    QTest::newRow("a grandchild") << "a.b" << "b";
    QTest::newRow("a name holding a dot cannot be reached") << "x.y" << "";
    QTest::newRow("a trailing dot") << "a." << "";
    QTest::newRow("the empty path") << "" << "";
    QTest::newRow("a missing step") << "b.a" << "";
}

void tst_TreeChain::findNodeFollowsDottedPaths()
{
    QFETCH(QString, path);
    QFETCH(QString, found);
    TestData root(QStringLiteral("root"));
    new TestData(QStringLiteral("b"), new TestData(QStringLiteral("a"), &root));
    new TestData(QStringLiteral("x.y"), &root);
    QAStData* node = root.findNode(path);
    QCOMPARE(node ? node->name() : QString(), found);
}

void tst_TreeChain::flagsPropagateFromDescendants()
{
    TestData root(QStringLiteral("root"));
    auto* leaf = new TestData(QStringLiteral("leaf"), new TestData(QStringLiteral("mid"), &root));
    QVERIFY(!root.isModified() && root.isValid() && !root.isRunning());
    leaf->setModified(true);
    leaf->setValid(false);
    leaf->setExecutionStatus(QAStData::ExecutionRunningOther);
    QVERIFY(root.isModified() && !root.isValid() && root.isRunning());
}

void tst_TreeChain::setNameHonoursRenameable()
{
    TestData data(QStringLiteral("old"));
    QSignalSpy renamed(&data, &QAStData::renamed);
    data.setRenameable(false);
    data.setName(QStringLiteral("new"));
    QCOMPARE(data.name(), QStringLiteral("old"));
    QVERIFY(!data.isModified() && renamed.isEmpty());
    data.setRenameable(true);
    data.setName(QStringLiteral("new"));
    QCOMPARE(data.name(), QStringLiteral("new"));
    QVERIFY(data.isModified());
    QCOMPARE(renamed.count(), 1);
}

void tst_TreeChain::attributeReadsThroughItsParents()
{
    QAStAttribute<int> top(1, true);
    QAStAttribute<int> middle(2, false);
    QAStAttribute<int> bottom(3, false);
    middle.parent = &top;
    bottom.parent = &middle;
    QCOMPARE(bottom.get(), 1);
    top.isSet = false;
    QCOMPARE(bottom.get(), 1); // the last of the chain answers when none is set
    middle = 7;
    QCOMPARE(bottom.get(), 7);
    bottom.init(9, true);
    QCOMPARE(int(bottom), 9);
}

void tst_TreeChain::computedIdsAscendWithinASecond()
{
    unsigned int previous = QAStData::_computeID();
    for (int i = 0; i < 100; ++i) {
        const unsigned int next = QAStData::_computeID();
        QVERIFY(next > previous);
        previous = next;
    }
}

void tst_TreeChain::pathsWithoutAProject()
{
    TestData data(QStringLiteral("d"));
    QCOMPARE(data.determineRelativePathFile(QStringLiteral("src/a.c")), QStringLiteral("src/a.c"));
    QCOMPARE(data.determineAbsolutePathFile(QStringLiteral("src//./a.c")),
             QDir::currentPath() + QStringLiteral("/src/a.c"));
    QCOMPARE(data.environmentFileName(),
             QDir::currentPath() + QStringLiteral("/environment_node%1.pl").arg(data.getQuid()));
    QCOMPARE(QAFileUtil::absPathToRelative("/a/b", "/a/c/d"), QStringLiteral("../c/d"));
    QCOMPARE(QAFileUtil::absPathToRelative("/a/b", "/x/y"), QStringLiteral("/x/y"));
    QCOMPARE(QAFileUtil::absPathToRelative("/a/b", "/a/b"), QStringLiteral("."));
}

void tst_TreeChain::dataElementRoundTrips_data()
{
    QTest::addColumn<bool>("keep");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("written");
    QTest::newRow("statuses are not kept by default") << false << 1 << 5;
    QTest::newRow("a kept verdict") << true << 6 << 6;
    QTest::newRow("a running status never reaches a file") << true << 3 << 5;
}

void tst_TreeChain::dataElementRoundTrips()
{
    QFETCH(bool, keep);
    QFETCH(int, status);
    QFETCH(int, written);
    RecordingHost host;
    QAStData::initialize(&host);
    QAStData::preferences()->setValue(QStringLiteral("use_keep_execution"), keep);
    TestData data(QStringLiteral("a,b <c> & \"d\" é"));
    data.setRenameable(false);
    data.setOpen(false);
    data.setAlphabeticallySorted(true, false);
    data.setExecutionStatus(status);
    QDomDocument document;
    QVERIFY(document.setContent(data.toString()));
    TestData copy(document.documentElement(), 1);
    QCOMPARE(copy.name(), data.name());
    QCOMPARE(copy.getQuid(), data.getQuid());
    QVERIFY(!copy.isRenameable() && !copy.isOpen() && copy.isAlphabeticallySorted());
    QCOMPARE(copy.executionStatus(), written);
    QVERIFY(QAStData::lastErrorString().isEmpty());
    QAStData::preferences()->reset();
}

void tst_TreeChain::readingReportsMissingTags()
{
    QDomDocument document;
    QVERIFY(document.setContent(QStringLiteral("<data><name>n</name><quid>42</quid></data>")));
    TestData partial(document.documentElement(), 1);
    QCOMPARE(partial.getQuid(), 42u);
    QCOMPARE(QAStData::lastErrorString(),
             QStringLiteral("Unable to find tag sorted\nUnable to find tag executionResult\n"));

    QAStData::clearLastErrorString();
    QVERIFY(document.setContent(QStringLiteral("<node><name>n</name></node>")));
    TestData wrong(document.documentElement(), 1);
    QCOMPARE(QAStData::lastErrorString(), QStringLiteral("Wait for tag node and read data\n"));
    QVERIFY(wrong.name().isEmpty() && wrong.isValid());
}

void tst_TreeChain::hostFallbacks()
{
    TestData lonely(QStringLiteral("lonely"));
    QAStData::displayMessage(QAStData::BuildConsole, QStringLiteral("to the trace"));
    QCOMPARE(QAStData::perlCommand(), QStringList(QString()));
    QCOMPARE(QAStData::port(), -1);
    QVERIFY(!lonely.toString().isEmpty());

    RecordingHost host;
    host.viewers = QStringList{"Tracer", "Rtx"};
    QAStData::initialize(&host);
    QCOMPARE(QAStData::getViewerIdByName(QStringLiteral("Rtx")), 1002);
    QCOMPARE(QAStData::getViewerNameById(1000), QStringLiteral("All_Report"));
    QCOMPARE(QAStData::getViewerIdByName(QStringLiteral("None")), -1);
    QTemporaryFile file;
    QVERIFY(file.open());
    QAStData::editFile(file.fileName(), 12);
    QAStData::editFile(QStringLiteral("/no/such/file.c"), 3);
    QCOMPARE(host.editorRequests, QStringList(file.fileName() + QStringLiteral(":12")));
    QCOMPARE(host.boxes, QStringList("Velmont Studio|/no/such/file.c\n\nFile not found."));
    QAStData::initialize(nullptr);
}

QTEST_MAIN(tst_TreeChain)
#include "tst_treechain.moc"
