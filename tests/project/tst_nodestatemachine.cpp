#include "withoutmenus.h"
#include "qaprocess.h"
#include "qastconfiguration.h"
#include "qastnode.h"
#include "qastproject.h"
#include "recordinghost.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QRegularExpression>
#include <QTest>

#include <csignal>

namespace {

// Its steps, scripts and the statuses it takes from its children go to
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
// files named after it and reports them in the log of produced files; fails,
// waits to be stopped, or waits for the file "<name>.go", by its name.
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
if ($name =~ /^wait/) { print "waiting\n"; sleep 60; }
if ($name =~ /^hold/) {
    print "holding\n";
    for (1 .. 1000) { last if -e "$name.go"; select(undef, undef, undef, 0.01); }
    exit 4 unless -e "$name.go";
}
exit($name =~ /^fail/ ? 1 : 0);
)";

} // namespace

// An external command: a settings change passes it by.
class QAStNodeUser : public TestNode
{
    Q_OBJECT
public:
    using TestNode::TestNode;
};

class tst_NodeStateMachine : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void buildRunsChildrenThenParentAndCombinesStatuses_data();
    void buildRunsChildrenThenParentAndCombinesStatuses();
    void backgroundChildIsHeardOnce_data();
    void backgroundChildIsHeardOnce();
    void buildStepAsksForNoExecution_data();
    void buildStepAsksForNoExecution();
    void upToDateChildrenMakeTheParentSucceed();
    void excludedNodeEndsAtOnce();
    void childStatusesCombine_data();
    void childStatusesCombine();
    void logFileFeedsOutputMapAndCleanDeletesThem();
    void stopDuringDeepRunReachesTheScript();
    void wideAndDeepRunsComplete_data();
    void wideAndDeepRunsComplete();
    void executionAsksBeforeRebuilding_data();
    void executionAsksBeforeRebuilding();
    void settingsChangeReachesEveryNodeOnce();
    void hashCodeIgnoresCase();
    void movesKeepTheChainWhole();
    void deletingTheRootDuringItsRunFreesTheNextRun();
    void reportNamesWithoutAConfiguration();

private:
    TestNode* makeTree(const QStringList& childNames, bool withScripts);
    void runToEnd(TestNode* root);

    RecordingHost host;
    QTemporaryDir dir;
    QString script;
    QString startDirectory;
    TestNode* root = nullptr;
};

void tst_NodeStateMachine::initTestCase()
{
    installProcessLeakGuard();
    QAStData::initialize(&host);
    host.perl = QStringList{QStringLiteral("perl")};
    script = dir.filePath(QStringLiteral("step.pl"));
    QFile file(script);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(stepScript);
    startDirectory = dir.filePath(QStringLiteral("elsewhere"));
    QVERIFY(QDir().mkpath(startDirectory));
}

void tst_NodeStateMachine::init()
{
    host.messages.clear();
    host.boxes.clear();
    TestNode::events.clear();
    QDir::setCurrent(startDirectory);
}

void tst_NodeStateMachine::cleanup()
{
    delete root;
    root = nullptr;
    QVERIFY(!QAStNode::isRunConnected());
    QAStProject::setModeBatch(false);
}

TestNode* tst_NodeStateMachine::makeTree(const QStringList& childNames, bool withScripts)
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

void tst_NodeStateMachine::runToEnd(TestNode* node)
{
    QTRY_VERIFY_WITH_TIMEOUT(!QAStNode::isRunConnected() && !node->isRunning(), 20000);
}

void tst_NodeStateMachine::buildRunsChildrenThenParentAndCombinesStatuses_data()
{
    QTest::addColumn<QStringList>("children");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("steps");
    QTest::newRow("all succeed, parent last") << QStringList{"a", "b"} << 0 << "step a step b step root";
    QTest::newRow("a failed child stops the parent")
        << QStringList{"a", "fail", "c"} << 1 << "step a step fail";
}

void tst_NodeStateMachine::buildRunsChildrenThenParentAndCombinesStatuses()
{
    QFETCH(QStringList, children);
    QFETCH(int, status);
    QFETCH(QString, steps);
    makeTree(children, true);
    root->rebuild();
    runToEnd(root);
    QCOMPARE(root->executionStatus(), status);
    QCOMPARE(host.consoleText(0).contains(QLatin1String("\nSuccess\n")), status == 0);
    QCOMPARE(host.consoleText(0).simplified().remove(QRegularExpression(" ?\\n?Success")), steps);
    QCOMPARE(root->finished, 1);
    for (QAStNode* child : root->children())
        QVERIFY(child->executionStatus() == 5 || static_cast<TestNode*>(child)->finished == 1);
    QCOMPARE(QDir::currentPath(), startDirectory);
    QVERIFY(QDir(startDirectory).entryList({"environment_node*"}).isEmpty());
}

void tst_NodeStateMachine::backgroundChildIsHeardOnce_data()
{
    QTest::addColumn<int>("flag");
    QTest::newRow("a background child with no execution step") << 0;
    QTest::newRow("a background child whose execution ends at once") << 0x10;
}

// A background child ends its build twice over when its execution is over at
// once; the parent must still take the next child only after it, and wait
// for that one before it goes on.
void tst_NodeStateMachine::backgroundChildIsHeardOnce()
{
    QFETCH(int, flag);
    makeTree({"back", "hold", "last"}, true);
    auto* back = static_cast<TestNode*>(root->children().first());
    back->backgroundAttribute() = true;
    back->executable = true;
    back->flag = flag;
    root->rebuild();
    QTRY_VERIFY_WITH_TIMEOUT(host.consoleText(0).contains(QLatin1String("holding")), 10000);
    QFile go(startDirectory + QStringLiteral("/hold.go"));
    QVERIFY(go.open(QIODevice::WriteOnly));
    runToEnd(root);
    go.remove();
    QCOMPARE(TestNode::events,
             (QStringList{"start back", "end back", "advance back", "start hold", "end hold", "advance hold",
                          "start last", "end last", "advance last", "start root", "end root", "done"}));
    QVERIFY(host.consoleText(0).endsWith(QLatin1String("\nSuccess\n")));
}

void tst_NodeStateMachine::buildStepAsksForNoExecution_data()
{
    QTest::addColumn<bool>("held");
    QTest::newRow("the node holds its own flag") << true;
    QTest::newRow("the node inherits its flag") << false;
}

// The script after the children builds; the execution steps stay out of its
// environment, and the configuration is as it was once the script runs.
void tst_NodeStateMachine::buildStepAsksForNoExecution()
{
    QFETCH(bool, held);
    makeTree({"a"}, true);
    auto* a = static_cast<TestNode*>(root->children().first());
    root->addConfiguration(QStringLiteral("Debug"));
    root->setCurrentConfiguration(QStringLiteral("Debug"));
    QAStConfiguration* own = a->configuration(QStringLiteral("Debug"));
    (held ? own : root->configuration(QStringLiteral("Debug")))->setProperty(QStringLiteral("executionFlag"), 0x31);
    QSignalSpy started(a, &QAStData::perlScriptStarted);
    root->rebuild();
    QTRY_COMPARE_WITH_TIMEOUT(started.count(), 1, 10000);
    QCOMPARE(own->hasProperty(QStringLiteral("executionFlag")), held);
    QCOMPARE(a->executionFlag(), 0x31);
    runToEnd(root);
    QVERIFY2(host.consoleText(0).contains(QLatin1String("stage a c\n")), qPrintable(host.consoleText(0)));
}

void tst_NodeStateMachine::upToDateChildrenMakeTheParentSucceed()
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

void tst_NodeStateMachine::excludedNodeEndsAtOnce()
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

void tst_NodeStateMachine::childStatusesCombine_data()
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

void tst_NodeStateMachine::childStatusesCombine()
{
    QFETCH(int, parent);
    QFETCH(int, child);
    QFETCH(int, combined);
    makeTree({"c"}, false);
    root->setExecutionStatus(parent);
    root->children().first()->setExecutionStatus(child);
    root->buildChildFinishEvent(root->children().first());
    QCOMPARE(root->executionStatus(), combined);
}

void tst_NodeStateMachine::logFileFeedsOutputMapAndCleanDeletesThem()
{
    makeTree({"out1"}, true);
    QAStNode* child = root->children().first();
    root->rebuild();
    runToEnd(root);
    QCOMPARE(root->executionStatus(), 0);
    QStringList files;
    root->outFileNames(QStringLiteral("obj"), files);
    // Scripts run in the node's directory, which is the process's own here.
    const QStringList expected{startDirectory + "/out1.o", startDirectory + "/out1.lst"};
    QCOMPARE(files, expected);
    QVERIFY(!QFile::exists(child->logFilename()));

    child->setState(QAStNode::Excluded);
    files.clear();
    root->outFileNames(QStringLiteral("OBJ"), files);
    QVERIFY(files.isEmpty());
    child->setState(QAStNode::ReportOnly);
    root->outFileNames(QStringLiteral("OBJ"), files);
    QCOMPARE(files, expected);

    root->clean();
    for (const QString& file : expected)
        QVERIFY2(!QFile::exists(file), qPrintable(file));
    QVERIFY(child->outFileNameMap().isEmpty());
    QVERIFY(host.consoleText(0).contains(QLatin1String("root: Cleaning...\n")));

    // A clean deletes the current configuration's files only, also when the
    // hash of its name (1 for "KJJJ") begins the other's (1246382666).
    QFile other(startDirectory + QStringLiteral("/other.o"));
    QVERIFY(other.open(QIODevice::WriteOnly));
    child->addOutFileName(QStringLiteral("OBJ"), other.fileName());
    root->addConfiguration(QStringLiteral("KJJJ"));
    root->setCurrentConfiguration(QStringLiteral("KJJJ"));
    root->clean();
    QVERIFY(other.exists());
}

void tst_NodeStateMachine::stopDuringDeepRunReachesTheScript()
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
    QCOMPARE(leaf->executionStatus(), 2);
    for (QAStData* node = leaf; node; node = node->parent())
        QCOMPARE(node->executionStatus(), 2);
    QVERIFY(host.consoleText(0).contains(QLatin1String("Stop: ")));
    QVERIFY(!leaf->runningProcess());
    QTRY_VERIFY_WITH_TIMEOUT(::kill(pid_t(pid), 0) != 0, 5000);
    QCOMPARE(QDir::currentPath(), startDirectory);
}

void tst_NodeStateMachine::wideAndDeepRunsComplete_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("depth");
    QTest::addColumn<bool>("forced");
    QTest::newRow("10000 siblings up to date") << 10000 << 1 << false;
    QTest::newRow("10000 siblings each built without a script") << 10000 << 1 << true;
    QTest::newRow("a chain 1000 deep built without a script") << 1 << 1000 << true;
}

void tst_NodeStateMachine::wideAndDeepRunsComplete()
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
    if (forced) {
        for (TestNode* node : nodes)
            QCOMPARE(node->finished, 1);
    }
    QCOMPARE(QDir::currentPath(), startDirectory);
    // A settings change reaches the whole tree, and each node once.
    TestNode::events.clear();
    root->settingsCommited();
    QCOMPARE(TestNode::events.size(), nodes.size() + 1);
}

void tst_NodeStateMachine::executionAsksBeforeRebuilding_data()
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
    // Script output of a batch run goes to standard error, not to the console.
    QTest::newRow("a batch run rebuilds without asking") << true << int(QMessageBox::Cancel) << 0x10 << "";
}

void tst_NodeStateMachine::executionAsksBeforeRebuilding()
{
    QFETCH(bool, batch);
    QFETCH(int, answer);
    QFETCH(int, flag);
    QFETCH(QString, console);
    makeTree({"a"}, true);
    root->executable = true;
    root->flag = flag;
    static_cast<TestNode*>(root->children().first())->flag = flag;
    root->setForceRebuild(true);
    host.boxAnswer = answer;
    QAStProject::setModeBatch(batch);
    root->execute();
    runToEnd(root);
    host.boxAnswer = 0;
    const bool rebuilt = batch || answer == QMessageBox::Yes;
    QCOMPARE(root->children().first()->executionStatus(), rebuilt ? 0 : 5);
    QCOMPARE(root->isForceRebuild(), !rebuilt && answer == QMessageBox::Cancel);
    if (batch) {
        QVERIFY(host.boxes.isEmpty());
        return;
    }
    QCOMPARE(host.boxes.size(), 1);
    QVERIFY(host.boxes.first().startsWith(QLatin1String("root execution|You have changed")));
    QString text = host.consoleText(0);
    if (console.startsWith(QLatin1String("step")))
        text = text.simplified().remove(QRegularExpression(" ?Success"));
    QCOMPARE(text, console);
}

// Each node below takes the change through its own operation, an external
// command aside, though what stands below one is reached.
void tst_NodeStateMachine::settingsChangeReachesEveryNodeOnce()
{
    makeTree({"a", "b"}, false);
    auto* user = new QAStNodeUser(QStringLiteral("user"), root->children().first());
    new TestNode(QStringLiteral("deep"), new TestNode(QStringLiteral("inner"), root->children().first()));
    new TestNode(QStringLiteral("under the command"), user);
    root->settingsCommited();
    QCOMPARE(TestNode::events,
             (QStringList{"commit root", "commit a", "commit inner", "commit deep", "commit under the command",
                          "commit b"}));
    QVERIFY(!user->isForceRebuild());
    for (QAStData* node : root->childrenOfClass("QAStNode", true))
        QCOMPARE(static_cast<QAStNode*>(node)->isForceRebuild(), node != user);
}

void tst_NodeStateMachine::hashCodeIgnoresCase()
{
    QCOMPARE(QAStNode::_hashCode(QStringLiteral("ab")), QAStNode::_hashCode(QStringLiteral("AB")));
    QCOMPARE(QAStNode::_hashCode(QString()), QString::number(0x4A4A4A4Au));
    // Four characters fill the four bytes, the fifth starts again at the lowest.
    QCOMPARE(QAStNode::_hashCode(QStringLiteral("\x01\x01\x01\x01\x01")),
             QString::number(0x4A4A4A4Au ^ 0x01010101u ^ 0x01u));
}

void tst_NodeStateMachine::movesKeepTheChainWhole()
{
    makeTree({"a", "b", "c"}, false);
    auto names = [this] {
        QStringList list;
        for (QAStNode* node : root->children())
            list << node->name();
        return list;
    };
    QAStNode* c = root->children().last();
    c->moveUp();
    QCOMPARE(names(), QStringList({"a", "c", "b"}));
    c->moveUp();
    c->moveUp();
    QCOMPARE(names(), QStringList({"c", "a", "b"}));
    c->moveDown();
    c->moveDown();
    c->moveDown();
    QCOMPARE(names(), QStringList({"a", "b", "c"}));
    QCOMPARE(root->last(), c);
    QCOMPARE(c->previous()->next(), c);
}

void tst_NodeStateMachine::deletingTheRootDuringItsRunFreesTheNextRun()
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

void tst_NodeStateMachine::reportNamesWithoutAConfiguration()
{
    makeTree({}, false);
    const QString here = QDir::currentPath() + QLatin1Char('/');
    QCOMPARE(root->tdfFile(), here + "tracer.tdf");
    QCOMPARE(root->tioFile(), here + "zentacov.tio");
    QCOMPARE(root->tpfFile(), here + "memvexlt.tpf");
    QCOMPARE(root->logFilename(), here + QStringLiteral("intermediates_files%1.log").arg(root->getQuid()));
}

QTEST_MAIN(tst_NodeStateMachine)
#include "tst_nodestatemachine.moc"
