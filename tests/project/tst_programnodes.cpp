#include "qastconfiguration.h"
#include "qastnodeapplication.h"
#include "qastnodelibrary.h"
#include "qastnodelink.h"
#include "qastnodesource.h"
#include "qastnodeuser.h"
#include "qastproject.h"
#include "recordinghost.h"

#include <QDirIterator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

// Applications, libraries, the links between them and external commands,
// built with the staged tool chain and the native port's gcc.
class tst_ProgramNodes : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QStringList perl;
    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<QAStProject> project;

    QString path(const QString& name) const { return dir->filePath(name); }
    QAStConfiguration* settings() const { return project->configuration(QStringLiteral("Debug")); }

    void write(const QString& name, const QByteArray& text)
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text);
    }
    QDateTime madeAt(const QString& name) const { return QFileInfo(path(name)).lastModified(); }
    // Builds \a node and waits for its end: its status.
    int build(QAStNode* node)
    {
        host.messages.clear();
        QSignalSpy finished(node, &QAStNode::buildExecuteFinished);
        node->build();
        if (finished.isEmpty() && !finished.wait(20000))
            return -1;
        return node->executionStatus();
    }
    // A library of two sources and a program that links it.
    QAStNodeApplication* makeProgram(const QByteArray& main)
    {
        write(QStringLiteral("lib/add.c"), "int add(int a, int b) { return a + b; }\n");
        write(QStringLiteral("lib/mul.c"), "int mul(int a, int b) { return a * b; }\n");
        write(QStringLiteral("src/main.c"), main);
        auto* library = new QAStNodeLibrary(QStringLiteral("mathlib"), project.get());
        auto* add = new QAStNodeSource(QStringLiteral("lib/add.c"), library);
        new QAStNodeSource(QStringLiteral("lib/mul.c"), library, add);
        // The library builds first, then the program that links it.
        auto* app = new QAStNodeApplication(QStringLiteral("calc"), project.get(), library);
        auto* entry = new QAStNodeSource(QStringLiteral("src/main.c"), app);
        new QAStNodeLink(library, app, entry);
        project->connectConfigurations();
        return app;
    }
    // Processes whose command line names \a program.
    static int running(const QString& program)
    {
        int count = 0;
        for (QDirIterator it(QStringLiteral("/proc"), QDir::Dirs | QDir::NoDotAndDotDot); it.hasNext();) {
            QFile cmdline(it.next() + QStringLiteral("/cmdline"));
            if (cmdline.open(QIODevice::ReadOnly) && cmdline.readAll().startsWith(program.toLocal8Bit()))
                ++count;
        }
        return count;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(host.initializeLibrary());
        perl = host.perl;
    }
    void init()
    {
        host.perl = perl;
        dir = std::make_unique<QTemporaryDir>();
        project = std::make_unique<QAStProject>(QPixmap());
        project->create(path(QStringLiteral("p.vmp")));
        project->addConfiguration(QStringLiteral("Debug"));
        settings()->init(*QAStNode::getTDP(QStringLiteral("gnu_c_native")));
        project->setCurrentConfiguration(QStringLiteral("Debug"));
        settings()->setProperty(QStringLiteral("intdir"), QStringLiteral("obj"));
        settings()->setProperty(QStringLiteral("executionFlag"), 0x3F);
    }
    void cleanup()
    {
        project.reset();
        dir.reset();
    }

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

    // Built from nothing, run, and built again: only what a change reaches.
    void aChangeRebuildsWhatItReaches()
    {
        QAStNodeApplication* app = makeProgram("#include <stdio.h>\nint add(int, int);\nint mul(int, int);\n"
                                               "int main(void) { printf(\"sum=%d product=%d\\n\", add(2, 3), mul(2, 3)); return 0; }\n");
        QVERIFY2(build(project.get()) == 0, qPrintable(host.consoleText(0)));
        QVERIFY2(host.consoleText(0).contains(QLatin1String("sum=5 product=6")), qPrintable(host.consoleText(0)));
        const QStringList made {"obj/add.o", "obj/mul.o", "obj/main.o", "obj/mathlib.a", "obj/calc"};
        QList<QDateTime> first;
        for (const QString& file : made) {
            QVERIFY2(QFileInfo::exists(path(file)), qPrintable(file));
            first << madeAt(file);
        }

        QCOMPARE(build(project.get()), 0);
        for (qsizetype i = 0; i < made.size(); ++i)
            QCOMPARE(madeAt(made.at(i)), first.at(i));
        QVERIFY(host.consoleText(0).contains(QLatin1String("is up-to-date")));

        QFile source(path(QStringLiteral("lib/mul.c")));
        QVERIFY(source.open(QIODevice::ReadWrite));
        QVERIFY(source.setFileTime(QDateTime::currentDateTime(), QFileDevice::FileModificationTime));
        source.close();
        QCOMPARE(build(project.get()), 0);
        QCOMPARE(madeAt(QStringLiteral("obj/add.o")), first.at(0));
        QCOMPARE(madeAt(QStringLiteral("obj/main.o")), first.at(2));
        for (const QString& file : {QStringLiteral("obj/mul.o"), QStringLiteral("obj/mathlib.a"), QStringLiteral("obj/calc")})
            QVERIFY2(madeAt(file) > first.at(made.indexOf(file)), qPrintable(file));
        QVERIFY(host.consoleText(0).contains(QLatin1String("sum=5 product=6")));
        QVERIFY(!app->mustRebuilt());
    }

    void aSharedLibraryIsFoundWhenTheProgramRuns()
    {
        makeProgram("#include <stdio.h>\nint mul(int, int);\nint main(void) { printf(\"%d\\n\", mul(6, 7)); return 0; }\n");
        auto* library = qobject_cast<QAStNodeLibrary*>(project->findNode(QStringLiteral("mathlib")));
        QAStConfiguration* own = library->currentConfiguration();
        own->setProperty(QStringLiteral("generationFormat"), QStringLiteral("DLL"));
        own->setProperty(QStringLiteral("cflags"), QStringLiteral("-g -fPIC"));
        QVERIFY2(build(project.get()) == 0, qPrintable(host.consoleText(0)));
        QVERIFY(QFileInfo::exists(path(QStringLiteral("obj/mathlib.so"))));
        QVERIFY2(host.consoleText(0).contains(QLatin1String("42\n")), qPrintable(host.consoleText(0)));
    }

    void failuresEndTheNode_data()
    {
        QTest::addColumn<QByteArray>("main");
        QTest::addColumn<bool>("stop");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("a link error names what is missing")
            << QByteArray("int missing(void);\nint main(void) { return missing(); }\n") << false
            << int(QAStData::ExecutionFailed) << "undefined reference to `missing'";
        QTest::newRow("a program that crashes names its signal")
            << QByteArray("#include <signal.h>\nint main(void) { raise(SIGSEGV); return 0; }\n") << false
            << int(QAStData::ExecutionFailed) << "the program was killed by SIGSEGV";
        QTest::newRow("a program with a failing status fails the node")
            << QByteArray("int main(void) { return 3; }\n") << false << int(QAStData::ExecutionFailed)
            << "calc: the program ended with status 3";
        QTest::newRow("a program that never ends is stopped")
            << QByteArray("#include <stdio.h>\n#include <unistd.h>\n"
                          "int main(void) { puts(\"ready\"); fflush(stdout); for (;;) pause(); }\n")
            << true << int(QAStData::ExecutionStopped) << "";
    }
    void failuresEndTheNode()
    {
        QFETCH(QByteArray, main);
        write(QStringLiteral("src/main.c"), main);
        auto* app = new QAStNodeApplication(QStringLiteral("calc"), project.get());
        new QAStNodeSource(QStringLiteral("src/main.c"), app);
        project->connectConfigurations();
        host.messages.clear();
        QSignalSpy finished(app, &QAStNode::buildExecuteFinished);
        app->build();
        QFETCH(bool, stop);
        if (stop) {
            QTRY_VERIFY_WITH_TIMEOUT(host.consoleText(0).contains(QLatin1String("ready")), 15000);
            QVERIFY(finished.isEmpty());
            app->stop();
        }
        QVERIFY(!finished.isEmpty() || finished.wait(15000));
        QTEST(app->executionStatus(), "status");
        QFETCH(QString, message);
        QVERIFY2(host.consoleText(0, true).contains(message), qPrintable(host.consoleText(0, true)));
        QTRY_COMPARE_WITH_TIMEOUT(running(path(QStringLiteral("obj/calc"))), 0, 5000);
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
