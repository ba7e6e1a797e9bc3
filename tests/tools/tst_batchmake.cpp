#include "batchfixture.h"
#include "qastconfiguration.h"
#include "qastdatafactory.h"
#include "qastproject.h"
#include "qasttargetpackagelist.h"

#include <QDomDocument>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

// Projects made from nothing with the commands of the batch host, built, and
// read back through a fresh open. Each project takes a host process a
// command, so the program of a library, an application and a component test
// is a test program of its own (tst_batchmakeprogram), run beside this one.
class tst_BatchMake : public QObject
{
    Q_OBJECT

    RecordingHost host;
    BatchFixture fixture;

    // Runs the commands one after the other; all their output when each succeeded.
    QString runAll(const QList<QStringList>& commands)
    {
        QString out;
        for (const QStringList& command : commands) {
            const BatchFixture::Run run = fixture.run(command, RecordingHost::stageDir());
            if (run.status != 0)
                return QStringLiteral("failed: %1: %2\n%3").arg(command.join(QLatin1Char(' ')), run.out, run.err);
            out += run.out;
        }
        return out;
    }
    // A fresh open of the project writes back the very bytes of its file.
    static bool readsBackExactly(QAStProject& project)
    {
        QString text;
        QTextStream stream(&text);
        project.write(stream, 0);
        stream.flush();
        return project.isValid() && text.toUtf8() == BatchFixture::contents(project.path());
    }

private slots:
    void initTestCase()
    {
        QVERIFY(host.initializeLibrary());
        QAStProject::setModeBatch(true);
        QVERIFY(QDir().mkpath(fixture.path(QStringLiteral("src"))));
        const QMap<QString, QByteArray> sources {
            {"src/add.c", "int add(int a, int b) { return a + b; }\n"},
            {"src/scale.c", "int add(int a, int b);\nint scale(int a) { return add(a, a) * SCALE; }\n"},
            {"src/main.c", "int scale(int a);\nint main(void) { return scale(2) == 8 ? 0 : 1; }\n"},
            {"add.ptu", "-- the unit test of add\ncode\nint add(int a, int b);\nend\n\nservice add\n"
                        "  test sums family nominal\n    check add(2, 3) = 5\n  end\nend\n"},
        };
        for (auto it = sources.constBegin(); it != sources.constEnd(); ++it) {
            QFile file(fixture.path(it.key()));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(it.value()) == it.value().size());
        }
    }
    void cleanupTestCase()
    {
        QAStConfiguration::terminate();
        QAStTargetPackageList::terminate();
        QAStData::initialize(nullptr);
    }

#ifndef SDK_BATCHMAKE_PROGRAM
    void groupOfSourcesFromNothing()
    {
        const QString path = fixture.path(QStringLiteral("sources.vmp"));
        const QString out = runAll({{"new", path, "--port", "gnu_c_native"},
                                    {path, "add", "group", ".", "Lib"},
                                    {path, "add", "source", "Lib", "src/add.c", "src/scale.c"},
                                    {path, "set", "Lib", "cflags", "-DSCALE=2 -c", "--config", "GNU C native (x86_64 Linux)"},
                                    {path, "build"}});
        for (const QString& line : {QStringLiteral("created %1 with configurations GNU C native (x86_64 Linux) "
                                                   "(current \"GNU C native (x86_64 Linux)\")\n").arg(path),
                                    QStringLiteral("\nadded source Lib.add.c, Lib.scale.c\n"),
                                    QStringLiteral("\nend Lib.scale.c: success ("), QStringLiteral("\nbuild sources: success (")})
            QVERIFY2(out.contains(line), qPrintable(out));
        QAStProject project(path);
        QVERIFY(readsBackExactly(project));
        const auto* lib = qobject_cast<QAStNode*>(project.findNode(QStringLiteral("Lib")));
        QVERIFY(lib && lib->children().size() == 2 && lib->children().at(0)->name() == QLatin1String("add.c"));
        QCOMPARE(lib->currentConfiguration()->property(QStringLiteral("cflags")).toString(), QStringLiteral("-DSCALE=2 -c"));
        QCOMPARE(project.files().size(), 2);
    }

    // A write that stops halfway, as on a full disk: the file size limit cuts
    // the new file short.
    void failedSaveLeavesTheFormerFile()
    {
        const QString path = fixture.path(QStringLiteral("full/full.vmp"));
        QVERIFY(QDir().mkpath(fixture.path(QStringLiteral("full"))));
        QVERIFY(!runAll({{"new", path, "--port", "gnu_c_native", "--port", "gnu_cpp_native"}}).startsWith("failed"));
        const QByteArray former = BatchFixture::contents(path);
        const QStringList files = QDir(fixture.path(QStringLiteral("full"))).entryList(QDir::Files);
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("VELMONTDIR"), RecordingHost::stageDir());
        process.setProcessEnvironment(environment);
        const rlim_t limit = rlim_t(former.size() / 2);
        process.setChildProcessModifier([limit] {
            ::signal(SIGXFSZ, SIG_IGN);
            const struct rlimit size = {limit, limit};
            ::setrlimit(RLIMIT_FSIZE, &size);
        });
        process.start(QStringLiteral(SDK_BATCH_PROGRAM), {path, "add", "group", ".", "Big"});
        QVERIFY(process.waitForFinished(25000));
        const QString err = QString::fromLocal8Bit(process.readAllStandardError());
        QCOMPARE(process.exitCode(), 1);
        QVERIFY2(err.startsWith(QLatin1String("velmont-batch: cannot save the project ") + path), qPrintable(err));
        QCOMPARE(BatchFixture::contents(path), former);
        QCOMPARE(QDir(fixture.path(QStringLiteral("full"))).entryList(QDir::Files), files);
    }
#else
    void programWithLibraryAndTestFromNothing()
    {
        QDomDocument document;
        for (const char* element : {"library", "application", "link", "unit_testing", "unittesting_script"}) {
            std::unique_ptr<QAStData> made(
                QAStDataFactory::create(document.createElement(QLatin1String(element)), 1, nullptr, nullptr));
            if (!made)
                QSKIP("needs the application/library/unit testing node kinds");
        }
        const QString path = fixture.path(QStringLiteral("program.vmp"));
        const QString out = runAll({{"new", path, "--port", "gnu_c_native"},
                                    {path, "add", "library", ".", "Lib"},
                                    {path, "add", "source", "Lib", "src/add.c", "src/scale.c"},
                                    {path, "set", "Lib", "cflags", "-DSCALE=2"},
                                    {path, "add", "application", ".", "App"},
                                    {path, "add", "source", "App", "src/main.c"},
                                    {path, "add", "link", "App", "Lib"},
                                    {path, "add", "unit-testing", ".", "Unit"},
                                    {path, "add", "test-script", "Unit", "add.ptu"},
                                    {path, "add", "source", "Unit", "src/add.c"},
                                    {path, "execute"}});
        QVERIFY2(out.contains(QLatin1String("\nend App: success (")) && out.contains(QLatin1String("\nend Unit: success (")),
                 qPrintable(out));
        QAStProject project(path);
        QVERIFY(readsBackExactly(project));
        // A name with a dot is not reached through a dotted path.
        QAStData* unit = project.findNode(QStringLiteral("Unit"));
        QAStData* script = unit ? unit->searchChildOfClass(QStringLiteral("add.ptu"), "QAStNodeUnitTestingScript", false) : nullptr;
        QVERIFY(script && script->inherits("QAStNodeUnitTestingScript"));
        QCOMPARE(project.findNode(QStringLiteral("App"))->childrenOfClass("QAStNodeLink", false).size(), 1);
    }
#endif
};

QTEST_GUILESS_MAIN(tst_BatchMake)
#include "tst_batchmake.moc"
