#include "batchfixture.h"

#include <QJsonDocument>
#include <QSet>
#include <QTest>

// The bundled sensor example, built and tested end to end as a new user
// first sees it: every test node passes, a second run builds nothing, after
// a header changed the explanation names what the next build runs, the
// instrumented configuration shows the share of functions that ran, and a
// wrong expected value is reported with its script line and fails its node.
// Two programs share the file: the whole example, and single test nodes.
class tst_BatchExample : public QObject
{
    Q_OBJECT

    BatchFixture fixture;

    QString copySensor()
    {
        const QString from = QStringLiteral(SDK_EXAMPLES_DIR "/sensor");
        QDir(fixture.path(QStringLiteral("sensor"))).removeRecursively();
        for (QDirIterator it(from, {QStringLiteral("*.c"), QStringLiteral("*.h"), QStringLiteral("*.ptu"), QStringLiteral("*.inf"),
                                    QStringLiteral("*.vmp")},
                             QDir::Files, QDirIterator::Subdirectories);
             it.hasNext();) {
            const QString copy = fixture.path(QStringLiteral("sensor")) + it.next().mid(from.size());
            if (!QDir().mkpath(QFileInfo(copy).path()) || !QFile::copy(it.filePath(), copy))
                return QString();
        }
        return fixture.path(QStringLiteral("sensor/sensor.vmp"));
    }

    static const char* plain() { return "GNU C native (x86_64 Linux)"; }

    /// The names of the nodes that a build of \a project ran.
    QSet<QString> built(const QString& project)
    {
        const QString lines = fixture.path(QStringLiteral("built.jsonl"));
        const BatchFixture::Run run = fixture.run({QStringLiteral("--json"), lines, project, QStringLiteral("build")},
                                                  RecordingHost::stageDir());
        QSet<QString> names;
        QFile file(lines);
        if (run.status != 0 || !file.open(QIODevice::ReadOnly))
            return {QStringLiteral("build failed: ") + run.out + run.err};
        while (!file.atEnd())
            names.insert(QJsonDocument::fromJson(file.readLine())[QLatin1String("name")].toString());
        return names;
    }

private slots:
#ifndef SDK_BATCHEXAMPLE_NODES
    // Run a second time, the example is up to date: nothing is built, and
    // every test runs again. Then a header changes.
    void theWholeExamplePassesAndThenIsUpToDate()
    {
        const QString project = copySensor();
        QVERIFY(!project.isEmpty());
        const QStringList rows {"Device          GNU C native (x86_64 Linux)  passed   1       0",
                                "RingbufTest     GNU C native (x86_64 Linux)  passed   5       0",
                                "Crc16Test       GNU C native (x86_64 Linux)  passed   6       0",
                                "ControllerTest  GNU C native (x86_64 Linux)  passed   6       0"};
        for (const bool again : {false, true}) {
            const BatchFixture::Run run = fixture.run({project, QStringLiteral("execute")}, RecordingHost::stageDir());
            QVERIFY2(run.status == 0, qPrintable(run.out + run.err));
            for (const QString& row : rows)
                QVERIFY2(run.out.contains(row), qPrintable(run.out));
            QCOMPARE(run.out.contains(QLatin1String("end Sensor.ringbuf.c: success")), !again);
            QCOMPARE(run.out.contains(QLatin1String("start ControllerTest.controller.ptu")), !again);
        }
        QVERIFY(touchFile(fixture.path(QStringLiteral("sensor/src/filter.h")), 5));
        const BatchFixture::Run explained = fixture.run({project, QStringLiteral("explain")}, RecordingHost::stageDir());
        QCOMPARE(explained.status, 0);
        const QStringList running = BatchFixture::explanation(explained.out, true).keys();
        // The filter's users in the library, the program and the controller's test.
        for (const char* node : {"Sensor.filter.c", "Sensor.controller.c", "Device.main.c", "ControllerTest.filter.c"})
            QVERIFY2(running.contains(QLatin1String(node)), qPrintable(explained.out));
        QVERIFY2(!running.contains(QLatin1String("Sensor.crc16.c")), qPrintable(explained.out));
        QCOMPARE(built(project), QSet<QString>(running.begin(), running.end()));
    }
#else

    void oneTestNode_data()
    {
        QTest::addColumn<QString>("node");
        QTest::addColumn<QString>("configuration");
        QTest::addColumn<QByteArray>("wrongCheck"); // empty: the script as shipped
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("row");
        // The tests leave one function of each of the two units alone.
        QTest::newRow("instrumented, the share of the unit's functions that ran is shown")
            << "ControllerTest" << QString(plain()) + " (2)" << QByteArray() << 0
            << "ControllerTest  GNU C native (x86_64 Linux) (2)  passed   6       0       80.0%";
        QTest::newRow("a wrong expected value fails its node with the script's line")
            << "Crc16Test" << QString(plain()) << QByteArray("0x29B2") << 2
            << "Crc16Test  GNU C native (x86_64 Linux)  failed   5       1       -";
    }
    void oneTestNode()
    {
        const QString project = copySensor();
        QVERIFY(!project.isEmpty());
        QFETCH(QByteArray, wrongCheck);
        if (!wrongCheck.isEmpty()) {
            const QString script = fixture.path(QStringLiteral("sensor/tests/crc16.ptu"));
            QByteArray text = BatchFixture::contents(script);
            QVERIFY(text.contains("= 0x29B1\n"));
            text.replace("crc16(digits, 9) = 0x29B1\n", "crc16(digits, 9) = " + wrongCheck + "\n");
            QFile file(script);
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text) == text.size());
        }
        QFETCH(QString, node);
        QFETCH(QString, configuration);
        const BatchFixture::Run run = fixture.run(
            {QStringLiteral("--config"), configuration, project, QStringLiteral("execute"), node},
            RecordingHost::stageDir());
        QTEST(run.status, "status");
        QFETCH(QString, row);
        QVERIFY2(run.out.contains(row), qPrintable(run.out));
        if (!wrongCheck.isEmpty())
            QVERIFY2(run.err.contains(QLatin1String("crc16.ptu:11: crc16.the_standard_check_value: crc16(digits, 9) "
                                                    "Expected 10674 Was 10673")),
                     qPrintable(run.err));
    }
#endif
};

QTEST_MAIN(tst_BatchExample)
#include "tst_batchexample.moc"
