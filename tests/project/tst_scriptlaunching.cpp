#include "qaprocess.h"
#include "qastdata.h"
#include "qastperlgen.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QBuffer>
#include <QLoggingCategory>
#include <QRegularExpression>
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
// library's own kill. With awaitExit the child is let finish its TERM handler
// first (not reaped), so that its exit 0 is what the library sees.
class StoppableData : public TestData
{
public:
    using TestData::TestData;
    void launchStopProcess(qint64 pid) override
    {
        stoppedPids << pid;
        ::kill(pid_t(pid), SIGTERM);
        if (awaitExit) {
            siginfo_t info {};
            ::waitid(P_PID, id_t(pid), &info, WEXITED | WNOWAIT | __WALL);
        }
        executeAfterStopProcess();
    }
    QList<qint64> stoppedPids;
    bool awaitExit = false;
};

// Every directory and name that a Perl single-quoted string can trip over.
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
        file.write("use strict;\nuse warnings;\n$| = 1;\n" + body);
        return file.fileName();
    }

    // The order every node follows: environment file, its variables, launch.
    void launch(QAStData& data, const QString& path, bool asynchronous, bool withEnvironment = true,
                QAStData::Console console = QAStData::BuildConsole)
    {
        QTextStream environment;
        if (withEnvironment) {
            QVERIFY(data.createEnvironmentFile(environment));
            data.generateEnv(environment);
        }
        data.executePerlScript(path, dir.path(), withEnvironment ? &environment : nullptr,
                               asynchronous, console);
    }

    // Text of one kind on one console; each batch must hold whole lines.
    QString received(int console, bool errors)
    {
        QString text;
        for (const RecordingHost::Message& message : std::as_const(host.messages)) {
            if (message.console == console && message.isError == errors) {
                if (!message.text.endsWith(QLatin1Char('\n')))
                    return QStringLiteral("<batch without line end: %1>").arg(message.text);
                text += message.text;
            }
        }
        return text;
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
        QTest::addColumn<bool>("asynchronous");
        QTest::addColumn<int>("status");
        QTest::newRow("exit 0, asynchronous") << QByteArray("exit 0;") << true << 0;
        QTest::newRow("exit 0, synchronous") << QByteArray("exit 0;") << false << 0;
        QTest::newRow("exit 7, asynchronous") << QByteArray("exit 7;") << true << 1;
        QTest::newRow("exit 7, synchronous") << QByteArray("exit 7;") << false << 1;
        QTest::newRow("crash, asynchronous") << QByteArray("kill 'KILL', $$;") << true << 1;
        QTest::newRow("crash, synchronous") << QByteArray("kill 'KILL', $$;") << false << 1;
    }
    void exitStatusBecomesExecutionStatus()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, asynchronous);
        QFETCH(int, status);
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
               asynchronous, true, QAStData::Console(console));
        QVERIFY(terminated.count() == 1 || terminated.wait(10000));
        QCOMPARE(received(console, false), QStringLiteral("first\nsecond\npartial\nno line end\n"));
        QCOMPARE(received(console, true), QStringLiteral("oops\n"));
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
        const QString path = script(QStringLiteral("args.pl"),
            "print \"script=[$0]\\n\";\n"
            "print \"arg=[$_]\\n\" for @ARGV;\n"
            "exit 0 unless @ARGV == 2;\n"
            "open my $fh, '<', $ARGV[0] or die \"cannot read $ARGV[0]\\n\";\n"
            "my $text = do { local $/; <$fh> };\n"
            "print \"ends in a true value\\n\" if $text =~ /\\n1;\\n\\z/;\n"
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
        QVERIFY(host.consoleText(QAStData::BuildConsole).contains("$USERNAME     = 'tester'\n"));
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
        QVERIFY(environment.device() && environment.device()->isOpen());
        delete environment.device();
        QVERIFY(QFile::remove(data.environmentFileName()));
    }

    void secondLaunchDuringRunIsIgnored()
    {
        const QString go = dir.filePath(QStringLiteral("go"));
        const QString waiting = script(QStringLiteral("wait.pl"),
            "for (1 .. 1000) { last if -e '" + go.toLocal8Bit() + "'; select(undef, undef, undef, 0.01); }\n"
            "exit(-e '" + go.toLocal8Bit() + "' ? 0 : 4);\n");
        TestData data(QStringLiteral("node"));
        QSignalSpy started(&data, &QAStData::perlScriptStarted);
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, waiting, true);
        QAProcess* first = data.runningProcess();
        QVERIFY(first);

        QBuffer secondFile;
        QVERIFY(secondFile.open(QIODevice::WriteOnly));
        QTextStream second(&secondFile);
        data.executePerlScript(script(QStringLiteral("other.pl"), "exit 7;"), dir.path(), &second, true);
        second.flush();
        QCOMPARE(second.device(), &secondFile);
        QVERIFY(secondFile.isOpen());
        QCOMPARE(secondFile.data(), QByteArray());
        QCOMPARE(data.runningProcess(), first);
        QCOMPARE(started.count(), 1);

        QFile(go).open(QIODevice::WriteOnly);
        QVERIFY(terminated.wait(10000));
        QCOMPARE(data.executionStatus(), 0); // the first script's end, not the second's
        QCOMPARE(terminated.count(), 1);
        QFile::remove(go);
    }

    void interpreterThatDoesNotStart_data()
    {
        QTest::addColumn<bool>("asynchronous");
        QTest::addColumn<int>("console");
        QTest::newRow("asynchronous, build console") << true << int(QAStData::BuildConsole);
        QTest::newRow("synchronous, message console") << false << int(QAStData::MessageConsole);
    }
    void interpreterThatDoesNotStart()
    {
        QFETCH(bool, asynchronous);
        QFETCH(int, console);
        host.perl = QStringList{QStringLiteral("/nonexistent/velmont-perl"), QStringLiteral("-w")};
        TestData data(QStringLiteral("node"));
        QSignalSpy started(&data, &QAStData::perlScriptStarted);
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, script(QStringLiteral("never.pl"), "exit 0;"), asynchronous, true,
               QAStData::Console(console));
        QCOMPARE(started.count(), 1);
        QCOMPARE(terminated.count(), 1);
        QCOMPARE(data.executionStatus(), 1);
        QVERIFY(!data.runningProcess());
        QCOMPARE(host.consoleText(console, true),
                 QStringLiteral("/nonexistent/velmont-perl: unable to start the command\n"));
        QCoreApplication::processEvents();
        QCOMPARE(terminated.count(), 1);
        QVERIFY(QFile::remove(data.environmentFileName())); // still there after a failed start
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
        const QString path = script(QStringLiteral("trap.pl"),
            "$SIG{TERM} = sub { exit 0 };\nprint \"ready\\n\";\nselect(undef, undef, undef, 10);\nexit 5;\n");
        StoppableData parent(QStringLiteral("parent"));
        auto* idle = new StoppableData(QStringLiteral("idle"), &parent);
        auto* child = new StoppableData(QStringLiteral("child"), &parent);
        StoppableData& target = throughParent ? *child : parent;
        target.awaitExit = awaitExit;
        QSignalSpy terminated(&target, &QAStData::perlScriptTerminated);
        launch(target, path, true);
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

    void frameVariablesInOrder_data()
    {
        QTest::addColumn<bool>("withObject");
        QTest::addColumn<QString>("names");
        QTest::newRow("an object: up to the port") << true
            << "STUDIO_IDE ECLIPSE_IDE OSNAME PATH_SEPARATOR ZENTAHOME BINDIR SCRIPTDIR WORKING_DIR "
               "CMSTOOL PROJECT_NAME PROJECT_PATH WORKSPACE_NAME WORKSPACE_PATH USERNAME STUDIO_PORT";
        QTest::newRow("no object: stops after the tool") << false
            << "STUDIO_IDE ECLIPSE_IDE OSNAME PATH_SEPARATOR ZENTAHOME BINDIR SCRIPTDIR WORKING_DIR CMSTOOL";
    }
    void frameVariablesInOrder()
    {
        QFETCH(bool, withObject);
        QFETCH(QString, names);
        TestData data(QStringLiteral("node"));
        QString text;
        QTextStream stream(&text);
        QAStPerlGen::generateEnv(stream, withObject ? &data : nullptr);
        stream.flush();
        QVERIFY(text.startsWith("$STUDIO_IDE=1;\n$ECLIPSE_IDE=0;\n$OSNAME='unix';\n$PATH_SEPARATOR='/';\n"));
        QStringList found;
        for (const QRegularExpressionMatch& m : QRegularExpression("^\\$(\\w+)=", QRegularExpression::MultilineOption).globalMatch(text))
            found << m.captured(1);
        QCOMPARE(found.join(' '), names);
    }

    void environmentFileReadsBackExactly()
    {
        AwkwardHost awkward;
        QAStData::initialize(&awkward);
        auto restore = qScopeGuard([this] { QAStData::initialize(&host); });
        const char* const names[] = {"STUDIO_IDE", "ECLIPSE_IDE", "OSNAME", "PATH_SEPARATOR", "ZENTAHOME",
                                     "BINDIR", "SCRIPTDIR", "WORKING_DIR", "CMSTOOL", "PROJECT_NAME",
                                     "USERNAME", "STUDIO_PORT"};
        const QStringList values{"1", "0", "unix", "/", awkward.installDir(), awkward.binaryDir(),
                                 awkward.scriptsDir() + '/', QDir::currentPath(), awkward.cmsTool(),
                                 QString(), awkward.userName(), "4711"};
        // Values go out hex-encoded: the comparison is on the bytes Perl holds.
        const QString path = script(QStringLiteral("frame.pl"),
            "print 'syntax ', (system($^X, '-c', $ARGV[0]) == 0 ? 'ok' : 'bad'), \"\\n\";\n"
            "do $ARGV[0] or die \"environment: $@ $!\\n\";\n"
            "no strict 'refs';\n"
            "for my $v (qw(STUDIO_IDE ECLIPSE_IDE OSNAME PATH_SEPARATOR ZENTAHOME BINDIR SCRIPTDIR\n"
            "              WORKING_DIR CMSTOOL PROJECT_NAME USERNAME STUDIO_PORT)) {\n"
            "    my $x = ${\"main::$v\"};\n"
            "    print \"$v=\", (defined $x ? unpack('H*', $x) : 'undef'), \"\\n\";\n"
            "}\n");
        TestData data(QStringLiteral("node"));
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, path, true);
        QVERIFY(terminated.wait(10000));
        const QStringList lines = awkward.consoleText(QAStData::BuildConsole).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.value(0), QStringLiteral("syntax ok"));
        QCOMPARE(lines.size(), 1 + int(std::size(names)));
        for (int i = 0; i < int(std::size(names)); ++i) {
            const QString line = lines.at(i + 1);
            const QString got = QString::fromLocal8Bit(QByteArray::fromHex(line.section('=', 1).toLatin1()));
            QCOMPARE(line.section('=', 0, 0), QString::fromLatin1(names[i]));
            QCOMPARE(got, values.at(i));
        }
        QCOMPARE(data.executionStatus(), 0);
    }

    void withoutHostNothingStarts_data()
    {
        QTest::addColumn<bool>("executable");
        QTest::newRow("plain script file") << false;
        QTest::newRow("executable script with its own #! line") << true;
    }
    void withoutHostNothingStarts()
    {
        QFETCH(bool, executable);
        QAStData::initialize(nullptr);
        QStringList trace;
        traceSink = &trace;
        forward = qInstallMessageHandler(captureTrace);
        QLoggingCategory::setFilterRules(QStringLiteral("sdk.trace.debug=true"));
        auto restore = qScopeGuard([this] {
            QLoggingCategory::setFilterRules(QString());
            qInstallMessageHandler(forward);
            traceSink = nullptr;
            QAStData::initialize(&host);
        });
        QFile file(script(QStringLiteral("alone.pl"), "exit 0;\n"));
        QVERIFY(file.open(QIODevice::ReadWrite));
        const QByteArray body = file.readAll();
        file.resize(0);
        file.write("#!" + QStandardPaths::findExecutable("perl").toLocal8Bit() + '\n' + body);
        file.close();
        if (executable)
            file.setPermissions(file.permissions() | QFile::ExeOwner);

        TestData data(QStringLiteral("node"));
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, file.fileName(), true);
        QTRY_COMPARE_WITH_TIMEOUT(terminated.count(), 1, 10000);
        QCOMPARE(data.executionStatus(), 1);
        QVERIFY2(trace.contains(QStringLiteral(": unable to start the command")), qPrintable(trace.join('|')));
        QFile::remove(data.environmentFileName());
    }
};

QTEST_MAIN(tst_ScriptLaunching)
#include "tst_scriptlaunching.moc"
