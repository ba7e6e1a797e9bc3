#include "programfixture.h"
#include "qastanalysemsg.h"
#include "qastfile.h"
#include "qastsplitsurvey.h"

#include <QProcess>
#include <QStandardPaths>

// Sources compiled for real: the staged "Source.pl" with the native ports'
// compilers.
class tst_SourceCompile : public QObject, ProgramFixture
{
    Q_OBJECT

    static QStringList objects(QAStNode* node)
    {
        QStringList files;
        node->outFileNames(QStringLiteral("OBJ"), files);
        return files;
    }

private slots:
    void initTestCase() { QVERIFY(ProgramFixture::initTestCase()); }
    void init() { ProgramFixture::init(); }
    void cleanup() { ProgramFixture::cleanup(); }

    void sourcesOfAnyNameCompile_data()
    {
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("file");
        QTest::newRow("a plain name") << "gnu_c_native" << "src/plain.c";
        QTest::newRow("blanks in the name and its directory") << "gnu_c_native" << "my src/with blank.c";
        QTest::newRow("quotes in the name") << "gnu_c_native" << "src/it's \"quoted\".c";
        QTest::newRow("a name that is not ASCII") << "gnu_c_native" << "src/ünïcödé ß.c";
        QTest::newRow("C++ with its port's compiler") << "gnu_cpp_native" << "src/a.cpp";
    }
    void sourcesOfAnyNameCompile()
    {
        QFETCH(QString, port);
        QFETCH(QString, file);
        usePort(port);
        write(file, "#include <stdio.h>\nint answer(void) { return 42; }\n");
        auto* source = new QAStNodeSource(file, project.get());
        QCOMPARE(build(source), 0);
        const QStringList made = objects(source);
        QCOMPARE(made.size(), 1);
        QVERIFY2(QFileInfo(made.first()).isFile(), qPrintable(made.first()));
        QCOMPARE(QFileInfo(made.first()).path(), path(QStringLiteral("obj")));
    }

    // The node's flags, include directories and definitions reach the
    // compiler; a second build waits for the file or a header to change.
    void aSecondBuildWaitsForAChange()
    {
        write(QStringLiteral("include/a.h"), "#define TWICE(x) ((x) * FACTOR)\n");
        write(QStringLiteral("src/a.c"), "#include \"a.h\"\nint f(int x) { return TWICE(x); }\n");
        settings()->setProperty(QStringLiteral("ge_incdir"), QStringList {QStringLiteral("include")});
        settings()->setProperty(QStringLiteral("cppFlags"), QStringLiteral("-DFACTOR=2"));
        settings()->setProperty(QStringLiteral("cflags"), QStringLiteral("-Werror=unused-parameter -Wall"));
        QAStFile* file = project->addFile(QStringLiteral("src/a.c"));
        QVERIFY(file);
        auto* source = new QAStNodeSource(file, project.get());
        age(QStringLiteral("src/a.c"), -100);
        age(QStringLiteral("include/a.h"), -100);
        QCOMPARE(build(source), 0);
        QCOMPARE(build(source), 0);
        QVERIFY(host.consoleText(0).contains(QLatin1String("a.c: is up-to-date")));

        age(QStringLiteral("src/a.c"), 100);
        QCOMPARE(build(source), 0);
        QVERIFY(!host.consoleText(0).contains(QLatin1String("up-to-date")));
        age(QStringLiteral("src/a.c"), -100);

        // The compile named the header it read, and a newer header builds
        // again; one that the source no longer includes is forgotten.
        QCOMPARE(file->dependencies(), QStringList {QStringLiteral("include/a.h")});
        age(QStringLiteral("include/a.h"), 200);
        QCOMPARE(build(source), 0);
        QVERIFY(!host.consoleText(0).contains(QLatin1String("up-to-date")));
        write(QStringLiteral("src/a.c"), "int f(int x) { return 2 * x; }\n");
        age(QStringLiteral("src/a.c"), 300);
        QCOMPARE(build(source), 0);
        QCOMPARE(file->dependencies(), QStringList());
    }

    void compileErrorsNameTheirLine()
    {
        write(QStringLiteral("src/bad one.c"), "int f(void)\n{\n    return missing;\n}\n");
        auto* source = new QAStNodeSource(QStringLiteral("src/bad one.c"), project.get());
        QCOMPARE(build(source), int(QAStData::ExecutionFailed));
        const QStringList lines = host.consoleText(0, true).split(QLatin1Char('\n'));
        const QString message = lines.filter(QStringLiteral("error:")).value(0);
        QVERIFY2(message.contains(QLatin1String("bad one.c:3:")), qPrintable(host.consoleText(0, true)));
        QAStAnalyseMsg analysis;
        QVERIFY(analysis.analyze(message));
        QCOMPARE(analysis.file, path(QStringLiteral("src/bad one.c")));
        QCOMPARE(analysis.line, 3);
        QVERIFY(objects(source).isEmpty());
    }

    void badInputIsNamed_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("message");
        QTest::newRow("a file that does not exist") << "missing file" << "src/gone.c: no such source file";
        QTest::newRow("a port that is not installed") << "unknown port" << "unknown Target Deployment Port";
        QTest::newRow("a compiler that does not exist") << "missing compiler" << "cannot run no-such-cc:";
    }
    void badInputIsNamed()
    {
        QFETCH(QString, setup);
        if (setup != QLatin1String("missing file"))
            write(QStringLiteral("src/gone.c"), "int x;\n");
        if (setup == QLatin1String("unknown port")) {
            settings()->setProperty(QStringLiteral("targetPath"), QStringLiteral("no_such_port"));
        } else if (setup == QLatin1String("missing compiler")) {
            write(QStringLiteral("myport/tp.ini"), "NAME = \"mine\"\nLANGUAGE = \"C\"\nCOMPILER = \"no-such-cc\"\n");
            settings()->setProperty(QStringLiteral("targetPathAsRelative"), true);
            settings()->setProperty(QStringLiteral("targetPath"), QStringLiteral("myport"));
        }
        auto* source = new QAStNodeSource(QStringLiteral("src/gone.c"), project.get());
        QCOMPARE(build(source), int(QAStData::ExecutionFailed));
        QFETCH(QString, message);
        QVERIFY2(host.consoleText(0, true).contains(message), qPrintable(host.consoleText(0, true)));
    }

    // The program built from an instrumented source appends to its stream as
    // it runs, and the splitter hands its records to the tools' files while it
    // runs: the test holds it between two records on its standard input.
    void anInstrumentedProgramReportsWhileItRuns()
    {
        const QString gcc = QStandardPaths::findExecutable(QStringLiteral("gcc"));
        QVERIFY(!gcc.isEmpty());
        write(QStringLiteral("src/p.c"), "#include <unistd.h>\n"
                                         "static int twice(int x) { return x > 2 ? 2 * x : x; }\n"
                                         "int helper(int x) { return twice(x) + 1; }\n"
                                         "int main(void)\n{\n    char c;\n    int r = helper(3);\n"
                                         "    if (read(0, &c, 1) != 1)\n        return 3;\n"
                                         "    return helper(r) > 100;\n}\n");
        // Compilation, coverage and tracing.
        settings()->setProperty(QStringLiteral("executionFlag"), 0x3F | 0x200 | 0x400);
        auto* source = new QAStNodeSource(QStringLiteral("src/p.c"), project.get());
        QCOMPARE(build(source), 0);
        const QStringList made = objects(source);
        QCOMPARE(made.size(), 2);

        QProcess link;
        link.start(gcc, QStringList {QStringLiteral("-rdynamic"), QStringLiteral("--coverage")} + made
                            + QStringList {QStringLiteral("-o"), path(QStringLiteral("obj/p"))});
        QVERIFY(link.waitForFinished(20000));
        QVERIFY2(link.exitCode() == 0, link.readAllStandardError().constData());

        const QString stream = path(QStringLiteral("obj/p.spt"));
        QASTSplitSurvey splitter(stream, QString(), QString(), QString(), QString());
        QVERIFY(splitter.splitExistingLines());
        auto output = [&](int index) { return readFile(splitter.outputPath(index)); };
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("VELMONT_SPLIT_FILE"), stream);
        environment.insert(QStringLiteral("VELMONT_COVERAGE_DIR"), path(QStringLiteral("obj")));
        program.setProcessEnvironment(environment);
        program.start(path(QStringLiteral("obj/p")), QStringList());
        QVERIFY(program.waitForStarted());
        auto text = [&] { return readFile(stream); };
        // The first call has returned while the program waits.
        QTRY_VERIFY_WITH_TIMEOUT(text().contains(" 1 helper\n"), 10000);
        QVERIFY(text().contains("EA "));
        const QByteArray early = text();
        QVERIFY(early.startsWith("DT \""));
        QVERIFY(early.contains("FT main\nBA "));
        QVERIFY(!early.contains("tEND"));
        QCOMPARE(program.state(), QProcess::Running);
        QTRY_VERIFY_WITH_TIMEOUT(output(QASTSplitSurvey::TraceOutput).contains(" 1 helper\n"), 10000);
        QVERIFY(output(QASTSplitSurvey::CoverageOutput).startsWith("DT \""));
        QCOMPARE(program.state(), QProcess::Running);

        program.write("x");
        program.closeWriteChannel();
        QVERIFY(program.waitForFinished(10000));
        QCOMPARE(program.exitCode(), 0);
        const QByteArray all = text();
        QVERIFY(all.startsWith(early));
        QVERIFY(all.size() > early.size());
        // The line never run and the last line, run once.
        const QByteArray file = "CO \"" + path(QStringLiteral("src/p.c")).toUtf8() + "\" ";
        QVERIFY2(all.contains(file + "9 0\n") && all.contains(file + "10 1\n"), all.mid(all.indexOf("CO ")).constData());
        QVERIFY(all.contains("TB \""));
        // Every function of the source with its calls, a static one by name too.
        const QByteArray function = "DC \"" + path(QStringLiteral("src/p.c")).toUtf8() + "\" ";
        QVERIFY2(all.contains(function + "2 twice\n") && all.contains(function + "2 helper\n")
                     && all.contains(function + "1 main\n"),
                 all.mid(all.indexOf("DC ")).constData());
        QVERIFY(all.endsWith("\n") && all.mid(all.lastIndexOf('\n', all.size() - 2) + 1).startsWith("tEND "));
        QTRY_VERIFY_WITH_TIMEOUT(output(QASTSplitSurvey::EndOfTestOutput).startsWith("tEND "), 10000);
        QVERIFY(output(QASTSplitSurvey::CoverageOutput).contains("TB \""));
        QVERIFY(output(QASTSplitSurvey::CoverageOutput).contains(function + "2 helper\n"));
        // The end of test goes on to the unsplit output; nothing else is left there.
        QCOMPARE(output(QASTSplitSurvey::UnsplitOutput), output(QASTSplitSurvey::EndOfTestOutput));
    }
};

QTEST_MAIN(tst_SourceCompile)
#include "tst_sourcecompile.moc"
