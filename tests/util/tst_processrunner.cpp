#include "qaprocess.h"

#include <QPointer>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <utility>
#include <sys/types.h>

// The child processes are Perl one-liners: perl is on every machine that
// builds the library, and it can write, crash and sleep on demand.
class tst_ProcessRunner : public QObject
{
    Q_OBJECT

    struct Run {
        QStringList events; // "out:<text>", "err:<text>", "exited:<normal>:<status>"
        QString out, err;
        int exits = 0;
    };

    QString perl;

    // Records everything the process says, in order, until it has exited.
    void watch(QAProcess& p, Run& r)
    {
        connect(&p, &QAProcess::stdoutReceived, this, [&r](const QString& t) { r.events << "out:" + t; r.out += t; });
        connect(&p, &QAProcess::stderrReceived, this, [&r](const QString& t) { r.events << "err:" + t; r.err += t; });
        connect(&p, &QAProcess::exited, this, [&r](bool n, int s) {
            r.events << QStringLiteral("exited:%1:%2").arg(n).arg(s);
            ++r.exits;
        });
    }
    // Runs a Perl one-liner asynchronously and waits for its end.
    Run runPerl(const QString& script, const QDir& dir = QDir::current(), QStringList* env = nullptr)
    {
        QAProcess p;
        Run r;
        watch(p, r);
        bool normal = false;
        int status = -1;
        if (!p.start(QStringList{perl, "-e", script}, dir, normal, status, env, true))
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
    }

    void commandLineToArgs_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("args");
        QTest::newRow("quotes, blanks and a trailing ampersand") << "a \"b c\" 'd' &" << QStringList{"a", "b c", "d", "&"};
        QTest::newRow("empty") << "" << QStringList{};
        QTest::newRow("blanks only") << " \t \n " << QStringList{};
        QTest::newRow("blanks, tabs, newlines separate") << "  a\tb\nc  " << QStringList{"a", "b", "c"};
        QTest::newRow("word chars") << "/usr/bin/x -o=1,2;3 $HOME %P {a}[b](c)<d>|@!?*~+#"
            << QStringList{"/usr/bin/x", "-o=1,2;3", "$HOME", "%P", "{a}[b](c)<d>|@!?*~+#"};
        QTest::newRow("ampersand inside a word") << "a&b" << QStringList{"a&b"};
        QTest::newRow("ampersand glued at the end") << "cmd&" << QStringList{"cmd&"};
        QTest::newRow("ampersand alone") << "cmd & x" << QStringList{"cmd", "&", "x"};
        QTest::newRow("double ampersand: longest wins") << "&&" << QStringList{"&&"};
        QTest::newRow("quote glued behind a word: lowest index wins") << "a\"b c\"" << QStringList{"a", "b c"};
        QTest::newRow("word glued behind a quote") << "\"a b\"c" << QStringList{"a b", "c"};
        QTest::newRow("single quote in double quotes") << "\"it's\"" << QStringList{"it's"};
        QTest::newRow("double quotes in single quotes") << "'say \"hi\"'" << QStringList{"say \"hi\""};
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
        QTest::newRow("plain") << "," << "a,b,cd" << QStringList{"a", "b", "cd"};
        QTest::newRow("empty middle piece kept") << "," << "ab,,cd" << QStringList{"ab", "", "cd"};
        QTest::newRow("escaped separator") << "," << "a\\,b,cd" << QStringList{"a,b", "cd"};
        QTest::newRow("escaped at the start") << "," << "\\,ab" << QStringList{",ab"};
        QTest::newRow("trailing separator") << "," << "ab,cd," << QStringList{"ab", "cd"};
        QTest::newRow("one-character last piece dropped") << "," << "ab,c" << QStringList{"ab"};
        QTest::newRow("one character only") << "," << "a" << QStringList{};
        QTest::newRow("empty text") << "," << "" << QStringList{};
        QTest::newRow("no separator in text") << "," << "abc" << QStringList{"abc"};
        QTest::newRow("multi-character separator") << "::" << "ab::cd::ef" << QStringList{"ab", "cd", "ef"};
        QTest::newRow("multi-character escaped") << "::" << "ab\\::cd::ef" << QStringList{"ab::cd", "ef"};
        QTest::newRow("empty separator does not hang") << "" << "abc" << QStringList{"abc"};
        QTest::newRow("empty separator, empty text") << "" << "" << QStringList{};
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

    void startWithEmptyListFails()
    {
        QAProcess p;
        QCOMPARE(p.pid(), qint64(-1));
        bool normal = true;
        int status = 42;
        QVERIFY(!p.start(QStringList(), QDir::current(), normal, status, nullptr, false));
        QVERIFY(!p.start(QString("   "), QDir::current(), normal, status, nullptr, false));
        QCOMPARE(p.pid(), qint64(-1));
        QCOMPARE(QAProcess::runningCount(), 0);
        QVERIFY(normal);
        QCOMPARE(status, 42);
    }

    void startOfMissingProgramFails()
    {
        QAProcess p;
        QSignalSpy exited(&p, &QAProcess::exited);
        bool normal = true;
        int status = 42;
        QVERIFY(!p.start(QStringList{"/nonexistent/sdk-no-such-program", "x"}, QDir::current(), normal, status,
                         nullptr, false));
        QCOMPARE(p.pid(), qint64(-1));
        QCOMPARE(QAProcess::runningCount(), 0);
        QTest::qWait(50);
        QCOMPARE(exited.count(), 0);
    }

    void outputBatches_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QStringList>("events");
        QTest::newRow("two lines at once, one signal")
            << "syswrite STDOUT, \"x\\ny\\n\"; select(undef, undef, undef, 0.3)"
            << QStringList{"out:x\ny\n", "exited:1:0"};
        QTest::newRow("last line without line end arrives before exited")
            << "syswrite STDOUT, \"a\\nb\"; select(undef, undef, undef, 0.3)"
            << QStringList{"out:a\n", "out:b\n", "exited:1:0"};
        QTest::newRow("only a partial line") << "syswrite STDOUT, \"tail\"" << QStringList{"out:tail\n", "exited:1:0"};
        QTest::newRow("CRLF line ends") << "syswrite STDOUT, \"x\\r\\ny\\r\\n\"" << QStringList{"out:x\ny\n", "exited:1:0"};
        QTest::newRow("no output") << "exit 0" << QStringList{"exited:1:0"};
    }
    void outputBatches()
    {
        QFETCH(QString, script);
        QFETCH(QStringList, events);
        QCOMPARE(runPerl(script).events, events);
    }

    void stderrIsSeparate()
    {
        const Run r = runPerl("$| = 1; print STDOUT \"o1\\n\"; print STDERR \"e1\\n\"; print STDOUT \"o2\\n\"; print STDERR \"e2\"");
        QCOMPARE(r.out, QString("o1\no2\n"));
        QCOMPARE(r.err, QString("e1\ne2\n"));
        QCOMPARE(r.events.last(), QString("exited:1:0"));
    }

    void exitStatus_data()
    {
        QTest::addColumn<int>("code");
        QTest::newRow("0") << 0;
        QTest::newRow("3") << 3;
        QTest::newRow("255") << 255;
    }
    void exitStatus()
    {
        QFETCH(int, code);
        const QStringList args{perl, "-e", QStringLiteral("exit %1").arg(code)};
        bool normal = false;
        int status = -1;
        {   // Synchronous: only zero or not.
            QAProcess p;
            QSignalSpy exited(&p, &QAProcess::exited);
            QVERIFY(p.start(args, QDir::current(), normal, status, nullptr, false));
            QVERIFY(p.isFinished());
            QVERIFY(normal);
            QCOMPARE(status, code == 0 ? 0 : 1);
            QCOMPARE(exited.count(), 1);
            QCOMPARE(QAProcess::runningCount(), 0);
        }
        {   // Asynchronous: the true status, in the signal; the references stay.
            QAProcess p;
            QSignalSpy exited(&p, &QAProcess::exited);
            normal = false;
            status = -1;
            QVERIFY(p.start(args, QDir::current(), normal, status, nullptr, true));
            QCOMPARE(QAProcess::runningCount(), 1);
            QVERIFY(p.pid() > 0);
            QVERIFY(exited.wait(10000));
            QCOMPARE(exited.at(0), (QVariantList{true, code}));
            QVERIFY(!normal);
            QCOMPARE(status, -1);
            QCOMPARE(QAProcess::runningCount(), 0);
            QTest::qWait(20);
            QCOMPARE(exited.count(), 1);
        }
    }

    void crash()
    {
        const QStringList args{perl, "-e", "kill 'KILL', $$"};
        bool normal = true;
        int status = 0;
        QAProcess sync;
        QVERIFY(sync.start(args, QDir::current(), normal, status, nullptr, false));
        QVERIFY(!normal);
        QCOMPARE(status, 1);

        QAProcess async;
        QSignalSpy exited(&async, &QAProcess::exited);
        QVERIFY(async.start(args, QDir::current(), normal, status, nullptr, true));
        QVERIFY(exited.wait(10000));
        QCOMPARE(exited.at(0).at(0).toBool(), false);
    }

    void synchronousModeTurnsTheEventLoop()
    {
        QAProcess p;
        Run r;
        watch(p, r);
        bool firedWhileRunning = false;
        QTimer::singleShot(0, this, [&] { firedWhileRunning = !p.isFinished() && p.pid() > 0; });
        bool normal = false;
        int status = -1;
        QVERIFY(p.start(QStringList{perl, "-e", "syswrite STDOUT, \"hi\\n\"; select(undef, undef, undef, 0.5)"},
                        QDir::current(), normal, status, nullptr, false));
        QVERIFY(firedWhileRunning);
        QCOMPARE(r.events, (QStringList{"out:hi\n", "exited:1:0"}));
        QVERIFY(normal);
        QCOMPARE(status, 0);
    }

    void ampersandCommandLineRunsAsynchronously()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString script = dir.filePath("cmd");
        QFile f(script);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(("#!" + perl + "\nprint scalar(@ARGV), \"|@ARGV\\n\"; exit 4;\n").toUtf8());
        f.close();
        QVERIFY(f.setPermissions(f.permissions() | QFile::ExeOwner));

        QAProcess p;
        Run r;
        watch(p, r);
        bool normal = false;
        int status = -1;
        QVERIFY(p.start(script + " &", QDir(dir.path()), normal, status, nullptr, false));
        QCOMPARE(status, -1); // returned at once, asynchronous after all
        QVERIFY(!normal);
        QTRY_COMPARE_WITH_TIMEOUT(r.exits, 1, 10000);
        QCOMPARE(r.events, (QStringList{"out:0|\n", "exited:1:4"}));
    }

    void environmentIsPassed()
    {
        QStringList env{"SDK_TEST_VAR=hello world"};
        const Run r = runPerl("print \"$ENV{SDK_TEST_VAR}|\", (exists $ENV{SDK_TEST_ABSENT} ? \"leak\" : \"clean\"), \"\\n\"",
                              QDir::current(), &env);
        QCOMPARE(r.out, QString("hello world|clean\n"));
    }

    void workingDirectoryIsHonoured()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const Run r = runPerl("use Cwd; print getcwd(), \"\\n\"", QDir(dir.path()));
        QCOMPARE(r.out, QFileInfo(dir.path()).canonicalFilePath() + "\n");
    }

    void readingInputEndsAtOnce()
    {
        const Run r = runPerl(QStringLiteral("my $l = <STDIN>; print defined $l ? qq(got\\n) : qq(eof\\n);"));
        QCOMPARE(r.out, QStringLiteral("eof\n"));
    }

    void killAllKillsEveryChild()
    {
        QAProcess::killAll(); // with no process: nothing happens
        QCOMPARE(QAProcess::runningCount(), 0);

        QAProcess a, b;
        QSignalSpy exitedA(&a, &QAProcess::exited), exitedB(&b, &QAProcess::exited);
        bool normal = false;
        int status = -1;
        const QStringList sleeper{perl, "-e", "sleep 30"};
        QVERIFY(a.start(sleeper, QDir::current(), normal, status, nullptr, true));
        QVERIFY(b.start(sleeper, QDir::current(), normal, status, nullptr, true));
        QCOMPARE(QAProcess::runningCount(), 2);
        const pid_t pa = pid_t(a.pid()), pb = pid_t(b.pid());
        QVERIFY(pa > 0 && pb > 0 && pa != pb);
        QCOMPARE(::kill(pa, 0), 0);

        QAProcess::killAll();
        QCOMPARE(QAProcess::runningCount(), 0);
        // Once the events are handled the children are reaped: no zombie is left.
        QTRY_VERIFY_WITH_TIMEOUT(::kill(pa, 0) != 0 && ::kill(pb, 0) != 0, 10000);
        QTRY_COMPARE(exitedA.count(), 1);
        QTRY_COMPARE(exitedB.count(), 1);
        QCOMPARE(exitedA.at(0).at(0).toBool(), false);
        QCOMPARE(exitedB.at(0).at(0).toBool(), false);
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
        bool normal = false;
        int status = -1;
        QVERIFY(p.start(QStringList{perl, "-e", "$| = 1; print qq(a\\n); select(undef, undef, undef, 0.1); "
                                                "print qq(b\\n); sleep 5"},
                        QDir::current(), normal, status, nullptr, true));
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
        bool normal = false;
        int status = -1;
        const QStringList restart{perl, "-e", "exit 0"};
        connect(p, &QAProcess::stdoutReceived, this, [&] {
            if (what.startsWith("stdout"))
                delete p.data();
            else if (what == "restart-tail" && runs == 0)
                QVERIFY(p->start(restart, QDir::current(), normal, status, nullptr, true));
        });
        connect(p, &QAProcess::exited, this, [&] {
            ++runs;
            if (what == "exited")
                delete p.data();
            else if (what == "restart" && runs == 1)
                QVERIFY(p->start(restart, QDir::current(), normal, status, nullptr, true));
        });
        const QString script = what.endsWith("tail") ? "print qq(x)" : "print qq(x\\n)";
        QVERIFY(p->start(QStringList{perl, "-e", script}, QDir::current(), normal, status, nullptr, true));
        if (what == "restart")
            QTRY_COMPARE(runs, 2);
        else if (what == "restart-tail")
            QTRY_COMPARE(runs, 1); // only the second run reports its end
        else
            QTRY_VERIFY(p.isNull());
        QTest::qWait(50); // let any deferred work on a freed object run
        delete p.data();
        QCOMPARE(QAProcess::runningCount(), 0);
    }

    void runningCountFollowsTheRuns()
    {
        QCOMPARE(QAProcess::runningCount(), 0);
        {
            QAProcess p;
            QSignalSpy exited(&p, &QAProcess::exited);
            bool normal = false;
            int status = -1;
            QVERIFY(p.start(QStringList{perl, "-e", "sleep 30"}, QDir::current(), normal, status, nullptr, true));
            QCOMPARE(QAProcess::runningCount(), 1);
            // Starting again replaces the first child: still one.
            QVERIFY(p.start(QStringList{perl, "-e", "exit 0"}, QDir::current(), normal, status, nullptr, true));
            QCOMPARE(QAProcess::runningCount(), 1);
            QVERIFY(exited.wait(10000));
            QCOMPARE(exited.count(), 1);
            QCOMPARE(QAProcess::runningCount(), 0);
            QVERIFY(p.start(QStringList{perl, "-e", "sleep 30"}, QDir::current(), normal, status, nullptr, true));
            QCOMPARE(QAProcess::runningCount(), 1);
        } // destroyed while running: leaves the list
        QCOMPARE(QAProcess::runningCount(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_ProcessRunner)
#include "tst_processrunner.moc"
