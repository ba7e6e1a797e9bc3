#include "qastconfiguration.h"
#include "qastdatafactory.h"
#include "qastnodegroup.h"
#include "qastnodetest.h"
#include "qastproject.h"
#include "projectfiles.h"
#include "recordinghost.h"

#include <QDomDocument>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

const int BuildSteps = 0x0F;
const int RunSteps = 0x30;

} // namespace

class tst_TestNode : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QTemporaryDir dir;
    std::unique_ptr<QAStProject> project;
    QAStNodeTest* test = nullptr;

    QString path(const QString& name) const { return dir.filePath(name); }
    QAStConfiguration* settings() const { return test->currentConfiguration(); }

    // A run script: it records its stage and mode, reports a result file
    // with the report text given, and ends with the status given.
    QString script(const QByteArray& report, int status)
    {
        const QString file = path(QStringLiteral("run.pl"));
        QFile out(file);
        if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return QString();
        out.write("use strict; use warnings;\ndo $ARGV[0] or die;\nno strict 'vars';\n"
                  "open(my $seen, '>', 'seen.txt') or die; print $seen \"$STAGE $EXECMODE\"; close($seen);\n");
        if (!report.isNull()) {
            out.write("open(my $xrd, '>', 'x.xrd') or die; print $xrd <<'END';\n" + report
                      + "\nEND\nclose($xrd);\n"
                        "open(my $log, '>>', $LOGFILENAME) or die; print $log \"XRD x.xrd\\n\"; close($log);\n");
        }
        out.write("exit " + QByteArray::number(status) + ";\n");
        return file;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(host.initializeLibrary());
        host.perl = QStringList {QStandardPaths::findExecutable(QStringLiteral("perl"))};
    }
    void init()
    {
        project = std::make_unique<QAStProject>(QPixmap());
        project->create(path(QStringLiteral("p.vmp")));
        project->addConfiguration(QStringLiteral("Debug"));
        project->setCurrentConfiguration(QStringLiteral("Debug"));
        auto* app = new QAStNodeGroup(QStringLiteral("app"), project.get());
        test = new QAStNodeTest(QStringLiteral("t"), QPixmap(), app);
        QFile::remove(path(QStringLiteral("seen.txt")));
    }
    void cleanup()
    {
        project.reset();
        host.messages.clear();
        host.boxes.clear();
        host.viewers.clear();
        host.viewerRequests.clear();
    }

    void theRunSeesItsStepsAndTheVerdict_data()
    {
        QTest::addColumn<int>("flag");
        QTest::addColumn<bool>("debug");
        QTest::addColumn<QByteArray>("report"); // null: the script reports nothing
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("result");
        QTest::addColumn<QString>("seen"); // what the script saw; empty when it did not run
        const QByteArray failed = "<XROD><R><XROD:NODE state=\"failed\"/></R></XROD>";
        QTest::newRow("build steps alone: no script")
            << BuildSteps << false << QByteArray() << 0 << int(QAStData::ExecutionNone) << "";
        QTest::newRow("the script sees the execution steps alone")
            << (BuildSteps | RunSteps) << false << QByteArray() << 0 << 0 << "er NORMAL";
        QTest::newRow("a debug run is told so") << 0x10 << true << QByteArray() << 0 << 0 << "e DEBUG";
        QTest::newRow("a failed verdict though the script ended well") << 0x10 << false << failed << 0 << 6 << "e NORMAL";
        QTest::newRow("a verdict of ok") << 0x10 << false << QByteArray("<XROD><XROD:NODE state=\"ok\"/></XROD>") << 0
                                         << 0 << "e NORMAL";
        QTest::newRow("a report without the node element leaves the result")
            << 0x10 << false << QByteArray("<XROD><other state=\"failed\"/></XROD>") << 0 << 0 << "e NORMAL";
        QTest::newRow("a report that does not parse leaves the result")
            << 0x10 << false << QByteArray("<XROD><XROD:NODE state=\"failed\">") << 0 << 0 << "e NORMAL";
        QTest::newRow("a failed script is not judged by its report") << 0x10 << false << failed << 3 << 1 << "e NORMAL";
    }
    void theRunSeesItsStepsAndTheVerdict()
    {
        QFETCH(int, flag);
        QFETCH(bool, debug);
        QFETCH(QByteArray, report);
        QFETCH(int, status);
        // The project holds the flag; the test node only inherits it.
        project->configuration(QStringLiteral("Debug"))->setProperty(QStringLiteral("executionFlag"), flag);
        test->setPerlScriptAfterChild(script(report, status));
        const QString before = QDir::currentPath();
        QSignalSpy finished(test, &QAStNode::buildExecuteFinished);
        test->executeAfterChildren(debug);
        QVERIFY(finished.count() == 1 || finished.wait(10000));
        QTEST(test->executionStatus(), "result");
        QFile seen(path(QStringLiteral("seen.txt")));
        QTEST(seen.open(QIODevice::ReadOnly) ? QString::fromLatin1(seen.readAll()) : QString(), "seen");
        if (!(flag & RunSteps))
            QVERIFY(host.consoleText(0).contains(QLatin1String("t: no execution step is selected\n")));
        // The node's setting is left as it was: inherited, not its own.
        QVERIFY(!settings()->hasProperty(QStringLiteral("executionFlag")));
        QCOMPARE(test->executionFlag(), flag);
        QCOMPARE(QDir::currentPath(), before);
    }

    // The script writes a coverage and a trace record into the split file
    // while it runs, as an instrumented program does.
    QString recordingScript(const QString& splitFile)
    {
        const QString file = path(QStringLiteral("records.pl"));
        QFile out(file);
        if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return QString();
        out.write("open(my $s, '>>', '" + splitFile.toUtf8() + "') or die; select($s); $| = 1;\n"
                  "print $s \"CO f1\\n\"; print $s \"CS main\\n\"; close($s); exit 0;\n");
        return file;
    }

    void aRunIsFollowedWhenTheHostHasTheViewer_data()
    {
        QTest::addColumn<QStringList>("viewers");
        QTest::addColumn<int>("flag");
        QTest::addColumn<QString>("language");
        QTest::addColumn<bool>("batch");
        QTest::addColumn<bool>("described"); // the program's description (FDC, TSF) is there
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("coverage"); // what the coverage file holds; null: not followed
        QTest::addColumn<QString>("trace");
        QTest::addColumn<QString>("window");
        const QStringList both {QStringLiteral("Cvi"), QStringLiteral("Tracer")};
        QTest::newRow("a host without the coverage viewer: the message, nothing split")
            << QStringList() << 0x210 << "C" << true << true << "Coverage|Unable to load this viewer." << QString()
            << QString() << "";
        QTest::newRow("coverage followed in batch: its records reach its file, no window")
            << both << 0x210 << "C" << true << true << "" << "CO f1\n" << QString() << "";
        QTest::newRow("no program description: the run is still split, the message names the tio")
            << both << 0x210 << "C" << true << false
            << "Coverage|Cannot view coverage information. \nNo tio file generated." << "CO f1\n" << QString() << "";
        QTest::newRow("no program description for the trace: the message names the tsf")
            << both << 0x410 << "C" << true << false
            << "Runtime Trace|Cannot view sequence diagram. \nNo tsf file generated." << QString() << "CS main\n" << "";
        QTest::newRow("trace followed in a window of the host")
            << both << 0x410 << "C" << false << true << "" << QString() << "CS main\n" << "Tracer";
        QTest::newRow("both followed at once") << both << 0x610 << "C" << true << true << "" << "CO f1\n"
                                               << "CS main\n" << "";
        QTest::newRow("an Ada configuration follows nothing, whatever the flags")
            << both << 0x610 << "ADA" << true << true << "" << QString() << QString() << "";
    }
    void aRunIsFollowedWhenTheHostHasTheViewer()
    {
        QFETCH(QStringList, viewers);
        QFETCH(int, flag);
        QFETCH(QString, language);
        QFETCH(bool, batch);
        QFETCH(bool, described);
        host.viewers = viewers;
        QAStProject::setModeBatch(batch);
        settings()->setProperty(QStringLiteral("executionFlag"), flag);
        settings()->setProperty(QStringLiteral("sourceLanguage"), language);
        settings()->setProperty(QStringLiteral("intdir"), QStringLiteral("out"));
        settings()->setProperty(QStringLiteral("ztc_onthefly"), 1);
        settings()->setProperty(QStringLiteral("ztt_on_fly"), false);
        QVERIFY(QDir().mkpath(path(QStringLiteral("out"))));
        if (described) {
            test->addOutFileName(QStringLiteral("FDC"), path(QStringLiteral("out/t.fdc")));
            test->addOutFileName(QStringLiteral("TSF"), path(QStringLiteral("out/t.tsf")));
        }
        test->setPerlScriptAfterChild(recordingScript(path(QStringLiteral("out/t.spt"))));
        QSignalSpy finished(test, &QAStNode::buildExecuteFinished);
        test->executeAfterChildren(false);
        QVERIFY(finished.count() == 1 || finished.wait(10000));
        test->stopOnTheFlySurvey();
        QAStProject::setModeBatch(false);
        QCOMPARE(test->executionStatus(), 0);
        QTEST(host.boxes.join(QLatin1Char('/')), "box");
        auto content = [](const QStringList& files) {
            QFile file(files.value(0));
            return files.size() == 1 && file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll())
                                                                        : QString();
        };
        QTEST(content(test->coverageFiles()), "coverage");
        QTEST(content(test->traceFiles()), "trace");
        QFETCH(QString, window);
        QCOMPARE(host.viewerRequests.isEmpty(), window.isEmpty());
        if (!window.isEmpty())
            QVERIFY2(host.viewerRequests.value(0).startsWith(window + QStringLiteral(": ")),
                     qPrintable(host.viewerRequests.join(QLatin1Char('\n'))));
    }

    void aSettingOfItsOwnComesBack()
    {
        settings()->setProperty(QStringLiteral("executionFlag"), 0x1F);
        test->setPerlScriptAfterChild(script(QByteArray(), 0));
        QSignalSpy finished(test, &QAStNode::buildExecuteFinished);
        test->executeAfterChildren(false);
        QVERIFY(finished.wait(10000));
        QVERIFY(settings()->hasProperty(QStringLiteral("executionFlag")));
        QCOMPARE(settings()->property(QStringLiteral("executionFlag")).toInt(), 0x1F);
    }

    void relinkFollowsTheProgramAndTheSteps_data()
    {
        QTest::addColumn<int>("programAge"); // 0: no program
        QTest::addColumn<int>("flag");
        QTest::addColumn<bool>("relink");
        QTest::newRow("no program, whatever the steps") << 0 << 0 << true;
        QTest::newRow("a program newer than its objects") << -10 << 0x3F << false;
        QTest::newRow("a program older than an object, with steps") << -200 << 0x10 << true;
        QTest::newRow("a program older than an object, with no step") << -200 << 0 << false;
    }
    void relinkFollowsTheProgramAndTheSteps()
    {
        QFETCH(int, programAge);
        settings()->setProperty(QStringLiteral("testProgram"), QStringLiteral("bin/t"));
        QFETCH(int, flag);
        settings()->setProperty(QStringLiteral("executionFlag"), flag);
        const QString program = project->directory() + QStringLiteral("/bin/t");
        QFile::remove(program);
        if (programAge)
            QVERIFY(touchFile(program, programAge));
        QCOMPARE(test->binaryTester(), program);
        QVERIFY(touchFile(path(QStringLiteral("o/a.o")), -100));
        test->addOutFileName(QStringLiteral("OBJ"), path(QStringLiteral("o/a.o")));
        QTEST(test->mustRebuilt(), "relink");
    }

    void theDefaultProgramIsNamedAfterTheNode()
    {
        settings()->setProperty(QStringLiteral("testProgram"), QStringLiteral("<default>"));
        settings()->setProperty(QStringLiteral("intdir"), QStringLiteral("Debug"));
        settings()->setProperty(QStringLiteral("binaryExt"), QStringLiteral("exe"));
        QCOMPARE(test->binaryTester(), project->directory() + QStringLiteral("/Debug/t.exe"));
        QCOMPARE(test->dottedTitle(), QStringLiteral("p.app.t"));
    }

    void childrenReadBackFromTheFile()
    {
        auto* source = new QAStNodeGroup(QStringLiteral("inner"), test);
        Q_UNUSED(source);
        const QString text = test->toString();
        QDomDocument document;
        QVERIFY(document.setContent(text));
        QAStNodeTest read(document.documentElement(), 1, nullptr);
        QCOMPARE(read.name(), QStringLiteral("t"));
        QVERIFY(read.firstChild() && read.firstChild()->name() == QLatin1String("inner"));
        QCOMPARE(read.toString(), text);
        QVERIFY(read.childrenToExecute().isEmpty());
    }
};

QTEST_MAIN(tst_TestNode)
#include "tst_testnode.moc"
