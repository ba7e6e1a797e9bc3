#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "qastprojectpref.h"
#include "qasttargetpackagelist.h"
#include "recordinghost.h"

#include <QDirIterator>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

namespace {

struct Run {
    int status = -1;
    QString out;
    QString err;
};

// The bytes and times of every file below \a dir: a command that only reads
// or builds must leave them as they were.
QMap<QString, QPair<QByteArray, QDateTime>> snapshot(const QString& dir)
{
    QMap<QString, QPair<QByteArray, QDateTime>> files;
    for (QDirIterator it(dir, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        QFile file(it.next());
        if (file.open(QIODevice::ReadOnly))
            files.insert(file.fileName(), {file.readAll(), it.fileInfo().lastModified()});
    }
    return files;
}

bool write(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

// A group script that starts a child, says which, and waits for it.
const char sleepingGroup[] = R"(
my $child = fork();
exec('sleep', '30') if $child == 0;
open(my $out, '>', $ENV{BATCH_TEST_CHILD}) or die;
print $out $child;
close($out);
waitpid($child, 0);
exit 0;
)";

bool processGone(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    // A killed child whose parent is gone may wait as a zombie for a reaper.
    return !stat.open(QIODevice::ReadOnly) || stat.readAll().contains(") Z ");
}

} // namespace

class tst_BatchHost : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void commands_data();
    void commands();
    void interruptStopsTheRunAndItsChildren();

private:
    /// An installation that shares the staged one but for its group script.
    QString installationWith(const QString& name, const QByteArray& groupScript);
    QProcess* start(const QStringList& arguments, const QString& installation);
    Run run(const QStringList& arguments, const QString& installation);

    QTemporaryDir work;
    QMap<QString, QString> places;
};

void tst_BatchHost::initTestCase()
{
    QVERIFY(work.isValid());
    const QString first = work.filePath(QStringLiteral("first"));
    for (QDirIterator it(SDK_EXAMPLES_DIR "/first", QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        const QString from = it.next();
        const QString to = first + from.mid(int(qstrlen(SDK_EXAMPLES_DIR "/first")));
        QDir().mkpath(QFileInfo(to).path());
        QVERIFY(QFile::copy(from, to));
    }
    places.insert(QStringLiteral("@P"), first + QStringLiteral("/first.vmp"));
    places.insert(QStringLiteral("@B"), work.filePath(QStringLiteral("bad/bad.vmp")));
    places.insert(QStringLiteral("@T"), work.filePath(QStringLiteral("bad/truncated.vmp")));
    places.insert(QStringLiteral("@G"), work.filePath(QStringLiteral("gen/gen.vmp")));
    QVERIFY(write(places.value("@B"), "this is no project\n"));
    QFile example(places.value("@P"));
    QVERIFY(example.open(QIODevice::ReadOnly));
    QVERIFY(write(places.value("@T"), example.read(300)));

    // A project made here, with values set at several levels and a node
    // whose name holds a dot.
    RecordingHost host;
    QVERIFY(host.initializeLibrary());
    QAStProject::setModeBatch(true);
    QVERIFY(QDir().mkpath(work.filePath(QStringLiteral("gen"))));
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

QString tst_BatchHost::installationWith(const QString& name, const QByteArray& groupScript)
{
    const QString top = work.filePath(QStringLiteral("install-") + name);
    if (QFileInfo::exists(top))
        return top;
    const QString stage = RecordingHost::stageDir();
    for (const char* entry : {"doc", "targets", "plugins", "Common", "lib/perl", "lib/locale", "lib/project.dtd",
                              "lib/scripts/Stop.pl"}) {
        const QString to = top + QLatin1Char('/') + QLatin1String(entry);
        QDir().mkpath(QFileInfo(to).path());
        if (!groupScript.isNull() || QLatin1String(entry) != QLatin1String("targets"))
            QFile::link(stage + QLatin1Char('/') + QLatin1String(entry), to);
    }
    if (!groupScript.isNull())
        write(top + QStringLiteral("/lib/scripts/Group.pl"), groupScript);
    return top;
}

QProcess* tst_BatchHost::start(const QStringList& arguments, const QString& installation)
{
    QStringList resolved;
    for (const QString& argument : arguments)
        resolved << places.value(argument, argument);
    auto* process = new QProcess(this);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("VELMONTDIR"));
    environment.remove(QStringLiteral("ZENTAHOME"));
    if (!installation.isEmpty())
        environment.insert(QStringLiteral("VELMONTDIR"), installation);
    environment.insert(QStringLiteral("BATCH_TEST_CHILD"), work.filePath(QStringLiteral("child.pid")));
    process->setProcessEnvironment(environment);
    process->setWorkingDirectory(work.path());
    process->start(QStringLiteral(SDK_BATCH_PROGRAM), resolved);
    return process;
}

Run tst_BatchHost::run(const QStringList& arguments, const QString& installation)
{
    std::unique_ptr<QProcess> process(start(arguments, installation));
    Run result;
    if (!process->waitForFinished(25000) || process->exitStatus() != QProcess::NormalExit)
        return result;
    result.status = process->exitCode();
    result.out = QString::fromLocal8Bit(process->readAllStandardOutput());
    result.err = QString::fromLocal8Bit(process->readAllStandardError());
    return result;
}

void tst_BatchHost::commands_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("installation");
    QTest::addColumn<int>("status");
    QTest::addColumn<QStringList>("out");
    QTest::addColumn<QStringList>("err");
    const auto row = [](const char* tag, const QStringList& arguments, int status, const QStringList& out,
                        const QStringList& err = {}, const char* installation = "") {
        QTest::newRow(tag) << arguments << QString::fromLatin1(installation) << status << out << err;
    };
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
        {"\n$PROJECT_NAME='library';\n", "\n$CONFIGURATION='Native C++';\n"});
    row("a rebuild: progress on standard output, the scripts' output on standard error", {"@P", "rebuild"}, 0,
        {"rebuild first in configuration \"Native C\"\n", "\nstart Unit tests.Queue\n",
         "\nend Unit tests.Queue: success (", "\nrebuild first: success ("},
        {"group: Queue\n", "children: Stack, Queue\n"});
    row("an execution of one node", {"-c", "Native C++", "@P", "execute", "Unit tests"}, 0,
        {"execute Unit tests in configuration \"Native C++\"\n", "\nexecute Unit tests: success ("});
    row("a clean", {"@P", "clean", "Integration"}, 0, {"cleaned Integration\n"});
    row("a failed group script fails the build", {"@P", "rebuild"}, 1,
        {"\nend library.Parser: failed (", "\nrebuild first: failed ("}, {}, "failing");
    row("the help", {"--help"}, 0, {"usage: velmont-batch"});

    row("a missing project", {"@G.missing", "tree"}, 5, {}, {"no project file at @G.missing"});
    row("a file that is not a project", {"@B", "tree"}, 5, {},
        {"cannot open the project @B: This file content is not a valid project file"});
    row("a truncated project file", {"@T", "tree"}, 5, {}, {"cannot open the project @T: Unable to read the project"});
    row("an installation without ports", {"@P", "tree"}, 5, {}, {"has no target deployment port"}, "portless");
    row("an unknown node", {"@P", "build", "Unit tests.Nope"}, 4, {}, {"no node \"Unit tests.Nope\" in the project"});
    row("an unknown configuration", {"-c", "Nope", "@P", "tree"}, 4, {},
        {"unknown configuration \"Nope\"; the project has: Native C, Native C++"});
    row("an unknown command", {"@P", "frobnicate"}, 4, {}, {"unknown command \"frobnicate\""});
    row("a command without its node", {"@P", "env"}, 4, {}, {"env needs a node"});
    row("no command", {"@P"}, 4, {}, {"a command is needed"});
    row("an unknown option", {"--frob", "@P", "tree"}, 4, {}, {"unknown option --frob"});
}

void tst_BatchHost::commands()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, installation);
    QFETCH(int, status);
    QFETCH(QStringList, out);
    QFETCH(QStringList, err);
    places.insert(QStringLiteral("@G.missing"), places.value("@G") + QStringLiteral(".missing"));
    if (installation == QLatin1String("failing"))
        installation = installationWith(installation, "print \"failing\\n\"; exit 1;\n");
    else if (installation == QLatin1String("portless"))
        installation = installationWith(installation, QByteArray());
    const auto before = snapshot(work.path());

    const Run result = run(arguments, installation);
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
    if (status >= 4)
        QCOMPARE(result.err.count(QLatin1Char('\n')), 1);
    QVERIFY(snapshot(work.path()) == before);
}

void tst_BatchHost::interruptStopsTheRunAndItsChildren()
{
    const QString child = work.filePath(QStringLiteral("child.pid"));
    QFile::remove(child);
    const auto before = snapshot(places.value("@P").section(QLatin1Char('/'), 0, -2));
    std::unique_ptr<QProcess> process(start({"@P", "rebuild"}, installationWith(QStringLiteral("sleeping"), sleepingGroup)));
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(child).size() > 0, 20000);
    QFile pidFile(child);
    QVERIFY(pidFile.open(QIODevice::ReadOnly));
    const qint64 sleeper = pidFile.readAll().toLongLong();
    QVERIFY(sleeper > 1 && !processGone(sleeper));

    QElapsedTimer stopping;
    stopping.start();
    ::kill(pid_t(process->processId()), SIGINT);
    QVERIFY(process->waitForFinished(5000));
    const qint64 took = stopping.elapsed();
    QCOMPARE(process->exitCode(), 3);
    const QString out = QString::fromLocal8Bit(process->readAllStandardOutput());
    QVERIFY2(out.contains(QLatin1String("\nstopping first\n")) && out.contains(QLatin1String("\nrebuild first: stopped (")),
             qPrintable(out));
    QTRY_VERIFY_WITH_TIMEOUT(processGone(sleeper), 2000);
    QVERIFY2(took < 2000, qPrintable(QString::number(took)));
    QVERIFY(snapshot(places.value("@P").section(QLatin1Char('/'), 0, -2)) == before);
}

QTEST_GUILESS_MAIN(tst_BatchHost)
#include "tst_batchhost.moc"
