#include "projectfiles.h"
#include "qastconfiguration.h"
#include "qastfile.h"
#include "qastfolder.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class tst_OlderProjects : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(host.initializeLibrary());
        QAStProject::setModeBatch(true);
    }
    void init()
    {
        host.messages.clear();
        QVERIFY(QDir(dir.path()).removeRecursively());
        QVERIFY(QDir().mkpath(dir.path()));
        // The project, the workspace that names it, and one that names another.
        for (const char* file : {"older.vmp", "older.vmw", "a-other.vmw"})
            QVERIFY(QFile::copy(QStringLiteral(SDK_TESTDATA_DIR "/") + file, dir.filePath(file)));
    }

    void opens_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("the project file, with the workspace beside it") << "older.vmp";
        QTest::newRow("the workspace, which opens the project it names") << "older.vmw";
    }
    void opens()
    {
        QFETCH(QString, file);
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

        // The first configuration is the current one on the whole tree, and
        // the project's chain ends at the initial configurations read.
        QCOMPARE(project.configurationList(), (QStringList {"Cross", "Native"}));
        QCOMPARE(inner->currentConfigurationName(), QStringLiteral("Native"));
        for (const QString& name : project.configurationList()) {
            QVERIFY(project.initialConfiguration(name));
            QCOMPARE(project.inheritConfiguration(project.configuration(name)), project.initialConfiguration(name));
        }

        // Only the workspace that names this project gives it files.
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
        QFETCH(bool, ours);
        const QString path = dir.filePath(QStringLiteral("probe.vmw"));
        QVERIFY(writeFile(path, text));
        QAStProject project(dir.filePath(QStringLiteral("older.vmp")));
        QCOMPARE(project.isAWorkspaceForThisProject(path), ours);
    }

    void badFiles_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("reason");
        QTest::newRow("older-syntax.vmp") << "older-syntax.vmp" << "older-syntax.vmp:3:29:syntax error";
        QTest::newRow("older-unknown-kind.vmp") << "older-unknown-kind.vmp" << "No plugin found for feature \"Gadget\"";
        QTest::newRow("older-neither-group.vmp") << "older-neither-group.vmp" << "Unable to find tag PROJECT";
        QTest::newRow("older-file-in-node-tree.vmp") << "older-file-in-node-tree.vmp" << "QAStFile bad place";
        QTest::newRow("older-missing-project.vmw") << "older-missing-project.vmw" << "Unable to read the project\n";
    }
    void badFiles()
    {
        QFETCH(QString, file);
        QFETCH(QString, reason);
        QAStProject project;
        QVERIFY(!project.open(QStringLiteral(SDK_TESTDATA_DIR "/erroneous/") + file));
        QVERIFY(!project.isLoaded());
        QVERIFY(!project.firstChild());
        const QString console = host.consoleText(QAStData::MessageConsole);
        QVERIFY2(console.contains(file + QStringLiteral("\n\nIt is a bad project file\n")), qPrintable(console));
        QVERIFY2(console.contains(reason), qPrintable(console));
    }

private:
    RecordingHost host;
    QTemporaryDir dir;
};

QTEST_MAIN(tst_OlderProjects)
#include "tst_olderprojects.moc"
