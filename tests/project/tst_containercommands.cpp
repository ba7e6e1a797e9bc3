#include "qastdatacopydrag.h"
#include "qastdatafactory.h"
#include "qastdatamovedrag.h"
#include "qastdataundoactionmanager.h"
#include "qastnodegroup.h"
#include "qastnodelibrary.h"
#include "qastnodefileref.h"
#include "qastnodetest.h"
#include "qastproject.h"
#include "qasttestnodeplugin.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QTest>

// A virtual tester lives only under a system test script.
class QAStNodeVirtualTester : public QAStNodeTest
{
    Q_OBJECT
public:
    QAStNodeVirtualTester(const QString& name, QAStData* parent) : QAStNodeTest(name, QPixmap(), parent) {}
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

// Two test node kinds, linked into the program: "alpha" may not stand
// below a node named "next", and "beta" is never appended.
class KindsPlugin : public QAStTestNodePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QAComponentPlugin_iid)
public:
    QStringList nodeFeatures() const override { return {"alpha", "beta"}; }
    QString name(const QString& feature) const override { return feature.toUpper(); }
    QAStData* nodeTest(const QString& feature, const QString& name, QAStData* parent, QAStData* after) override
    {
        return new StandIn(feature, name, parent, after, nullptr);
    }
    bool toAddChild(const QString& feature, QAStData* parent, QAStData*) override
    {
        return feature != QLatin1String("alpha") || parent->name() != QLatin1String("next");
    }
    bool toAddNext(const QString& feature, QAStData*, QAStData*) override { return feature != QLatin1String("beta"); }
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

Q_IMPORT_PLUGIN(KindsPlugin)

class tst_ContainerCommands : public QObject
{
    Q_OBJECT

    RecordingHost host;
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
    }
    void init()
    {
        host.textAnswers.clear();
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
        QTest::newRow("11 is the second") << "addChildWithId" << 11 << "Create BETA Node|Name of your test:"
                                          << "beta" << false;
        QTest::newRow("10, behind") << "appendWithId" << 10 << "Create ALPHA Node|Name of your test:" << "alpha"
                                    << true;
        QTest::newRow("a kind that may not stand there asks nothing") << "appendWithId" << 11 << QString()
                                                                       << QString() << false;
        QTest::newRow("past the last") << "addChildWithId" << 99 << QString() << QString() << false;
    }
    void creationCommandsMakeTheirKind()
    {
        QFETCH(QString, command);
        QFETCH(int, id);
        QFETCH(QString, question);
        QFETCH(QString, kind);
        QFETCH(bool, behind);
        host.textAnswers = QStringList{"new"};
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
        QCOMPARE(childNames(next), created.isNull() ? QStringList() : QStringList{created});
        // A project has nothing beside it: appending to it asks nothing.
        project->appendGroupNode();
        QCOMPARE(host.textQuestions.size(), questions);
    }

    // Test node kinds are reached through their identifiers, in both menus;
    // what cannot be done now, or where the kind may not stand, is off.
    void menusFollowTheNodeAndTheHost()
    {
        QScopedPointer<QMenu> popup(group->popupMenu(nullptr));
        const QStringList items = menuTexts(popup.data());
        QVERIFY(items.contains("Move &Up(off)") && items.contains("Move &Down"));
        QScopedPointer<QMenu> children(group->addChildPopupMenu(nullptr));
        QScopedPointer<QMenu> behind(group->addNextPopupMenu(nullptr));
        QScopedPointer<QMenu> nextChildren(next->addChildPopupMenu(nullptr));
        QCOMPARE(menuTexts(children.data()).filter("=").mid(0, 2), (QStringList{"ALPHA=10", "BETA=11"}));
        QCOMPARE(menuTexts(behind.data()).filter("=").mid(0, 2), (QStringList{"ALPHA=10", "BETA=11(off)"}));
        QCOMPARE(menuTexts(nextChildren.data()).filter("=").mid(0, 2), (QStringList{"ALPHA=10(off)", "BETA=11"}));
        host.textAnswers = QStringList{"b", "a"};
        children->actions().at(menuTexts(children.data()).indexOf("BETA=11"))->trigger();
        behind->actions().at(menuTexts(behind.data()).indexOf("ALPHA=10"))->trigger();
        QCOMPARE(kindOf(group->firstChild()), QStringLiteral("beta"));
        QCOMPARE(kindOf(group->next()), QStringLiteral("alpha"));

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
        QAStNodeTest aTest(QStringLiteral("x"), QPixmap());
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
        QCOMPARE(host.boxes.size(), libraries.isEmpty() ? 1 : 0);
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
        const QString top = QAStData::stringToXMLValue(project->directory() + QStringLiteral("/top.c"));
        const QString deep = QAStData::stringToXMLValue(project->directory() + QStringLiteral("/deep.c"));
        for (const QString& text : {dragged, QGuiApplication::clipboard()->text()}) {
            QVERIFY(text.contains(deep));
            QVERIFY(text.contains(top));
        }
        // The tree itself keeps keys relative to the project.
        auto* kept = qobject_cast<QAStNodeFileRef*>(group->firstChild());
        QVERIFY(kept && QFileInfo(kept->fileKey()).isRelative());
        kept = qobject_cast<QAStNodeFileRef*>(group->firstChild()->next()->firstChild());
        QVERIFY(kept && QFileInfo(kept->fileKey()).isRelative());
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

    // The same object comes back by an undo, in its place and with its
    // children; only the last command is kept.
    void undoTakesBackTheLastCommand_data()
    {
        QTest::addColumn<QStringList>("steps"); // "operation=the project's children after it"
        QTest::newRow("a deletion undone, redone, and undone again")
            << QStringList{"del=next", "undo=G next", "redo=next", "undo=G next"};
        QTest::newRow("a deletion, then an addition: only the addition is undone")
            << QStringList{"del=next", "append=next added", "undo=next", "no undo=next"};
        QTest::newRow("an empty history does nothing") << QStringList{"no undo=G next", "no redo=G next"};
        QTest::newRow("a removal whose parent is gone goes back nowhere")
            << QStringList{"del orphan=G next", "undo=G next", "redo=G next"};
    }
    void undoTakesBackTheLastCommand()
    {
        QFETCH(QStringList, steps);
        const unsigned int quid = group->getQuid();
        for (const QString& step : steps) {
            const QString operation = step.section(QLatin1Char('='), 0, 0);
            if (operation == QLatin1String("del")) {
                group->del();
            } else if (operation == QLatin1String("del orphan")) {
                auto* doomed = new QAStNodeGroup(QStringLiteral("doomed"));
                (new QAStNodeGroup(QStringLiteral("leaf"), doomed))->del();
                delete doomed;
            } else if (operation == QLatin1String("append")) {
                host.textAnswers = QStringList{"added"};
                next->appendGroupNode();
            } else {
                const bool done = operation.endsWith(QLatin1String("undo")) ? QAStData::undo() : QAStData::redo();
                QCOMPARE(done, !operation.startsWith(QLatin1String("no")));
            }
            QCOMPARE(childNames(project), step.section(QLatin1Char('='), 1).split(QLatin1Char(' ')));
            if (QAStData* back = project->findNode(QStringLiteral("G"))) {
                QCOMPARE(back->getQuid(), quid);
                QCOMPARE(childNames(back), QStringList{"inner"});
            }
        }
        // The deleted originals go with the event loop; nothing is left behind.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void moveDragCarriesTheObjectOnly()
    {
        QScopedPointer<QMimeData> mime(next->dragObject(false, nullptr));
        auto* drag = qobject_cast<QAStDataMoveDrag*>(mime.data());
        QVERIFY(drag);
        QVERIFY(drag->encodedData("text/plain").isEmpty());
        QAStData* decoded = nullptr;
        QVERIFY(QAStDataMoveDrag::decode(drag, &decoded));
        QCOMPARE(decoded, static_cast<QAStData*>(next));

        // A drag whose object was deleted, or a foreign one, decodes to nothing.
        QMimeData foreign;
        foreign.setData(QString::fromLatin1(drag->format(0)), QByteArray(8, '\x01'));
        QVERIFY(QAStDataMoveDrag::canDecode(&foreign));
        QVERIFY(!QAStDataMoveDrag::decode(&foreign, &decoded));
        delete next;
        next = nullptr;
        QVERIFY(!QAStDataMoveDrag::decode(drag, &decoded));
    }

    void dropMovesOrCopies_data()
    {
        QTest::addColumn<bool>("copy");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QStringList>("top");
        QTest::addColumn<QStringList>("inTarget");
        QTest::newRow("move") << false << "next" << "G" << QStringList{"G"} << QStringList{"next", "inner"};
        QTest::newRow("copy") << true << "next" << "G" << QStringList{"G", "next"} << QStringList{"next", "inner"};
        QTest::newRow("move onto itself") << false << "G" << "G" << QStringList{"G", "next"} << QStringList{"inner"};
        QTest::newRow("move into its own subtree") << false << "G" << "G.inner" << QStringList{"G", "next"}
                                                   << QStringList();
    }
    void dropMovesOrCopies()
    {
        QFETCH(bool, copy);
        QFETCH(QString, source);
        QFETCH(QStringList, inTarget);
        QAStData* from = project->findNode(source);
        QFETCH(QString, target);
        QAStData* to = project->findNode(target);
        QScopedPointer<QMimeData> mime(from->dragObject(copy, nullptr));
        QDropEvent event(QPointF(), Qt::MoveAction | Qt::CopyAction, mime.data(), Qt::LeftButton, Qt::NoModifier);
        to->drop(&event);
        QTEST(childNames(project), "top");
        QCOMPARE(childNames(to), inTarget);
        if (copy) {
            // A copy is a new object of the same identity.
            QVERIFY(to->firstChild() != from);
            QCOMPARE(to->firstChild()->getQuid(), from->getQuid());
        }
        if (inTarget.contains(source)) {
            QVERIFY(QAStData::undo());
            QCOMPARE(childNames(to).contains(source), false);
        }
    }

    // A copy comes back whole: its kind, its identity and its children. What
    // is no object, or no object this target takes, is not pasted.
    void pasteTakesWhatTheTargetAccepts_data()
    {
        QTest::addColumn<QString>("clipboard"); // "G": a copy of the group; else the text itself
        QTest::addColumn<bool>("intoTestData");
        QTest::addColumn<QStringList>("children");
        QTest::newRow("a group into a group") << "G" << false << QStringList{"G", "n1"};
        QTest::newRow("a group into an object that takes nothing") << "G" << true << QStringList();
        QTest::newRow("text that is no object") << "just words" << false << QStringList{"n1"};
        QTest::newRow("an object cut short") << "<group>" << false << QStringList{"n1"};
        QTest::newRow("an object of no known kind") << "<unknown/>" << false << QStringList{"n1"};
    }
    void pasteTakesWhatTheTargetAccepts()
    {
        QFETCH(QString, clipboard);
        QFETCH(bool, intoTestData);
        if (clipboard == QLatin1String("G"))
            group->copy();
        else
            QGuiApplication::clipboard()->setText(clipboard);
        new QAStNodeGroup(QStringLiteral("n1"), next);
        TestData plain(QStringLiteral("plain"));
        QAStData* target = intoTestData ? static_cast<QAStData*>(&plain) : next;
        target->paste();
        QTEST(childNames(target), "children");
        QCOMPARE(host.boxes.size(), intoTestData ? 1 : 0);
        if (childNames(target).size() == 2) {
            QVERIFY(target->firstChild()->inherits("QAStNodeGroup"));
            QCOMPARE(target->firstChild()->getQuid(), group->getQuid());
            QCOMPARE(childNames(target->firstChild()), QStringList{"inner"});
        }
    }
};

QTEST_MAIN(tst_ContainerCommands)
#include "tst_containercommands.moc"
