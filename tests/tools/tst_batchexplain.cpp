#include "runprojectfixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTest>

using Reasons = QMap<QString, QString>;

// The explanation of what a build would run, node by node, against the
// build that follows it on a project that was up to date until one change.
class tst_BatchExplain : public QObject
{
    Q_OBJECT

    static QSet<QString> endedNodes(const QString& jsonLines)
    {
        QSet<QString> names;
        QFile file(jsonLines);
        if (file.open(QIODevice::ReadOnly)) {
            while (!file.atEnd())
                names.insert(QJsonDocument::fromJson(file.readLine())[QLatin1String("name")].toString());
        }
        return names;
    }

private slots:
    void explainAgreesWithTheBuildThatFollows_data()
    {
        QTest::addColumn<QString>("touched");
        QTest::addColumn<QStringList>("removed");
        QTest::addColumn<Reasons>("reasons");
        QTest::newRow("a header that one source includes")
            << "src/shared.h" << QStringList()
            << Reasons {{"Unit tests.Queue.queue.c", "queue.o older than shared.h"},
                        {"Unit tests.Queue", "queue.c: queue.o older than shared.h"},
                        {"Unit tests.Stack", "up to date"},
                        {"Unit tests.Stack.stack.c", "not reached: Stack does not run"},
                        {"tool.c", "excluded"}};
        QTest::newRow("a program and an object that are gone")
            << QString() << QStringList {"obj/List", "obj/stack.o"}
            << Reasons {{"Unit tests.List", "program missing"},
                        {"Unit tests.List.list.c", "up to date"},
                        {"Unit tests.Stack", "stack.c: stack.o missing"},
                        {"Unit tests.Stack.stack.c", "stack.o missing"},
                        {"Unit tests.Queue", "up to date"}};
    }
    void explainAgreesWithTheBuildThatFollows()
    {
        QFETCH(QString, touched);
        QFETCH(QStringList, removed);
        QFETCH(Reasons, reasons);
        RunProjectFixture fixture;
        QVERIFY(fixture.setUp(true));
        if (!touched.isEmpty())
            QVERIFY(fixture.touch(touched, 30));
        for (const QString& file : removed)
            QVERIFY(QFile::remove(fixture.path(file)));
        const BatchFixture::Run explained = fixture.run({"explain"});
        QCOMPARE(explained.status, 0);
        const Reasons running = RunProjectFixture::explanation(explained.out, true);
        const Reasons skipped = RunProjectFixture::explanation(explained.out, false);
        QCOMPARE(running.size() + skipped.size(), 9);
        for (auto it = reasons.constBegin(); it != reasons.constEnd(); ++it)
            QCOMPARE(running.value(it.key(), skipped.value(it.key())), it.value());

        const BatchFixture::Run built
            = fixture.run({"--json", fixture.path(QStringLiteral("run.jsonl")), "build"});
        QVERIFY2(built.status == 0, qPrintable(built.out + built.err));
        const QStringList keys = running.keys();
        QCOMPARE(endedNodes(fixture.path(QStringLiteral("run.jsonl"))), QSet<QString>(keys.begin(), keys.end()));
    }

};

QTEST_MAIN(tst_BatchExplain)
#include "tst_batchexplain.moc"
