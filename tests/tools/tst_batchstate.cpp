#include "runprojectfixture.h"

#include <QRegularExpression>
#include <QTest>

// A build writes the project back, since the project records what each step
// made: the next run of the host builds only what is out of date. What the
// run chose for itself (its configuration, its shard) stays out of the file.
class tst_BatchState : public QObject
{
    Q_OBJECT

    static int startedNodes(const QString& out)
    {
        static const QRegularExpression start(QStringLiteral("^start "), QRegularExpression::MultilineOption);
        int count = 0;
        for (auto it = start.globalMatch(out); it.hasNext(); it.next())
            ++count;
        return count;
    }

private slots:
    void aSecondBuildRunsWhatTheFirstLeftToDo_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<bool>("saved");
        QTest::newRow("the build is recorded: the second one runs nothing") << QStringList() << true;
        QTest::newRow("--no-save leaves the file as it was: the second build runs everything again")
            << QStringList {"--no-save"} << false;
    }
    void aSecondBuildRunsWhatTheFirstLeftToDo()
    {
        QFETCH(QStringList, options);
        QFETCH(bool, saved);
        RunProjectFixture fixture;
        QVERIFY(fixture.setUp(false));
        const QByteArray before = BatchFixture::contents(fixture.project());
        const BatchFixture::Run first = fixture.run(options + QStringList {"build"});
        QVERIFY2(first.status == 0, qPrintable(first.out + first.err));
        const int built = startedNodes(first.out);
        QVERIFY2(built >= 6, qPrintable(first.out));
        QCOMPARE(BatchFixture::contents(fixture.project()) == before, !saved);
        const BatchFixture::Run second = fixture.run({"build"});
        QVERIFY2(second.status == 0, qPrintable(second.out + second.err));
        QCOMPARE(startedNodes(second.out), saved ? 0 : built);
    }

    void whatTheRunChoseStaysOutOfTheFile_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::newRow("several configurations in turn, the last one other than the file's") << QStringList {"--config", "Native C,Other C"};
        QTest::newRow("a shard, which leaves test nodes out") << QStringList {"--shard", "2/3"};
    }
    void whatTheRunChoseStaysOutOfTheFile()
    {
        QFETCH(QStringList, options);
        RunProjectFixture fixture;
        QVERIFY(fixture.setUp(false));
        const BatchFixture::Run run = fixture.run(options + QStringList {"build"});
        QVERIFY2(run.status == 0, qPrintable(run.out + run.err));
        const QByteArray saved = BatchFixture::contents(fixture.project());
        QVERIFY(saved.contains("_OBJ</filetype>"));
        QVERIFY(!saved.contains("<current_configuration>Other C"));
        // The excluded source beside the group, and nothing else.
        QCOMPARE(saved.count("<state>1</state>"), 1);
    }
};

QTEST_MAIN(tst_BatchState)
#include "tst_batchstate.moc"
