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
    // too, and the exit status becomes the status. The script gets the
    // environment file and the name, or the name alone; a relative one is
    // the installation's. The file goes at the end, but a command that never
    // started keeps it. Without a host the interpreter command is empty: only
    // a script that starts by itself runs.
    void scriptRunsToItsEnd_data()
    {
        QTest::addColumn<QByteArray>("body"); // empty: the installation's Environment.pl
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("flags");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("out"); // ending in "...": how the output begins
        QTest::addColumn<QString>("err");
        const auto row = [](const char* tag, const QByteArray& body, const QStringList& flags, int status,
                            const QString& out, const QString& err = {}, const QString& name = "node") {
            QTest::newRow(tag) << body << name << flags << status << out << err;
        };
        const QByteArray output = "print \"first\\nsecond\\n\";\nprint STDERR \"oops\\n\";\n"
                                  "print 'par'; select(undef, undef, undef, 0.05); print \"tial\\n\";\nprint 'no line end';\n";
        for (const QString& mode : {QStringLiteral("asynchronous"), QStringLiteral("synchronous")}) {
            const QStringList flags = mode == QLatin1String("synchronous") ? QStringList{"sync"} : QStringList();
            for (const auto& [what, ending, status] :
                 {std::tuple("an exit 0", "exit 0;", 0), {"an exit 7", "exit 7;", 1}, {"a crash", "kill 'KILL', $$;", 1}})
                QTest::addRow("%s, %s", what, qPrintable(mode)) << output + ending << "node" << flags << status
                                                                  << "first\nsecond\npartial\nno line end\n" << "oops\n";
        }
        // The frame's lines end in a line end; the launch adds "\n1;\n" behind them.
        const QByteArray arguments = "print \"script=[$0]\\n\";\nprint \"arg=[$_]\\n\" for @ARGV;\nexit 0 unless @ARGV == 2;\n"
                                     "open my $fh, '<', $ARGV[0] or die \"cannot read $ARGV[0]\\n\";\n"
                                     "my $text = do { local $/; <$fh> };\n"
                                     "print \"ends in a true value\\n\" if $text =~ /;\\n\\n1;\\n\\z/;\n"
                                     "print \"loads\\n\" if do $ARGV[0];\n";
        row("the environment file and a plain name", arguments, {}, 0,
            "script=[@SCRIPT@]\narg=[@ENV@]\narg=[node]\nends in a true value\nloads\n");
        row("a name with blanks is one argument", arguments, {}, 0,
            "script=[@SCRIPT@]\narg=[@ENV@]\narg=[ my  test node ]\nends in a true value\nloads\n", {}, " my  test node ");
        row("no environment: script and name end the command", arguments, {"no environment"}, 0,
            "script=[@SCRIPT@]\narg=[a b]\n", {}, "a b");
        row("a relative script is taken from the scripts directory", {}, {}, 0, "object: node\nenvironment file: @ENV@\n...");
        const QString cannotStart = QStringLiteral("/nonexistent/velmont-perl: unable to start the command\n");
        row("a missing interpreter", "exit 0;", {"no interpreter"}, 1, "", cannotStart);
        row("a missing interpreter, synchronous, on the message console", "exit 0;", {"no interpreter", "sync"}, 1, "",
            cannotStart);
        row("no host: a plain script file cannot start", "exit 0;", {"no host"}, 1, "");
        row("no host: an executable script with its own #! line runs", "exit 0;", {"no host", "executable"}, 0, "");
    }
    void scriptRunsToItsEnd()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, name);
        QFETCH(QStringList, flags);
        QFETCH(int, status);
        QFETCH(QString, out);
        const bool asynchronous = !flags.contains("sync");
        const int console = asynchronous ? QAStData::BuildConsole : QAStData::MessageConsole;
        const bool neverStarts = status != 0 && (flags.contains("no host") || flags.contains("no interpreter"));
        QString path = QStringLiteral("Environment.pl");
        if (!body.isEmpty()) {
            QFile file(path = script(QStringLiteral("run.pl"), body));
            QVERIFY(!flags.contains("executable") || file.setPermissions(file.permissions() | QFile::ExeOwner));
        }
        if (flags.contains("no interpreter"))
            host.perl = QStringList{QStringLiteral("/nonexistent/velmont-perl"), QStringLiteral("-w")};
        if (flags.contains("no host"))
            QAStData::initialize(nullptr);
        auto restore = qScopeGuard([this] { QAStData::initialize(&host); });
        TestData data(name);
        QSignalSpy started(&data, &QAStData::perlScriptStarted);
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        launch(data, path, asynchronous, !flags.contains("no environment"), console);
        QCOMPARE(started.count(), 1);
        if (asynchronous && !neverStarts) {
            QCOMPARE(data.executionStatus(), int(QAStData::ExecutionRunning));
            QVERIFY(data.runningProcess());
            QCOMPARE(QFile::exists(data.environmentFileName()), !flags.contains("no environment"));
        }
        QTRY_COMPARE_WITH_TIMEOUT(terminated.count(), 1, 10000);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        QCOMPARE(terminated.count(), 1);
        QCOMPARE(data.executionStatus(), status);
        QVERIFY(!data.runningProcess());
        QCOMPARE(QFile::remove(data.environmentFileName()), neverStarts);
        out.replace(QLatin1String("@SCRIPT@"), path).replace(QLatin1String("@ENV@"), data.environmentFileName());
        const QString text = received(host, console, false);
        if (out.endsWith(QLatin1String("...")))
            QVERIFY2(text.startsWith(out.chopped(3)), qPrintable(text));
        else
            QCOMPARE(text, out);
        QTEST(received(host, console, true), "err");
        QCOMPARE(host.consoleText(1 - console), QString());
    }

    // A launch without a script, or one during a run, does nothing: no
    // signal, no status, and the stream's device comes back to its owner
    // untouched: not written, not closed, and not deleted (the sanitizer
    // would see a delete of this one).
    void launchesThatDoNothing()
    {
        const QByteArray go = dir.filePath(QStringLiteral("go")).toLocal8Bit();
        const QString waiting = script(QStringLiteral("wait.pl"),
            "for (1 .. 1000) { last if -e '" + go + "'; select(undef, undef, undef, 0.01); }\n"
            "exit(-e '" + go + "' ? 0 : 4);\n");
        TestData data(QStringLiteral("node"));
        QSignalSpy started(&data, &QAStData::perlScriptStarted);
        QSignalSpy terminated(&data, &QAStData::perlScriptTerminated);
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        QTextStream stream(&buffer);
        data.setExecutionStatus(QAStData::ExecutionSuccess);
        data.executePerlScript(QString(), dir.path(), &stream, true);
        QCOMPARE(data.executionStatus(), int(QAStData::ExecutionNone));
        QVERIFY(!data.runningProcess());

        launch(data, waiting, true);
        QAProcess* first = data.runningProcess();
        QVERIFY(first);
        data.executePerlScript(script(QStringLiteral("other.pl"), "exit 7;"), dir.path(), &stream, true);
        QFile(QString::fromLocal8Bit(go)).open(QIODevice::WriteOnly);
        QCOMPARE(stream.device(), &buffer);
        stream.flush();
        QVERIFY(buffer.isOpen() && buffer.data().isEmpty());
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
};

QTEST_MAIN(tst_ScriptLaunching)
#include "tst_scriptlaunching.moc"
