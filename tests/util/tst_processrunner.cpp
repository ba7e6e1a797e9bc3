#include "qaprocess.h"

#include <QPointer>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <utility>
#include <sys/prctl.h>

// The child processes are Perl one-liners: perl is on every machine that
// builds the library, and it can write, crash, fork and sleep on demand.
class tst_ProcessRunner : public QObject
{
    Q_OBJECT

    struct Run {
        QStringList events; // "out:<text>", "err:<text>", "exited:<status>" or "crashed"
        QString out;
        int exits = 0;
    };

    QString perl;
    const QString pause = QStringLiteral("; select(undef, undef, undef, 0.3)");
    bool normal = false;
    int status = -1;

    // Records everything the process says, in order.
    void watch(QAProcess& p, Run& r)
    {
        connect(&p, &QAProcess::stdoutReceived, this, [&r](const QString& t) { r.events << "out:" + t; r.out += t; });
        connect(&p, &QAProcess::stderrReceived, this, [&r](const QString& t) { r.events << "err:" + t; });
        connect(&p, &QAProcess::exited, this, [&r](bool n, int s) {
            r.events << (n ? QStringLiteral("exited:%1").arg(s) : QStringLiteral("crashed"));
            ++r.exits;
        });
    }
    bool start(QAProcess& p, const QString& script, bool asynchronous = true, const QDir& dir = QDir::current(),
               QStringList* env = nullptr)
    {
        return p.start(QStringList {perl, "-e", script}, dir, normal, status, env, asynchronous);
    }
    // Runs a Perl one-liner asynchronously and waits for its end.
    Run runPerl(const QString& script, const QDir& dir = QDir::current(), QStringList* env = nullptr)
    {
        QAProcess p;
        Run r;
        watch(p, r);
        if (!start(p, script, true, dir, env))
            r.events << "not started";
        else if (!QTest::qWaitFor([&] { return r.exits > 0; }, 10000))
            r.events << "timeout";
        return r;
    }

private slots:
    void initTestCase()
    {
        perl = QStandardPaths::findExecutable(QStringLiteral("perl"));
        if (perl.isEmpty())
            QSKIP("perl is not on PATH");
        // What a killed child leaves behind becomes ours to reap, as in a host.
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    }

    void commandLineToArgs_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("args");
        QTest::newRow("quotes, blanks and a trailing ampersand") << "a \"b c\" 'd' &" << QStringList{"a", "b c", "d", "&"};
        QTest::newRow("blanks, tabs and line feeds separate") << " \t a\tb\nc  " << QStringList{"a", "b", "c"};
        QTest::newRow("word chars") << "/usr/bin/x -o=1,2;3 $HOME %P {a}[b](c)<d>|@!?*~+#"
            << QStringList{"/usr/bin/x", "-o=1,2;3", "$HOME", "%P", "{a}[b](c)<d>|@!?*~+#"};
        QTest::newRow("ampersand inside a word") << "a&b" << QStringList{"a&b"};
        QTest::newRow("double ampersand: longest wins") << "&&" << QStringList{"&&"};
        QTest::newRow("quote glued behind a word: lowest index wins") << "a\"b c\"" << QStringList{"a", "b c"};
        QTest::newRow("escape kept, longest match") << "\"a\\\"b\" c" << QStringList{"a\\\"b", "c"};
        QTest::newRow("empty quotes") << "\"\" ''" << QStringList{"", ""};
        QTest::newRow("unclosed quote is skipped") << "\"abc d" << QStringList{"abc", "d"};
        QTest::newRow("non-ASCII outside quotes separates") << QString::fromUtf8("a\u00e9b \"\u00e9 x\"")
            << QStringList{"a", "b", QString::fromUtf8("\u00e9 x")};
    }
    void commandLineToArgs()
    {
        QFETCH(QString, line);
        QFETCH(QStringList, args);
        QStringList result{"stale"};
        QAProcess::commandLineToArgs(line, result);
        QCOMPARE(result, args);
    }

    void splitWithEscapeSequence_data()
    {
        QTest::addColumn<QString>("separator");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("pieces");
        QTest::newRow("empty middle piece kept") << "," << "ab,,cd" << QStringList{"ab", "", "cd"};
        QTest::newRow("escaped separator") << "," << "a\\,b,cd" << QStringList{"a,b", "cd"};
        QTest::newRow("escaped at the start") << "," << "\\,ab" << QStringList{",ab"};
        QTest::newRow("trailing separator") << "," << "ab,cd," << QStringList{"ab", "cd"};
        QTest::newRow("one-character last piece dropped") << "," << "ab,c" << QStringList{"ab"};
        QTest::newRow("empty text") << "," << "" << QStringList{};
        QTest::newRow("multi-character escaped") << "::" << "ab\\::cd::ef" << QStringList{"ab::cd", "ef"};
        QTest::newRow("empty separator does not hang") << "" << "abc" << QStringList{"abc"};
        // The backslash that ends the previous separator escapes nothing, and no
        // text of the following piece is lost.
        QTest::newRow("separator ending in a backslash") << "x\\" << "ax\\x\\bcd"
            << QStringList{"a", "", "bcd"};
    }
    void splitWithEscapeSequence()
    {
        QFETCH(QString, separator);
        QFETCH(QString, text);
        QFETCH(QStringList, pieces);
        QCOMPARE(::splitWithEscapeSequence(separator, text), pieces);
    }

    void startFails_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::newRow("an empty list") << QStringList();
        QTest::newRow("a blank command line") << QStringList{"   "};
        QTest::newRow("a program that does not exist") << QStringList{"/nonexistent/sdk-no-such-program", "x"};
    }
    void startFails()
    {
        QFETCH(QStringList, args);
        QAProcess p;
        QSignalSpy exited(&p, &QAProcess::exited);
        normal = true;
        status = 42;
        QVERIFY(!(args.size() == 1 ? p.start(args.first(), QDir::current(), normal, status, nullptr, false)
                                   : p.start(args, QDir::current(), normal, status, nullptr, false)));
        QCoreApplication::processEvents();
        QCOMPARE(p.pid(), qint64(-1));
        QCOMPARE(QAProcess::runningCount() + exited.count(), 0);
        QVERIFY(normal && status == 42);
    }

    // Each child runs asynchronously, then synchronously: texts come in
    // whole lines, each stream on its own signal, and the end tells the
    // status; a synchronous caller learns only whether it was zero.
    void linesAndEndOfARun_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QStringList>("events");
        QTest::newRow("two lines at once, one signal")
            << "syswrite STDOUT, \"x\\ny\\n\"" + pause << QStringList{"out:x\ny\n", "exited:0"};
        QTest::newRow("a last line without line end arrives before the end")
            << "syswrite STDOUT, \"a\\nb\"" + pause << QStringList{"out:a\n", "out:b\n", "exited:0"};
        QTest::newRow("standard error on its own signal, and its tail too")
            << "syswrite STDERR, \"e1\\ne2\"" + pause << QStringList{"err:e1\n", "err:e2\n", "exited:0"};
        QTest::newRow("only a partial line") << "syswrite STDOUT, \"tail\"" << QStringList{"out:tail\n", "exited:0"};
        QTest::newRow("CRLF line ends") << "syswrite STDOUT, \"x\\r\\ny\\r\\n\"" << QStringList{"out:x\ny\n", "exited:0"};
        QTest::newRow("exit 3") << "exit 3" << QStringList{"exited:3"};
        QTest::newRow("a crash") << "kill 'SEGV', $$" << QStringList{"crashed"};
    }
    void linesAndEndOfARun()
    {
        QFETCH(QString, script);
        QFETCH(QStringList, events);
        status = -7;
        QCOMPARE(runPerl(script).events, events);
        QCOMPARE(status, -7); // an asynchronous run leaves the references alone
        QCOMPARE(QAProcess::runningCount(), 0);

        // The wait turns the event loop: a child that pauses is still
        // running when a timer of another object fires.
        QAProcess sync;
        Run r;
        watch(sync, r);
        bool firedWhileRunning = false;
        QTimer::singleShot(0, this, [&] { firedWhileRunning = !sync.isFinished() && sync.pid() > 0; });
        QVERIFY(start(sync, script, false));
        QVERIFY(firedWhileRunning || !script.endsWith(pause));
        QCOMPARE(r.events, events);
        QCOMPARE(normal, events.last() != "crashed");
        QCOMPARE(status, events.last() == "exited:0" ? 0 : 1);
    }

    void ampersandCommandLineRunsAsynchronously()
    {
        QAProcess p;
        Run r;
        watch(p, r);
        status = -1;
        QVERIFY(p.start(perl + " -e 'print scalar(@ARGV); exit 4' &", QDir::current(), normal, status, nullptr, false));
        QCOMPARE(status, -1); // returned at once, asynchronous after all
        QTRY_COMPARE_WITH_TIMEOUT(r.exits, 1, 10000);
        QCOMPARE(r.events, (QStringList{"out:0\n", "exited:4"}));
    }

    void childSettings_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QStringList>("environment");
        QTest::addColumn<QString>("out");
        QTest::newRow("the environment given, and nothing else")
            << "print qq($ENV{SDK_TEST_VAR}|), (exists $ENV{HOME} ? 'leak' : 'clean')"
            << QStringList{"SDK_TEST_VAR=hello world"} << "hello world|clean\n";
        QTest::newRow("the working directory") << "use Cwd; print getcwd()" << QStringList() << "@DIR@\n";
        QTest::newRow("an input that ends at once") << "print defined(<STDIN>) ? 'got' : 'eof'" << QStringList()
                                                    << "eof\n";
    }
    void childSettings()
    {
        QFETCH(QString, script);
        QFETCH(QStringList, environment);
        QFETCH(QString, out);
        QTemporaryDir dir;
        const Run r = runPerl(script, QDir(dir.path()), environment.isEmpty() ? nullptr : &environment);
        QCOMPARE(r.out, out.replace("@DIR@", QFileInfo(dir.path()).canonicalFilePath()));
    }

    // A script's own children are in its process group: ending the script
    // ends them, and nothing is left to wait for a reaper.
    void endingAChildEndsWhatItStarted_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("kill") << "kill";
        QTest::newRow("a request to terminate") << "tryTerminate";
        QTest::newRow("killAll") << "killAll";
        QTest::newRow("deleting the object") << "delete";
        QTest::newRow("starting the next run") << "restart";
    }
    void endingAChildEndsWhatItStarted()
    {
        QFETCH(QString, how);
        QAProcess::killAll(); // with no process: nothing happens
        auto* p = new QAProcess(this);
        Run r;
        watch(*p, r);
        QVERIFY(start(*p, "$| = 1; my $c = fork(); exec('sleep', '30') unless $c; print qq($c\\n); waitpid($c, 0)"));
        QTRY_VERIFY_WITH_TIMEOUT(!r.out.isEmpty(), 10000);
        const pid_t pids[] = {pid_t(p->pid()), pid_t(r.out.toInt())};
        QCOMPARE(::kill(pids[1], 0), 0);
        if (how == "kill")
            p->kill();
        else if (how == "tryTerminate")
            p->tryTerminate();
        else if (how == "killAll")
            QAProcess::killAll();
        else if (how == "restart")
            QVERIFY(start(*p, "exit 0"));
        else
            delete p;
        QCOMPARE(QAProcess::runningCount(), how == "killAll" || how == "delete" ? 0 : 1);
        if (how != "delete") {
            QTRY_COMPARE_WITH_TIMEOUT(r.exits, 1, 10000);
            QCOMPARE(r.events.last() == "crashed", how != "restart"); // only a killed run ends abnormally
            delete p;
        }
        QVERIFY(QAProcess::endGroups(5000));
        for (pid_t pid : pids)
            QVERIFY2(::kill(pid, 0) != 0 && errno == ESRCH, qPrintable(QString::number(pid)));
        QCOMPARE(QAProcess::runningCount(), 0);
    }

    // A receiver that turns the event loop (a synchronous run inside a text
    // handler) must not make the lines that arrive meanwhile wait for the end.
    void linesArrivingDuringAReceiverAreNotHeldBack()
    {
        QAProcess p;
        Run r;
        watch(p, r);
        bool nested = false;
        connect(&p, &QAProcess::stdoutReceived, this, [&] {
            if (!std::exchange(nested, true))
                QTest::qWait(400);
        });
        QVERIFY(start(p, "$| = 1; print qq(a\\n); select(undef, undef, undef, 0.1); print qq(b\\n); sleep 5"));
        QTRY_COMPARE_WITH_TIMEOUT(r.out, QString("a\nb\n"), 2000);
        QCOMPARE(r.exits, 0);
    }

    // A receiver may end the object or start the next run from inside the
    // signals: the QProcess that is emitting must not be freed under it.
    void receiverDeletesOrRestarts_data()
    {
        QTest::addColumn<QString>("what");
        QTest::newRow("delete in exited") << "exited";
        QTest::newRow("delete in stdoutReceived") << "stdout";
        QTest::newRow("delete in stdoutReceived of the unended last line") << "stdout-tail";
        QTest::newRow("restart in stdoutReceived of the unended last line") << "restart-tail";
        QTest::newRow("restart in exited") << "restart";
    }
    void receiverDeletesOrRestarts()
    {
        QFETCH(QString, what);
        QPointer<QAProcess> p = new QAProcess;
        int runs = 0;
        connect(p, &QAProcess::stdoutReceived, this, [&] {
            if (what.startsWith("stdout"))
                delete p.data();
            else if (what == "restart-tail" && runs == 0)
                QVERIFY(start(*p, "exit 0"));
        });
        connect(p, &QAProcess::exited, this, [&] {
            ++runs;
            if (what == "exited")
                delete p.data();
            else if (what == "restart" && runs == 1)
                QVERIFY(start(*p, "exit 0"));
        });
        QVERIFY(start(*p, what.endsWith("tail") ? "print qq(x)" : "print qq(x\\n)"));
        if (what == "restart")
            QTRY_COMPARE(runs, 2);
        else if (what == "restart-tail")
            QTRY_COMPARE(runs, 1); // only the second run reports its end
        else
            QTRY_VERIFY(p.isNull());
        // Deferred deletions and queued calls of the freed run come now.
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        delete p.data();
        QCOMPARE(QAProcess::runningCount(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_ProcessRunner)
#include "tst_processrunner.moc"
