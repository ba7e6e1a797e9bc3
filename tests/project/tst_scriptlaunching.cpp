#include "qaprocess.h"
#include "qastdata.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QBuffer>
#include <QLoggingCategory>
#include <QPointer>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

#include <cerrno>
#include <csignal>
#include <sys/wait.h>

namespace {

// Stops like a node without its stop script: TERM to the child, then the
// library's own kill. With awaitExit the child first finishes its TERM handler
// (it is not reaped here), so that an exit 0 is what the library receives.
class StoppableData : public TestData
{
public:
    using TestData::TestData;
    void launchStopProcess(qint64 pid) override
    {
        stoppedPids << pid;
        ::kill(pid_t(pid), SIGTERM);
        siginfo_t info {};
        if (awaitExit)
            ::waitid(P_PID, id_t(pid), &info, WEXITED | WNOWAIT | __WALL);
        executeAfterStopProcess();
    }
    QList<qint64> stoppedPids;
    bool awaitExit = false;
};

// Every text that a Perl single-quoted string can trip over.
class AwkwardHost : public RecordingHost
{
public:
    QString installDir() override { return QString::fromUtf8("/opt/it's \\here\\ $HOME @INC \u00e9\\"); }
    QString binaryDir() override { return QStringLiteral("/bin/x\\'y"); }
    QString scriptsDir() override { return QStringLiteral("/s\\\\c'"); }
    QString userName() override { return QString::fromUtf8("O'Brien \\ $USER @ARGV \u00fc\u6f22\\"); }
    QString cmsTool() override { return QStringLiteral("c'v\\s"); }
};

QStringList* traceSink = nullptr;
QtMessageHandler forward = nullptr;

void captureTrace(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (traceSink && qstrcmp(context.category, "sdk.trace") == 0)
        traceSink->append(text);
    else if (forward)
        forward(type, context, text);
}

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

    void exitStatusBecomesExecutionStatus_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        QTest::newRow("exit 0") << QByteArray("exit 0;") << 0;
        QTest::newRow("exit 7") << QByteArray("exit 7;") << 1;
        QTest::newRow("crash") << QByteArray("kill 'KILL', $$;") << 1;
    }
    void exitStatusBecomesExecutionStatus()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        for (bool asynchronous : {true, false}) {
            TestData data(QStringLiteral("node"));
            QSignalSpy started(&data, &QAStData::perlScriptStarted);
            QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
            launch(data, script(QStringLiteral("status.pl"), body), asynchronous);
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
        }
    }

    void outputArrivesAsWholeLines_data()
    {
        QTest::addColumn<bool>("asynchronous");
        QTest::addColumn<int>("console");
        QTest::newRow("asynchronous, build console") << true << int(QAStData::BuildConsole);
        QTest::newRow("synchronous, message console") << false << int(QAStData::MessageConsole);
    }
    void outputArrivesAsWholeLines()
    {
        QFETCH(bool, asynchronous);
        QFETCH(int, console);
        TestData data(QStringLiteral("node"));
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        // A line written in two parts must still arrive in one batch.
        launch(data, script(QStringLiteral("output.pl"), "print \"first\\nsecond\\n\";\n"
                                "print STDERR \"oops\\n\";\n"
                                "print 'par'; select(undef, undef, undef, 0.05); print \"tial\\n\";\n"
                                "print 'no line end';\n"),
               asynchronous, true, console);
        QVERIFY(terminated.count() == 1 || terminated.wait(10000));
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
        QIODevice* device = environment.device();
        QVERIFY(device && device->isOpen()); // still its owner's
        environment.setDevice(nullptr);
        delete device;
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

        // The second stream's device must come back untouched, not even deleted.
        QPointer<QBuffer> secondFile = new QBuffer;
        auto release = qScopeGuard([&secondFile] { delete secondFile.data(); });
        QVERIFY(secondFile->open(QIODevice::WriteOnly));
        QTextStream second(secondFile.data());
        data.executePerlScript(script(QStringLiteral("other.pl"), "exit 7;"), dir.path(), &second, true);
        QFile(QString::fromLocal8Bit(go)).open(QIODevice::WriteOnly);
        QVERIFY(secondFile);
        QCOMPARE(second.device(), secondFile.data());
        second.flush();
        QVERIFY(secondFile->isOpen());
        QCOMPARE(secondFile->data(), QByteArray());
        QCOMPARE(data.runningProcess(), first);
        QCOMPARE(started.count(), 1);
        QVERIFY(terminated.wait(10000));
        QCOMPARE(data.executionStatus(), 0); // the first script's end, not the second's
        QCOMPARE(terminated.count(), 1);
        QFile::remove(QString::fromLocal8Bit(go));
    }

    void interpreterThatDoesNotStart_data() { outputArrivesAsWholeLines_data(); }
    void interpreterThatDoesNotStart()
    {
        QFETCH(bool, asynchronous);
        QFETCH(int, console);
        host.perl = QStringList{QStringLiteral("/nonexistent/velmont-perl"), QStringLiteral("-w")};
        TestData data(QStringLiteral("node"));
        QSignalSpy started(&data, &QAStData::perlScriptStarted);
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, script(QStringLiteral("never.pl"), "exit 0;"), asynchronous, true, console);
        QCOMPARE(started.count(), 1);
        QCOMPARE(terminated.count(), 1);
        QCOMPARE(data.executionStatus(), 1);
        QVERIFY(!data.runningProcess());
        QCOMPARE(host.consoleText(console, true),
                 QStringLiteral("/nonexistent/velmont-perl: unable to start the command\n"));
        QCoreApplication::processEvents();
        QCOMPARE(terminated.count(), 1);
        QVERIFY(QFile::remove(data.environmentFileName())); // kept after a failed start
    }

    void stopEndsWithStatusTwo_data()
    {
        QTest::addColumn<bool>("awaitExit");
        QTest::addColumn<bool>("throughParent");
        QTest::newRow("script traps TERM and exits 0 before the kill") << true << false;
        QTest::newRow("script is killed at once") << false << false;
        QTest::newRow("stop on the parent reaches the running child") << false << true;
    }
    void stopEndsWithStatusTwo()
    {
        QFETCH(bool, awaitExit);
        QFETCH(bool, throughParent);
        StoppableData parent(QStringLiteral("parent"));
        auto* idle = new StoppableData(QStringLiteral("idle"), &parent);
        auto* child = new StoppableData(QStringLiteral("child"), &parent);
        StoppableData& target = throughParent ? *child : parent;
        target.awaitExit = awaitExit;
        QSignalSpy terminated(&target, &QAStData::perlScriptTerminated);
        launch(target, script(QStringLiteral("trap.pl"), "$SIG{TERM} = sub { exit 0 };\nprint \"ready\\n\";\n"
                                                         "select(undef, undef, undef, 10);\nexit 5;\n"),
               true);
        QVERIFY(target.runningProcess());
        QSignalSpy exited(target.runningProcess(), &QAProcess::exited);
        const qint64 pid = target.runningProcess()->pid();
        QTRY_VERIFY_WITH_TIMEOUT(host.consoleText(QAStData::BuildConsole).contains("ready"), 10000);

        parent.stop();
        QCOMPARE(target.stoppedPids, QList<qint64>{pid});
        QCOMPARE(target.executionStatus(), int(QAStData::ExecutionStopped));
        QVERIFY(terminated.wait(10000));
        QCOMPARE(target.executionStatus(), int(QAStData::ExecutionStopped));
        if (awaitExit)
            QCOMPARE(exited.value(0), (QVariantList{true, 0}));
        QVERIFY(idle->stoppedPids.isEmpty());
        QCOMPARE(idle->executionStatus(), int(QAStData::ExecutionNone));
        QTRY_VERIFY_WITH_TIMEOUT(::kill(pid_t(pid), 0) != 0 && errno == ESRCH, 5000);
    }

    void killAllLeavesNoChild()
    {
        const QString path = script(QStringLiteral("long.pl"), "select(undef, undef, undef, 10);\n");
        TestData first(QStringLiteral("first")), second(QStringLiteral("second"));
        QSignalSpy firstEnd(&first, &QAStData::perlScriptTerminated);
        QSignalSpy secondEnd(&second, &QAStData::perlScriptTerminated);
        launch(first, path, true);
        launch(second, path, true);
        QVERIFY(first.runningProcess() && second.runningProcess());
        const pid_t pids[] = {pid_t(first.runningProcess()->pid()), pid_t(second.runningProcess()->pid())};
        QAProcess::killAll();
        QCOMPARE(QAProcess::runningCount(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(firstEnd.count() == 1 && secondEnd.count() == 1, 10000);
        QCOMPARE(first.executionStatus(), 1);
        QCOMPARE(second.executionStatus(), 1);
        for (pid_t pid : pids)
            QTRY_VERIFY_WITH_TIMEOUT(::kill(pid, 0) != 0 && errno == ESRCH, 5000);
    }

    void environmentFileReadsBackExactly()
    {
        AwkwardHost awkward;
        QAStData::initialize(&awkward);
        auto restore = qScopeGuard([this] { QAStData::initialize(&host); });
        // Every variable in file order, its value hex-encoded: the comparison
        // is on the bytes that Perl holds.
        const QString path = script(QStringLiteral("frame.pl"),
            "print 'syntax ', (system($^X, '-c', $ARGV[0]) == 0 ? 'ok' : 'bad'), \"\\n\";\n"
            "open my $fh, '<', $ARGV[0] or die;\nmy @names = do { local $/; <$fh> } =~ /^\\$(\\w+)=/mg;\n"
            "do $ARGV[0] or die \"environment: $@ $!\\n\";\n"
            "no strict 'refs';\n"
            "print \"$_=\", unpack('H*', ${\"main::$_\"}), \"\\n\" for @names;\n");
        TestData data(QStringLiteral("node"));
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, path, true);
        QVERIFY(terminated.wait(10000));
        QCOMPARE(data.executionStatus(), 0);

        const QStringList expected{
            "syntax ok", "STUDIO_IDE=1", "ECLIPSE_IDE=0", "OSNAME=unix", "PATH_SEPARATOR=/",
            "ZENTAHOME=" + awkward.installDir(), "BINDIR=" + awkward.binaryDir(),
            "SCRIPTDIR=" + awkward.scriptsDir() + '/', "WORKING_DIR=" + QDir::currentPath(),
            "CMSTOOL=" + awkward.cmsTool(), "PROJECT_NAME=", "PROJECT_PATH=", "WORKSPACE_NAME=",
            "WORKSPACE_PATH=", "USERNAME=" + awkward.userName(), "STUDIO_PORT=4711"};
        QStringList lines = received(awkward, QAStData::BuildConsole, false).split('\n', Qt::SkipEmptyParts);
        for (int i = 1; i < lines.size(); ++i) {
            const QByteArray value = QByteArray::fromHex(lines.at(i).section('=', 1).toLatin1());
            lines[i] = lines.at(i).section('=', 0, 0) + '=' + QString::fromLocal8Bit(value);
        }
        QCOMPARE(lines, expected);
    }

    // Without a host the interpreter command is empty: a script then runs only
    // when it can start by itself, and all it says goes to the trace.
    void withoutHostScriptsRunByThemselves_data()
    {
        QTest::addColumn<bool>("executable");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("traced");
        QTest::newRow("a plain script file cannot start") << false << 1 << ": unable to start the command";
        QTest::newRow("an executable script with its own #! line runs") << true << 0 << "ran alone";
    }
    void withoutHostScriptsRunByThemselves()
    {
        QFETCH(bool, executable);
        QFETCH(int, status);
        QFETCH(QString, traced);
        QFile file(script(QStringLiteral("alone.pl"),
                          "print \"ran alone\\n\";\nexit 0;\n"));
        if (executable)
            QVERIFY(file.setPermissions(file.permissions() | QFile::ExeOwner));
        QStringList trace;
        traceSink = &trace;
        forward = qInstallMessageHandler(captureTrace);
        QLoggingCategory::setFilterRules(QStringLiteral("sdk.trace.debug=true"));
        QAStData::initialize(nullptr);
        auto restore = qScopeGuard([this] {
            QAStData::initialize(&host);
            QLoggingCategory::setFilterRules(QString());
            qInstallMessageHandler(forward);
            traceSink = nullptr;
        });

        TestData data(QStringLiteral("node"));
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, file.fileName(), true);
        QTRY_COMPARE_WITH_TIMEOUT(terminated.count(), 1, 10000);
        QFile::remove(data.environmentFileName());
        QCOMPARE(data.executionStatus(), status);
        QVERIFY2(trace.join('|').contains(traced), qPrintable(trace.join('|')));
    }
};

QTEST_MAIN(tst_ScriptLaunching)
#include "tst_scriptlaunching.moc"
