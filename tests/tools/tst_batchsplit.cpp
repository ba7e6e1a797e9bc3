#include "batchfixture.h"

#include <QSignalSpy>
#include <QTest>

#include <csignal>

// velmont-batch split, which follows a split file without a project.
class tst_BatchSplit : public QObject
{
    Q_OBJECT

    static bool append(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        return file.open(QIODevice::Append) && file.write(bytes) == bytes.size();
    }

private slots:
    // The backlog is split at once, what is appended arrives while the
    // program runs, and what came just before a stop request still arrives.
    void followsUntilStopped_data()
    {
        QTest::addColumn<int>("stopSignal");
        QTest::newRow("ended by Ctrl-C") << int(SIGINT);
        QTest::newRow("ended by a termination request") << int(SIGTERM);
    }
    void followsUntilStopped()
    {
        QFETCH(int, stopSignal);
        BatchFixture fixture;
        const QString splitFile = fixture.path(QStringLiteral("run.spt"));
        const QString out = fixture.path(QStringLiteral("out"));
        QVERIFY(append(splitFile, "CS old\nNT old\n"));
        const std::unique_ptr<QProcess> host = fixture.start({"split", splitFile, out});
        QSignalSpy finished(host.get(), &QProcess::finished);
        QByteArray said;
        QTRY_VERIFY_WITH_TIMEOUT((said += host->readAllStandardOutput()).startsWith("splitting"), 5000);
        QCOMPARE(readFile(out + "/zentacov.tio"), "NT old\n");

        QVERIFY(append(splitFile, "CS new\nt0 end\n"));
        QTRY_COMPARE_WITH_TIMEOUT(readFile(out + "/tracer.tdf"), "CS old\nCS new\n", 3000);
        QCOMPARE(readFile(fixture.path(QStringLiteral("ztlendtest.txt"))), "t0 end\n");

        QVERIFY(append(splitFile, "CS last\n"));
        ::kill(pid_t(host->processId()), stopSignal);
        QVERIFY(finished.wait(5000));
        QCOMPARE(host->exitStatus(), QProcess::NormalExit);
        QCOMPARE(host->exitCode(), 0);
        QCOMPARE(readFile(out + "/tracer.tdf"), "CS old\nCS new\nCS last\n");
    }
};

QTEST_GUILESS_MAIN(tst_BatchSplit)
#include "tst_batchsplit.moc"
