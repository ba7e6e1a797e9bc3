#include "batchfixture.h"

#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A group script that starts a grandchild, writes both pids and waits.
const char forkingGroup[] = R"(
my $child = fork();
exec('perl', '-e', 'sleep 1000') if $child == 0;
open(my $out, '>>', $ENV{BATCH_TEST_FILE}) or die;
print $out "$$ $child\n";
close($out);
waitpid($child, 0);
)";

// A stop script that writes its pid and never ends on its own.
const char hangingStopScript[] = R"(
$SIG{TERM} = 'IGNORE';
open(my $out, '>>', $ENV{BATCH_TEST_FILE}) or die;
print $out "$$\n";
close($out);
sleep 1000;
)";

QList<qint64> pidsIn(const QString& path)
{
    QFile file(path);
    QList<qint64> pids;
    if (file.open(QIODevice::ReadOnly)) {
        for (const QByteArray& pid : file.readAll().simplified().split(' '))
            pids << pid.toLongLong();
    }
    return pids;
}

} // namespace

class tst_BatchSignals : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(!(project = fixture.copyExample(QStringLiteral("first"))).isEmpty()); }
    void stopsEndEveryProcessOfTheRun_data();
    void stopsEndEveryProcessOfTheRun();
    void terminationDuringTheLoadEndsIt();

private:
    BatchFixture fixture;
    QString project;
};

void tst_BatchSignals::stopsEndEveryProcessOfTheRun_data()
{
    QTest::addColumn<QList<int>>("sent");
    QTest::addColumn<bool>("toGroup");
    QTest::addColumn<bool>("stubborn");
    QTest::addColumn<bool>("hangingStop");
    QTest::newRow("a terminal's Ctrl-C, which reaches the host's whole group") << QList<int> {SIGINT} << true
                                                                              << false << false;
    QTest::newRow("a termination request, which scripts that ignore it still obey")
        << QList<int> {SIGTERM} << false << true << false;
    QTest::newRow("a second Ctrl-C, which kills what a hanging stop script leaves")
        << QList<int> {SIGINT, SIGINT} << false << true << true;
}

// Whatever the run started, the scripts' own children included, is gone when
// the host has exited: killed, and reaped by the host rather than left to init.
void tst_BatchSignals::stopsEndEveryProcessOfTheRun()
{
    QFETCH(QList<int>, sent);
    QFETCH(bool, toGroup);
    QFETCH(bool, stubborn);
    QFETCH(bool, hangingStop);
    QMap<QString, QByteArray> scripts {{"Group.pl", QByteArray(stubborn ? "$SIG{TERM} = 'IGNORE';" : "") + forkingGroup}};
    if (hangingStop)
        scripts.insert(QStringLiteral("Stop.pl"), hangingStopScript);
    const QString installation =
        fixture.installationWith(QStringLiteral("%1-%2").arg(stubborn).arg(hangingStop), scripts);
    QFile::remove(fixture.scriptFile());
    const std::unique_ptr<QProcess> host = fixture.start({project, "rebuild", "Unit tests.Queue"}, installation);
    QTRY_COMPARE_WITH_TIMEOUT(pidsIn(fixture.scriptFile()).size(), 2, 20000);
    for (qsizetype i = 0; i < sent.size(); ++i) {
        if (i > 0 && hangingStop)
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

// The sub-project's file is a pipe, so that the load waits until the test
// closes it: a termination request then comes during the load.
void tst_BatchSignals::terminationDuringTheLoadEndsIt()
{
    const QString pipe = QFileInfo(fixture.copyExample(QStringLiteral("piped"))).path() + "/library/library.vmp";
    QVERIFY(QFile::remove(pipe));
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const std::unique_ptr<QProcess> host = fixture.start({QFileInfo(pipe).path() + "/../first.vmp", "tree"});
    int writer = -1;
    QTRY_VERIFY_WITH_TIMEOUT((writer = ::open(QFile::encodeName(pipe).constData(), O_WRONLY | O_NONBLOCK)) >= 0, 20000);
    ::kill(pid_t(host->processId()), SIGTERM);
    ::close(writer);
    QVERIFY(host->waitForFinished(10000));
    QCOMPARE(host->exitCode(), 3);
    QCOMPARE(host->readAllStandardOutput(), QByteArray());
    QVERIFY(host->readAllStandardError().endsWith("velmont-batch: stopped before tree ran\n"));
}

QTEST_GUILESS_MAIN(tst_BatchSignals)
#include "tst_batchsignals.moc"
