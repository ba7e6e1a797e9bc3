#include "unittestfixture.h"

#include <QTest>

// Component tests of a real C unit, the ring buffer, built and run by the
// batch host: what the report and the console say of each test.
class tst_BatchUnitTest : public QObject
{
    Q_OBJECT

    using Edits = UnitTestFixture::Edits;

private slots:
    void runsReportEachTest_data()
    {
        QTest::addColumn<Edits>("scriptEdits");
        QTest::addColumn<Edits>("projectEdits");
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("console");
        QTest::addColumn<QStringList>("tests");

        // A wrong expected value, a stub called once too often, and a null
        // pointer in the unit: each fails its own test, and the others run.
        QTest::newRow("failures name the variable, both values and the line")
            << Edits {{"check ring.count = 1\n    check ring.data", "check ring.count = 2\n    check ring.data"},
                      {"ring_push(&ring, 5);\n", "ring_push(&ring, 5);\n      ring_push(&ring, 6);\n"},
                      {"check ring.count = 1\n  end", "check ring.count = 2\n  end"},
                      {"service ring_flush", "service ring_null\n  test no_ring family robustness\n"
                                             "    call ring_pop(0, &value)\n  end\nend\n\nservice ring_flush"}}
            << Edits() << 2
            << QStringList {"ring.ptu:22: ring_push.stores_a_value: ring.count Expected 2 Was 1",
                            "ring.ptu:44: ring_pop.takes_the_oldest: stub uart_send Expected 2 call(s) Was 3",
                            "ring.ptu:52: ring_null.no_ring: crashed (SIGSEGV)", "5 test(s), 2 passed, 3 failed"}
            << QStringList {"ring_push.stores_a_value failed", "ring.count 2 1 22", "ring_push.refuses_when_full ok",
                            "ring_pop.takes_the_oldest failed", "uart_send 2 3 44", "ring_null.no_ring crashedSIGSEGV",
                            "ring_flush.empties_once_the_line_is_free ok"};
        // The family "robustness" and one test are left out; everything
        // else was in the lists before, and stays as the user chose it.
        QTest::newRow("a family and a test left out of the selection do not run")
            << Edits()
            << Edits {{"<fam_all></fam_all>", "<fam_all><fam>nominal</fam><fam>robustness</fam></fam_all>"},
                      {"<fam_selection></fam_selection>", "<fam_selection><fam>nominal</fam></fam_selection>"},
                      {"<cas_all></cas_all>", "<cas_all><cas>ring_pop.takes_the_oldest</cas></cas_all>"}}
            << 0 << QStringList {"2 test(s), 2 passed"}
            << QStringList {"ring_push.stores_a_value ok", "ring_flush.empties_once_the_line_is_free ok"};
    }
    void runsReportEachTest()
    {
        QFETCH(Edits, scriptEdits);
        QFETCH(Edits, projectEdits);
        QFETCH(QStringList, console);
        UnitTestFixture fixture;
        const QString project = fixture.copy(scriptEdits, projectEdits);
        QVERIFY(!project.isEmpty());
        const BatchFixture::Run run = fixture.run({project, QStringLiteral("execute"), QStringLiteral("ring")},
                                                  RecordingHost::stageDir());
        for (const QString& line : console)
            QVERIFY2(run.err.contains(line), qPrintable(run.out + run.err));
        QTEST(run.status, "status");
        QString state;
        QTEST(fixture.report(&state), "tests");
        QCOMPARE(state, run.status == 0 ? QStringLiteral("ok") : QStringLiteral("failed"));
        // The run's output goes to the split file as well.
        QFile split(fixture.path(QStringLiteral("unittest/obj/ring.spt")));
        QVERIFY(split.open(QIODevice::ReadOnly));
        QVERIFY(split.readAll().contains(console.last().toUtf8()));
    }
};

QTEST_MAIN(tst_BatchUnitTest)
#include "tst_batchunittest.moc"
