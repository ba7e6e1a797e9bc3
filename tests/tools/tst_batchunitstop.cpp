#include "unittestfixture.h"

#include <QTest>

#include <csignal>

// A unit under test that never returns: only a stop ends its test.
class tst_BatchUnitStop : public QObject
{
    Q_OBJECT

private slots:
    // The stop ends the test program too: nothing of the run is left.
    void aStopEndsAnEndlessTest()
    {
        UnitTestFixture fixture;
        const QString project =
            fixture.copy({{"include \"ring.h\"", "include \"ring.h\"\nlimit 600"}, {"returns 1, 1, 0", "returns 1"}});
        QVERIFY(!project.isEmpty());
        const std::unique_ptr<QProcess> host =
            fixture.start({project, QStringLiteral("execute"), QStringLiteral("ring")}, RecordingHost::stageDir());
        // The endless test is the last one.
        const auto reached = [&] {
            QFile split(fixture.path(QStringLiteral("unittest/obj/ring.spt")));
            return split.open(QIODevice::ReadOnly) && split.readAll().contains("takes_the_oldest: ok");
        };
        QTRY_VERIFY_WITH_TIMEOUT(reached(), 8000);
        const QString program = QFileInfo(fixture.path(QStringLiteral("unittest/obj/ring"))).canonicalFilePath();
        QVERIFY(!program.isEmpty());
        ::kill(pid_t(-host->processId()), SIGINT);
        QVERIFY(host->waitForFinished(8000));
        QCOMPARE(host->exitCode(), 3);
        // Nothing runs the test program any more.
        QDir proc(QStringLiteral("/proc"));
        for (const QString& entry : proc.entryList(QDir::Dirs))
            QVERIFY2(QFileInfo(proc.filePath(entry + QStringLiteral("/exe"))).symLinkTarget() != program,
                     qPrintable(entry));
    }
};

QTEST_MAIN(tst_BatchUnitStop)
#include "tst_batchunitstop.moc"
