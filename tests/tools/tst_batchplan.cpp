#include "runprojectfixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

using Reasons = QMap<QString, QString>;

// What a build would do, told before it runs: the explanation of each node,
// the shares of a sharded run, and the compilation database of a dry run.
class tst_BatchPlan : public QObject
{
    Q_OBJECT

    // "path: runs (reason)" for each node.
    static Reasons explanation(const QString& out, bool runs)
    {
        Reasons nodes;
        static const QRegularExpression line(QStringLiteral("^ *(.+): (runs|skipped) \\((.*)\\)$"),
                                             QRegularExpression::MultilineOption);
        for (auto it = line.globalMatch(out); it.hasNext();) {
            const QRegularExpressionMatch match = it.next();
            if ((match.captured(2) == QLatin1String("runs")) == runs)
                nodes.insert(match.captured(1), match.captured(3));
        }
        return nodes;
    }
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
        QTest::newRow("a program that is gone")
            << QString() << QStringList {"obj/List"}
            << Reasons {{"Unit tests.List", "program missing"},
                                       {"Unit tests.List.list.c", "up to date"},
                                       {"Unit tests.Queue", "up to date"}};
        QTest::newRow("an object that is gone")
            << QString() << QStringList {"obj/stack.o"}
            << Reasons {{"Unit tests.Stack.stack.c", "stack.o missing"}};
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
        const Reasons running = explanation(explained.out, true);
        const Reasons skipped = explanation(explained.out, false);
        QCOMPARE(running.size() + skipped.size(), 9);
        for (auto it = reasons.constBegin(); it != reasons.constEnd(); ++it)
            QCOMPARE(running.value(it.key(), skipped.value(it.key())), it.value());

        const BatchFixture::Run built
            = fixture.run({"--json", fixture.path(QStringLiteral("run.jsonl")), "build"});
        QVERIFY2(built.status == 0, qPrintable(built.out + built.err));
        const QStringList keys = running.keys();
        QCOMPARE(endedNodes(fixture.path(QStringLiteral("run.jsonl"))), QSet<QString>(keys.begin(), keys.end()));
    }

    // Each test node is in exactly one share, whatever the number of
    // shares, and the same one at every run.
    void sharesCoverTheTestNodesOnce_data()
    {
        QTest::addColumn<int>("shares");
        QTest::newRow("one share holds every test node") << 1;
        QTest::newRow("three shares split the test nodes") << 3;
    }
    void sharesCoverTheTestNodesOnce()
    {
        QFETCH(int, shares);
        RunProjectFixture fixture;
        QVERIFY(fixture.setUp(false));
        QStringList kept;
        for (int share = 1; share <= shares; ++share) {
            const QString shard = QStringLiteral("%1/%2").arg(share).arg(shares);
            const BatchFixture::Run run = fixture.run({"--shard", shard, "explain"});
            QCOMPARE(run.status, 0);
            QVERIFY(run.out == fixture.run({"--shard", shard, "explain"}).out);
            for (const char* node : {"Unit tests.Queue", "Unit tests.Stack", "Unit tests.List"}) {
                if (explanation(run.out, true).contains(QLatin1String(node)))
                    kept << node;
            }
        }
        kept.sort();
        QCOMPARE(kept, (QStringList {"Unit tests.List", "Unit tests.Queue", "Unit tests.Stack"}));
    }

    void badShardsAreRefused_data()
    {
        QTest::addColumn<QString>("shard");
        QTest::newRow("a share beyond the count") << "4/3";
        QTest::newRow("shares counted from one") << "0/3";
        QTest::newRow("no count") << "2";
    }
    void badShardsAreRefused()
    {
        QFETCH(QString, shard);
        RunProjectFixture fixture;
        QVERIFY(fixture.setUp(false));
        const BatchFixture::Run run = fixture.run({"--shard", shard, "build"});
        QCOMPARE(run.status, 4);
        QVERIFY2(run.err.contains(QStringLiteral("--shard needs K/N")), qPrintable(run.err));
    }

    // The database holds the command that the compile step then runs, word
    // for word, and the checker of the sources reads it.
    void dryRunWritesTheCompilesThatABuildRuns()
    {
        RunProjectFixture fixture;
        QVERIFY(fixture.setUp(false));
        const QString where = fixture.path(QStringLiteral("dry"));
        const BatchFixture::Run dry = fixture.run({"--dry-run=" + where, "rebuild"});
        QVERIFY2(dry.status == 0, qPrintable(dry.out + dry.err));
        QVERIFY(!QFileInfo::exists(fixture.path(QStringLiteral("obj"))));
        QVERIFY(QFileInfo::exists(where + QStringLiteral("/environment/Unit tests.Queue.queue.c.pl")));
        QVERIFY(QFileInfo::exists(where + QStringLiteral("/environment/Unit tests.Queue.pl")));
        QFile database(where + QStringLiteral("/compile_commands.json"));
        QVERIFY(database.open(QIODevice::ReadOnly));
        const QJsonArray entries = QJsonDocument::fromJson(database.readAll()).array();
        QStringList files, commands;
        for (const QJsonValue& entry : entries) {
            files << QFileInfo(entry[QLatin1String("file")].toString()).fileName();
            QStringList words;
            for (const QJsonValue& word : entry[QLatin1String("arguments")].toArray())
                words << word.toString();
            commands << words.join(QLatin1Char(' '));
        }
        files.sort();
        QCOMPARE(files, (QStringList {"list.c", "queue.c", "stack.c"}));

        QProcess tidy;
        tidy.start(QStringLiteral("clang-tidy"), {"--quiet", "--checks=-*,clang-analyzer-core.*", "-p", where,
                                                   fixture.path(QStringLiteral("src/queue.c"))});
        QVERIFY(tidy.waitForFinished(8000));
        QVERIFY2(tidy.exitCode() == 0, tidy.readAllStandardOutput() + tidy.readAllStandardError());

        qputenv("ZENTASTUDIO_VERBOSE", "1");
        const BatchFixture::Run built = fixture.run({"build"});
        qunsetenv("ZENTASTUDIO_VERBOSE");
        QCOMPARE(built.status, 0);
        for (const QString& command : std::as_const(commands))
            QVERIFY2(built.err.contains(command + QLatin1Char('\n')), qPrintable(command + "\n---\n" + built.err));
    }
};

QTEST_MAIN(tst_BatchPlan)
#include "tst_batchplan.moc"
