#include "qapropertygroup.h"
#include "qastfile.h"
#include "qastfolder.h"
#include "qastfolderdialog.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qastsubproject.h"
#include "recordinghost.h"
#include "withoutmenus.h"

#include <QLineEdit>
#include <memory>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

// Stand-ins for the node kinds that refer to files: the file tree meets them
// only through their class names and an invokable fileKey().
class QAStNodeFileRef : public WithoutMenus<QAStNode>
{
    Q_OBJECT
public:
    QAStNodeFileRef(const QString& key, QAStData* parent)
        : WithoutMenus(key, QPixmap(), parent, parent->last()), key(key)
    {
    }
    Q_INVOKABLE QString fileKey() const { return key; }

private:
    QString key;
};

class QAStNodeTestScript : public QAStNodeFileRef
{
    Q_OBJECT
public:
    using QAStNodeFileRef::QAStNodeFileRef;
};

class QAStNodeJavaTestingScript : public QAStNodeTestScript
{
    Q_OBJECT
public:
    using QAStNodeTestScript::QAStNodeTestScript;
};

class tst_ProjectCommands : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(host.initializeLibrary()); }
    void init()
    {
        host.boxes.clear();
        host.textAnswers.clear();
        host.textQuestions.clear();
        host.fileAnswers.clear();
        host.viewers.clear();
        host.viewerRequests.clear();
        QVERIFY(QDir(dir.path()).removeRecursively());
        QVERIFY(QDir().mkpath(dir.path()));
    }

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
        QFETCH(QString, box);
        QAStProject project(dir.filePath(QStringLiteral("top.vmp")));
        new QAStNodeGroup(QStringLiteral("already there"), &project);
        if (existing) {
            host.fileAnswers = answers;
            project.addExistingProject();
            QCOMPARE(host.textQuestions.value(0).section(QLatin1Char('|'), 0, 0), QStringLiteral("Select A Project File"));
        } else {
            host.textAnswers = answers;
            project.addNewProject();
            QCOMPARE(host.textQuestions.value(0), QStringLiteral("Add New Project|Project Name and Location"));
        }
        auto* sub = qobject_cast<QAStSubProject*>(project.firstChild());
        QCOMPARE(sub ? sub->path() : QString(), added);
        if (sub)
            QVERIFY(sub->isLoaded());
        QCOMPARE(host.boxes.value(0).section(QLatin1Char('|'), 1), box);
    }

    void testProcessMonitor()
    {
        QAStProject project(dir.filePath(QStringLiteral("monitor.vmp")));
        project.testProcessMonitor();
        QCOMPARE(host.boxes, QStringList("Velmont Studio|Unable to load the Test Process Monitor"));
        QVERIFY(!project.testProcessMonitorWindow());

        host.viewers = QStringList {"Tpm"};
        project.testProcessMonitor();
        project.testProcessMonitor();
        QCOMPARE(host.viewerRequests, QStringList("Tpm: "));
        QVERIFY(project.testProcessMonitorWindow() && project.testProcessMonitorWindow()->isVisible());
        QCOMPARE(host.boxes.size(), 1);
    }

    void normalizeFollowsTheFileReferences_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<int>("qualifier");
        QTest::newRow("a source to Sources") << "source" << "src/a.c" << "Sources" << 0;
        QTest::newRow("a source that a sub-folder of Sources fits") << "source" << "doc/a.txt" << "Texts" << 0;
        QTest::newRow("a script to Scripts") << "script" << "t.ptu" << "Scripts" << 0;
        QTest::newRow("a Java script, marked as such") << "java" << "T.java" << "Scripts" << 0x10000;
    }
    void normalizeFollowsTheFileReferences()
    {
        QFETCH(QString, kind);
        QFETCH(QString, key);
        QFETCH(QString, folder);
        QFETCH(int, qualifier);
        QAStProject::setModeBatch(false);
        QAStProject project(dir.filePath(QStringLiteral("refs.vmp")));
        QAStRootFolder* root = project.rootFolder();
        QVERIFY(root->sourceFolder()->addFolder(QStringLiteral("Texts"), QStringLiteral("*.txt")));
        project.addFile(QStringLiteral("forgotten.c"));
        auto* group = new QAStNodeGroup(QStringLiteral("g"), &project);
        if (kind == QLatin1String("source"))
            new QAStNodeFileRef(key, group);
        else if (kind == QLatin1String("script"))
            new QAStNodeTestScript(key, group);
        else
            new QAStNodeJavaTestingScript(key, group);
        // Two references to one file make one file.
        new QAStNodeFileRef(key, &project);

        project.rebuildFileList();
        QCOMPARE(host.boxes.size(), 1);
        QVERIFY(host.boxes.first().contains(QLatin1String("This process deletes the files")));
        const QList<QAStFile*> files = project.files();
        QCOMPARE(files.size(), 1);
        QVERIFY(QAStFile::isEqualKeys(files.first()->fileKey(), key));
        QCOMPARE(files.first()->QAStData::parent()->name(), folder);
        QCOMPARE(files.first()->qualifier(), qualifier);
        QAStProject::setModeBatch(true);
    }

    // The project's name is its file's, and shows with the file and the
    // directory, none of them to be edited; a folder's filter is.
    void propertyGroups()
    {
        QAStProject project(dir.filePath(QStringLiteral("props.vmp")));
        std::unique_ptr<QAPropertyGroup> group(project.propertyGroup());
        QStringList keys;
        for (QAProperty* property : group->children())
            keys << property->key() + (property->isReadOnly() ? "(fixed)" : "");
        QCOMPARE(keys, (QStringList {"name(fixed)", "state", "backMode", "filename(fixed)", "directory(fixed)"}));
        QCOMPARE(group->property("filename")->value().toString(), QStringLiteral("props.vmp"));
        QCOMPARE(group->property("directory")->value().toString(), dir.path());

        QAStFolder* sources = project.rootFolder()->sourceFolder();
        std::unique_ptr<QAPropertyGroup> folderGroup(sources->propertyGroup());
        QAProperty* filter = folderGroup->property(QStringLiteral("filter"));
        QVERIFY(filter && !filter->isReadOnly());
        filter->setValue(QStringLiteral("*.c"));
        QCOMPARE(sources->filters(), QStringLiteral("*.c"));
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

QTEST_MAIN(tst_ProjectCommands)
#include "tst_projectcommands.moc"
