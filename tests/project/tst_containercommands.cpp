#include "nodetestinterface.h"
#include "qastdatacopydrag.h"
#include "qastdatafactory.h"
#include "qastdataundoactionmanager.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QTest>

// Stand-ins for node kinds that the commands reach only by class name.
class QAStNodeLibrary : public QAStNodeContainer
{
    Q_OBJECT
public:
    QAStNodeLibrary(const QString& name, QAStData* parent) : QAStNodeContainer(name, QPixmap(), parent) {}
};

// Its key is its name, which the switch to an absolute key rewrites.
class QAStNodeFileRef : public WithoutMenus<QAStNode>
{
    Q_OBJECT
public:
    using WithoutMenus::WithoutMenus;
    Q_INVOKABLE void changeKeyToAbsoluteFilePath() { setName(QStringLiteral("/abs/") + name()); }
    Q_INVOKABLE void changeKeyToRelativeFilePath() { setName(name().mid(5)); }
};

class QAStNodeTest : public QAStNodeContainer
{
    Q_OBJECT
public:
    QAStNodeTest(const QString& name, QAStData* parent) : QAStNodeContainer(name, QPixmap(), parent) {}
};

// A virtual tester lives only under a system test script.
class QAStNodeVirtualTester : public QAStNodeTest
{
    Q_OBJECT
public:
    using QAStNodeTest::QAStNodeTest;
};

namespace {

// Any other kind: a node that remembers its kind and what it stands for.
class StandIn : public WithoutMenus<QAStNode>
{
    Q_OBJECT
public:
    StandIn(const QString& kind, const QString& name, QAStData* parent, QAStData* after, QAStData* subject)
        : WithoutMenus(name, QPixmap(), parent, after), kind(kind), subject(subject)
    {
    }
    QString kind;
    QAStData* subject;
};

class Provider : public NodeTestInterface
{
public:
    QString name(const QString& feature) const override { return feature.toUpper(); }
    QAStData* nodeTest(const QString& feature, const QString& name, QAStData* parent, QAStData* after) override
    {
        return new StandIn(feature, name, parent, after, nullptr);
    }
    void release() override { ++released; }
    int released = 0;
};

// No class stands for the system testing node: its commands must do nothing.
const QStringList standInKinds{"QAStNodeLibrary", "QAStNodeApplication", "QAStNodeUnitTesting",
                               "QAStNodeObjectTesting", "QAStNodeUser", "QAStNodeLink"};

QString kindOf(QAStData* data)
{
    if (auto* standIn = qobject_cast<StandIn*>(data))
        return standIn->kind;
    return data ? QString::fromLatin1(data->metaObject()->className()) : QString();
}

QStringList menuTexts(QMenu* menu)
{
    QStringList texts;
    for (QAction* action : menu->actions())
        texts << action->text() + (action->data().isValid() ? "=" + action->data().toString() : QString())
                     + (action->isEnabled() ? QString() : QStringLiteral("(off)"));
    return texts;
}

} // namespace

class tst_ContainerCommands : public QObject
{
    Q_OBJECT

    RecordingHost host;
    Provider provider;
    QAStProject* project = nullptr;
    QAStNodeGroup* group = nullptr;
    QAStNodeGroup* next = nullptr;

private slots:
    void initTestCase()
    {
        for (const QString& kind : standInKinds) {
            QAStDataFactory::registerMaker(kind, [kind](const QString& name, QAStData* parent, QAStData* after,
                                                        QAStData* subject) -> QAStData* {
                if (kind == QLatin1String("QAStNodeLibrary"))
                    return new QAStNodeLibrary(name, parent);
                return new StandIn(kind, name, parent, after, subject);
            });
        }
        QAStDataFactory::registerTestNode(QStringLiteral("alpha"), &provider);
        QAStDataFactory::registerTestNode(QStringLiteral("beta"), &provider);
    }
    void init()
    {
        host.textQuestions.clear();
        host.checkQuestions.clear();
        host.boxes.clear();
        host.viewers.clear();
        QAStData::initialize(&host);
        project = new QAStProject(QStringLiteral("proj"), QPixmap());
        group = new QAStNodeGroup(QStringLiteral("G"), project);
        new QAStNodeGroup(QStringLiteral("inner"), group);
        next = new QAStNodeGroup(QStringLiteral("next"), project, group);
    }
    void cleanup()
    {
        delete project;
        QAStData::undoManager()->clear();
    }

    void creationCommandsMakeTheirKind_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("question");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("behind");
        QTest::newRow("group") << "addGroupNode" << 0 << "Create Group Node|Name of the group:"
                               << "QAStNodeGroup" << false;
        QTest::newRow("library, behind") << "appendLibraryNode" << 0 << "Create Library Node|Name of your library:"
                                         << "QAStNodeLibrary" << true;
        QTest::newRow("C or Ada test") << "addUnitTestingNode" << 0
                                       << "Create Component Testing for C or Ada Node|Name of your test:"
                                       << "QAStNodeUnitTesting" << false;
        QTest::newRow("a kind with no class asks nothing") << "appendSystemTestingNode" << 0 << QString()
                                                           << QString() << false;
        QTest::newRow("external command") << "addUserNode" << 0 << QString() << "QAStNodeUser" << false;
        QTest::newRow("9 is no test node kind") << "addChildWithId" << 9 << QString() << QString() << false;
        QTest::newRow("10 is the first") << "addChildWithId" << 10 << "Create ALPHA Node|Name of your test:"
                                         << "alpha" << false;
        QTest::newRow("11 is the second, behind") << "appendWithId" << 11 << "Create BETA Node|Name of your test:"
                                                  << "beta" << true;
        QTest::newRow("past the last") << "addChildWithId" << 12 << QString() << QString() << false;
    }
    void creationCommandsMakeTheirKind()
    {
        QFETCH(QString, command);
        QFETCH(int, id);
        QFETCH(QString, question);
        QFETCH(QString, kind);
        QFETCH(bool, behind);
        host.textAnswers = QStringList{"new"};
        provider.released = 0;
        const QByteArray slot = command.toLatin1();
        QVERIFY(id ? QMetaObject::invokeMethod(group, slot.constData(), Q_ARG(int, id))
                   : QMetaObject::invokeMethod(group, slot.constData()));
        QCOMPARE(host.textQuestions.value(0), question);
        if (kind.isNull()) {
            QCOMPARE(childNames(project), (QStringList{"G", "next"}));
            QVERIFY(!QAStData::isUndoAvailable());
            return;
        }
        QCOMPARE(kindOf(behind ? group->next() : group->firstChild()), kind);
        QCOMPARE(provider.released, id ? 1 : 0);
        QVERIFY(QAStData::undo());
        QCOMPARE(childNames(group), QStringList{"inner"});
        QCOMPARE(childNames(project), (QStringList{"G", "next"}));
    }

    void creationAsksForANameFreeInTheProject_data()
    {
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<QString>("created");
        QTest::addColumn<int>("questions");
        QTest::addColumn<int>("warnings");
        QTest::newRow("cancel") << QStringList{QString()} << QString() << 1 << 0;
        QTest::newRow("empty, then taken, then free") << QStringList{"", "next", "new"} << "new" << 3 << 1;
        QTest::newRow("taken deep in the tree") << QStringList{"inner", QString()} << QString() << 2 << 1;
    }
    void creationAsksForANameFreeInTheProject()
    {
        QFETCH(QStringList, answers);
        QFETCH(QString, created);
        QFETCH(int, questions);
        QFETCH(int, warnings);
        host.textAnswers = answers;
        next->addGroupNode();
        QCOMPARE(host.textQuestions.size(), questions);
        QCOMPARE(host.boxes.size(), warnings);
        for (const QString& box : std::as_const(host.boxes))
            QVERIFY(box.endsWith(QLatin1String("|This name already exists, You must enter another name")));
        QCOMPARE(childNames(next), created.isNull() ? QStringList() : QStringList{created});
        // A project has nothing beside it: appending to it asks nothing.
        project->appendGroupNode();
        QCOMPARE(host.textQuestions.size(), questions);
    }

    // Menu items reach their commands, test node kinds by their identifiers;
    // what cannot be done now is off.
    void menusFollowTheNodeAndTheHost()
    {
        QScopedPointer<QMenu> popup(group->popupMenu(nullptr));
        const QStringList items = menuTexts(popup.data());
        QVERIFY(items.contains("Move &Up(off)") && items.contains("Move &Down"));
        QScopedPointer<QMenu> children(group->addChildPopupMenu(nullptr));
        QCOMPARE(menuTexts(children.data()),
                 (QStringList{"Add a New File...", "Group...", "Files...", "Library...", "Application...",
                              "Component Testing for C++...", "System Testing...",
                              "Component Testing for C or Ada...", "External command...", "ALPHA=10", "BETA=11", ""}));
        QScopedPointer<QMenu> behind(group->addNextPopupMenu(nullptr));
        host.textAnswers = QStringList{"b", "lib"};
        children->actions().at(10)->trigger();
        behind->actions().at(1)->trigger();
        QCOMPARE(kindOf(group->firstChild()), QStringLiteral("beta"));
        QCOMPARE(childNames(project), (QStringList{"G", "lib", "next"}));

        group->setExecutionStatus(QAStData::ExecutionRunning);
        QMenu actions;
        group->localActionMenuItems(&actions);
        for (QAction* action : actions.actions())
            QVERIFY(action->isSeparator() || !action->isEnabled());
        group->setExecutionStatus(QAStData::ExecutionNone);
    }

    void containerAcceptsNodeKindsOnly()
    {
        QAStNodeGroup aGroup(QStringLiteral("x"));
        QAStNodeTest aTest(QStringLiteral("x"), nullptr);
        QAStNodeVirtualTester aTester(QStringLiteral("x"), nullptr);
        StandIn aNode(QString(), QStringLiteral("x"), nullptr, nullptr, nullptr);
        QAStProject aProject(QStringLiteral("x"), QPixmap());
        QVERIFY(project->acceptDrop(&aGroup) && project->acceptDrop(&aTest));
        QVERIFY(!project->acceptDrop(&aTester) && !project->acceptDrop(&aNode) && !project->acceptDrop(&aProject));
    }

    void libraryReferences_data()
    {
        QTest::addColumn<QStringList>("libraries");
        QTest::addColumn<bool>("cancel");
        QTest::addColumn<QString>("question");
        QTest::addColumn<QStringList>("children");
        QTest::newRow("no library") << QStringList() << false << QString() << QStringList{"inner"};
        QTest::newRow("cancelled") << QStringList{"libA"} << true << "Velmont Studio|Select library node|libA"
                                   << QStringList{"inner"};
        QTest::newRow("all but the node itself") << QStringList{"libA", "self", "libB"} << false
                                                 << "Velmont Studio|Select library node|libA,libB"
                                                 << QStringList{"libB(library)", "libA(library)", "inner"};
    }
    void libraryReferences()
    {
        QFETCH(QStringList, libraries);
        QFETCH(bool, cancel);
        QFETCH(QString, question);
        QFETCH(QStringList, children);
        // The libraries stand anywhere in the project; the command may run on one.
        QAStNodeContainer* target = group;
        for (const QString& name : libraries) {
            QAStData* holder = name == QLatin1String("libB") ? static_cast<QAStData*>(next) : project;
            auto* library = new QAStNodeLibrary(name, holder);
            if (name == QLatin1String("self")) {
                new QAStNodeGroup(QStringLiteral("inner"), library);
                target = library;
            }
        }
        host.checkCancels = cancel;
        host.checkAnswers = libraries;
        target->addLibraryReference();
        QCOMPARE(host.checkQuestions.value(0), question);
        QCOMPARE(childNames(target), children);
        if (libraries.isEmpty())
            QCOMPARE(host.boxes, QStringList{"Velmont Studio|No library has been created in the project.\n"
                                             "Creates a library node before and retry it"});
        if (children.size() < 2)
            return;
        QCOMPARE(static_cast<StandIn*>(target->firstChild())->subject->name(), QStringLiteral("libB"));
        // All the links of one command go with one undo.
        QVERIFY(QAStData::undo());
        QCOMPARE(childNames(target), QStringList{"inner"});
    }

    void fileKeysAreAbsoluteInCopies()
    {
        new QAStNodeFileRef(QStringLiteral("deep.c"), QPixmap(), group->firstChild());
        new QAStNodeFileRef(QStringLiteral("top.c"), QPixmap(), group);
        QScopedPointer<QMimeData> mime(group->dragObject(true, nullptr));
        QString dragged;
        QVERIFY(QAStDataCopyDrag::decode(mime.data(), dragged));
        group->copy();
        for (const QString& text : {dragged, QGuiApplication::clipboard()->text()}) {
            QVERIFY(text.contains(QLatin1String("/abs/deep.c")));
            QVERIFY(text.contains(QLatin1String("/abs/top.c")));
        }
        QCOMPARE(group->firstChild()->name(), QStringLiteral("top.c"));
        QCOMPARE(group->firstChild()->next()->firstChild()->name(), QStringLiteral("deep.c"));
    }

    void reportsOpenThroughTheHost()
    {
        host.viewers = QStringList{"Reporter", "Cvi", "Rtx", "Ext"};
        host.viewerFilterMap = {{"Reporter", {"*.xrd;*.tsf", "*.XRD"}}, {"Cvi", {"*.fdc"}}, {"Ext", {"*.ext"}}};
        QAStData::initialize(&host);
        auto* inner = static_cast<QAStNode*>(group->firstChild());
        inner->addOutFileName(QStringLiteral("XRD"), QStringLiteral("/r/a.xrd"));
        inner->addOutFileName(QStringLiteral("EXT"), QStringLiteral("/r/b.ext"));
        group->setExtendedViewers({"Ext", "Cvi"});

        // An item opens its viewer; a double click opens every viewer that has
        // files, in the windows it opened before, but none the group may not offer.
        QScopedPointer<QMenu> view(group->viewPopupMenu(nullptr));
        QCOMPARE(menuTexts(view.data()),
                 (QStringList{"&All=1000", "Test=1001", "Code Coverage=1002(off)", "", "Cvi=1002(off)",
                              "Ext=1004"}));
        view->actions().at(1)->trigger();
        group->doubleClickAction();
        QCOMPARE(host.viewerRequests,
                 (QStringList{"Reporter: /r/a.xrd", "Reporter: /r/a.xrd (again)", "Ext: /r/b.ext"}));
        QCOMPARE(host.shownViewers.first()->windowTitle(), QStringLiteral("proj.G"));
        QVERIFY(host.boxes.isEmpty());

        group->openReportByName(QStringLiteral("Cvi"), true);
        group->openReportByName(QStringLiteral("Cvi"), false);
        group->openReportByName(QStringLiteral("Unknown"), false);
        QCOMPARE(host.boxes, (QStringList{"Cvi Viewer|Cannot view this report. \nNo file generated.",
                                          "Unknown Viewer|Unable to access to the viewer interface."}));
    }
};

QTEST_MAIN(tst_ContainerCommands)
#include "tst_containercommands.moc"
