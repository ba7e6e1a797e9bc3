#include "qaprocess.h"
#include "qastdata.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QBuffer>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

#include <cerrno>
#include <csignal>
#include <memory>
#include <sys/wait.h>

namespace {

// Stops like a node without its stop script: TERM to the child, then the
// library's own kill. The child first finishes its TERM handler (it is not
// reaped here), so that an exit 0 is what the library receives.
class StoppableData : public TestData
{
public:
    using TestData::TestData;
    void launchStopProcess(qint64 pid) override
    {
        stoppedPids << pid;
        ::kill(pid_t(pid), SIGTERM);
        siginfo_t info {};
        ::waitid(P_PID, id_t(pid), &info, WEXITED | WNOWAIT | __WALL);
        executeAfterStopProcess();
    }
    QList<qint64> stoppedPids;
};

// Text of one kind that reached one console; every batch must be whole lines.
QString received(const RecordingHost& host, int console, bool errors)
{
    QString text;
    for (const RecordingHost::Message& message : host.messages) {
        if (message.console != console || message.isError != errors)
            continue;
        if (!message.text.endsWith(QLatin1Char('\n')))
            return QStringLiteral("<batch without line end: %1>").arg(message.text);
        text += message.text;
    }
    return text;
}

} // namespace

class tst_ScriptLaunching : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QTemporaryDir dir;

    QString script(const QString& name, const QByteArray& body)
    {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::WriteOnly))
            return QString();
        file.write("#!" + QStandardPaths::findExecutable("perl").toLocal8Bit()
                   + "\nuse strict;\nuse warnings;\n$| = 1;\n" + body);
        return file.fileName();
    }

    // The order every node follows: environment file, its variables, launch.
    void launch(QAStData& data, const QString& path, bool asynchronous, bool withEnvironment = true,
                int console = QAStData::BuildConsole)
    {
        QTextStream environment;
        if (withEnvironment) {
            QVERIFY(data.createEnvironmentFile(environment));
            data.generateEnv(environment);
        }
        data.executePerlScript(path, dir.path(), withEnvironment ? &environment : nullptr,
                               asynchronous, QAStData::Console(console));
    }

private slots:
    void initTestCase()
    {
        installProcessLeakGuard();
        QVERIFY(dir.isValid());
        // Objects without a project write their environment file here.
        QVERIFY(QDir::setCurrent(dir.path()));
        QAStData::initialize(&host);
    }
    void init()
    {
        host.messages.clear();
        host.perl = RecordingHost().perl;
    }
    void cleanup() { QCOMPARE(QAProcess::runningCount(), 0); }

    // Output reaches the console in whole lines, a line written in two parts
    // too; the exit status becomes the status, and the file goes at the end.
    void outputAndEndReachTheObject_data()
    {
        QTest::addColumn<QByteArray>("ending");
        QTest::addColumn<bool>("asynchronous");
        QTest::addColumn<int>("console");
        QTest::addColumn<int>("status");
        for (const bool asynchronous : {true, false}) {
            const char* mode = asynchronous ? "asynchronous" : "synchronous";
            const int console = asynchronous ? QAStData::BuildConsole : QAStData::MessageConsole;
            QTest::addRow("exit 0, %s", mode) << QByteArray("exit 0;") << asynchronous << console << 0;
            QTest::addRow("exit 7, %s", mode) << QByteArray("exit 7;") << asynchronous << console << 1;
            QTest::addRow("crash, %s", mode) << QByteArray("kill 'KILL', $$;") << asynchronous << console << 1;
        }
    }
    void outputAndEndReachTheObject()
    {
        QFETCH(QByteArray, ending);
        QFETCH(bool, asynchronous);
        QFETCH(int, console);
        QFETCH(int, status);
        TestData data(QStringLiteral("node"));
        QSignalSpy started(&data, &QAStData::perlScriptStarted);
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, script(QStringLiteral("output.pl"), "print \"first\\nsecond\\n\";\n"
                                "print STDERR \"oops\\n\";\n"
                                "print 'par'; select(undef, undef, undef, 0.05); print \"tial\\n\";\n"
                                "print 'no line end';\n" + ending),
               asynchronous, true, console);
        QCOMPARE(started.count(), 1);
        if (asynchronous) {
            QCOMPARE(data.executionStatus(), int(QAStData::ExecutionRunning));
            QVERIFY(data.runningProcess());
            QVERIFY(QFile::exists(data.environmentFileName()));
            QVERIFY(terminated.wait(10000));
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(terminated.count(), 1);
        QCOMPARE(data.executionStatus(), status);
        QVERIFY(!data.runningProcess());
        QVERIFY(!QFile::exists(data.environmentFileName()));
        QCOMPARE(received(host, console, false), QStringLiteral("first\nsecond\npartial\nno line end\n"));
        QCOMPARE(received(host, console, true), QStringLiteral("oops\n"));
        QCOMPARE(host.consoleText(1 - console), QString());
    }

    void scriptGetsEnvironmentFileAndName_data()
    {
        QTest::addColumn<bool>("withEnvironment");
        QTest::addColumn<QString>("name");
        QTest::newRow("environment file and plain name") << true << "node";
        QTest::newRow("a name with blanks is one argument") << true << " my  test node ";
        QTest::newRow("no environment: script and name end the command") << false << "a b";
    }
    void scriptGetsEnvironmentFileAndName()
    {
        QFETCH(bool, withEnvironment);
        QFETCH(QString, name);
        // The frame's lines end in a line end; the launch adds "\n1;\n" behind them.
        const QString path = script(QStringLiteral("args.pl"),
            "print \"script=[$0]\\n\";\n"
            "print \"arg=[$_]\\n\" for @ARGV;\n"
            "exit 0 unless @ARGV == 2;\n"
            "open my $fh, '<', $ARGV[0] or die \"cannot read $ARGV[0]\\n\";\n"
            "my $text = do { local $/; <$fh> };\n"
            "print \"ends in a true value\\n\" if $text =~ /;\\n\\n1;\\n\\z/;\n"
            "print \"loads\\n\" if do $ARGV[0];\n");
        TestData data(name);
        const QString environment = data.environmentFileName();
        QCOMPARE(environment, QDir::current().filePath(
                                  QStringLiteral("environment_node%1.pl").arg(data.getQuid())));
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, path, true, withEnvironment);
        QVERIFY(terminated.wait(10000));
        QString expected = "script=[" + path + "]\n";
        if (withEnvironment)
            expected += "arg=[" + environment + "]\narg=[" + name + "]\nends in a true value\nloads\n";
        else
            expected += "arg=[" + name + "]\n";
        QCOMPARE(host.consoleText(QAStData::BuildConsole), expected);
        QCOMPARE(data.executionStatus(), 0);
        QVERIFY(!QFile::exists(environment));
    }

    void relativeScriptIsTakenFromScriptsDir()
    {
        TestData data(QStringLiteral("the node"));
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, QStringLiteral("Environment.pl"), true);
        QVERIFY(terminated.wait(10000));
        QCOMPARE(host.consoleText(QAStData::BuildConsole, true), QString());
        QVERIFY(host.consoleText(QAStData::BuildConsole).contains("object: the node\n"));
        QCOMPARE(data.executionStatus(), 0);
    }

    void emptyScriptNameIsNoLaunch()
    {
        TestData data(QStringLiteral("node"));
        data.setExecutionStatus(QAStData::ExecutionSuccess);
        QSignalSpy started(&data, &QAStData::perlScriptStarted);
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        QTextStream environment;
        QVERIFY(data.createEnvironmentFile(environment));
        data.executePerlScript(QString(), dir.path(), &environment, true);
        QCOMPARE(data.executionStatus(), int(QAStData::ExecutionNone));
        QCOMPARE(started.count() + terminated.count(), 0);
        QVERIFY(!data.runningProcess());
        std::unique_ptr<QIODevice> device(environment.device()); // still its owner's
        QVERIFY(device && device->isOpen());
        environment.setDevice(nullptr);
        QVERIFY(QFile::remove(data.environmentFileName()));
    }

    void secondLaunchDuringRunIsIgnored()
    {
        const QByteArray go = dir.filePath(QStringLiteral("go")).toLocal8Bit();
        const QString waiting = script(QStringLiteral("wait.pl"),
            "for (1 .. 1000) { last if -e '" + go + "'; select(undef, undef, undef, 0.01); }\n"
            "exit(-e '" + go + "' ? 0 : 4);\n");
        TestData data(QStringLiteral("node"));
        QSignalSpy started(&data, &QAStData::perlScriptStarted);
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, waiting, true);
        QAProcess* first = data.runningProcess();
        QVERIFY(first);

        // The second stream's device comes back untouched: not written, not
        // closed, and not deleted (the sanitizer sees a delete of this one).
        QBuffer secondFile;
        QVERIFY(secondFile.open(QIODevice::WriteOnly));
        QTextStream second(&secondFile);
        data.executePerlScript(script(QStringLiteral("other.pl"), "exit 7;"), dir.path(), &second, true);
        QFile(QString::fromLocal8Bit(go)).open(QIODevice::WriteOnly);
        QCOMPARE(second.device(), &secondFile);
        second.flush();
        QVERIFY(secondFile.isOpen() && secondFile.data().isEmpty());
        QCOMPARE(data.runningProcess(), first);
        QCOMPARE(started.count(), 1);
        QVERIFY(terminated.wait(10000));
        QCOMPARE(data.executionStatus(), 0); // the first script's end, not the second's
        QCOMPARE(terminated.count(), 1);
        QFile::remove(QString::fromLocal8Bit(go));
    }

    // The stop sets status 2 first: an exit 0 that follows (the script's own
    // TERM handler) must not overwrite it. A stop on the parent reaches the
    // running child only.
    void stopEndsWithStatusTwo()
    {
        StoppableData parent(QStringLiteral("parent"));
        auto* idle = new StoppableData(QStringLiteral("idle"), &parent);
        auto* child = new StoppableData(QStringLiteral("child"), &parent);
        QSignalSpy terminated(child, &QAStData::perlScriptTerminated);
        launch(*child, script(QStringLiteral("trap.pl"), "$SIG{TERM} = sub { exit 0 };\nprint \"ready\\n\";\n"
                                                         "select(undef, undef, undef, 10);\nexit 5;\n"),
               true);
        QVERIFY(child->runningProcess());
        QSignalSpy exited(child->runningProcess(), &QAProcess::exited);
        const qint64 pid = child->runningProcess()->pid();
        QTRY_VERIFY_WITH_TIMEOUT(host.consoleText(QAStData::BuildConsole).contains("ready"), 10000);

        parent.stop();
        QCOMPARE(child->stoppedPids, QList<qint64>{pid});
        QCOMPARE(child->executionStatus(), int(QAStData::ExecutionStopped));
        QVERIFY(terminated.wait(10000));
        QCOMPARE(exited.value(0), (QVariantList{true, 0}));
        QCOMPARE(child->executionStatus(), int(QAStData::ExecutionStopped));
        QVERIFY(idle->stoppedPids.isEmpty());
        QCOMPARE(idle->executionStatus(), int(QAStData::ExecutionNone));
        QTRY_VERIFY_WITH_TIMEOUT(::kill(pid_t(pid), 0) != 0 && errno == ESRCH, 5000);
    }

    // A command that cannot start fails at once, with one end signal, and
    // keeps its environment file. Without a host the interpreter command is
    // empty: only a script that starts by itself runs.
    void commandThatCannotStart_data()
    {
        QTest::addColumn<bool>("withHost");
        QTest::addColumn<bool>("asynchronous");
        QTest::addColumn<int>("console");
        QTest::addColumn<bool>("executable");
        QTest::addColumn<int>("status");
        QTest::newRow("a missing interpreter") << true << true << int(QAStData::BuildConsole) << false << 1;
        QTest::newRow("a missing interpreter, synchronous, on the message console")
            << true << false << int(QAStData::MessageConsole) << false << 1;
        QTest::newRow("no host: a plain script file cannot start")
            << false << true << int(QAStData::BuildConsole) << false << 1;
        QTest::newRow("no host: an executable script with its own #! line runs")
            << false << true << int(QAStData::BuildConsole) << true << 0;
    }
    void commandThatCannotStart()
    {
        QFETCH(bool, withHost);
        QFETCH(bool, asynchronous);
        QFETCH(int, console);
        QFETCH(bool, executable);
        QFETCH(int, status);
        QFile file(script(QStringLiteral("alone.pl"), "exit 0;\n"));
        if (executable)
            QVERIFY(file.setPermissions(file.permissions() | QFile::ExeOwner));
        host.perl = QStringList{QStringLiteral("/nonexistent/velmont-perl"), QStringLiteral("-w")};
        if (!withHost)
            QAStData::initialize(nullptr);
        auto restore = qScopeGuard([this] { QAStData::initialize(&host); });
        TestData data(QStringLiteral("node"));
        QSignalSpy started(&data, &QAStData::perlScriptStarted);
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, file.fileName(), asynchronous, true, console);
        QTRY_COMPARE_WITH_TIMEOUT(terminated.count(), 1, 10000);
        QCOMPARE(started.count(), 1);
        QCOMPARE(data.executionStatus(), status);
        QVERIFY(!data.runningProcess());
        if (withHost)
            QCOMPARE(host.consoleText(console, true),
                     QStringLiteral("/nonexistent/velmont-perl: unable to start the command\n"));
        QCoreApplication::processEvents();
        QCOMPARE(terminated.count(), 1);
        QCOMPARE(QFile::remove(data.environmentFileName()), status != 0);
    }
};

QTEST_MAIN(tst_ScriptLaunching)
#include "tst_scriptlaunching.moc"
