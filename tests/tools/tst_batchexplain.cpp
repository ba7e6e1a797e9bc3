#include "runprojectfixture.h"

#include <QJsonDocument>
#include <QSet>
#include <QTest>

// The explanation of what a build would run, node by node, against the
// build that follows it, on a project that was up to date until its header
// changed and one program was lost.
class tst_BatchExplain : public QObject
{
    Q_OBJECT

    RunProjectFixture fixture;
    BatchFixture::Run explained;

private slots:
    void initTestCase()
    {
        QVERIFY(fixture.setUp(true));
        QVERIFY(fixture.touch(QStringLiteral("src/shared.h"), 30));
        QVERIFY(QFile::remove(fixture.path(QStringLiteral("obj/List"))));
        explained = fixture.run({"explain"});
        QCOMPARE(explained.status, 0);
    }

    void eachNodeHasItsReason_data()
    {
        QTest::addColumn<QString>("node");
        QTest::addColumn<bool>("runs");
        QTest::addColumn<QString>("reason");
        QTest::newRow("a source is older than the header it includes")
            << "Unit tests.Queue.queue.c" << true << "queue.o older than shared.h";
        QTest::newRow("a test node runs for its source's reason")
            << "Unit tests.Queue" << true << "queue.c: queue.o older than shared.h";
        QTest::newRow("a test node whose program is gone runs") << "Unit tests.List" << true << "program missing";
        QTest::newRow("its source, newer than its inputs, does not") << "Unit tests.List.list.c" << false
                                                                      << "up to date";
        QTest::newRow("an up-to-date test node does not run") << "Unit tests.Stack" << false << "up to date";
        QTest::newRow("nor do the sources of a node that does not run")
            << "Unit tests.Stack.stack.c" << false << "not reached: Stack does not run";
        QTest::newRow("an excluded source does not run") << "tool.c" << false << "excluded";
    }
    void eachNodeHasItsReason()
    {
        QFETCH(QString, node);
        QFETCH(bool, runs);
        QTEST(BatchFixture::explanation(explained.out, runs).value(node), "reason");
    }

    void theBuildRunsWhatTheExplanationSays()
    {
        const QString jsonLines = fixture.path(QStringLiteral("run.jsonl"));
        const BatchFixture::Run built = fixture.run({"--json", jsonLines, "build"});
        QVERIFY2(built.status == 0, qPrintable(built.out + built.err));
        QSet<QString> ended;
        QFile file(jsonLines);
        QVERIFY(file.open(QIODevice::ReadOnly));
        while (!file.atEnd())
            ended.insert(QJsonDocument::fromJson(file.readLine())[QLatin1String("name")].toString());
        const QStringList running = BatchFixture::explanation(explained.out, true).keys();
        QCOMPARE(ended, QSet<QString>(running.begin(), running.end()));
        QCOMPARE(running.size() + BatchFixture::explanation(explained.out, false).size(), 9);
    }
};

QTEST_MAIN(tst_BatchExplain)
#include "tst_batchexplain.moc"
