#include "runprojectfixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <csignal>

// The reports of a run for a CI server: the JUnit file, the JSON lines and
// the tables, on a project whose three test nodes pass a test and fail one,
// crash, and fail without a result file.
class tst_BatchReports : public QObject
{
    Q_OBJECT

    RunProjectFixture fixture;
    BatchFixture::Run execution;

    QString junitFile() const { return fixture.path(QStringLiteral("out/junit.xml")); }

    static bool valid(const QString& path, QString* why)
    {
        QProcess lint;
        lint.start(QStringLiteral("xmllint"),
                   {"--noout", "--schema", QStringLiteral(SDK_TESTDATA_DIR "/junit.xsd"), path});
        const bool ok = lint.waitForFinished(5000) && lint.exitStatus() == QProcess::NormalExit && lint.exitCode() == 0;
        *why = QString::fromLocal8Bit(lint.readAllStandardError());
        return ok;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(fixture.setUp(false));
        QVERIFY(fixture.write(QStringLiteral("results/Queue.xrd"), R"(<?xml version="1.0" encoding="UTF-8"?>
<XROD:RESULT xmlns:XROD="urn:velmont:xrd:1" script="queue.ptu" unit="queue.c">
  <XROD:NODE name="Queue" state="failed" tests="2" passed="1" failed="1" time="0.003">
    <XROD:TEST service="push" test="fills_to_capacity" family="nominal" verdict="ok" line="12" time="0.001"/>
    <XROD:TEST service="push" test="rejects_when_full" family="robustness" verdict="failed" line="30" time="0.002">
      <XROD:CHECK variable="rb.count" expected="4" obtained="5" file="queue.ptu" line="41"/>
      <XROD:STUB function="hw_write" expected="2" obtained="3" file="queue.ptu" line="44"/>
    </XROD:TEST>
  </XROD:NODE>
</XROD:RESULT>
)"));
        QVERIFY(fixture.write(QStringLiteral("results/Stack.xrd"), R"(<?xml version="1.0" encoding="UTF-8"?>
<XROD:RESULT xmlns:XROD="urn:velmont:xrd:1" script="stack.ptu" unit="stack.c">
  <XROD:NODE name="Stack" state="failed" tests="1" passed="0" failed="1" time="0.01">
    <XROD:TEST service="pop" test="null &lt;buffer&gt;" family="robustness" verdict="crashed" line="50" signal="SIGSEGV"/>
  </XROD:NODE>
</XROD:RESULT>
)"));
        QVERIFY(fixture.write(QStringLiteral("results/List.fail"), ""));
        execution = fixture.run({"--junit", junitFile(), "--json", fixture.path(QStringLiteral("out/run.jsonl")),
                                 "execute"});
        QVERIFY2(execution.status == 1, qPrintable(execution.out + execution.err));
    }

    void junitFileIsValid()
    {
        QString why;
        QVERIFY2(valid(junitFile(), &why), qPrintable(why));
    }

    void suitesCountTheVerdicts_data()
    {
        QTest::addColumn<QString>("suite");
        QTest::addColumn<int>("tests");
        QTest::addColumn<int>("failures");
        QTest::addColumn<int>("errors");
        QTest::addColumn<QString>("message");
        QTest::newRow("a failed check names its variable and both values")
            << "Unit tests.Queue" << 2 << 1 << 0 << "rb.count: expected 4, obtained 5 (queue.ptu:41)";
        QTest::newRow("a crash is an error that names the signal")
            << "Unit tests.Stack" << 1 << 0 << 1 << "crashed: SIGSEGV";
        QTest::newRow("a node without a result file is one test that its status decides")
            << "Unit tests.List" << 1 << 1 << 0 << "the node ended with status 1 (error)";
    }
    void suitesCountTheVerdicts()
    {
        QFETCH(QString, suite);
        QFETCH(QString, message);
        const QDomElement element = RunProjectFixture::suite(RunProjectFixture::parse(junitFile()), suite);
        QVERIFY(!element.isNull());
        QTEST(element.attribute(QStringLiteral("tests")).toInt(), "tests");
        QTEST(element.attribute(QStringLiteral("failures")).toInt(), "failures");
        QTEST(element.attribute(QStringLiteral("errors")).toInt(), "errors");
        QStringList messages;
        const QDomNodeList cases = element.elementsByTagName(QStringLiteral("testcase"));
        for (int i = 0; i < cases.size(); ++i) {
            const QDomElement problem = cases.at(i).firstChildElement();
            if (!problem.isNull())
                messages << problem.attribute(QStringLiteral("message"));
        }
        QVERIFY2(messages.contains(message), qPrintable(messages.join(QLatin1Char('|'))));
    }

    void totalsAreTheSumsOfTheSuites()
    {
        const QDomElement top = RunProjectFixture::parse(junitFile()).documentElement();
        QCOMPARE(top.attribute(QStringLiteral("tests")), QStringLiteral("4"));
        QCOMPARE(top.attribute(QStringLiteral("failures")), QStringLiteral("2"));
        QCOMPARE(top.attribute(QStringLiteral("errors")), QStringLiteral("1"));
        // The second check of the failed test goes with the first.
        QVERIFY(top.text().contains(QStringLiteral("hw_write called 3 times, expected 2 (queue.ptu:44)")));
    }

    void jsonLinesDescribeEachNodeThatRan_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("verdict");
        QTest::addColumn<QString>("file");
        QTest::newRow("a compiled source names its object") << "Unit tests.Queue.queue.c" << "source" << "passed"
                                                              << "OBJ " + fixture.path(QStringLiteral("obj/queue.o"));
        QTest::newRow("a test node names its result file") << "Unit tests.Queue" << "runtestnode" << "failed"
                                                           << "XRD " + fixture.path(QStringLiteral("obj/Queue.xrd"));
        QTest::newRow("a failed test node has no result file") << "Unit tests.List" << "runtestnode" << "error"
                                                               << QString();
    }
    void jsonLinesDescribeEachNodeThatRan()
    {
        QFETCH(QString, name);
        QFETCH(QString, file);
        QFile lines(fixture.path(QStringLiteral("out/run.jsonl")));
        QVERIFY(lines.open(QIODevice::ReadOnly));
        QStringList names;
        QJsonObject found;
        while (!lines.atEnd()) {
            QJsonParseError error;
            const QJsonDocument line = QJsonDocument::fromJson(lines.readLine(), &error);
            QVERIFY2(error.error == QJsonParseError::NoError && line.isObject(), qPrintable(error.errorString()));
            names << line[QLatin1String("name")].toString();
            if (names.constLast() == name)
                found = line.object();
        }
        QCOMPARE(names.count(name), 1);
        QTEST(found[QLatin1String("kind")].toString(), "kind");
        QTEST(found[QLatin1String("verdict")].toString(), "verdict");
        QVERIFY(found[QLatin1String("duration")].toDouble() >= 0);
        QVERIFY(QDateTime::fromString(found[QLatin1String("end")].toString(), Qt::ISODateWithMs)
                >= QDateTime::fromString(found[QLatin1String("start")].toString(), Qt::ISODateWithMs));
        QStringList files;
        for (const QJsonValue& each : found[QLatin1String("files")].toArray())
            files << each[QLatin1String("type")].toString() + QLatin1Char(' ') + each[QLatin1String("path")].toString();
        QVERIFY2(file.isEmpty() ? files.isEmpty() : files.contains(file), qPrintable(files.join(QLatin1Char('|'))));
        QVERIFY(!names.contains(QStringLiteral("tool.c")));
    }

    void summaryHasARowPerTestNode()
    {
        // Off a terminal there are plain lines only.
        QVERIFY(!execution.out.contains(QLatin1Char('\x1b')));
        for (const char* row : {"Unit tests.Queue  Native C       failed   1       1       -          ",
                                   "Unit tests.Stack  Native C       failed   0       1",
                                   "Unit tests.List   Native C       error    0       1"})
            QVERIFY2(execution.out.contains(QLatin1String(row)), qPrintable(execution.out));
    }

    // The file is replaced whole after each test node: a kill leaves the
    // suites of the nodes that had ended.
    void aKilledRunLeavesAValidFile()
    {
        RunProjectFixture killed;
        QVERIFY(killed.setUp(false));
        QVERIFY(killed.write(QStringLiteral("results/List.hang"), ""));
        const QString junit = killed.path(QStringLiteral("junit.xml"));
        const std::unique_ptr<QProcess> process
            = killed.batch.start({killed.project(), "--junit", junit, "execute"}, killed.installation);
        QTRY_COMPARE_WITH_TIMEOUT(RunProjectFixture::parse(junit).elementsByTagName(QStringLiteral("testsuite")).size(), 2, 20000);
        ::kill(-pid_t(process->processId()), SIGKILL);
        QVERIFY(process->waitForFinished(5000));
        QCOMPARE(process->exitStatus(), QProcess::CrashExit);
        QString why;
        QVERIFY2(valid(junit, &why), qPrintable(why));
        QCOMPARE(RunProjectFixture::parse(junit).elementsByTagName(QStringLiteral("testsuite")).size(), 2);
    }
};

QTEST_MAIN(tst_BatchReports)
#include "tst_batchreports.moc"
