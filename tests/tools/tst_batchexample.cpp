#include "batchfixture.h"

#include <QTest>

// The bundled sensor example, built and tested end to end as a new user
// first sees it: every test node passes, and a wrong expected value is
// reported with its script line and fails its node.
class tst_BatchExample : public QObject
{
    Q_OBJECT

    BatchFixture fixture;

    QString copySensor()
    {
        const QString from = QStringLiteral(SDK_EXAMPLES_DIR "/sensor");
        QDir(fixture.path(QStringLiteral("sensor"))).removeRecursively();
        for (QDirIterator it(from, {QStringLiteral("*.c"), QStringLiteral("*.h"), QStringLiteral("*.ptu"),
                                    QStringLiteral("*.vmp")},
                             QDir::Files, QDirIterator::Subdirectories);
             it.hasNext();) {
            const QString copy = fixture.path(QStringLiteral("sensor")) + it.next().mid(from.size());
            if (!QDir().mkpath(QFileInfo(copy).path()) || !QFile::copy(it.filePath(), copy))
                return QString();
        }
        return fixture.path(QStringLiteral("sensor/sensor.vmp"));
    }

private slots:
    void theExampleBuildsAndPasses_data()
    {
        QTest::addColumn<QByteArray>("wrongCheck"); // empty: the scripts as shipped
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("rows");
        QTest::newRow("as shipped, every test node passes")
            << QByteArray() << 0
            << QStringList {"Device          GNU C native (x86_64 Linux)  passed   1       0",
                            "RingbufTest     GNU C native (x86_64 Linux)  passed   5       0",
                            "Crc16Test       GNU C native (x86_64 Linux)  passed   6       0",
                            "ControllerTest  GNU C native (x86_64 Linux)  passed   6       0"};
        QTest::newRow("a wrong expected value fails its node with the script's line")
            << QByteArray("0x29B2") << 2
            << QStringList {"Crc16Test  GNU C native (x86_64 Linux)  failed   5       1"};
    }
    void theExampleBuildsAndPasses()
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
        // The failing case runs its own node alone, to keep the test short.
        QStringList arguments {project, QStringLiteral("execute")};
        if (!wrongCheck.isEmpty())
            arguments << QStringLiteral("Crc16Test");
        const BatchFixture::Run run = fixture.run(arguments, RecordingHost::stageDir());
        QTEST(run.status, "status");
        QFETCH(QStringList, rows);
        for (const QString& row : rows)
            QVERIFY2(run.out.contains(row), qPrintable(run.out));
        if (!wrongCheck.isEmpty())
            QVERIFY2(run.err.contains(QLatin1String("crc16.ptu:11: crc16.the_standard_check_value: crc16(digits, 9) "
                                                    "Expected 10674 Was 10673")),
                     qPrintable(run.err));
    }
};

QTEST_MAIN(tst_BatchExample)
#include "tst_batchexample.moc"
