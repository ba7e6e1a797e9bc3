#include "projectfiles.h"
#include "qastconfiguration.h"
#include "qastfile.h"
#include "qastfolder.h"
#include "qastfolderdialog.h"
#include "qastnodegroup.h"
#include "qastnodefileref.h"
#include "qastnodetestscript.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qastsubproject.h"
#include "recordinghost.h"
#include "testdata.h"
#include "withoutmenus.h"

#include <QDomDocument>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

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
        host.textAnswers.clear();
        host.textQuestions.clear();
        host.fileAnswers.clear();
        host.viewers.clear();
        host.viewerRequests.clear();
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
        QCOMPARE(project.files().size(), 1);

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
        QCOMPARE(snapshot(dir.path()), saved);
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
            withoutDacOverride([&] { saved = project.saveProcess(); });
            QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
        }
        QVERIFY(!saved);
        QVERIFY(project.isModified());
        QCOMPARE(snapshot(dir.path()), before);
        QCOMPARE(host.boxes.last(), QStringLiteral("Velmont Studio|%1: unable to open the file in write mode").arg(path));
    }

    // Older files are refused with the reason and the file's name; a file of
    // today's form that cannot be read is refused too, or opens as far as it
    // can be read. Either way nothing on disk changes.
    void badFilesChangeNothing_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("project");
        QTest::addColumn<QByteArray>("objects");
        QTest::addColumn<int>("children"); // -1: not opened
        QTest::addColumn<QStringList>("messages");

        QAStProject good(dir.filePath(QStringLiteral("good.vmp")));
        fill(&good, QStringLiteral("good"));
        QVERIFY(good.saveProcess());
        const QByteArray text = readFile(good.path());
        const QByteArray objects = readFile(dir.filePath(QStringLiteral("good.inf")));
        const auto row = [](const char* tag, const QByteArray& project, const QByteArray& objects, int children,
                            const QStringList& messages) {
            QTest::newRow(tag) << "bad.vmp" << project << objects << children << messages;
        };
        row("not XML, seen only at its end", "one line\nanother\n", objects, -1,
            {"This file content is not a valid project file"});
        row("truncated", text.left(text.size() / 2), objects, -1, {"Unable to read the project :"});
        QByteArray unversioned = text;
        unversioned.replace("<version_file>1</version_file>", "");
        row("without version_file: empty and valid", unversioned, objects, 0, {});
        row("objects file missing", text, QByteArray(), 1, {});
        row("objects file broken", text, "<objects><folder>", 1, {"Unable to read the project\n"});

        const QList<std::pair<const char*, const char*>> older{
            {"older-syntax.vmp", "older-syntax.vmp:3:29:syntax error"},
            {"older-unknown-kind.vmp", "No plugin found for feature \"Gadget\""},
            {"older-neither-group.vmp", "Unable to find tag PROJECT"},
            {"older-file-in-node-tree.vmp", "QAStFile bad place"},
            {"older-missing-project.vmw", "Unable to read the project\n"}};
        for (const auto& [file, reason] : older)
            QTest::newRow(file) << file << readFile(QStringLiteral(SDK_TESTDATA_DIR "/erroneous/") + file) << QByteArray()
                                << -1 << QStringList{file + QStringLiteral("\n\nIt is a bad project file\n"), reason};
    }
    void badFilesChangeNothing()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, project);
        QFETCH(QByteArray, objects);
        QFETCH(int, children);
        QFETCH(QStringList, messages);
        const QString path = dir.filePath(file);
        QVERIFY(!project.isEmpty() && writeFile(path, project));
        QVERIFY(objects.isEmpty() || writeFile(dir.filePath(QStringLiteral("bad.inf")), objects));
        const QMap<QString, QByteArray> before = snapshot(dir.path());

        QAStProject bad;
        QCOMPARE(bad.open(path), children >= 0);
        QCOMPARE(bad.isLoaded(), children >= 0);
        QCOMPARE(int(bad.children().size()), qMax(children, 0));
        const QString console = host.consoleText(QAStData::MessageConsole);
        for (const QString& message : messages)
            QVERIFY2(console.contains(message), qPrintable(console));
        if (children >= 0)
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

    // The older form opens as a project of today: its own values, its
    // configurations with the first one current, and the file tree of the
    // workspace beside it that names this project, not of another.
    void olderProjectsOpen_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("the project file, with the workspace beside it") << "older.vmp";
        QTest::newRow("the workspace, which opens the project it names") << "older.vmw";
    }
    void olderProjectsOpen()
    {
        QFETCH(QString, file);
        for (const char* name : {"older.vmp", "older.vmw", "a-other.vmw"})
            QVERIFY(QFile::copy(QStringLiteral(SDK_TESTDATA_DIR "/") + name, dir.filePath(name)));
        QAStProject project;
        QSignalSpy loaded(&project, &QAStProject::loaded);
        QVERIFY(project.open(dir.filePath(file)));
        QCOMPARE(loaded.count(), 1);
        QVERIFY(!project.isModified());
        QCOMPARE(project.path(), dir.filePath(QStringLiteral("older.vmp")));
        QCOMPARE(project.name(), QStringLiteral("older"));

        QCOMPARE(childNames(&project), (QStringList {"Tests", "Last"}));
        auto* tests = static_cast<QAStNode*>(project.findNode(QStringLiteral("Tests")));
        auto* inner = static_cast<QAStNode*>(project.findNode(QStringLiteral("Tests.Inner")));
        auto* last = static_cast<QAStNode*>(project.findNode(QStringLiteral("Last")));
        QVERIFY(qobject_cast<QAStNodeGroup*>(tests) && qobject_cast<QAStNodeGroup*>(inner) && last);
        QCOMPARE(tests->effectiveState(), QAStNode::Excluded);
        QVERIFY(inner->backgroundAttribute().get());
        QCOMPARE(last->effectiveState(), QAStNode::ReportOnly);

        QCOMPARE(project.configurationList(), (QStringList {"Cross", "Native"}));
        QCOMPARE(inner->currentConfigurationName(), QStringLiteral("Native"));
        for (const QString& name : project.configurationList()) {
            QVERIFY(project.initialConfiguration(name));
            QCOMPARE(project.inheritConfiguration(project.configuration(name)), project.initialConfiguration(name));
        }

        QCOMPARE(project.files().size(), 2);
        QCOMPARE(project.file(QStringLiteral("src/a.c"))->QAStData::parent()->name(), QStringLiteral("Sources"));
        QAStFile* readme = project.file(QStringLiteral("readme.txt"));
        QVERIFY(readme);
        auto* texts = qobject_cast<QAStFolder*>(readme->QAStData::parent());
        QVERIFY(texts);
        QCOMPARE(texts->filters(), QStringLiteral("*.txt"));

        // A save writes the project in today's form, and it reads back.
        QVERIFY(project.saveProcess());
        QAStProject again(project.path());
        QVERIFY(again.isLoaded());
        QCOMPARE(childNames(again.findNode(QStringLiteral("Tests"))), QStringList("Inner"));
        QCOMPARE(again.files().size(), 2);
    }

    void workspaceRecognition_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("ours");
        QTest::newRow("a plain name") << QByteArray("WORKSPACE = { project = \"older.vmp\"; };") << true;
        QTest::newRow("a path with backslashes") << QByteArray("WORKSPACE = { project = \"a\\b\\older.vmp\"; };") << true;
        QTest::newRow("another project") << QByteArray("WORKSPACE = { project = \"old.vmp\"; };") << false;
        QTest::newRow("a project, not a workspace") << QByteArray("PROJECT = { project = \"older.vmp\"; };") << false;
    }
    void workspaceRecognition()
    {
        QFETCH(QByteArray, text);
        const QString path = dir.filePath(QStringLiteral("probe.vmw"));
        QVERIFY(writeFile(path, text));
        QAStProject project(dir.filePath(QStringLiteral("older.vmp")));
        QTEST(project.isAWorkspaceForThisProject(path), "ours");
    }

    // A file added goes to the folder that accepts it; so does the file of a
    // node when the file tree is rebuilt from the node tree, which asks first.
    void filesGoToTheFolderThatAcceptsThem_data()
    {
        QTest::addColumn<QString>("kind"); // "file": added by hand; else the node kind naming it
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<int>("qualifier");
        QTest::newRow("a C file to Sources") << "file" << "src/a.c" << "Sources" << 0;
        QTest::newRow("a script to Scripts, asked first") << "file" << "t.ptu" << "Scripts" << 0;
        QTest::newRow("any other file to Sources") << "file" << "x.zzz" << "Sources" << 0;
        QTest::newRow("a source that a sub-folder of Sources fits") << "source" << "doc/a.txt" << "Texts" << 0;
        QTest::newRow("a test script of a node to Scripts") << "script" << "t.ptu" << "Scripts" << 0;
        QTest::newRow("a Java script of a node, marked as such") << "java" << "T.java" << "Scripts" << 0x10000;
    }
    void filesGoToTheFolderThatAcceptsThem()
    {
        QFETCH(QString, kind);
        QFETCH(QString, key);
        QAStProject::setModeBatch(false);
        QAStProject project(dir.filePath(QStringLiteral("files.vmp")));
        QVERIFY(project.rootFolder()->sourceFolder()->addFolder(QStringLiteral("Texts"), QStringLiteral("*.txt")));
        QAStFile* file = nullptr;
        if (kind == QLatin1String("file")) {
            file = project.addFile(key);
            // A file known already is refused, and still answered.
            QCOMPARE(project.addFile(key), file);
        } else {
            project.addFile(QStringLiteral("forgotten.c"));
            auto* group = new QAStNodeGroup(QStringLiteral("g"), &project);
            if (kind == QLatin1String("source"))
                new QAStNodeFileRef(key, QPixmap(), group);
            else if (kind == QLatin1String("script"))
                new QAStNodeTestScript(key, group, group->last());
            else
                new QAStNodeJavaTestingScript(key, group, group->last());
            // Two references to one file make one file.
            new QAStNodeFileRef(key, QPixmap(), &project, project.last());
            project.rebuildFileList();
            QCOMPARE(project.files().size(), 1);
            file = project.files().first();
            QVERIFY(QAStFile::isEqualKeys(file->fileKey(), key));
        }
        QVERIFY(file);
        QTEST(file->QAStData::parent()->name(), "folder");
        QTEST(file->qualifier(), "qualifier");
        QCOMPARE(host.boxes.size(), 1);
        QVERIFY(host.boxes.first().contains(kind == QLatin1String("file") ? QLatin1String("These files already exist.")
                                                                          : QLatin1String("This process deletes the files")));
    }

    // A new sub-project goes to the head, from a name and a location or from
    // an existing file.
    void addingSubProjects_data()
    {
        QTest::addColumn<bool>("existing");
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<QString>("added");
        QTest::addColumn<QString>("box");
        const QString location = dir.filePath(QStringLiteral("libs"));
        QTest::newRow("a new project from a name and a location")
            << false << QStringList {"parser", location} << location + "/parser.vmp" << "";
        QTest::newRow("a new project without a location is refused")
            << false << QStringList {"parser", ""} << ""
            << "You must enter a name and a location for the project.";
        QTest::newRow("a new project cancelled") << false << QStringList() << "" << "";
        QTest::newRow("an existing project file") << true << QStringList {dir.filePath("old.vmp")}
                                                  << dir.filePath("old.vmp") << "";
        QTest::newRow("an existing project, cancelled") << true << QStringList() << "" << "";
    }
    void addingSubProjects()
    {
        QFETCH(bool, existing);
        QFETCH(QStringList, answers);
        QFETCH(QString, added);
        QAStProject::setModeBatch(false);
        QAStProject project(dir.filePath(QStringLiteral("top.vmp")));
        new QAStNodeGroup(QStringLiteral("already there"), &project);
        if (existing) {
            host.fileAnswers = answers;
            project.addExistingProject();
        } else {
            host.textAnswers = answers;
            project.addNewProject();
        }
        QVERIFY(!host.textQuestions.isEmpty());
        auto* sub = qobject_cast<QAStSubProject*>(project.firstChild());
        QCOMPARE(sub ? sub->path() : QString(), added);
        QVERIFY(!sub || sub->isLoaded());
        QTEST(host.boxes.value(0).section(QLatin1Char('|'), 1), "box");
    }

    // The window is made once, by the host's viewer, and then only shown.
    void testProcessMonitor()
    {
        QAStProject::setModeBatch(false);
        QAStProject project(dir.filePath(QStringLiteral("monitor.vmp")));
        project.testProcessMonitor();
        QCOMPARE(host.boxes.size(), 1);
        QVERIFY(!project.testProcessMonitorWindow());

        host.viewers = QStringList {"Tpm"};
        project.testProcessMonitor();
        project.testProcessMonitor();
        QCOMPARE(host.viewerRequests, QStringList("Tpm: "));
        QVERIFY(project.testProcessMonitorWindow() && project.testProcessMonitorWindow()->isVisible());
        QCOMPARE(host.boxes.size(), 1);
    }

    // Blanks are no name; a name makes the default button take the Return.
    void folderDialog()
    {
        QAStFolderDialog dialog;
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QTest::keyClicks(dialog.nameEdit(), QStringLiteral("   "));
        QTest::keyClicks(dialog.filtersEdit(), QStringLiteral("*.txt;*.md"));
        QVERIFY(!dialog.okButton()->isEnabled());
        QTest::keyClicks(dialog.nameEdit(), QStringLiteral("Docs"));
        QVERIFY(dialog.okButton()->isEnabled() && dialog.okButton()->isDefault());
        QTest::keyClick(dialog.filtersEdit(), Qt::Key_Return);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(dialog.folderName(), QStringLiteral("Docs"));
        QCOMPARE(dialog.filters(), QStringLiteral("*.txt;*.md"));
    }

private:
    RecordingHost host;
    QTemporaryDir dir;
};

QTEST_MAIN(tst_ProjectDocument)
#include "tst_projectdocument.moc"
