#include "batchfixture.h"

#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#ifdef SDK_BATCHSTEPS_STOPS
namespace {

// A group script that starts a grandchild, writes both pids and waits; and a
// stop script that writes its pid and never ends on its own.
const char forkingGroup[] = "my $c = fork(); exec('perl', '-e', 'sleep 1000') unless $c;\n"
                            "open(my $f, '>>', $ENV{BATCH_TEST_FILE}) or die; print $f \"$$ $c\\n\"; close($f);\n"
                            "waitpid($c, 0);\n";
const char hangingStop[] = "$SIG{TERM} = 'IGNORE';\n"
                           "open(my $f, '>>', $ENV{BATCH_TEST_FILE}) or die; print $f \"$$\\n\"; close($f);\n"
                           "sleep 1000;\n";

QList<qint64> pidsIn(const QString& path)
{
    QList<qint64> pids;
    for (const QByteArray& pid : readFile(path).simplified().split(' '))
        if (!pid.isEmpty())
            pids << pid.toLongLong();
    return pids;
}

} // namespace
#endif

// The steps of a host's run, seen from outside: the environment file a step
// gets, and what a stop leaves behind.
class tst_BatchSteps : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(!(project = fixture.copyExample(QStringLiteral("first"))).isEmpty()); }
    // The stops are a program of their own, tst_batchstepsstops, built from
    // this file beside this one.
#ifndef SDK_BATCHSTEPS_STOPS
    void envIsWhatAStepGets();
    void terminationDuringTheLoadEndsIt();
    void aRelativeProgramPathStillFindsTheInterpreter();
#else
    void stopsEndEveryProcessOfTheRun_data();
    void stopsEndEveryProcessOfTheRun();
#endif

private:
    BatchFixture fixture;
    QString project;
};

#ifndef SDK_BATCHSTEPS_STOPS
// The file printed is the one a build step of the node is given, and a
// script of the tool chain loads it.
void tst_BatchSteps::envIsWhatAStepGets()
{
    const QString installation =
        fixture.installationWith(QStringLiteral("copying"),
                                 {{"Group.pl", "use File::Copy; copy($ARGV[0], $ENV{BATCH_TEST_FILE}) or die; exit 0;\n"}});
    QFile::remove(fixture.scriptFile());
    QCOMPARE(fixture.run({project, "rebuild", "Unit tests.Queue"}, installation).status, 0);
    const BatchFixture::Run printed = fixture.run({project, "env", "Unit tests.Queue"}, installation);
    QCOMPARE(printed.status, 0);
    QFile step(fixture.scriptFile()), text(fixture.path(QStringLiteral("printed.pl")));
    QVERIFY(step.open(QIODevice::ReadOnly) && text.open(QIODevice::WriteOnly));
    QCOMPARE(printed.out, QString::fromLocal8Bit(step.readAll()));
    text.write(printed.out.toLocal8Bit());
    text.close();

    QProcess perl;
    perl.setWorkingDirectory(fixture.work.path());
    perl.start(QStringLiteral("perl"), {"-I" + RecordingHost::stageDir() + "/lib/perl", "-MVelmont::Env=load_environment",
                                        "-e", "load_environment($ARGV[0]); print qq($main::NAME|$main::SRCFILE)",
                                        QFileInfo(text).fileName()});
    QVERIFY(perl.waitForFinished(10000));
    QCOMPARE(perl.readAllStandardError(), QByteArray());
    QCOMPARE(perl.readAllStandardOutput(), QByteArray("Queue|Queue.c"));
}

// The sub-project's file is a pipe, so that the load waits until the test
// closes it: a termination request then comes during the load.
void tst_BatchSteps::terminationDuringTheLoadEndsIt()
{
    const QString pipe = QFileInfo(fixture.copyExample(QStringLiteral("piped"))).path() + "/library/library.vmp";
    QVERIFY(QFile::remove(pipe));
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const std::unique_ptr<QProcess> host = fixture.start({QFileInfo(pipe).path() + "/../first.vmp", "tree"});
    // Opened once: the check after the wait evaluates the condition again.
    int writer = -1;
    QTRY_VERIFY_WITH_TIMEOUT(writer >= 0 || (writer = ::open(QFile::encodeName(pipe).constData(), O_WRONLY | O_NONBLOCK)) >= 0,
                             20000);
    ::kill(pid_t(host->processId()), SIGTERM);
    ::close(writer);
    QVERIFY(host->waitForFinished(10000));
    QCOMPARE(host->exitCode(), 3);
    QCOMPARE(host->readAllStandardOutput(), QByteArray());
    QVERIFY(host->readAllStandardError().endsWith("velmont-batch: stopped before tree ran\n"));
}

// A step runs in its node's directory, not in the one the program was
// started from, where a relative path to the program still pointed.
void tst_BatchSteps::aRelativeProgramPathStillFindsTheInterpreter()
{
    const QString relative = QDir(fixture.work.path()).relativeFilePath(QStringLiteral(SDK_BATCH_PROGRAM));
    QVERIFY(relative.startsWith(QLatin1String("../")));
    const BatchFixture::Run run = fixture.run({project, "rebuild", "Unit tests.Queue"}, QString(), relative);
    QVERIFY2(run.status == 0, qPrintable(run.out + run.err));
    QVERIFY2(run.out.contains(QLatin1String("\nrebuild Unit tests.Queue: success (")), qPrintable(run.out));
}
#else
void tst_BatchSteps::stopsEndEveryProcessOfTheRun_data()
{
    QTest::addColumn<QList<int>>("sent");
    QTest::addColumn<bool>("toGroup");
    QTest::addColumn<bool>("stubborn");
    QTest::addColumn<bool>("hanging");
    QTest::newRow("a terminal's Ctrl-C, which reaches the host's whole group") << QList<int> {SIGINT} << true
                                                                              << false << false;
    QTest::newRow("a termination request, which scripts that ignore it still obey")
        << QList<int> {SIGTERM} << false << true << false;
    QTest::newRow("a second Ctrl-C, which kills what a hanging stop script leaves")
        << QList<int> {SIGINT, SIGINT} << false << true << true;
}

// Whatever the run started, the scripts' own children included, is gone when
// the host has exited: killed, and reaped by the host rather than left to init.
void tst_BatchSteps::stopsEndEveryProcessOfTheRun()
{
    QFETCH(QList<int>, sent);
    QFETCH(bool, toGroup);
    QFETCH(bool, stubborn);
    QFETCH(bool, hanging);
    QMap<QString, QByteArray> scripts {{"Group.pl", QByteArray(stubborn ? "$SIG{TERM} = 'IGNORE';" : "") + forkingGroup}};
    if (hanging)
        scripts.insert(QStringLiteral("Stop.pl"), hangingStop);
    const QString installation =
        fixture.installationWith(QStringLiteral("%1-%2").arg(stubborn).arg(hanging), scripts);
    QFile::remove(fixture.scriptFile());
    const std::unique_ptr<QProcess> host = fixture.start({project, "rebuild", "Unit tests.Queue"}, installation);
    QTRY_COMPARE_WITH_TIMEOUT(pidsIn(fixture.scriptFile()).size(), 2, 20000);
    for (qsizetype i = 0; i < sent.size(); ++i) {
        if (i > 0 && hanging)
            QTRY_COMPARE_WITH_TIMEOUT(pidsIn(fixture.scriptFile()).size(), 3, 10000);
        ::kill(pid_t(toGroup ? -host->processId() : host->processId()), sent.at(i));
    }
    QVERIFY(host->waitForFinished(10000));
    const QString out = QString::fromLocal8Bit(host->readAllStandardOutput());
    QCOMPARE(host->exitCode(), 3);
    QVERIFY2(out.contains(QLatin1String("\nstopping Unit tests.Queue\n"))
                 && out.contains(QLatin1String("\nrebuild Unit tests.Queue: stopped (")),
             qPrintable(out));
    for (const qint64 pid : pidsIn(fixture.scriptFile()))
        QVERIFY2(::kill(pid_t(pid), 0) != 0 && errno == ESRCH, qPrintable(QString::number(pid)));
}
#endif

QTEST_GUILESS_MAIN(tst_BatchSteps)
#include "tst_batchsteps.moc"
