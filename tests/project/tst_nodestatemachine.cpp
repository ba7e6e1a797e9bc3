#include "withoutmenus.h"
#include "qaprocess.h"
#include "qastnode.h"
#include "recordinghost.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QRegularExpression>
#include <QTest>

#include <csignal>

namespace {

class TestNode : public WithoutMenus<QAStNode>
{
    Q_OBJECT
public:
    TestNode(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr)
        : WithoutMenus(name, QPixmap(), parent, after)
    {
        connect(this, &QAStNode::buildExecuteFinished, this, [this] { ++finished; });
    }
    int executionFlag() override { return flag; }
    bool isNodeExecutable() override { return executable; }

    int flag = 0;
    bool executable = false;
    int finished = 0;
};

// Prints the node's name; writes the files named in its OUT_FILES variable and
// reports them in the log of produced files; exits with the code EXIT_CODE of
// its environment, or waits to be stopped when that is "wait".
const char* const stepScript = R"(
my ($env, $name) = @ARGV;
my ($quid) = $env =~ /environment_node(\d+)\.pl$/;
open(my $in, '<', $env) or die "no environment\n";
my $text = do { local $/; <$in> };
print "step $name\n";
if ($name =~ /^out/) {
    open(my $log, '>', "intermediates_files$quid.log") or die;
    for my $f ("$name.o", "$name.lst") {
        open(my $o, '>', $f) or die; close($o);
        print $log "OBJ $f\n";
    }
    close($log);
}
if ($name =~ /^wait/) { $| = 1; print "waiting\n"; sleep 60; }
exit($name =~ /^fail/ ? 1 : 0);
)";

} // namespace

class tst_NodeStateMachine : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void buildRunsChildrenThenParentAndCombinesStatuses_data();
    void buildRunsChildrenThenParentAndCombinesStatuses();
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
    QDir::setCurrent(startDirectory);
}

void tst_NodeStateMachine::cleanup()
{
    delete root;
    root = nullptr;
    QVERIFY(!QAStNode::isRunConnected());
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
}

void tst_NodeStateMachine::executionAsksBeforeRebuilding_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<int>("flag");
    QTest::addColumn<QString>("console");
    QTest::newRow("cancel ends the run") << int(QMessageBox::Cancel) << 0x10 << "";
    QTest::newRow("no executes without building") << int(QMessageBox::No) << 0x10 << "";
    QTest::newRow("no step selected")
        << int(QMessageBox::No) << 0 << "root: no execution step is selected\n";
    QTest::newRow("yes rebuilds") << int(QMessageBox::Yes) << 0x10 << "step a step root";
}

void tst_NodeStateMachine::executionAsksBeforeRebuilding()
{
    QFETCH(int, answer);
    QFETCH(int, flag);
    QFETCH(QString, console);
    makeTree({"a"}, true);
    root->executable = true;
    root->flag = flag;
    static_cast<TestNode*>(root->children().first())->flag = flag;
    root->setForceRebuild(true);
    host.boxAnswer = answer;
    root->execute();
    runToEnd(root);
    host.boxAnswer = 0;
    QCOMPARE(host.boxes.size(), 1);
    QVERIFY(host.boxes.first().startsWith(QLatin1String("root execution|You have changed")));
    QString text = host.consoleText(0);
    if (console.startsWith(QLatin1String("step")))
        text = text.simplified().remove(QRegularExpression(" ?Success"));
    QCOMPARE(text, console);
    QCOMPARE(root->isForceRebuild(), answer == QMessageBox::Cancel);
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
