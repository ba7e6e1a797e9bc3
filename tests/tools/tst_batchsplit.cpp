#include "batchfixture.h"

#include <QSignalSpy>
#include <QTest>

#include <csignal>

// velmont-batch split, which follows a split file without a project.
class tst_BatchSplit : public QObject
{
    Q_OBJECT

    static QByteArray read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    static bool append(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        return file.open(QIODevice::Append) && file.write(bytes) == bytes.size();
    }

private slots:
    void usage_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("split without a split file") << QStringList {"split"} << "split needs a split file";
        QTest::newRow("split with more than a file and a directory")
            << QStringList {"split", "a.spt", "out", "more"} << "too many arguments for split";
    }
    void usage()
    {
        QFETCH(QStringList, arguments);
        BatchFixture fixture;
        const BatchFixture::Run run = fixture.run(arguments);
        QCOMPARE(run.status, 4);
        QFETCH(QString, message);
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
    }

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
        QCOMPARE(read(out + "/zentacov.tio"), "NT old\n");

        QVERIFY(append(splitFile, "CS new\nt0 end\n"));
        QTRY_COMPARE_WITH_TIMEOUT(read(out + "/tracer.tdf"), "CS old\nCS new\n", 3000);
        QCOMPARE(read(fixture.path(QStringLiteral("ztlendtest.txt"))), "t0 end\n");

        QVERIFY(append(splitFile, "CS last\n"));
        ::kill(pid_t(host->processId()), stopSignal);
        QVERIFY(finished.wait(5000));
        QCOMPARE(host->exitStatus(), QProcess::NormalExit);
        QCOMPARE(host->exitCode(), 0);
        QCOMPARE(read(out + "/tracer.tdf"), "CS old\nCS new\nCS last\n");
    }
};

QTEST_GUILESS_MAIN(tst_BatchSplit)
#include "tst_batchsplit.moc"
