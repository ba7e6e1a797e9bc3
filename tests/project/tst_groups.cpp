#include "withoutmenus.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "recordinghost.h"

#include <QDir>
#include <QFile>
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

    RecordingHost host;
    QTemporaryDir dir;
    QString script;
    QAStProject* project = nullptr;

private slots:
    void initTestCase()
    {
        installProcessLeakGuard();
        QAStData::initialize(&host);
        script = dir.filePath(QStringLiteral("step.pl"));
        QFile file(script);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(stepScript);
        QDir::setCurrent(dir.path());
    }
    void init()
    {
        host.messages.clear();
        project = new QAStProject(QStringLiteral("proj"), QPixmap());
    }
    void cleanup()
    {
        delete project;
        project = nullptr;
    }

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
        QFETCH(int, statusBeforeScript);
        auto* group = new WatchedGroup(QStringLiteral("G"), project);
        QAStData* after = nullptr;
        for (const QString& name : children) {
            auto* child = new StepNode(name, group, after);
            child->setPerlScriptAfterChild(script);
            after = child;
        }
        group->rebuild();
        QTRY_VERIFY_WITH_TIMEOUT(!QAStNode::isRunConnected() && !group->isRunning(), 20000);
        QCOMPARE(group->statusBeforeScript, statusBeforeScript);
        // The group's script decides the group's status, a failed child or not.
        QCOMPARE(group->executionStatus(), int(QAStData::ExecutionSuccess));
        const QString console = host.consoleText(0).simplified();
        QVERIFY2(console.contains(steps), qPrintable(console));
        QVERIFY(QDir(dir.path()).entryList({"environment_node*"}).isEmpty());
    }

    void groupEnvironmentListsFilesAndChildNames()
    {
        auto* group = new QAStNodeGroup(QStringLiteral("G"), project);
        auto* inner = new QAStNodeGroup(QStringLiteral("inner"), group);
        auto* quoted = new StepNode(QStringLiteral("it's"), group, inner);
        auto* deep = new StepNode(QStringLiteral("deep"), inner);
        deep->addOutFileName(QStringLiteral("ROD"), QStringLiteral("/r/deep.rod"));
        quoted->addOutFileName(QStringLiteral("FDC"), QStringLiteral("/r/q.fdc"));
        const auto generated = [](QAStData* data) {
            QString text;
            QTextStream stream(&text);
            data->generateEnv(stream);
            stream.flush();
            return text;
        };
        // Coverage is not selected: no coverage or trace lists, yet the result
        // list reaches the whole subtree while the names are the direct children.
        const QString text = generated(group);
        QVERIFY(!text.contains(QLatin1String("@FDCFILES")));
        QVERIFY(!text.contains(QLatin1String("@TIOFILES")));
        QVERIFY(text.contains(QLatin1String("@RODFILES=('/r/deep.rod');\n")));
        QVERIFY(text.contains(QLatin1String("@NODENAMES=('inner','it\\'s');\n")));
        deep->clearOutFileNames();
        QVERIFY(generated(inner).contains(QLatin1String("@RODFILES=();\n@NODENAMES=('deep');\n")));
    }
};

QTEST_MAIN(tst_Groups)
#include "tst_groups.moc"
