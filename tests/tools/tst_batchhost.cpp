#include "batchfixture.h"
#include "testshare.h"
#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "qasttargetpackagelist.h"
#include "recordinghost.h"

#include <QDirIterator>
#include <QTest>

#include <algorithm>

namespace {

// The bytes and times of every file below \a dir: a command that only reads
// must leave them as they were, and a build all but its project.
QMap<QString, QPair<QByteArray, QDateTime>> snapshotWithTimes(const QString& dir)
{
    QMap<QString, QPair<QByteArray, QDateTime>> files;
    for (QDirIterator it(dir, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        QFile file(it.next());
        if (file.open(QIODevice::ReadOnly))
            files.insert(file.fileName(), {file.readAll(), it.fileInfo().lastModified()});
    }
    return files;
}

} // namespace

// The commands that only read run here, half of them in tst_batchhost2; those
// that build or run steps are tst_batchhostbuilds, the same file beside this one.
class tst_BatchHost : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void commands_data();
    void commands();

private:
    BatchFixture::Run run(const QStringList& arguments, const QString& installation = QString());

    BatchFixture fixture;
    QMap<QString, QString> places;
};

void tst_BatchHost::initTestCase()
{
    QVERIFY(fixture.work.isValid());
    places.insert(QStringLiteral("@P"), fixture.copyExample(QStringLiteral("first")));
    // A node's environment file that cannot be written: a directory has its name.
    places.insert(QStringLiteral("@U"), fixture.copyExample(QStringLiteral("unwritable")));
    places.insert(QStringLiteral("@E"), fixture.path(QStringLiteral("unwritable/environment_node848716011.pl")));
    QVERIFY(QDir().mkpath(places.value("@E")));
    places.insert(QStringLiteral("@G"), fixture.path(QStringLiteral("gen/gen.vmp")));

    // A project made here, with values set at several levels and a node
    // whose name holds a dot.
    RecordingHost host;
    QVERIFY(host.initializeLibrary());
    QAStProject::setModeBatch(true);
    QVERIFY(QDir().mkpath(fixture.path(QStringLiteral("gen"))));
    {
        QAStProject project(places.value("@G"));
        project.addConfiguration(QStringLiteral("Debug"));
        project.initialConfiguration(QStringLiteral("Debug"))->init(*QAStNode::getTDP(QStringLiteral("gnu_c_native")));
        project.setCurrentConfiguration(QStringLiteral("Debug"));
        project.configuration(QStringLiteral("Debug"))->setProperty(QStringLiteral("ldflags"), QStringLiteral("-L/p"));
        auto* a = new QAStNodeGroup(QStringLiteral("A"), &project, nullptr);
        a->configuration(QStringLiteral("Debug"))->setProperty(QStringLiteral("cflags"), QStringLiteral("-DA"));
        auto* b = new QAStNodeGroup(QStringLiteral("B"), a, nullptr);
        new QAStNodeGroup(QStringLiteral("C.d"), b, nullptr);
        QVERIFY(project.saveProcess());
    }
    QAStConfiguration::terminate();
    QAStTargetPackageList::terminate();
    QAStData::initialize(nullptr);
}

BatchFixture::Run tst_BatchHost::run(const QStringList& arguments, const QString& installation)
{
    QStringList resolved;
    for (const QString& argument : arguments)
        resolved << places.value(argument, argument);
    return fixture.run(resolved, installation);
}

void tst_BatchHost::commands_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("installation");
    QTest::addColumn<int>("status");
    QTest::addColumn<QStringList>("out");
    QTest::addColumn<QStringList>("err");
    int index = 0;
    const auto row = [&index](const char* tag, const QStringList& arguments, int status, const QStringList& out,
                              const QStringList& err = {}, const char* installation = "") {
        if (inThisShare(index++))
            QTest::newRow(tag) << arguments << QString::fromLatin1(installation) << status << out << err;
    };
#ifndef SDK_BATCHHOST_BUILDS
    row("the tree gives each node's kind, state and last status", {"@P", "tree"}, 0,
        {"first  (project, included, none)\n", "\n  library  (sub-project, included, none)\n",
         "\n    Queue  (group, included, none)\n"});
    row("the current configuration is marked, with its port", {"@P", "configs"}, 0,
        {"* Native C  (port gnu_c_native)\n  Native C++  (port gnu_cpp_native)\n"});
    row("the installed ports need no project", {"ports"}, 0, {"gnu_c_native  \"GNU C native", "\ngnu_cpp_native  "});
    row("a setting of the node and one of the initial configuration", {"@P", "settings", "Unit tests.Queue"}, 0,
        {"configuration \"Native C\" of Unit tests.Queue\n", "\ncflags = \"-Wall -Wextra\"  (node)\n",
         "\nansiMode = true  (initial configuration)\n"});
    row("settings from an ancestor and the project, on a name that holds a dot", {"@G", "settings", "A.B.C.d"}, 0,
        {"\ncflags = \"-DA\"  (ancestor A)\n", "\nldflags = \"-L/p\"  (project)\n", "\nname = \"Debug\"  (node)\n"});
    row("the project's own name names the project", {"@G", "settings", "gen"}, 0, {"configuration \"Debug\" of gen\n"});
    row("the environment file of a node in another configuration",
        {"--config", "Native C++", "@P", "env", "library.Parser"}, 0,
        {"\n$PROJECT_NAME='library';\n", "\n$CONFIGURATION='Native C++';\n", "\n$SRCFILE='Parser.cpp';\n"});
    row("the help", {"--help"}, 0, {"usage: velmont-batch"});
    row("a clean", {"@P", "clean", "Integration"}, 0, {"cleaned Integration\n"});
#else
    row("a rebuild: progress on standard output, the scripts' output on standard error", {"@P", "rebuild"}, 0,
        {"rebuild first in configuration \"Native C\"\n", "\nstart Unit tests.Queue\n",
         "\nend Unit tests.Queue: success (", "\nrebuild first: success ("},
        {"group: Queue\n", "children: Stack, Queue\n"});
    row("an execution of one node", {"-c", "Native C++", "@P", "execute", "Unit tests"}, 0,
        {"execute Unit tests in configuration \"Native C++\"\n", "\nexecute Unit tests: success ("});
    row("a failed group script fails the build", {"@P", "rebuild"}, 1,
        {"\nend library.Parser: failed (", "\nrebuild first: failed ("}, {}, "failing");
    row("a message of the library ends its line", {"@U", "rebuild", "Unit tests.Queue"}, 1,
        {"\nrebuild Unit tests.Queue: failed ("}, {"Unable to open the file: @E\n"});
#endif
}

void tst_BatchHost::commands()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, installation);
    QFETCH(int, status);
    QFETCH(QStringList, out);
    QFETCH(QStringList, err);
    if (installation == QLatin1String("failing"))
        installation = fixture.installationWith(installation, {{"Group.pl", "print \"failing\\n\"; exit 1;\n"}});
    auto before = snapshotWithTimes(fixture.work.path());

    const BatchFixture::Run result = run(arguments, installation);
    QVERIFY2(result.status == status, qPrintable(QStringLiteral("status %1\n%2%3").arg(result.status).arg(result.out, result.err)));
    for (const QString& text : out)
        QVERIFY2(result.out.contains(text), qPrintable(text + QStringLiteral(" not in:\n") + result.out));
    for (QString text : err) {
        for (auto it = places.constBegin(); it != places.constEnd(); ++it)
            text.replace(it.key(), it.value());
        QVERIFY2(result.err.contains(text), qPrintable(text + QStringLiteral(" not in:\n") + result.err));
    }
    // The scripts keep standard output free; an error is one line.
    QVERIFY(!result.out.contains(QLatin1String("group: ")));
    // A build is written back into its project and sub-projects, and
    // nothing else changes.
    auto after = snapshotWithTimes(fixture.work.path());
    static const QStringList building {"build", "rebuild", "execute", "clean"};
    if (std::any_of(arguments.begin(), arguments.end(), [](const QString& a) { return building.contains(a); })) {
        for (auto* files : {&before, &after}) {
            files->removeIf([](const auto& file) {
                return file.key().endsWith(QLatin1String(".vmp")) || file.key().endsWith(QLatin1String(".inf"));
            });
        }
    }
    QVERIFY(after == before);
}

QTEST_GUILESS_MAIN(tst_BatchHost)
#include "tst_batchhost.moc"
