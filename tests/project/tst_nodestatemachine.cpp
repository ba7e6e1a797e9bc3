#include "withoutmenus.h"
#include "qaprocess.h"
#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastnodeuser.h"
#include "qastproject.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QRegularExpression>
#include <QTest>

#include <csignal>

namespace {

// Its scripts, the children it takes up and the end of its runs go to
// `events`, in the order they happened.
class TestNode : public WithoutMenus<QAStNode>
{
    Q_OBJECT
public:
    TestNode(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr)
        : WithoutMenus(name, QPixmap(), parent, after)
    {
        connect(this, &QAStNode::buildExecuteFinished, this, [this] { ++finished; });
        connect(this, &QAStData::perlScriptStarted, this, [this] { events << "start " + this->name(); });
        connect(this, &QAStData::perlScriptTerminated, this, [this] { events << "end " + this->name(); });
    }
    int executionFlag() override { return flag < 0 ? QAStNode::executionFlag() : flag; }
    bool isNodeExecutable() override { return executable; }
    void buildChildFinishEvent(QAStNode* child) override
    {
        events << "advance " + child->name();
        QAStNode::buildChildFinishEvent(child);
    }
    void done() override
    {
        QAStNode::done();
        events << QStringLiteral("done");
    }
    void settingsCommited() override
    {
        events << "commit " + name();
        QAStNode::settingsCommited();
    }

    int flag = -1; // the configuration's
    bool executable = false;
    int finished = 0;
    static QStringList events;
};
QStringList TestNode::events;

// Prints the node's name and the steps its environment asks for; writes the
// files named after it and reports them in the log of produced files, or
// reports a result file; fails, waits to be stopped, or waits for the file
// "<name>.go", by its name.
const char* const stepScript = R"(
my ($env, $name) = @ARGV;
my ($quid) = $env =~ /environment_node(\d+)\.pl$/;
open(my $in, '<', $env) or die "no environment\n";
my $text = do { local $/; <$in> };
$| = 1;
print "step $name\n";
print "stage $name $1\n" if $text =~ /^\$STAGE='(\w*)'/m;
if ($name =~ /^out/) {
    open(my $log, '>', "intermediates_files$quid.log") or die;
    for my $f ("$name.o", "$name.lst") {
        open(my $o, '>', $f) or die; close($o);
        print $log "OBJ $f\n";
    }
    close($log);
}
if ($name =~ /^rod/) { open(my $log, '>', "intermediates_files$quid.log") or die; print $log "ROD /results/$name.rod\n"; }
if ($name =~ /^wait/) { print "waiting\n"; sleep 60; }
if ($name =~ /^hold/) {
    print "holding\n";
    for (1 .. 1000) { last if -e "$name.go"; select(undef, undef, undef, 0.01); }
    exit 4 unless -e "$name.go";
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

class tst_NodeStateMachine : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QTemporaryDir dir;
    QString script;
    QString startDirectory;
    TestNode* root = nullptr;

    TestNode* makeTree(const QStringList& childNames, bool withScripts)
    {
        root = new TestNode(QStringLiteral("root"));
        QAStData* after = nullptr;
        for (const QString& name : childNames) {
            auto* child = new TestNode(name, root, after);
            if (withScripts)
                child->setPerlScriptAfterChild(script);
            after = child;
        }
        if (withScripts)
            root->setPerlScriptAfterChild(script);
        return root;
    }
    TestNode* child(int i) const { return static_cast<TestNode*>(root->children().at(i)); }
    void runToEnd(QAStNode* node)
    {
        QTRY_VERIFY_WITH_TIMEOUT(!QAStNode::isRunConnected() && !node->isRunning(), 20000);
    }

private slots:
    void initTestCase()
    {
        installProcessLeakGuard();
        QAStData::initialize(&host);
        script = dir.filePath(QStringLiteral("step.pl"));
        QFile file(script);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(stepScript);
        startDirectory = dir.filePath(QStringLiteral("elsewhere"));
        QVERIFY(QDir().mkpath(startDirectory));
    }
    void init()
    {
        host.messages.clear();
        host.boxes.clear();
        TestNode::events.clear();
        QDir::setCurrent(startDirectory);
    }
    void cleanup()
    {
        delete root;
        root = nullptr;
        QVERIFY(!QAStNode::isRunConnected());
        QAStProject::setModeBatch(false);
    }

    void buildWaitsForEachChildInTurn_data()
    {
        QTest::addColumn<QStringList>("children");
        QTest::addColumn<int>("backgroundFlag");
        QTest::addColumn<QStringList>("events");
        QTest::newRow("all succeed, parent last")
            << QStringList{"a", "b"} << -1
            << QStringList{"start a", "end a", "advance a", "start b", "end b", "advance b", "start root",
                           "end root", "done"};
        QTest::newRow("a failed child stops the parent")
            << QStringList{"a", "fail", "c"} << -1
            << QStringList{"start a", "end a", "advance a", "start fail", "end fail", "advance fail", "done"};
        // Such a child ends its build twice over; it is still heard once.
        const QStringList heardOnce{"start back", "end back", "advance back", "start hold", "end hold",
                                    "advance hold", "start last", "end last", "advance last", "start root",
                                    "end root", "done"};
        QTest::newRow("a background child with no execution step")
            << QStringList{"back", "hold", "last"} << 0 << heardOnce;
        QTest::newRow("a background child whose execution ends at once")
            << QStringList{"back", "hold", "last"} << 0x10 << heardOnce;
    }
    void buildWaitsForEachChildInTurn()
    {
        QFETCH(QStringList, children);
        QFETCH(int, backgroundFlag);
        QFETCH(QStringList, events);
        makeTree(children, true);
        if (backgroundFlag >= 0) {
            child(0)->backgroundAttribute() = true;
            child(0)->executable = true;
            child(0)->flag = backgroundFlag;
        }
        root->rebuild();
        QFile go(startDirectory + QStringLiteral("/hold.go"));
        if (children.contains(QLatin1String("hold"))) {
            QTRY_VERIFY_WITH_TIMEOUT(host.consoleText(0).contains(QLatin1String("holding")), 10000);
            QVERIFY(go.open(QIODevice::WriteOnly));
        }
        runToEnd(root);
        go.remove();
        QCOMPARE(TestNode::events, events);
        const bool failed = children.contains(QLatin1String("fail"));
        QCOMPARE(root->executionStatus(), failed ? 1 : 0);
        QCOMPARE(host.consoleText(0).endsWith(QLatin1String("\nSuccess\n")), !failed);
        QCOMPARE(root->finished, 1);
        QCOMPARE(QDir::currentPath(), startDirectory);
        QVERIFY(QDir(startDirectory).entryList({"environment_node*"}).isEmpty());
    }

    // The script after the children builds: the execution steps stay out of
    // its environment, and the configuration is as it was once it runs.
    void buildStepAsksForNoExecution_data()
    {
        QTest::addColumn<bool>("held");
        QTest::newRow("the node holds its own flag") << true;
        QTest::newRow("the node inherits its flag") << false;
    }
    void buildStepAsksForNoExecution()
    {
        QFETCH(bool, held);
        makeTree({"a"}, true);
        root->addConfiguration(QStringLiteral("Debug"));
        root->setCurrentConfiguration(QStringLiteral("Debug"));
        QAStConfiguration* own = child(0)->configuration(QStringLiteral("Debug"));
        (held ? own : root->configuration(QStringLiteral("Debug")))->setProperty(QStringLiteral("executionFlag"), 0x31);
        QSignalSpy started(child(0), &QAStData::perlScriptStarted);
        root->rebuild();
        QTRY_COMPARE_WITH_TIMEOUT(started.count(), 1, 10000);
        QCOMPARE(own->hasProperty(QStringLiteral("executionFlag")), held);
        QCOMPARE(child(0)->executionFlag(), 0x31);
        runToEnd(root);
        QVERIFY2(host.consoleText(0).contains(QLatin1String("stage a c\n")), qPrintable(host.consoleText(0)));
    }

    void upToDateChildrenMakeTheParentSucceed()
    {
        makeTree({"a", "b"}, false);
        root->setForceRebuild(true);
        root->build();
        runToEnd(root);
        QCOMPARE(root->executionStatus(), 0);
        QVERIFY(host.consoleText(0).contains(QLatin1String("a: is up-to-date\n")));
        QVERIFY(host.consoleText(0).contains(QLatin1String("\nSuccess\n")));

        host.messages.clear();
        root->build();
        runToEnd(root);
        QCOMPARE(host.consoleText(0), QStringLiteral("root: is up-to-date\n\nSuccess\n"));
        QCOMPARE(root->finished, 2);
    }

    void excludedNodeEndsAtOnce()
    {
        makeTree({}, true);
        root->setState(QAStNode::Excluded);
        QSignalSpy finished(root, &QAStNode::buildExecuteFinished);
        root->rebuild();
        QCOMPARE(finished.count(), 1);
        QCOMPARE(root->executionStatus(), 5);
        QVERIFY(host.consoleText(0).isEmpty());
        runToEnd(root);
    }

    void childStatusesCombine_data()
    {
        QTest::addColumn<int>("parent");
        QTest::addColumn<int>("child");
        QTest::addColumn<int>("combined");
        QTest::newRow("a failure overrules a verdict") << 6 << 1 << 1;
        QTest::newRow("a failure stays") << 1 << 0 << 1;
        QTest::newRow("a verdict overrules success") << 0 << 6 << 6;
        QTest::newRow("a later success keeps the verdict") << 6 << 0 << 6;
        QTest::newRow("otherwise the child's status") << 5 << 0 << 0;
    }
    void childStatusesCombine()
    {
        QFETCH(int, parent);
        QFETCH(int, child);
        QFETCH(int, combined);
        makeTree({"c"}, false);
        root->setExecutionStatus(parent);
        this->child(0)->setExecutionStatus(child);
        root->buildChildFinishEvent(this->child(0));
        QCOMPARE(root->executionStatus(), combined);
    }

    void logFileFeedsOutputMapAndCleanDeletesThem()
    {
        makeTree({"out1"}, true);
        root->rebuild();
        runToEnd(root);
        QCOMPARE(root->executionStatus(), 0);
        QStringList files;
        root->outFileNames(QStringLiteral("obj"), files);
        // Scripts run in the node's directory, which is the process's own here.
        const QStringList expected{startDirectory + "/out1.o", startDirectory + "/out1.lst"};
        QCOMPARE(files, expected);
        QVERIFY(!QFile::exists(child(0)->logFilename()));

        child(0)->setState(QAStNode::Excluded);
        files.clear();
        root->outFileNames(QStringLiteral("OBJ"), files);
        QVERIFY(files.isEmpty());
        child(0)->setState(QAStNode::ReportOnly);
        root->outFileNames(QStringLiteral("OBJ"), files);
        QCOMPARE(files, expected);

        root->clean();
        for (const QString& file : expected)
            QVERIFY2(!QFile::exists(file), qPrintable(file));
        QVERIFY(child(0)->outFileNameMap().isEmpty());
        QVERIFY(host.consoleText(0).contains(QLatin1String("root: Cleaning...\n")));

        // A clean deletes the current configuration's files only, also when
        // the hash of its name (1 for "KJJJ") begins the other's (1246382666).
        QFile other(startDirectory + QStringLiteral("/other.o"));
        QVERIFY(other.open(QIODevice::WriteOnly));
        child(0)->addOutFileName(QStringLiteral("OBJ"), other.fileName());
        root->addConfiguration(QStringLiteral("KJJJ"));
        root->setCurrentConfiguration(QStringLiteral("KJJJ"));
        root->clean();
        QVERIFY(other.exists());
    }

    void stopDuringDeepRunReachesTheScript()
    {
        root = new TestNode(QStringLiteral("root"));
        QAStData* parent = root;
        for (int level = 0; level < 4; ++level)
            parent = new TestNode(QStringLiteral("level%1").arg(level), parent);
        auto* leaf = new TestNode(QStringLiteral("wait"), parent);
        leaf->setPerlScriptAfterChild(script);
        root->rebuild();
        QTRY_VERIFY_WITH_TIMEOUT(host.consoleText(0).contains(QLatin1String("waiting")), 10000);
        const qint64 pid = leaf->runningProcess()->pid();
        root->stop();
        runToEnd(root);
        for (QAStData* node = leaf; node; node = node->parent())
            QCOMPARE(node->executionStatus(), 2);
        QVERIFY(host.consoleText(0).contains(QLatin1String("Stop: ")));
        QVERIFY(!leaf->runningProcess());
        QTRY_VERIFY_WITH_TIMEOUT(::kill(pid_t(pid), 0) != 0, 5000);
        QCOMPARE(QDir::currentPath(), startDirectory);
    }

    void wideAndDeepRunsComplete_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("depth");
        QTest::addColumn<bool>("forced");
        QTest::newRow("10000 siblings up to date") << 10000 << 1 << false;
        QTest::newRow("10000 siblings each built without a script") << 10000 << 1 << true;
        QTest::newRow("a chain 1000 deep built without a script") << 1 << 1000 << true;
    }
    void wideAndDeepRunsComplete()
    {
        QFETCH(int, width);
        QFETCH(int, depth);
        QFETCH(bool, forced);
        root = new TestNode(QStringLiteral("root"));
        QList<TestNode*> nodes;
        QAStData* parent = root;
        for (int level = 0; level < depth; ++level) {
            for (int i = 0; i < width; ++i)
                nodes << new TestNode(QStringLiteral("n%1_%2").arg(level).arg(i), parent);
            parent = nodes.last();
        }
        root->setForceRebuild(true);
        for (TestNode* node : nodes)
            node->setForceRebuild(forced);
        root->build();
        runToEnd(root);
        QCOMPARE(root->finished, 1);
        for (TestNode* node : nodes)
            QCOMPARE(node->finished, forced ? 1 : 0);
        QCOMPARE(QDir::currentPath(), startDirectory);
        // A settings change reaches the whole tree, and each node once.
        TestNode::events.clear();
        root->settingsCommited();
        QCOMPARE(TestNode::events.size(), nodes.size() + 1);
    }

    void executionAsksBeforeRebuilding_data()
    {
        QTest::addColumn<bool>("batch");
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("flag");
        QTest::addColumn<QString>("console");
        QTest::newRow("cancel ends the run") << false << int(QMessageBox::Cancel) << 0x10 << "";
        QTest::newRow("no executes without building") << false << int(QMessageBox::No) << 0x10 << "";
        QTest::newRow("no step selected")
            << false << int(QMessageBox::No) << 0 << "root: no execution step is selected\n";
        QTest::newRow("yes rebuilds") << false << int(QMessageBox::Yes) << 0x10 << "step a step root";
        // The scripts of a batch run write to standard error, not to the console.
        QTest::newRow("a batch run rebuilds without asking") << true << int(QMessageBox::Cancel) << 0x10 << "";
    }
    void executionAsksBeforeRebuilding()
    {
        QFETCH(bool, batch);
        QFETCH(int, answer);
        QFETCH(int, flag);
        QFETCH(QString, console);
        makeTree({"a"}, true);
        root->executable = true;
        root->flag = flag;
        child(0)->flag = flag;
        root->setForceRebuild(true);
        host.boxAnswer = answer;
        QAStProject::setModeBatch(batch);
        root->execute();
        runToEnd(root);
        host.boxAnswer = 0;
        const bool rebuilt = batch || answer == QMessageBox::Yes;
        QCOMPARE(child(0)->executionStatus(), rebuilt ? 0 : 5);
        QCOMPARE(root->isForceRebuild(), !rebuilt && answer == QMessageBox::Cancel);
        QCOMPARE(host.boxes.size(), batch ? 0 : 1);
        if (batch)
            return;
        QVERIFY(host.boxes.first().startsWith(QLatin1String("root execution|You have changed")));
        QString text = host.consoleText(0);
        if (console.startsWith(QLatin1String("step")))
            text = text.simplified().remove(QRegularExpression(" ?Success"));
        QCOMPARE(text, console);
    }

    // Each node below takes the change through its own operation, an
    // external command aside, though what stands below one is reached.
    void settingsChangeReachesEveryNodeOnce()
    {
        makeTree({"a", "b"}, false);
        auto* user = new QAStNodeUser(QStringLiteral("user"), child(0));
        new TestNode(QStringLiteral("deep"), new TestNode(QStringLiteral("inner"), child(0)));
        new TestNode(QStringLiteral("under the command"), user);
        root->settingsCommited();
        QCOMPARE(TestNode::events, (QStringList{"commit root", "commit a", "commit inner", "commit deep",
                                                "commit under the command", "commit b"}));
        for (QAStData* node : root->childrenOfClass("QAStNode", true))
            QCOMPARE(static_cast<QAStNode*>(node)->isForceRebuild(), node != user);
    }

    // A group's own script decides its status: a failed child does not stop
    // the group, and its script runs with no child at all. Without coverage
    // its environment holds no coverage or trace lists.
    void groupRunsItsScriptAfterItsChildren_data()
    {
        QTest::addColumn<QStringList>("children");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<int>("statusBeforeScript");
        QTest::newRow("empty group") << QStringList() << "group: G children: RODFILES: 0 file(s)" << 5;
        QTest::newRow("a failed child does not stop the group")
            << QStringList{"a", "fail", "rod"}
            << "step a step fail step rod group: G children: a, fail, rod RODFILES: 1 file(s) /results/rod.rod" << 1;
    }
    void groupRunsItsScriptAfterItsChildren()
    {
        QFETCH(QStringList, children);
        QFETCH(QString, steps);
        QAStProject project(QStringLiteral("proj"), QPixmap());
        auto* group = new WatchedGroup(QStringLiteral("G"), &project);
        QAStData* after = nullptr;
        for (const QString& name : children) {
            auto* child = new TestNode(name, group, after);
            child->setPerlScriptAfterChild(script);
            after = child;
        }
        group->rebuild();
        runToEnd(group);
        QTEST(group->statusBeforeScript, "statusBeforeScript");
        QCOMPARE(group->executionStatus(), int(QAStData::ExecutionSuccess));
        const QString console = host.consoleText(0).simplified();
        QVERIFY2(console.contains(steps), qPrintable(console));
        QVERIFY(QDir(startDirectory).entryList({"environment_node*"}).isEmpty());
    }

    // The result list reaches the whole subtree, while the names are the
    // direct children's.
    void groupEnvironmentListsFilesAndChildNames()
    {
        QAStProject project(QStringLiteral("proj"), QPixmap());
        auto* group = new QAStNodeGroup(QStringLiteral("G"), &project);
        auto* inner = new QAStNodeGroup(QStringLiteral("inner"), group);
        new TestNode(QStringLiteral("it's"), group, inner);
        (new TestNode(QStringLiteral("deep"), inner))->addOutFileName(QStringLiteral("ROD"), QStringLiteral("/r/deep.rod"));
        QString text;
        QTextStream stream(&text);
        group->generateEnv(stream);
        stream.flush();
        QVERIFY2(text.contains(QLatin1String("\n@RODFILES=('/r/deep.rod');\n@NODENAMES=('inner','it\\'s');\n")),
                 qPrintable(text));
    }

    void hashCodeIgnoresCase()
    {
        QCOMPARE(QAStNode::_hashCode(QStringLiteral("ab")), QAStNode::_hashCode(QStringLiteral("AB")));
        QCOMPARE(QAStNode::_hashCode(QString()), QString::number(0x4A4A4A4Au));
        // Four characters fill the four bytes, the fifth starts again at the lowest.
        QCOMPARE(QAStNode::_hashCode(QStringLiteral("\x01\x01\x01\x01\x01")),
                 QString::number(0x4A4A4A4Au ^ 0x01010101u ^ 0x01u));
    }

    // The first moves no higher, the last no lower.
    void movesKeepTheChainWhole()
    {
        makeTree({"a", "b", "c"}, false);
        QAStNode* c = child(2);
        for (const QStringList& order : {QStringList{"a", "c", "b"}, {"c", "a", "b"}, {"c", "a", "b"}}) {
            c->moveUp();
            QCOMPARE(childNames(root), order);
        }
        for (int i = 0; i < 3; ++i)
            c->moveDown();
        QCOMPARE(childNames(root), QStringList({"a", "b", "c"}));
        QCOMPARE(root->last(), c);
        QCOMPARE(c->previous()->next(), c);
    }

    void deletingTheRootDuringItsRunFreesTheNextRun()
    {
        makeTree({"wait"}, true);
        root->rebuild();
        QTRY_VERIFY_WITH_TIMEOUT(host.consoleText(0).contains(QLatin1String("waiting")), 10000);
        delete root;
        root = nullptr;
        QVERIFY(!QAStNode::isRunConnected());
        QDir::setCurrent(startDirectory);
        makeTree({"a"}, true);
        root->rebuild();
        runToEnd(root);
        QVERIFY(host.consoleText(0).endsWith(QLatin1String("\nSuccess\n")));
    }
};

QTEST_MAIN(tst_NodeStateMachine)
#include "tst_nodestatemachine.moc"
