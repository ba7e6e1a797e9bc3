#include "programfixture.h"
#include "qastnodeuser.h"

// Applications, libraries, the links between them and external commands:
// their files, their project elements and their steps.
class tst_ProgramNodes : public QObject, ProgramFixture
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(ProgramFixture::initTestCase()); }
    void init() { ProgramFixture::init(); }
    void cleanup() { ProgramFixture::cleanup(); }

    void linkForwardsByItsState_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<bool>("targetDeleted");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("listsTarget");
        const QStringList none;
        QTest::newRow("an included link gives its target's library") << 0 << false << "LIB" << QStringList {"lib.a"} << "lib.a" << true;
        QTest::newRow("an included link keeps its target's objects out of the link step")
            << 0 << false << "OBJ" << none << "a.o" << true;
        QTest::newRow("a link for reports only gives no library") << 2 << false << "LIB" << none << "" << false;
        QTest::newRow("a link for reports only gives its target's reports")
            << 2 << false << "TIO" << QStringList {"x.tio"} << "x.tio" << false;
        QTest::newRow("an excluded link gives nothing") << 1 << false << "TIO" << none << "" << false;
        QTest::newRow("a link whose target was deleted answers from its own files")
            << 0 << true << "TIO" << QStringList {"own.tio"} << "own.tio" << false;
        QTest::newRow("a link whose target was deleted has no library") << 0 << true << "LIB" << none << "" << false;
    }
    void linkForwardsByItsState()
    {
        QFETCH(int, state);
        QFETCH(bool, targetDeleted);
        QFETCH(QString, type);
        auto* library = new QAStNodeLibrary(QStringLiteral("mathlib"), project.get());
        auto* app = new QAStNodeApplication(QStringLiteral("calc"), project.get());
        auto* link = new QAStNodeLink(library, app);
        project->connectConfigurations();
        library->addOutFileName(QStringLiteral("LIB"), path(QStringLiteral("lib.a")));
        library->addOutFileName(QStringLiteral("OBJ"), path(QStringLiteral("a.o")));
        library->addOutFileName(QStringLiteral("TIO"), path(QStringLiteral("x.tio")));
        link->addOutFileName(QStringLiteral("TIO"), path(QStringLiteral("own.tio")));
        link->setState(QAStNode::State(state));
        if (targetDeleted)
            delete library;

        QStringList files;
        link->outFileNames(type, files);
        for (QString& file : files)
            file = QFileInfo(file).fileName();
        QTEST(files, "files");
        QTEST(QFileInfo(link->outFileName(type)).fileName(), "file");
        QStringList listed;
        link->listOutFileNames(listed);
        QFETCH(bool, listsTarget);
        QCOMPARE(listed.contains(path(QStringLiteral("lib.a"))), listsTarget);
        QCOMPARE(!targetDeleted && &link->outFileNameMap() == &library->outFileNameMap(), listsTarget);
        // The parent's link step sees what the link lets through.
        QStringList objects;
        app->outFileNames(QStringLiteral("OBJ"), objects);
        QVERIFY(objects.isEmpty());
    }

    // The kinds are written and read back, and a link finds its target again
    // by the identifier it kept.
    void theKindsAreReadBack()
    {
        auto* library = new QAStNodeLibrary(QStringLiteral("mathlib"), project.get());
        auto* app = new QAStNodeApplication(QStringLiteral("calc"), project.get());
        auto* link = new QAStNodeLink(library, app);
        auto* user = new QAStNodeUser(QStringLiteral("External Command"), app);
        user->catchStderrAttribute() = false;
        new QAStNodeUser(QStringLiteral("inner"), user);
        QCOMPARE(link->name(), QStringLiteral("Link to mathlib"));
        const unsigned int target = library->getQuid();
        QVERIFY(project->saveProcess());

        QAStProject again(path(QStringLiteral("p.vmp")));
        QVERIFY(again.isValid());
        auto* readLibrary = qobject_cast<QAStNodeLibrary*>(again.findNode(QStringLiteral("mathlib")));
        auto* readApp = qobject_cast<QAStNodeApplication*>(again.findNode(QStringLiteral("calc")));
        QVERIFY(readLibrary && readApp);
        auto* readLink = qobject_cast<QAStNodeLink*>(again.findNode(QStringLiteral("calc.Link to mathlib")));
        QVERIFY(readLink);
        QCOMPARE(readLink->linkedId(), target);
        QCOMPARE(readLink->linkedClassName(), QStringLiteral("QAStNodeLibrary"));
        QCOMPARE(readLink->linkedNode(), readLibrary);
        auto* readUser = qobject_cast<QAStNodeUser*>(again.findNode(QStringLiteral("calc.External Command")));
        QVERIFY(readUser);
        QVERIFY(readUser->catchStdoutAttribute().get());
        QVERIFY(!readUser->catchStderrAttribute().get());
        QVERIFY(qobject_cast<QAStNodeUser*>(again.findNode(QStringLiteral("calc.External Command.inner"))));
    }

    void javaIsAlwaysRebuilt_data()
    {
        QTest::addColumn<bool>("library");
        QTest::addColumn<QString>("language");
        QTest::addColumn<bool>("rebuilt");
        QTest::newRow("a Java application") << false << "JAVA" << true;
        QTest::newRow("a Java library") << true << "JAVA" << true;
        QTest::newRow("a C application with nothing changed") << false << "C" << false;
        QTest::newRow("a C library with nothing changed") << true << "C" << false;
    }
    void javaIsAlwaysRebuilt()
    {
        QFETCH(bool, library);
        QFETCH(QString, language);
        settings()->setProperty(QStringLiteral("sourceLanguage"), language);
        QAStNode* node = library ? static_cast<QAStNode*>(new QAStNodeLibrary(QStringLiteral("n"), project.get()))
                                 : new QAStNodeApplication(QStringLiteral("n"), project.get());
        project->connectConfigurations();
        QTEST(node->mustRebuilt(), "rebuilt");
    }

    // The tool chain prepares nothing of these kinds: the node stops before
    // its children build, with the script's own words.
    void preparationStopsTheNode_data()
    {
        QTest::addColumn<bool>("library");
        QTest::addColumn<QString>("language");
        QTest::addColumn<bool>("probes");
        QTest::addColumn<QString>("sources");
        QTest::addColumn<QString>("message");
        QTest::newRow("probes with no C source still run over an empty list")
            << false << "C" << true << "@SOURCES=();" << "Probe.pl: calc: this tool chain has no probes";
        QTest::newRow("an Ada port is given the Ada sources alone")
            << false << "ADA" << false << "@SOURCES=('a.adb');" << "AdaTDP.pl: calc: this tool chain has no Ada";
        QTest::newRow("a Java port with a run-time analysis") << false << "JAVA" << false << QString()
                                                             << "TDPBatchJava.pl: calc: this tool chain has no Java";
        QTest::newRow("a library prepares as an application does")
            << true << "C" << true << "@SOURCES=();" << "Probe.pl: calc: this tool chain has no probes";
    }
    void preparationStopsTheNode()
    {
        QFETCH(bool, library);
        QFETCH(QString, language);
        QFETCH(bool, probes);
        settings()->setProperty(QStringLiteral("sourceLanguage"), language);
        settings()->setProperty(QStringLiteral("st_custom"), QVariant(probes));
        settings()->setProperty(QStringLiteral("executionFlag"), 0x3F | 0x200);
        QAStNode* node = library ? static_cast<QAStNode*>(new QAStNodeLibrary(QStringLiteral("calc"), project.get()))
                                 : new QAStNodeApplication(QStringLiteral("calc"), project.get());
        write(QStringLiteral("a.adb"), "procedure A is begin null; end A;\n");
        auto* source = new QAStNodeSource(QStringLiteral("a.adb"), node);
        project->connectConfigurations();
        // The interpreter keeps a copy of the environment file it is given.
        write(QStringLiteral("keep.pl"), "my $script = shift @ARGV;\nuse File::Copy;\ncopy($ARGV[0], '"
                                             + path(QStringLiteral("kept.pl")).toUtf8()
                                             + "') or die;\n$0 = $script;\ndo $script;\ndie $@ if $@;\nexit 0;\n");
        host.perl << path(QStringLiteral("keep.pl"));

        QCOMPARE(build(node), int(QAStData::ExecutionFailed));
        QFETCH(QString, message);
        QVERIFY2(host.consoleText(0, true).contains(message), qPrintable(host.consoleText(0, true)));
        QCOMPARE(source->executionStatus(), int(QAStData::ExecutionNone));
        QFile kept(path(QStringLiteral("kept.pl")));
        QVERIFY(kept.open(QIODevice::ReadOnly));
        const QStringList lines = QString::fromUtf8(kept.readAll()).split(QLatin1Char('\n'));
        QFETCH(QString, sources);
        if (!sources.isNull())
            QCOMPARE(lines.filter(QStringLiteral("@SOURCES=")).last(), sources);
    }

    void externalCommandRunsItsLine_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("output");
        QTest::newRow("macros are expanded") << "./args.sh $$NODENAME plain" << "[tool][plain]";
        QTest::newRow("a quoted text stays one argument, its quote escaped")
            << "./args.sh \"it's here\" two" << "[it\\'s here][two]";
        QTest::newRow("nothing to run fails nothing") << "" << "";
    }
    void externalCommandRunsItsLine()
    {
        write(QStringLiteral("args.sh"), "#!/bin/sh\nfor a in \"$@\"; do printf '[%s]' \"$a\"; done\necho\n");
        QFile(path(QStringLiteral("args.sh"))).setPermissions(QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        auto* user = new QAStNodeUser(QStringLiteral("tool"), project.get());
        project->connectConfigurations();
        QFETCH(QString, line);
        user->currentConfiguration()->setProperty(QStringLiteral("userCommandLine"), line);
        const int status = build(user);
        QFETCH(QString, output);
        QCOMPARE(host.consoleText(0).section(QLatin1Char('\n'), 0, 0), output);
        QCOMPARE(status, line.isEmpty() ? int(QAStData::ExecutionNone) : 0);
    }

    void aBackgroundCommandEndsTheNodeAtOnce()
    {
        auto* user = new QAStNodeUser(QStringLiteral("waiter"), project.get());
        user->backgroundAttribute() = true;
        project->connectConfigurations();
        write(QStringLiteral("wait.sh"), "#!/bin/sh\necho started\nexec sleep 60\n");
        QFile(path(QStringLiteral("wait.sh"))).setPermissions(QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        user->currentConfiguration()->setProperty(QStringLiteral("userCommandLine"), QStringLiteral("./wait.sh"));
        QSignalSpy finished(user, &QAStNode::buildExecuteFinished);
        user->build();
        QCOMPARE(finished.size(), 1);
        QVERIFY(user->runningProcess());
        QTRY_VERIFY_WITH_TIMEOUT(host.consoleText(0).contains(QLatin1String("started")), 5000);
        QVERIFY(user->isRunning());
        user->stop();
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 2, 5000);
        QCOMPARE(user->executionStatus(), int(QAStData::ExecutionStopped));
        QVERIFY(!user->runningProcess());
    }
};

QTEST_MAIN(tst_ProgramNodes)
#include "tst_programnodes.moc"
