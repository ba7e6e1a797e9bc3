#include "runprojectfixture.h"

#include <QTest>

// What a run takes on: its share of the test nodes, and its configurations.
class tst_BatchSelection : public QObject
{
    Q_OBJECT

private slots:
    // Each test node is in exactly one share: the shares of machines that
    // each run one cover the project once.
    void sharesCoverTheTestNodesOnce()
    {
        const int shares = 3;
        RunProjectFixture fixture;
        QVERIFY(fixture.setUp(false));
        QStringList kept;
        for (int share = 1; share <= shares; ++share) {
            const QString shard = QStringLiteral("%1/%2").arg(share).arg(shares);
            const BatchFixture::Run run = fixture.run({"--shard", shard, "explain"});
            QCOMPARE(run.status, 0);
            for (const char* node : {"Unit tests.Queue", "Unit tests.Stack", "Unit tests.List"}) {
                if (BatchFixture::explanation(run.out, true).contains(QLatin1String(node)))
                    kept << node;
            }
        }
        kept.sort();
        QCOMPARE(kept, (QStringList {"Unit tests.List", "Unit tests.Queue", "Unit tests.Stack"}));
    }

    // The configurations run one after the other, each with its own
    // verdicts: the test fails in the second alone.
    void severalConfigurationsEndWithOneTable()
    {
        RunProjectFixture fixture;
        QVERIFY(fixture.setUp(false));
        QVERIFY(fixture.write(QStringLiteral("results/List.fail-Other C"), ""));
        const QString junit = fixture.path(QStringLiteral("junit.xml"));
        const BatchFixture::Run run
            = fixture.run({"--config", "Native C,Other C", "--junit", junit, "build", "Unit tests.List"});
        QCOMPARE(run.status, 1);
        QVERIFY2(run.out.contains(QLatin1String("test node        Native C  Other C\n"
                                                "Unit tests.List  passed    error\n")),
                 qPrintable(run.out));
        const QDomDocument document = RunProjectFixture::parse(junit);
        QCOMPARE(RunProjectFixture::suite(document, QStringLiteral("Unit tests.List [Native C]"))
                     .attribute(QStringLiteral("failures")),
                 QStringLiteral("0"));
        QCOMPARE(RunProjectFixture::suite(document, QStringLiteral("Unit tests.List [Other C]"))
                     .attribute(QStringLiteral("failures")),
                 QStringLiteral("1"));
    }
};

QTEST_MAIN(tst_BatchSelection)
#include "tst_batchselection.moc"
