#include "projectfiles.h"
#include "qastconfiguration.h"
#include "qastfile.h"
#include "qastfolder.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qastsubproject.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QDomDocument>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// A small project with a configuration, a group, a file and an override.
void fill(QAStProject* project, const QString& tag)
{
    project->addConfiguration(QStringLiteral("Debug"));
    auto* group = new QAStNodeGroup(tag + QStringLiteral(" group"), project, project->last());
    group->configuration(QStringLiteral("Debug"))->setProperty(QStringLiteral("cflags"), tag);
    project->addFile(tag + QStringLiteral(".c"));
}

// The project file of \a name: its sub-projects, each a file beside it, then
// a group of its own.
QByteArray projectNaming(const QString& name, const QStringList& subProjects)
{
    const QString data = QStringLiteral("<data><name>%1</name><sorted>false</sorted>"
                                        "<executionResult>5</executionResult></data>");
    QString children;
    for (const QString& sub : subProjects)
        children += QStringLiteral("<sub_project>%1<project_file>%2.vmp</project_file><unload>false</unload>"
                                   "</sub_project>").arg(data.arg(sub), sub);
    children += QStringLiteral("<group><node>%1</node></group>").arg(data.arg(name + QStringLiteral(" group")));
    return QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE project SYSTEM \"p.dtd\" >\n"
                          "<project><group><node>%1</node><group_child>%2</group_child></group><object_file/>"
                          "<root_configuration_list/><version_file>1</version_file></project>\n")
        .arg(data.arg(name), children)
        .toUtf8();
}

} // namespace

class tst_ProjectDocument : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(host.initializeLibrary()); }
    void init()
    {
        host.boxes.clear();
        host.messages.clear();
        host.boxAnswer = 0;
        QAStProject::setModeBatch(true);
        QVERIFY(QDir(dir.path()).removeRecursively());
        QVERIFY(QDir().mkpath(dir.path()));
    }
    void cleanup() { QAStProject::setModeBatch(false); }

    void lifecycle_data()
    {
        QTest::addColumn<bool>("batch");
        QTest::newRow("in batch mode") << true;
        QTest::newRow("with a user answering") << false;
    }
    void lifecycle()
    {
        QFETCH(bool, batch);
        QAStProject::setModeBatch(batch);
        const QString path = dir.filePath(QStringLiteral("life.vmp"));
        QAStProject project;
        QSignalSpy loaded(&project, &QAStProject::loaded);
        QSignalSpy unloaded(&project, &QAStProject::unloaded);

        // A missing file makes a new project, and nothing on disk yet.
        QVERIFY(project.open(path));
        QVERIFY(project.isLoaded() && project.isModified());
        QVERIFY(snapshot(dir.path()).isEmpty());
        QCOMPARE(project.name(), QStringLiteral("life"));

        fill(&project, QStringLiteral("life"));
        project.save();
        QVERIFY(!project.isModified());
        QVERIFY(QFile::exists(path) && QFile::exists(dir.filePath(QStringLiteral("life.inf"))));

        project.close();
        QVERIFY(!project.isLoaded() && !project.firstChild());
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

    void subProjectsThreeDeepRoundTrip()
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
            fill(b->addSubProject(dir.filePath(QStringLiteral("a/b/c/c.vmp"))), QStringLiteral("c"));
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
        QVERIFY(again.isLoaded() && !again.isModified());
        auto* a = qobject_cast<QAStSubProject*>(again.findNode(QStringLiteral("a")));
        auto* u = qobject_cast<QAStSubProject*>(again.findNode(QStringLiteral("u")));
        QVERIFY(a && u && a->isLoaded() && !u->isLoaded() && !u->firstChild());
        auto* node = static_cast<QAStNode*>(again.findNode(QStringLiteral("a.b.c.c group")));
        QVERIFY(node);
        // The override of the deepest group, and above it the project's chain.
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

    void subProjectCycles_data()
    {
        QTest::addColumn<QStringList>("projects"); // "name:sub,sub"; the first is opened
        QTest::addColumn<QString>("refused");      // dotted path of the sub-project refused, or none
        QTest::newRow("a project naming itself") << QStringList {"a:a"} << "a";
        QTest::newRow("a names b, which names a") << QStringList {"a:b", "b:a"} << "b.a";
        QTest::newRow("a names b and c, c names b: no cycle") << QStringList {"a:b,c", "b:", "c:b"} << "";
    }
    void subProjectCycles()
    {
        QFETCH(QStringList, projects);
        QFETCH(QString, refused);
        for (const QString& project : projects) {
            const QString name = project.section(QLatin1Char(':'), 0, 0);
            const QStringList subs = project.section(QLatin1Char(':'), 1).split(QLatin1Char(','), Qt::SkipEmptyParts);
            QVERIFY(writeFile(dir.filePath(name + QStringLiteral(".vmp")), projectNaming(name, subs)));
        }
        QAStProject top;
        QVERIFY(top.open(dir.filePath(QStringLiteral("a.vmp"))));

        // Everything but the refused sub-project is loaded, its own group too.
        int subProjects = 0;
        for (QAStData* data : top.childrenOfClass("QAStSubProject", true)) {
            auto* sub = static_cast<QAStSubProject*>(data);
            const bool isRefused = top.findNode(refused) == sub;
            QCOMPARE(sub->isLoaded(), !isRefused);
            QVERIFY(!sub->isUnloaded());
            QCOMPARE(childNames(sub).contains(sub->name() + QStringLiteral(" group")), !isRefused);
            ++subProjects;
        }
        QCOMPARE(subProjects, refused.isEmpty() ? 3 : projects.size());
        const QString message = QStringLiteral("%1\nA project cannot contain itself: this sub-project is not loaded.\n")
                                    .arg(dir.filePath(QStringLiteral("a.vmp")));
        QCOMPARE(host.consoleText(QAStData::MessageConsole, true).contains(message), !refused.isEmpty());
        QCOMPARE(QAStData::lastErrorString().contains(message), !refused.isEmpty());
        if (refused.isEmpty())
            return;

        // Its element is written back as it was read, to be refused again.
        QVERIFY(top.saveProcess());
        auto* holder = static_cast<QAStProject*>(top.findNode(refused)->QAStData::parent());
        QDomDocument saved;
        QVERIFY(saved.setContent(readFile(holder->path())));
        const QDomElement element = saved.elementsByTagName(QStringLiteral("sub_project")).item(0).toElement();
        QCOMPARE(element.firstChildElement(QStringLiteral("project_file")).text(), QStringLiteral("a.vmp"));
        QCOMPARE(element.firstChildElement(QStringLiteral("unload")).text(), QStringLiteral("false"));
    }

    void aFailedSaveLeavesTheFormerFile_data()
    {
        QTest::addColumn<bool>("sizeLimit");
        QTest::newRow("a file size limit reached half way") << true;
        QTest::newRow("a directory and a file without write access") << false;
    }
    void aFailedSaveLeavesTheFormerFile()
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

    void badFilesChangeNothing_data()
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
    void badFilesChangeNothing()
    {
        QFETCH(QByteArray, project);
        QFETCH(QByteArray, objects);
        QFETCH(bool, opened);
        QFETCH(int, children);
        QFETCH(QString, message);
        const QString path = dir.filePath(QStringLiteral("bad.vmp"));
        QVERIFY(writeFile(path, project));
        QVERIFY(objects.isEmpty() || writeFile(dir.filePath(QStringLiteral("bad.inf")), objects));
        const QMap<QString, QByteArray> before = snapshot(dir.path());

        QAStProject bad;
        QCOMPARE(bad.open(path), opened);
        QCOMPARE(int(bad.children().size()), children);
        QCOMPARE(host.consoleText(QAStData::MessageConsole).contains(message), true);
        if (opened)
            QCOMPARE(bad.rootFolder()->folders().size(), 3);
        QCOMPARE(snapshot(dir.path()), before);
    }

    void saveAsMovesTheKeysAlong()
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

    void cleanSparesTheProjectsFiles()
    {
        QAStProject project(dir.filePath(QStringLiteral("clean.vmp")));
        project.addFile(QStringLiteral("kept.c"));
        QVERIFY(writeFile(dir.filePath(QStringLiteral("kept.c")), "int x;\n"));
        QVERIFY(writeFile(dir.filePath(QStringLiteral("made.o")), "object"));
        auto* group = new QAStNodeGroup(QStringLiteral("g"), &project);
        group->addOutFileName(QStringLiteral("OBJ"), {dir.filePath(QStringLiteral("kept.c")), dir.filePath(QStringLiteral("made.o"))});
        group->clean();
        QVERIFY(QFile::exists(dir.filePath(QStringLiteral("kept.c"))));
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("made.o"))));
    }

    void filesGoToTheFolderThatAcceptsThem_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("folder");
        QTest::newRow("a C file to Sources") << "src/a.c" << "Sources";
        QTest::newRow("a script to Scripts, asked first") << "t.ptu" << "Scripts";
        QTest::newRow("any other file to Sources") << "x.zzz" << "Sources";
        QTest::newRow("a sub-folder that fits is asked first") << "doc/readme.txt" << "Texts";
    }
    void filesGoToTheFolderThatAcceptsThem()
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

private:
    RecordingHost host;
    QTemporaryDir dir;
};

QTEST_MAIN(tst_ProjectDocument)
#include "tst_projectdocument.moc"
