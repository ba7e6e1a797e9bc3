#include "qastconfiguration.h"
#include "qastfile.h"
#include "qastfolder.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qastprojectpref.h"
#include "qastsubproject.h"
#include "qasttargetpackage.h"
#include "qasttargetpackagelist.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// Every file below \a dir with a digest of its bytes: what a failed attempt
// must leave exactly as it was.
QMap<QString, QByteArray> snapshot(const QString& dir)
{
    QMap<QString, QByteArray> files;
    QDirIterator it(dir, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            files.insert(QDir(dir).relativeFilePath(path), QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha1));
    }
    return files;
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A small project with a configuration, a group, a file and an override.
void fill(QAStProject* project, const QString& tag)
{
    project->addConfiguration(QStringLiteral("Debug"));
    auto* group = new QAStNodeGroup(tag + QStringLiteral(" group"), project, project->last());
    group->configuration(QStringLiteral("Debug"))->setProperty(QStringLiteral("cflags"), tag);
    project->addFile(tag + QStringLiteral(".c"));
}

} // namespace

class tst_ProjectDocument : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void lifecycle_data();
    void lifecycle();
    void subProjectsThreeDeepRoundTrip();
    void aFailedSaveLeavesTheFormerFile_data();
    void aFailedSaveLeavesTheFormerFile();
    void badFilesChangeNothing_data();
    void badFilesChangeNothing();
    void saveAsMovesTheKeysAlong();
    void cleanSparesTheProjectsFiles();
    void theFirstExampleOpens();
    void filesGoToTheFolderThatAcceptsThem_data();
    void filesGoToTheFolderThatAcceptsThem();

private:
    RecordingHost host;
    QTemporaryDir dir;
};

void tst_ProjectDocument::initTestCase()
{
    QVERIFY(host.initializeLibrary());
}

void tst_ProjectDocument::init()
{
    host.boxes.clear();
    host.messages.clear();
    host.boxAnswer = 0;
    QAStProject::setModeBatch(true);
    QVERIFY(QDir(dir.path()).removeRecursively());
    QVERIFY(QDir().mkpath(dir.path()));
}

void tst_ProjectDocument::cleanup()
{
    QAStProject::setModeBatch(false);
}

void tst_ProjectDocument::lifecycle_data()
{
    QTest::addColumn<bool>("batch");
    QTest::newRow("in batch mode") << true;
    QTest::newRow("with a user answering") << false;
}

void tst_ProjectDocument::lifecycle()
{
    QFETCH(bool, batch);
    QAStProject::setModeBatch(batch);
    const QString path = dir.filePath(QStringLiteral("life.vmp"));
    QAStProject project;
    QSignalSpy loaded(&project, &QAStProject::loaded);
    QSignalSpy unloaded(&project, &QAStProject::unloaded);

    // A missing file makes a new project, and nothing on disk yet.
    QVERIFY(project.open(path));
    QVERIFY(project.isLoaded());
    QVERIFY(project.isModified());
    QVERIFY(snapshot(dir.path()).isEmpty());
    QCOMPARE(project.name(), QStringLiteral("life"));

    fill(&project, QStringLiteral("life"));
    project.save();
    QVERIFY(!project.isModified());
    QVERIFY(QFile::exists(path));
    QVERIFY(QFile::exists(dir.filePath(QStringLiteral("life.inf"))));

    project.close();
    QVERIFY(!project.isLoaded());
    QVERIFY(!project.firstChild());
    QCOMPARE(unloaded.count(), 1);

    QVERIFY(project.open(path));
    QCOMPARE(loaded.count(), 1);
    QVERIFY(!project.isModified());
    QCOMPARE(childNames(&project), QStringList("life group"));
    QCOMPARE(project.file(QStringLiteral("life.c"))->QAStData::parent()->name(), QStringLiteral("Sources"));
    QCOMPARE(project.children().first()->currentConfiguration()->property("cflags").toString(), QStringLiteral("life"));

    // Without its objects file the project still opens; a user is asked
    // whether to rebuild the file, and says no here.
    QVERIFY(QFile::remove(dir.filePath(QStringLiteral("life.inf"))));
    host.boxAnswer = QMessageBox::No;
    project.reload();
    QVERIFY(project.isLoaded());
    QCOMPARE(project.files().size(), 0);
    QCOMPARE(project.rootFolder()->folders().size(), 3);
    QCOMPARE(host.boxes.size(), batch ? 0 : 1);
    if (!batch)
        QVERIFY(host.boxes.first().contains(QLatin1String("Unable to open the project Object Information File")));
    QCOMPARE(loaded.count(), 2);
    QCOMPARE(unloaded.count(), 2);
}

void tst_ProjectDocument::subProjectsThreeDeepRoundTrip()
{
    QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("a/b/c"))));
    QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("u"))));
    const QString topPath = dir.filePath(QStringLiteral("top.vmp"));
    {
        QAStProject top(topPath);
        fill(&top, QStringLiteral("top"));
        QAStSubProject* a = top.addSubProject(dir.filePath(QStringLiteral("a/a.vmp")));
        fill(a, QStringLiteral("a"));
        QAStSubProject* b = a->addSubProject(dir.filePath(QStringLiteral("a/b/b.vmp")));
        fill(b, QStringLiteral("b"));
        QAStSubProject* c = b->addSubProject(dir.filePath(QStringLiteral("a/b/c/c.vmp")));
        fill(c, QStringLiteral("c"));
        QAStSubProject* unloaded = top.addSubProject(dir.filePath(QStringLiteral("u/u.vmp")));
        fill(unloaded, QStringLiteral("u"));
        unloaded->save();
        unloaded->unload();
        QVERIFY(!unloaded->isLoaded());
        QVERIFY(top.saveProcess());
        QVERIFY(!top.isModified());
    }
    const QMap<QString, QByteArray> saved = snapshot(dir.path());
    QCOMPARE(saved.size(), 10); // five projects, five objects files

    QAStProject again(topPath);
    QVERIFY(again.isLoaded());
    QVERIFY(!again.isModified());
    auto* a = qobject_cast<QAStSubProject*>(again.findNode(QStringLiteral("a")));
    auto* u = qobject_cast<QAStSubProject*>(again.findNode(QStringLiteral("u")));
    QVERIFY(a && u);
    QVERIFY(a->isLoaded());
    QVERIFY(!u->isLoaded());
    QVERIFY(!u->firstChild());
    QAStData* cGroup = again.findNode(QStringLiteral("a.b.c.c group"));
    QVERIFY(cGroup);
    // The override of the deepest group, and above it the project's chain.
    auto* node = static_cast<QAStNode*>(cGroup);
    QCOMPARE(node->currentConfiguration()->property("cflags").toString(), QStringLiteral("c"));
    QCOMPARE(node->currentConfiguration()->property("computerPort").toInt(), 10000);
    // A value set on the holding project shows through three sub-projects.
    again.configuration(QStringLiteral("Debug"))->setProperty(QStringLiteral("ldflags"), QStringLiteral("-lm"));
    QCOMPARE(node->currentConfiguration()->property("ldflags").toString(), QStringLiteral("-lm"));
    again.configuration(QStringLiteral("Debug"))->unsetProperty(QStringLiteral("ldflags"));
    QCOMPARE(a->files().size(), 1);
    // Saved again, every file is written byte for byte as before.
    QVERIFY(again.saveProcess());
    const QMap<QString, QByteArray> resaved = snapshot(dir.path());
    for (auto it = saved.constBegin(); it != saved.constEnd(); ++it)
        QVERIFY2(resaved.value(it.key()) == it.value(), qPrintable(it.key()));
}

void tst_ProjectDocument::aFailedSaveLeavesTheFormerFile_data()
{
    QTest::addColumn<bool>("sizeLimit");
    QTest::newRow("a file size limit reached half way") << true;
    QTest::newRow("a directory and a file without write access") << false;
}

void tst_ProjectDocument::aFailedSaveLeavesTheFormerFile()
{
    QFETCH(bool, sizeLimit);
    if (!sizeLimit && ::geteuid() == 0)
        QSKIP("write access is not enforced for this user");
    QAStProject::setModeBatch(false);
    const QString path = dir.filePath(QStringLiteral("kept.vmp"));
    QAStProject project(path);
    fill(&project, QStringLiteral("kept"));
    QVERIFY(project.saveProcess());
    const QMap<QString, QByteArray> before = snapshot(dir.path());
    project.addConfiguration(QStringLiteral("Unsaved"));
    QVERIFY(project.isModified());

    bool saved = true;
    if (sizeLimit) {
        rlimit former {};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &former), 0);
        rlimit small = former;
        small.rlim_cur = 512;
        auto* previous = std::signal(SIGXFSZ, SIG_IGN);
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
        saved = project.saveProcess();
        ::setrlimit(RLIMIT_FSIZE, &former);
        std::signal(SIGXFSZ, previous);
    } else {
        // A writable file alone would be rewritten in place.
        QFile::setPermissions(path, QFile::ReadOwner);
        QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::ExeOwner);
        saved = project.saveProcess();
        QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    }
    QVERIFY(!saved);
    QVERIFY(project.isModified());
    QCOMPARE(snapshot(dir.path()), before);
    QCOMPARE(host.boxes.last(), QStringLiteral("Velmont Studio|%1: unable to open the file in write mode").arg(path));
}

void tst_ProjectDocument::badFilesChangeNothing_data()
{
    QTest::addColumn<QByteArray>("project");
    QTest::addColumn<QByteArray>("objects");
    QTest::addColumn<bool>("opened");
    QTest::addColumn<int>("children");
    QTest::addColumn<QString>("message");

    QAStProject good(dir.filePath(QStringLiteral("good.vmp")));
    fill(&good, QStringLiteral("good"));
    QVERIFY(good.saveProcess());
    const QByteArray text = readFile(good.path());
    const QByteArray objects = readFile(dir.filePath(QStringLiteral("good.inf")));

    QTest::newRow("not XML, seen only at its end") << QByteArray("one line\nanother\n") << objects << false << 0
                                                   << "This file content is not a valid project file";
    QTest::newRow("truncated") << text.left(text.size() / 2) << objects << false << 0
                               << "Unable to read the project :";
    QByteArray unversioned = text;
    unversioned.replace("<version_file>1</version_file>", "");
    QTest::newRow("without version_file: empty and valid") << unversioned << objects << true << 0 << "";
    QTest::newRow("objects file missing") << text << QByteArray() << true << 1 << "";
    QTest::newRow("objects file broken") << text << QByteArray("<objects><folder>") << true << 1
                                         << "Unable to read the project\n";
}

void tst_ProjectDocument::badFilesChangeNothing()
{
    QFETCH(QByteArray, project);
    QFETCH(QByteArray, objects);
    QFETCH(bool, opened);
    QFETCH(int, children);
    QFETCH(QString, message);
    const QString path = dir.filePath(QStringLiteral("bad.vmp"));
    writeFile(path, project);
    if (!objects.isEmpty())
        writeFile(dir.filePath(QStringLiteral("bad.inf")), objects);
    const QMap<QString, QByteArray> before = snapshot(dir.path());

    QAStProject bad;
    QCOMPARE(bad.open(path), opened);
    QCOMPARE(int(bad.children().size()), children);
    QCOMPARE(host.consoleText(QAStData::MessageConsole).contains(message), true);
    if (opened)
        QCOMPARE(bad.rootFolder()->folders().size(), 3);
    QCOMPARE(snapshot(dir.path()), before);
}

void tst_ProjectDocument::saveAsMovesTheKeysAlong()
{
    QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("moved"))));
    QAStProject project(dir.filePath(QStringLiteral("origin.vmp")));
    QAStFile* file = project.addFile(QStringLiteral("src/a.c"));
    const QString target = file->absolutePath();
    QVERIFY(project.saveAs(dir.filePath(QStringLiteral("moved/x.foo")), QStringLiteral("vmp")));
    QVERIFY(QFile::exists(dir.filePath(QStringLiteral("moved/x.foo.vmp"))));
    QCOMPARE(project.name(), QStringLiteral("x.foo"));
    QCOMPARE(file->absolutePath(), target);
    QCOMPARE(file->fileKey(), QStringLiteral("../src/a.c"));
    QVERIFY(!project.isModified());
}

void tst_ProjectDocument::cleanSparesTheProjectsFiles()
{
    QAStProject project(dir.filePath(QStringLiteral("clean.vmp")));
    project.addFile(QStringLiteral("kept.c"));
    writeFile(dir.filePath(QStringLiteral("kept.c")), "int x;\n");
    writeFile(dir.filePath(QStringLiteral("made.o")), "object");
    auto* group = new QAStNodeGroup(QStringLiteral("g"), &project);
    group->addOutFileName(QStringLiteral("OBJ"), {dir.filePath(QStringLiteral("kept.c")), dir.filePath(QStringLiteral("made.o"))});
    group->clean();
    QVERIFY(QFile::exists(dir.filePath(QStringLiteral("kept.c"))));
    QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("made.o"))));
}

void tst_ProjectDocument::theFirstExampleOpens()
{
    QVERIFY(QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-r"), QStringLiteral(SDK_EXAMPLES_DIR "/first"),
                                                     dir.path()}) == 0);
    QAStProject example(dir.filePath(QStringLiteral("first/first.vmp")));
    QVERIFY(example.isLoaded());
    QCOMPARE(example.configurationList(), (QStringList {"Native C", "Native C++"}));
    auto* queue = static_cast<QAStNode*>(example.findNode(QStringLiteral("Unit tests.Queue")));
    QVERIFY(queue);
    QCOMPARE(queue->currentConfiguration()->property("cflags").toString(), QStringLiteral("-Wall -Wextra"));
    QAStTargetPackage* port = queue->getcurrentTDP();
    QVERIFY(port);
    QCOMPARE(port->directory, QStringLiteral("gnu_c_native"));
    // The port's place is the installation's, not the one the file names.
    QCOMPARE(example.initialConfiguration(QStringLiteral("Native C"))->property("targetFullPath").toString(),
             port->fullPath);
    auto* library = qobject_cast<QAStSubProject*>(example.findNode(QStringLiteral("library")));
    QVERIFY(library && library->isLoaded());
    QCOMPARE(childNames(library), (QStringList {"Parser", "Printer"}));
    QCOMPARE(example.files().size(), 3);
    QCOMPARE(library->files().size(), 2);
}

void tst_ProjectDocument::filesGoToTheFolderThatAcceptsThem_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("folder");
    QTest::newRow("a C file to Sources") << "src/a.c" << "Sources";
    QTest::newRow("a script to Scripts, asked first") << "t.ptu" << "Scripts";
    QTest::newRow("any other file to Sources") << "x.zzz" << "Sources";
    QTest::newRow("a sub-folder that fits is asked first") << "doc/readme.txt" << "Texts";
}

void tst_ProjectDocument::filesGoToTheFolderThatAcceptsThem()
{
    QFETCH(QString, key);
    QFETCH(QString, folder);
    QAStProject project(dir.filePath(QStringLiteral("files.vmp")));
    QVERIFY(project.rootFolder()->sourceFolder()->addFolder(QStringLiteral("Texts"), QStringLiteral("*.txt")));
    QAStFile* file = project.addFile(key);
    QVERIFY(file);
    QCOMPARE(file->QAStData::parent()->name(), folder);
    // A file known already is refused, and still answered.
    host.boxes.clear();
    QAStProject::setModeBatch(false);
    QCOMPARE(project.addFile(key), file);
    QCOMPARE(host.boxes.size(), 1);
    QVERIFY(host.boxes.first().contains(QLatin1String("These files already exist.")));
}

QTEST_MAIN(tst_ProjectDocument)
#include "tst_projectdocument.moc"
