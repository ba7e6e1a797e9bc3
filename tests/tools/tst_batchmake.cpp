#include "batchfixture.h"
#include "qastconfiguration.h"
#include "qastdatafactory.h"
#include "qastproject.h"
#include "qasttargetpackagelist.h"
#include "recordinghost.h"

#include <QDomDocument>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

// Projects made from nothing with the commands of the batch host, built, and
// read back through a fresh open.
class tst_BatchMake : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void groupOfSourcesFromNothing();
    void programWithLibraryAndTestFromNothing();
    void failedSaveLeavesTheFormerFile();

private:
    /// Runs the commands one after the other, each expected to succeed.
    bool runAll(const QList<QStringList>& commands, QString* out = nullptr);
    /// A fresh open of \a path writes back the very bytes of the file.
    static bool readsBackExactly(const QString& path);
    static QByteArray contents(const QString& path);

    RecordingHost host;
    BatchFixture fixture;
};

void tst_BatchMake::initTestCase()
{
    QVERIFY(fixture.work.isValid());
    QVERIFY(host.initializeLibrary());
    QAStProject::setModeBatch(true);
    QVERIFY(QDir().mkpath(fixture.path(QStringLiteral("src"))));
    const QMap<QString, QByteArray> sources {
        {"src/add.c", "int add(int a, int b) { return a + b; }\n"},
        {"src/scale.c", "int add(int a, int b);\nint scale(int a) { return add(a, a) * SCALE; }\n"},
        {"src/main.c", "int scale(int a);\nint main(void) { return scale(2) == 8 ? 0 : 1; }\n"},
        {"add.ptu", "-- the unit test of add\n"},
    };
    for (auto it = sources.constBegin(); it != sources.constEnd(); ++it) {
        QFile file(fixture.path(it.key()));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(it.value()) == it.value().size());
    }
}

void tst_BatchMake::cleanupTestCase()
{
    QAStConfiguration::terminate();
    QAStTargetPackageList::terminate();
    QAStData::initialize(nullptr);
}

QByteArray tst_BatchMake::contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool tst_BatchMake::runAll(const QList<QStringList>& commands, QString* out)
{
    for (const QStringList& command : commands) {
        const BatchFixture::Run run = fixture.run(command, RecordingHost::stageDir());
        if (run.status != 0) {
            qWarning("%s: %d\n%s%s", qPrintable(command.join(QLatin1Char(' '))), run.status, qPrintable(run.out),
                     qPrintable(run.err));
            return false;
        }
        if (out)
            *out += run.out;
    }
    return true;
}

bool tst_BatchMake::readsBackExactly(const QString& path)
{
    QAStProject project(path);
    QString text;
    QTextStream stream(&text);
    project.write(stream, 0);
    stream.flush();
    return project.isValid() && text.toUtf8() == contents(path);
}

void tst_BatchMake::groupOfSourcesFromNothing()
{
    const QString project = fixture.path(QStringLiteral("sources.vmp"));
    QString out;
    QVERIFY(runAll({{"new", project, "--port", "gnu_c_native"},
                    {project, "add", "group", ".", "Lib"},
                    {project, "add", "source", "Lib", "src/add.c", "src/scale.c"},
                    {project, "set", "Lib", "cflags", "-DSCALE=2 -c", "--config", "GNU C native (x86_64 Linux)"},
                    {project, "build"}},
                   &out));
    QVERIFY2(out.startsWith(QLatin1String("created ") + project + QLatin1String(
                                " with configurations GNU C native (x86_64 Linux) (current \"GNU C native (x86_64 Linux)\")\n")),
             qPrintable(out));
    QVERIFY2(out.contains(QLatin1String("\nadded source Lib.add.c, Lib.scale.c\n")), qPrintable(out));
    QVERIFY2(out.contains(QLatin1String("\nend Lib.scale.c: success (")), qPrintable(out));
    QVERIFY2(out.contains(QLatin1String("\nbuild sources: success (")), qPrintable(out));
    QVERIFY(readsBackExactly(project));
    // Both sources in the order given, under the group that the command named.
    QAStProject reopened(project);
    QAStNode* lib = qobject_cast<QAStNode*>(reopened.findNode(QStringLiteral("Lib")));
    QVERIFY(lib);
    QCOMPARE(lib->children().size(), 2);
    QCOMPARE(lib->children().at(0)->name(), QStringLiteral("add.c"));
    QCOMPARE(lib->currentConfiguration()->property(QStringLiteral("cflags")).toString(), QStringLiteral("-DSCALE=2 -c"));
    QCOMPARE(reopened.files().size(), 2);
}

void tst_BatchMake::programWithLibraryAndTestFromNothing()
{
    // Until this build makes these kinds, the commands refuse them.
    QDomDocument document;
    for (const char* element : {"library", "application", "link", "unit_testing", "unittesting_script"}) {
        std::unique_ptr<QAStData> made(
            QAStDataFactory::create(document.createElement(QLatin1String(element)), 1, nullptr, nullptr));
        if (!made)
            QSKIP("needs the application/library/unit testing node kinds");
    }
    const QString project = fixture.path(QStringLiteral("program.vmp"));
    QString out;
    QVERIFY(runAll({{"new", project, "--port", "gnu_c_native"},
                    {project, "add", "library", ".", "Lib"},
                    {project, "add", "source", "Lib", "src/add.c", "src/scale.c"},
                    {project, "set", "Lib", "cflags", "-DSCALE=2"},
                    {project, "add", "application", ".", "App"},
                    {project, "add", "source", "App", "src/main.c"},
                    {project, "add", "link", "App", "Lib"},
                    {project, "add", "unit-testing", ".", "Unit"},
                    {project, "add", "test-script", "Unit", "add.ptu"},
                    {project, "add", "source", "Unit", "src/add.c"},
                    {project, "execute"}},
                   &out));
    QVERIFY2(out.contains(QLatin1String("\nend App: success (")), qPrintable(out));
    QVERIFY2(out.contains(QLatin1String("\nend Unit: ")), qPrintable(out));
    QVERIFY(readsBackExactly(project));
    QAStProject reopened(project);
    QAStData* script = reopened.findNode(QStringLiteral("Unit.add.ptu"));
    QVERIFY(script && script->inherits("QAStNodeUnitTestingScript"));
    QVERIFY(reopened.findNode(QStringLiteral("App"))->childrenOfClass("QAStNodeLink", false).size() == 1);
}

// A write that fails halfway, as on a full disk: the file size limit stops
// the new file short of its end.
void tst_BatchMake::failedSaveLeavesTheFormerFile()
{
    const QString project = fixture.path(QStringLiteral("full/full.vmp"));
    QVERIFY(QDir().mkpath(fixture.path(QStringLiteral("full"))));
    QVERIFY(runAll({{"new", project, "--port", "gnu_c_native", "--port", "gnu_cpp_native"}}));
    const QByteArray former = contents(project);
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
    process.start(QStringLiteral(SDK_BATCH_PROGRAM), {project, "add", "group", ".", "Big"});
    QVERIFY(process.waitForFinished(25000));
    const QString err = QString::fromLocal8Bit(process.readAllStandardError());
    QCOMPARE(process.exitCode(), 1);
    QVERIFY2(err.startsWith(QLatin1String("velmont-batch: cannot save the project ") + project), qPrintable(err));
    QCOMPARE(contents(project), former);
    QCOMPARE(QDir(fixture.path(QStringLiteral("full"))).entryList(QDir::Files), files);
}

QTEST_GUILESS_MAIN(tst_BatchMake)
#include "tst_batchmake.moc"
