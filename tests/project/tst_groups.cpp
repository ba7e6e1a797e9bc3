#include "withoutmenus.h"
#include "qastdataundoactionmanager.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QDir>
#include <QFile>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>

namespace {

class StepNode : public WithoutMenus<QAStNode>
{
    Q_OBJECT
public:
    StepNode(const QString& name, QAStData* parent, QAStData* after = nullptr)
        : WithoutMenus(name, QPixmap(), parent, after)
    {
    }
    bool isNodeExecutable() override { return false; }
};

// Prints its node's name and the group's status as the environment gives
// it; a node named "fail..." fails and one named "rod..." reports a ROD file.
const char* const stepScript = R"(
my ($env, $name) = @ARGV;
my ($quid) = $env =~ /environment_node(\d+)\.pl$/;
print "step $name\n";
if ($name =~ /^rod/) {
    open(my $log, '>', "intermediates_files$quid.log") or die;
    print $log "ROD /results/$name.rod\n";
    close($log);
}
exit($name =~ /^fail/ ? 1 : 0);
)";

// A group that notes its status at the moment its own script is due.
class WatchedGroup : public QAStNodeGroup
{
public:
    using QAStNodeGroup::QAStNodeGroup;
    void buildAfterChildren() override
    {
        statusBeforeScript = executionStatus();
        QAStNodeGroup::buildAfterChildren();
    }
    int statusBeforeScript = -1;
};

} // namespace

class tst_Groups : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void groupRunsItsScriptAfterItsChildren_data();
    void groupRunsItsScriptAfterItsChildren();
    void groupEnvironmentListsFilesAndChildNames();
    void creatingANodeAsksForAFreeName_data();
    void creatingANodeAsksForAFreeName();
    void appendPlacesBehindAndUndoRemoves();
    void containerAcceptsNodeKindsOnly_data();
    void containerAcceptsNodeKindsOnly();
    void menusFollowTheNodeAndTheHost();

private:
    void runToEnd(QAStNode* node);

    RecordingHost host;
    QTemporaryDir dir;
    QString script;
    QAStProject* project = nullptr;
};

void tst_Groups::initTestCase()
{
    installProcessLeakGuard();
    QAStData::initialize(&host);
    script = dir.filePath(QStringLiteral("step.pl"));
    QFile file(script);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(stepScript);
    QDir::setCurrent(dir.path());
}

void tst_Groups::init()
{
    host.messages.clear();
    host.boxes.clear();
    host.textQuestions.clear();
    host.viewers.clear();
    project = new QAStProject(QStringLiteral("proj"), QPixmap());
}

void tst_Groups::cleanup()
{
    delete project;
    project = nullptr;
    QAStData::undoManager()->clear();
}

void tst_Groups::runToEnd(QAStNode* node)
{
    QTRY_VERIFY_WITH_TIMEOUT(!QAStNode::isRunConnected() && !node->isRunning(), 20000);
}

void tst_Groups::groupRunsItsScriptAfterItsChildren_data()
{
    QTest::addColumn<QStringList>("children");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<int>("statusBeforeScript");
    QTest::newRow("empty group") << QStringList() << "group: G children: RODFILES: 0 file(s)" << 5;
    QTest::newRow("a failed child does not stop the group")
        << QStringList{"a", "fail", "rod"}
        << "step a step fail step rod group: G children: a, fail, rod RODFILES: 1 file(s) /results/rod.rod" << 1;
}

void tst_Groups::groupRunsItsScriptAfterItsChildren()
{
    QFETCH(QStringList, children);
    QFETCH(QString, steps);
    QFETCH(int, statusBeforeScript);
    auto* group = new WatchedGroup(QStringLiteral("G"), project);
    QAStData* after = nullptr;
    for (const QString& name : children) {
        auto* child = new StepNode(name, group, after);
        child->setPerlScriptAfterChild(script);
        after = child;
    }
    group->rebuild();
    runToEnd(group);
    QCOMPARE(group->statusBeforeScript, statusBeforeScript);
    // The group's script decides the group's status, a failed child or not.
    QCOMPARE(group->executionStatus(), int(QAStData::ExecutionSuccess));
    const QString console = host.consoleText(0).simplified();
    QVERIFY2(console.contains(steps), qPrintable(console));
    QVERIFY(QDir(dir.path()).entryList({"environment_node*"}).isEmpty());
}

void tst_Groups::groupEnvironmentListsFilesAndChildNames()
{
    auto* group = new QAStNodeGroup(QStringLiteral("G"), project);
    auto* inner = new QAStNodeGroup(QStringLiteral("inner"), group);
    auto* quoted = new StepNode(QStringLiteral("it's"), group, inner);
    auto* deep = new StepNode(QStringLiteral("deep"), inner);
    deep->addOutFileName(QStringLiteral("ROD"), QStringLiteral("/r/deep.rod"));
    quoted->addOutFileName(QStringLiteral("FDC"), QStringLiteral("/r/q.fdc"));

    QString text;
    QTextStream stream(&text);
    group->generateEnv(stream);
    stream.flush();
    // Coverage is not selected: no coverage or trace lists, yet the result
    // list reaches the whole subtree while the names are the direct children.
    QVERIFY(!text.contains(QLatin1String("@FDCFILES")));
    QVERIFY(!text.contains(QLatin1String("@TIOFILES")));
    QVERIFY(text.contains(QLatin1String("@RODFILES=('/r/deep.rod');\n")));
    QVERIFY(text.contains(QLatin1String("@NODENAMES=('inner','it\\'s');\n")));

    QString emptyText;
    QTextStream emptyStream(&emptyText);
    inner->removeOutFileName(QStringLiteral("ROD"), QStringLiteral("/r/deep.rod"));
    deep->clearOutFileNames();
    inner->generateEnv(emptyStream);
    emptyStream.flush();
    QVERIFY(emptyText.contains(QLatin1String("@RODFILES=();\n@NODENAMES=('deep');\n")));
}

void tst_Groups::creatingANodeAsksForAFreeName_data()
{
    QTest::addColumn<QStringList>("answers");
    QTest::addColumn<QString>("created");
    QTest::addColumn<int>("questions");
    QTest::addColumn<int>("warnings");
    QTest::newRow("cancel") << QStringList{QString()} << QString() << 1 << 0;
    QTest::newRow("first answer") << QStringList{"new"} << "new" << 1 << 0;
    QTest::newRow("empty, then taken, then free")
        << QStringList{"", "taken", "new"} << "new" << 3 << 1;
    QTest::newRow("taken deep in the tree") << QStringList{"deep", QString()} << QString() << 2 << 1;
}

void tst_Groups::creatingANodeAsksForAFreeName()
{
    QFETCH(QStringList, answers);
    QFETCH(QString, created);
    QFETCH(int, questions);
    QFETCH(int, warnings);
    auto* taken = new QAStNodeGroup(QStringLiteral("taken"), project);
    new QAStNodeGroup(QStringLiteral("deep"), taken);
    host.textAnswers = answers;
    taken->addGroupNode();
    QCOMPARE(host.textQuestions.size(), questions);
    QCOMPARE(host.textQuestions.value(0), QStringLiteral("Create Group Node|Name of the group:"));
    QCOMPARE(host.boxes.size(), warnings);
    if (warnings)
        QVERIFY(host.boxes.first().endsWith(QLatin1String("This name already exists, You must enter another name")));
    if (created.isNull()) {
        QCOMPARE(childNames(taken), QStringList{"deep"});
        QVERIFY(!QAStData::isUndoAvailable());
        return;
    }
    // A new node stands first among the children, and the command can be undone.
    QCOMPARE(childNames(taken), (QStringList{created, "deep"}));
    QVERIFY(taken->firstChild()->inherits("QAStNodeGroup"));
    QVERIFY(QAStData::undo());
    QCOMPARE(childNames(taken), QStringList{"deep"});
}

void tst_Groups::appendPlacesBehindAndUndoRemoves()
{
    auto* first = new QAStNodeGroup(QStringLiteral("first"), project);
    new QAStNodeGroup(QStringLiteral("second"), project, first);
    host.textAnswers = QStringList{"behind"};
    first->appendGroupNode();
    QCOMPARE(childNames(project), (QStringList{"first", "behind", "second"}));
    QVERIFY(QAStData::undo());
    QCOMPARE(childNames(project), (QStringList{"first", "second"}));
    // A project has nothing beside it, and appending to it asks nothing.
    host.textAnswers = QStringList{"never"};
    project->appendGroupNode();
    QCOMPARE(host.textAnswers, QStringList{"never"});
}

void tst_Groups::containerAcceptsNodeKindsOnly_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("group") << "group" << true;
    QTest::newRow("plain node") << "node" << false;
    QTest::newRow("project") << "project" << false;
}

void tst_Groups::containerAcceptsNodeKindsOnly()
{
    QFETCH(QString, kind);
    QFETCH(bool, accepted);
    QAStData* data = nullptr;
    if (kind == QLatin1String("group"))
        data = new QAStNodeGroup(QStringLiteral("x"));
    else if (kind == QLatin1String("node"))
        data = new StepNode(QStringLiteral("x"), nullptr);
    else
        data = new QAStProject(QStringLiteral("x"), QPixmap());
    QCOMPARE(project->acceptDrop(data), accepted);
    delete data;
}

void tst_Groups::menusFollowTheNodeAndTheHost()
{
    host.viewers = QStringList{"Reporter", "Cvi", "Rtx"};
    QAStData::initialize(&host);
    auto* first = new QAStNodeGroup(QStringLiteral("first"), project);
    auto* second = new QAStNodeGroup(QStringLiteral("second"), project, first);
    second->addOutFileName(QStringLiteral("XRD"), QStringLiteral("/r/a.xrd"));

    QMenu* menu = first->popupMenu(nullptr);
    QStringList texts;
    for (QAction* action : menu->actions())
        texts << action->text() + (action->isEnabled() ? QString() : QStringLiteral("(off)"));
    delete menu;
    QCOMPARE(texts, (QStringList{"&Build", "&Rebuild", "&Clean", "&Execute first", "&Debug first", "",
                                 "&View Report", "&Settings...", "&Add Child", "A&ppend", "Move &Up(off)",
                                 "Move &Down", "Delete", "S&ource Control", "Proper&ties"}));

    // The group leaves out "Rtx"; an item is enabled when its files exist.
    QMenu* view = second->viewPopupMenu(nullptr);
    QStringList items;
    for (QAction* action : view->actions())
        items << action->text() + QLatin1Char('=') + QString::number(action->data().toInt())
                     + (action->isEnabled() ? QString() : QStringLiteral("(off)"));
    delete view;
    QCOMPARE(items, (QStringList{"&All=1000", "Test=1001", "Code Coverage=1002(off)"}));

    // While a run is under way, its commands are off.
    second->setExecutionStatus(QAStData::ExecutionRunning);
    QMenu actions;
    second->localActionMenuItems(&actions);
    for (QAction* action : actions.actions())
        QVERIFY(action->isSeparator() || !action->isEnabled());
    second->setExecutionStatus(QAStData::ExecutionNone);
}

QTEST_MAIN(tst_Groups)
#include "tst_groups.moc"
