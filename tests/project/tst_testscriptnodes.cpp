#include "programfixture.h"
#include "qares.h"
#include "qastdatafactory.h"
#include "qastfile.h"
#include "qastnodetestscript.h"
#include "qastnodeunittesting.h"

#include <QDomDocument>
#include <QTemporaryFile>

// Test script nodes and the component test nodes: their lists and selection
// against the analyser's result, the lines they give their scripts, and the
// analysis of a real script before each build.
class tst_TestScriptNodes : public QObject, ProgramFixture
{
    Q_OBJECT

    // The result of the analyser, as resource text.
    static std::unique_ptr<QARes> analysis(const QByteArray& text)
    {
        QTemporaryFile file;
        if (!file.open())
            return nullptr;
        file.write(text);
        file.flush();
        return std::unique_ptr<QARes>(QARes::read(QFile::encodeName(file.fileName()).constData()));
    }
    static QString environment(QAStData* node)
    {
        QString text;
        QTextStream stream(&text);
        node->generateEnv(stream);
        return text;
    }

private slots:
    void initTestCase() { QVERIFY(ProgramFixture::initTestCase()); }
    void init()
    {
        ProgramFixture::init();
        host.boxAnswer = 0;
    }
    void cleanup() { ProgramFixture::cleanup(); }

    // Every kind reads back from its element what it wrote, through the
    // factory that finds the kind by the element's name.
    void elementsReadBackAsWritten_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("a test script") << "QAStNodeTestScript";
        QTest::newRow("a component test script of C") << "QAStNodeUnitTestingScript";
        QTest::newRow("a Java test script") << "QAStNodeJavaTestingScript";
        QTest::newRow("a component test node of C") << "QAStNodeUnitTesting";
        QTest::newRow("a component test node of C++") << "QAStNodeObjectTesting";
        QTest::newRow("a Java test node") << "QAStNodeJavaTesting";
    }
    void elementsReadBackAsWritten()
    {
        QFETCH(QString, kind);
        QAStNode* node = nullptr;
        if (kind.endsWith(QLatin1String("Script"))) {
            QAStNodeTestScript* script = kind == QLatin1String("QAStNodeTestScript")
                ? new QAStNodeTestScript(QStringLiteral("t.ptu"), project.get())
                : kind == QLatin1String("QAStNodeUnitTestingScript")
                ? new QAStNodeUnitTestingScript(QStringLiteral("t.ptu"), project.get())
                : static_cast<QAStNodeTestScript*>(new QAStNodeJavaTestingScript(QStringLiteral("T.java"), project.get()));
            const std::unique_ptr<QARes> res = analysis(
                "SPG_FILE { FAMILY_LIST = (\"nominal\", \"a&b\"); SERVICE_TREE = (\"s\", (\"x\", \"y\")); }");
            script->updateFamilyAndService(res.get());
            script->setCasSelection({QStringLiteral("s.y")});
            script->setUseVtFamSelection(false);
            script->setInstance(QStringLiteral("second <one>"));
            node = script;
        } else {
            QAStNodeTest* test = kind == QLatin1String("QAStNodeUnitTesting")
                ? static_cast<QAStNodeTest*>(new QAStNodeUnitTesting(QStringLiteral("unit"), project.get()))
                : kind == QLatin1String("QAStNodeObjectTesting")
                ? static_cast<QAStNodeTest*>(new QAStNodeObjectTesting(QStringLiteral("unit"), project.get()))
                : new QAStNodeJavaTesting(QStringLiteral("unit"), project.get());
            new QAStNodeUnitTestingScript(QStringLiteral("t.ptu"), test);
            node = test;
        }
        QString written;
        QTextStream stream(&written);
        node->write(stream, 0);
        stream.flush();
        QDomDocument document;
        QVERIFY(document.setContent(written));
        QAStData* read = QAStDataFactory::create(document.documentElement(), 1, project.get(), node);
        QVERIFY(read);
        QCOMPARE(QString::fromLatin1(read->metaObject()->className()), kind);
        QString again;
        QTextStream second(&again);
        read->write(second, 0);
        second.flush();
        QCOMPARE(again, written);
    }

    // The selection follows the script: what is new joins it, what is gone
    // leaves it, what the user left out stays out.
    void theSelectionFollowsTheAnalysis_data()
    {
        QTest::addColumn<QStringList>("famAll");
        QTest::addColumn<QStringList>("famSelection");
        QTest::addColumn<QByteArray>("result");
        QTest::addColumn<QStringList>("famAfter");
        QTest::addColumn<QStringList>("famSelectionAfter");
        QTest::addColumn<QStringList>("casAfter");

        const QByteArray tree = "SERVICE_TREE = (\"push\", (\"one\", \"full\"), \"pop\");";
        QTest::newRow("a first analysis selects everything")
            << QStringList() << QStringList()
            << "SPG_FILE { FAMILY_LIST = (\"nominal\", \"robustness\"); " + tree + " }"
            << QStringList {"nominal", "robustness"} << QStringList {"nominal", "robustness"}
            << QStringList {"push", "push.one", "push.full", "pop"};
        QTest::newRow("a family gone from the script leaves the selection")
            << QStringList {"nominal", "robustness"} << QStringList {"nominal", "robustness"}
            << "SPG_FILE { FAMILY_LIST = (\"nominal\"); " + tree + " }" << QStringList {"nominal"}
            << QStringList {"nominal"} << QStringList {"push", "push.one", "push.full", "pop"};
        QTest::newRow("a family the user left out stays out, a new one joins")
            << QStringList {"nominal", "robustness"} << QStringList {"nominal"}
            << QByteArray("SPG_FILE { FAMILY_LIST = (\"nominal\", \"robustness\", \"stress\", \"\"); }")
            << QStringList {"nominal", "robustness", "stress"} << QStringList {"nominal", "stress"}
            << QStringList();
        QTest::newRow("a result without families leaves them as they were")
            << QStringList {"nominal"} << QStringList {"nominal"} << "SPG_FILE { " + tree + " }"
            << QStringList {"nominal"} << QStringList {"nominal"}
            << QStringList {"push", "push.one", "push.full", "pop"};
        QTest::newRow("families that are no list are skipped")
            << QStringList {"nominal"} << QStringList {"nominal"} << QByteArray("SPG_FILE { FAMILY_LIST = 3; }")
            << QStringList {"nominal"} << QStringList {"nominal"} << QStringList();
    }
    void theSelectionFollowsTheAnalysis()
    {
        QFETCH(QStringList, famAll);
        QFETCH(QStringList, famSelection);
        QFETCH(QByteArray, result);
        auto* script = new QAStNodeUnitTestingScript(QStringLiteral("t.ptu"), project.get());
        // The earlier lists, as a project file holds them.
        QString text;
        QTextStream stream(&text);
        script->write(stream, 0);
        stream.flush();
        for (const QString& family : QStringList(famAll.crbegin(), famAll.crend()))
            text.replace(QStringLiteral("<fam_all>"), QStringLiteral("<fam_all><fam>%1</fam>").arg(family));
        for (const QString& family : QStringList(famSelection.crbegin(), famSelection.crend()))
            text.replace(QStringLiteral("<fam_selection>"), QStringLiteral("<fam_selection><fam>%1</fam>").arg(family));
        QDomDocument document;
        QVERIFY(document.setContent(text));
        auto* read = new QAStNodeUnitTestingScript(document.documentElement(), 1, project.get());
        QCOMPARE(read->famAll(), famAll);

        const std::unique_ptr<QARes> res = analysis(result);
        QVERIFY(res);
        read->updateFamilyAndService(res.get());
        QTEST(read->famAll(), "famAfter");
        QTEST(read->famSelection(), "famSelectionAfter");
        QTEST(read->casAll(), "casAfter");
        QTEST(read->casSelection(), "casAfter");
    }

    void selectionLinesFollowTheirFlags_data()
    {
        QTest::addColumn<bool>("useItems");
        QTest::addColumn<bool>("useFamilies");
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QStringList>("absent");
        QTest::newRow("both selections, one of them empty")
            << true << true << QStringList {"push.one", "it's"}
            << QStringList {"@VT_ITEM_SELECTION=('push.one', 'it\\'s');\n", "@VT_FAM_SELECTION=();\n"}
            << QStringList {"@OTIFILES"};
        QTest::newRow("a selection that is not used is not written")
            << false << true << QStringList {"push.one"} << QStringList {"@VT_FAM_SELECTION=();\n"}
            << QStringList {"@VT_ITEM_SELECTION"};
        QTest::newRow("neither") << false << false << QStringList() << QStringList()
                                 << QStringList {"@VT_ITEM_SELECTION", "@VT_FAM_SELECTION"};
    }
    void selectionLinesFollowTheirFlags()
    {
        QFETCH(QStringList, present);
        QFETCH(QStringList, absent);
        auto* node = new QAStNodeUnitTesting(QStringLiteral("unit"), project.get());
        auto* script = new QAStNodeUnitTestingScript(QStringLiteral("t.ptu"), node);
        QFETCH(bool, useItems);
        QFETCH(bool, useFamilies);
        QFETCH(QStringList, items);
        script->setUseVtSelection(useItems);
        script->setUseVtFamSelection(useFamilies);
        script->setCasSelection(items);
        const QString text = environment(script);
        for (const QString& line : present)
            QVERIFY2(text.contains(line), qPrintable(text));
        for (const QString& line : absent)
            QVERIFY2(!text.contains(line), qPrintable(text));
    }

    void theActiveScriptIsNamed()
    {
        auto* node = new QAStNodeUnitTesting(QStringLiteral("unit"), project.get());
        QString text = environment(node);
        QVERIFY2(!text.contains(QLatin1String("UNITTESTING_TESTSCRIPTNAME")), qPrintable(text));
        QVERIFY(text.contains(QLatin1String("$MATLAB=0;\n")));
        auto* first = new QAStNodeUnitTestingScript(QStringLiteral("a.ptu"), node);
        auto* second = new QAStNodeUnitTestingScript(QStringLiteral("b.ptu"), node, first);
        first->setState(QAStNode::Excluded);
        new QAStNodeSource(QStringLiteral("model.mdl"), node);
        text = environment(node);
        QVERIFY2(text.contains(QStringLiteral("$UNITTESTING_TESTSCRIPTNAME='%1';\n").arg(second->absolutePath())),
                 qPrintable(text));
        QVERIFY(text.contains(QLatin1String("$MATLAB=1;\n")));
    }

    void aSecondScriptReplacesOrJoinsTheFirst_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("added");
        QTest::addColumn<int>("scripts");
        QTest::addColumn<bool>("firstExcluded");
        QTest::newRow("replace, the first one gone") << int(QMessageBox::Yes) << true << 1 << false;
        QTest::newRow("add, the first one inactive") << int(QMessageBox::No) << true << 2 << true;
        QTest::newRow("cancel") << int(QMessageBox::Cancel) << false << 1 << false;
    }
    void aSecondScriptReplacesOrJoinsTheFirst()
    {
        QFETCH(int, answer);
        auto* node = new QAStNodeUnitTesting(QStringLiteral("unit"), project.get());
        QPointer<QAStNode> first = new QAStNodeUnitTestingScript(QStringLiteral("a.ptu"), node);
        auto second = std::make_unique<QAStNodeUnitTestingScript>(QStringLiteral("b.ptu"));
        host.boxAnswer = answer;
        QFETCH(bool, added);
        QCOMPARE(node->canAdd(second.get()), added);
        QVERIFY(host.boxes.last().contains(QLatin1String("There is already an active test script")));
        if (added)
            node->addChild(second.release());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QTEST(int(node->childrenOfClass("QAStNodeUnitTestingScript", true).size()), "scripts");
        QTEST(first && first->effectiveState() == QAStNode::Excluded, "firstExcluded");
        QVERIFY(node->canAdd(new QAStNodeSource(QStringLiteral("x.c"), node)));
    }

    void aDefinitionGoesBehindTheLastContract()
    {
        auto* node = new QAStNodeObjectTesting(QStringLiteral("objects"), project.get());
        auto* contractA = new QAStNodeTestScript(QStringLiteral("a.otc"));
        auto* contractB = new QAStNodeTestScript(QStringLiteral("b.otc"));
        auto* definition = new QAStNodeTestScript(QStringLiteral("t.otd"));
        auto* header = new QAStNodeSource(QStringLiteral("stack.h"));
        node->addChild(definition);
        node->addChild(header, definition);
        node->addChild(contractA, definition);
        node->addChild(contractB, contractA);
        auto* late = new QAStNodeTestScript(QStringLiteral("u.otd"));
        node->addChild(late);
        QStringList order;
        for (QAStData* child = node->firstChild(); child; child = child->next())
            order << child->name();
        QCOMPARE(order, (QStringList {"a.otc", "b.otc", "u.otd", "t.otd", "stack.h"}));
        const QString text = environment(definition);
        QVERIFY2(text.contains(QLatin1String("@OTIFILES=();\n")), qPrintable(text));
    }

    // A contract edited after its object-test information was made makes
    // the instrumented sources behind it old.
    void anEditedContractRebuildsTheSourcesBehindIt_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<int>("informationAge");
        QTest::addColumn<QList<bool>>("forced");
        QTest::newRow("a contract newer than its information")
            << "a.otc" << -100 << QList<bool> {false, true, false};
        QTest::newRow("a contract older than its information") << "a.otc" << 100 << QList<bool> {false, false, false};
        QTest::newRow("a script of another language") << "a.ptu" << -100 << QList<bool> {false, false, false};
    }
    void anEditedContractRebuildsTheSourcesBehindIt()
    {
        QFETCH(QString, script);
        QFETCH(int, informationAge);
        auto* node = new QAStNodeObjectTesting(QStringLiteral("objects"), project.get());
        auto* before = new QAStNodeSource(QStringLiteral("before.cpp"), node);
        auto* contract = new QAStNodeTestScript(script, node, before);
        auto* instrumented = new QAStNodeSource(QStringLiteral("after.cpp"), node, contract);
        auto* integrated = new QAStNodeSource(QStringLiteral("plain.cpp"), node, instrumented);
        integrated->setMode(QAStNodeSource::Integrated);
        write(script, "class A\n");
        write(QStringLiteral("a.oti"), "");
        age(QStringLiteral("a.oti"), informationAge);
        contract->addOutFileName(QStringLiteral("OTI"), path(QStringLiteral("a.oti")));
        contract->buildFinishEvent();
        QTEST((QList<bool> {before->isForceRebuild(), instrumented->isForceRebuild(), integrated->isForceRebuild()}),
              "forced");
    }

    // The node's own lines close its environment.
    void javaTestingNamesItsTraceFiles_data()
    {
        QTest::addColumn<int>("flag");
        QTest::addColumn<bool>("coverage");
        QTest::newRow("without the coverage bit, the trace files only") << 0x3F << false;
        QTest::newRow("with it, the coverage files first") << 0x23F << true;
    }
    void javaTestingNamesItsTraceFiles()
    {
        QFETCH(int, flag);
        auto* node = new QAStNodeJavaTesting(QStringLiteral("java"), project.get());
        node->addOutFileName(QStringLiteral("TSF"), path(QStringLiteral("obj/t.tsf")));
        settings()->setProperty(QStringLiteral("executionFlag"), flag);
        const QStringList lines = environment(node).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QVERIFY(lines.size() > 2);
        QCOMPARE(lines.last(), QStringLiteral("@TSFFILES=('%1');").arg(path(QStringLiteral("obj/t.tsf"))));
        QTEST(lines.at(lines.size() - 2) == QLatin1String("@FDCFILES=();"), "coverage");
    }

    void scriptsAreBuiltOnlyByTheCompileSteps()
    {
        write(QStringLiteral("t.ptu"), "service s\n  test t\n  end\nend\n");
        auto* script = new QAStNodeUnitTestingScript(QStringLiteral("t.ptu"), project.get());
        settings()->setProperty(QStringLiteral("executionFlag"), 0x39);
        QVERIFY(!script->mustRebuilt());
        settings()->setProperty(QStringLiteral("executionFlag"), 0x3F);
        QVERIFY(script->mustRebuilt());
    }

    // The real analyser on a script that is edited between two builds.
    void eachBuildAnalysesTheScriptAgain()
    {
        auto* node = new QAStNodeUnitTesting(QStringLiteral("unit"), project.get());
        auto* script = new QAStNodeUnitTestingScript(QStringLiteral("t.ptu"), node);
        write(QStringLiteral("t.ptu"), "service s\n  test a family nominal\n  end\n  test b family slow\n  end\nend\n");
        QCOMPARE(build(script), 0);
        QCOMPARE(script->casAll(), (QStringList {"s", "s.a", "s.b"}));
        QCOMPARE(script->famSelection(), (QStringList {"nominal", "slow"}));

        write(QStringLiteral("t.ptu"), "service s\n  test a family nominal\n  end\n  test c\n  end\nend\n");
        QCOMPARE(build(script), 0);
        QCOMPARE(script->casAll(), (QStringList {"s", "s.a", "s.c"}));
        QCOMPARE(script->casSelection(), (QStringList {"s", "s.a", "s.c"}));
        QCOMPARE(script->famAll(), QStringList {"nominal"});
        QCOMPARE(script->famSelection(), QStringList {"nominal"});
    }

    // The user's choice of families and tests, after an analysis.
    void theUserSelectsTestsAfterAnAnalysis_data()
    {
        QTest::addColumn<bool>("cancel");
        QTest::addColumn<QStringList>("famSelection");
        QTest::addColumn<QStringList>("casSelection");
        QTest::newRow("a choice is taken and forces a build")
            << false << QStringList {"slow"} << QStringList {"s.b"};
        QTest::newRow("a cancel leaves everything selected")
            << true << QStringList {"nominal", "slow"} << QStringList {"s", "s.a", "s.b"};
    }
    void theUserSelectsTestsAfterAnAnalysis()
    {
        QFETCH(bool, cancel);
        auto* script = new QAStNodeUnitTestingScript(QStringLiteral("t.ptu"), project.get());
        write(QStringLiteral("t.ptu"), "service s\n  test a\n  end\n  test b family slow\n  end\nend\n");
        host.checkCancels = cancel;
        host.checkAnswers = QStringList {"slow", "s.b"};
        script->testerConfiguration();
        QTRY_COMPARE_WITH_TIMEOUT(script->casAll(), (QStringList {"s", "s.a", "s.b"}), 10000);
        QTEST(script->famSelection(), "famSelection");
        QTEST(script->casSelection(), "casSelection");
        QCOMPARE(script->isForceRebuild(), !cancel);
    }

    // A script that does not read stops the build with its file and line,
    // and the lists stay as they were.
    void scriptErrorsNameTheirLine_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("error");
        const QByteArray stub = "stub int f(int a)\n";
        QTest::newRow("a statement the language lacks")
            << QByteArray("service s\n  test a\n    expect x = 1\n  end\nend\n") << "t.ptu:3: error: unknown statement";
        QTest::newRow("a test outside a service") << QByteArray("test a\nend\n") << "t.ptu:1: error: unknown statement";
        QTest::newRow("a test without its end")
            << QByteArray("service s\n  test a\n    check x = 1\n") << "t.ptu:2: error: test a has no \"end\"";
        QTest::newRow("the same test twice in a service")
            << QByteArray("service s\n  test a\n  end\n  test a\n  end\nend\n") << "t.ptu:4: error: test a is";
        QTest::newRow("calls of a function that has no stub")
            << QByteArray("service s\n  test a\n    calls g 1\n  end\nend\n") << "t.ptu:3: error: function g has no stub";
        QTest::newRow("more return values than a stub keeps")
            << stub + "service s\n  test a\n    calls f 1 returns " + QByteArray("1, ").repeated(64) + "1\n  end\nend\n"
            << "t.ptu:4: error: a stub takes at most 64 return values";
        QTest::newRow("the arguments of a call that a stub does not keep")
            << stub + "service s\n  test a\n    args f 65 = 1\n  end\nend\n"
            << "t.ptu:4: error: calls are counted from 1 to 64";
        QTest::newRow("arguments that are not those of the stub")
            << stub + "service s\n  test a\n    args f 1 = 1, 2\n  end\nend\n"
            << "t.ptu:4: error: stub f takes 1 argument(s), not 2";
        QTest::newRow("a script without a service") << QByteArray("-- nothing yet\n") << "t.ptu:1: error: the script has no service";
    }
    void scriptErrorsNameTheirLine()
    {
        QFETCH(QByteArray, script);
        QFETCH(QString, error);
        auto* node = new QAStNodeUnitTesting(QStringLiteral("unit"), project.get());
        auto* reference = new QAStNodeUnitTestingScript(QStringLiteral("t.ptu"), node);
        const std::unique_ptr<QARes> before = analysis("SPG_FILE { SERVICE_TREE = (\"s\", (\"a\")); }");
        QVERIFY(before);
        reference->updateFamilyAndService(before.get());
        write(QStringLiteral("t.ptu"), script);
        QCOMPARE(build(reference), 1);
        QVERIFY2(host.consoleText(0).contains(error), qPrintable(host.consoleText(0)));
        QCOMPARE(reference->casAll(), (QStringList {"s", "s.a"}));
    }

    // The harness gives the compiler the script's lines: C of the script
    // that does not compile is reported there.
    void cOfTheScriptIsReportedAtItsLine()
    {
        auto* node = new QAStNodeUnitTesting(QStringLiteral("unit"), project.get());
        auto* script = new QAStNodeUnitTestingScript(QStringLiteral("t.ptu"), node);
        write(QStringLiteral("t.ptu"), "service s\n  test a\n    var int x\n    call x = f(1 2)\n  end\nend\n");
        QCOMPARE(build(script), 1);
        QVERIFY2(host.consoleText(0).contains(path(QStringLiteral("t.ptu")) + QStringLiteral(":4:")),
                 qPrintable(host.consoleText(0)));
    }
};

QTEST_MAIN(tst_TestScriptNodes)
#include "tst_testscriptnodes.moc"
