// The sample plug-in as the staged installation has it: its node, tag and
// block of settings through the registry, its build step, and its example
// project through a project document and the command-line host.

#include "nodetaginterface.h"
#include "nodetestinterface.h"
#include "projectfiles.h"
#include "qainterfaceids.h"
#include "qastconfiguration.h"
#include "qastnodeplugincenter.h"
#include "qastproject.h"
#include "qasttargetpackagelist.h"
#include "qastunknownelement.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QDomDocument>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString exampleDir = QStringLiteral(SDK_EXAMPLES_DIR "/filecheck");

template <class Interface>
Interface* served(const QString& feature, const QUuid& id)
{
    QUnknownInterface* face = nullptr;
    QAStNodePluginCenter::nodePluginCenter()->queryComponentInterface(feature, id, &face);
    return static_cast<Interface*>(face);
}

QString textOf(const QAStUnknownElement::Text& text)
{
    QString written;
    QTextStream stream(&written);
    text.write(stream, 0);
    stream.flush();
    return written;
}

const char factoryPending[] = "the factory does not ask the plug-in registry for unknown element names yet";

} // namespace

class tst_SamplePlugin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(host.initializeLibrary());
        nodes = served<NodeTestInterface>(QStringLiteral("file_check"), IID_NodeTest);
        tags = served<NodeTagInterface>(QStringLiteral("todo"), IID_NodeTag);
        QVERIFY2(nodes && tags, "the staged installation has no sample plug-in");
        QCOMPARE(QAStNodePluginCenter::nodePluginCenter()->featureList(IID_EnvironmentBlock),
                 QStringList("file_check_options"));
    }

    void cleanupTestCase()
    {
        project.reset();
        nodes->release();
        tags->release();
        QAStConfiguration::terminate();
        QAStTargetPackageList::terminate();
    }

    void init()
    {
        project = std::make_unique<QAStProject>(QPixmap());
        project->create(dir.filePath(QStringLiteral("checks.vmp")));
        project->addConfiguration(QStringLiteral("Native C"));
        project->initialConfiguration(QStringLiteral("Native C"))->init(*QAStNode::getTDP(QStringLiteral("gnu_c_native")));
        project->setCurrentConfiguration(QStringLiteral("Native C"));
        host.messages.clear();
    }

    // Each node of the example, read through the plug-in, writes its element
    // back as the file has it, the block's values with it.
    void nodeWritesBackItsElement_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<int>("ownMinSize"); // -1: none of its own
        QTest::newRow("a node without settings of its own")
            << 0 << QStringList {"src/main.c", "src/util.c", "include/util.h"} << -1;
        QTest::newRow("a node with its own block values") << 1 << QStringList {"README.md", "NEWS"} << 1;
    }
    void nodeWritesBackItsElement()
    {
        QFETCH(int, index);
        QFETCH(int, ownMinSize);
        QDomDocument document;
        QVERIFY(QAStData::parseDocument(QString::fromUtf8(readFile(exampleDir + QStringLiteral("/filecheck.vmp"))), document));
        const QDomElement element = document.elementsByTagName(QStringLiteral("file_check")).item(index).toElement();
        QAStData* node = nodes->nodeTest(QStringLiteral("file_check"), element, 1, project.get(), project->last());
        QVERIFY(node && node->parent() == project.get());
        QTEST(node->property("files").toStringList(), "files");
        QAStConfiguration* own = QAStNode::toNode(node)->configuration(QStringLiteral("Native C"));
        QCOMPARE(own->hasProperty(QStringLiteral("fileCheckMinSize")), ownMinSize >= 0);
        QCOMPARE(own->property(QStringLiteral("fileCheckMinSize")).toInt(), qMax(ownMinSize, 0));
        QCOMPARE(node->toString(), textOf(QAStUnknownElement::Text(element)));
    }

    // A build of the node runs the check on its files: its status is the
    // script's, and each problem is a line the console can open.
    void buildChecksTheFiles_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QVariantMap>("settings");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("problem"); // the diagnostic, @ standing for the project directory
        QTest::newRow("every file there") << QStringList {"a.txt", "empty.txt"} << QVariantMap() << 0 << "";
        QTest::newRow("a missing file fails the check")
            << QStringList {"a.txt", "gone.txt"} << QVariantMap() << 1 << "@/gone.txt:1: error: missing";
        QTest::newRow("a file below the smallest size") << QStringList {"a.txt", "empty.txt"}
                                                        << QVariantMap {{"fileCheckMinSize", 1}} << 1
                                                        << "@/empty.txt:1: error: 0 byte(s), fewer than 1";
        QTest::newRow("warning only, the check succeeds") << QStringList {"gone.txt"}
                                                          << QVariantMap {{"fileCheckWarnOnly", true}} << 0
                                                          << "@/gone.txt:1: warning: missing";
        QTest::newRow("relative paths below the base directory")
            << QStringList {"b.txt"} << QVariantMap {{"fileCheckBaseDir", "sub"}} << 0 << "";
    }
    void buildChecksTheFiles()
    {
        QFETCH(QStringList, files);
        QFETCH(QVariantMap, settings);
        QFETCH(QString, problem);
        QVERIFY(writeFile(dir.filePath(QStringLiteral("a.txt")), "a") && writeFile(dir.filePath(QStringLiteral("empty.txt")), ""));
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("sub")) && writeFile(dir.filePath(QStringLiteral("sub/b.txt")), "b"));
        auto* node = QAStNode::toNode(nodes->nodeTest(QStringLiteral("file_check"), QStringLiteral("check"), project.get(), nullptr));
        node->setProperty("files", files);
        for (auto it = settings.constBegin(); it != settings.constEnd(); ++it)
            node->currentConfiguration()->setProperty(it.key(), it.value());
        QSignalSpy finished(node, &QAStNode::buildExecuteFinished);
        node->build();
        QVERIFY(finished.wait(10000));
        const QString console = host.consoleText(QAStData::BuildConsole);
        QVERIFY2(console.contains(QStringLiteral("check: %1 file(s) checked").arg(files.size())), qPrintable(console));
        QTEST(node->executionStatus(), "status");
        if (!problem.isEmpty())
            QVERIFY2(console.contains(problem.replace('@', dir.path()) + '\n'), qPrintable(console));
        QCOMPARE(console.count(QStringLiteral(":1: ")), problem.isEmpty() ? 0 : 1);
    }

    // A tag made from the tagger's values is written so that the plug-in
    // reads it back alike.
    void tagReadsBackWhatItWrites()
    {
        TestData file(QStringLiteral("main.c"));
        QMap<QString, QVariant> values {{"Name", "limit"}, {"Line", 7}, {"Kind", "todo"}, {"Text", "read <it>, then go"}};
        QAStData* tag = tags->nodeTag(QStringLiteral("todo"), values, 1, &file, nullptr);
        QVERIFY(tag && tag->parent() == &file);
        const QString text = tag->toString();
        QVERIFY2(text.startsWith("<todo>\n  <data>\n    <name>limit</name>\n") && text.contains("\n  <line>7</line>\n")
                     && text.contains("\n  <text>read &amp;lt;it&amp;gt;#comma# then go</text>\n"),
                 qPrintable(text));
        QDomDocument document;
        QVERIFY(QAStData::parseDocument(text, document));
        QAStData* again = tags->nodeTag(QStringLiteral("todo"), document.documentElement(), 1, &file, tag);
        QCOMPARE(again->toString(), text);
        QCOMPARE(again->displayName(), QStringLiteral("limit: read <it>, then go"));
    }

    // The example project loads with the plug-in, and a save writes it back
    // as it was.
    void exampleSavesBackTheSameText()
    {
        QTemporaryDir work;
        QVERIFY(copyTree(exampleDir, work.path()));
        const QString path = work.filePath(QStringLiteral("filecheck.vmp"));
        const QByteArray before = readFile(path);
        QAStProject example(path);
        if (!example.isValid() && QAStData::lastErrorString().contains("No plugin found for feature \"file_check\""))
            QSKIP(factoryPending);
        QVERIFY2(example.isValid(), qPrintable(QAStData::lastErrorString()));
        QCOMPARE(example.children().size(), 2);
        QVERIFY(example.saveProcess());
        QCOMPARE(withoutInstallationLines(readFile(path)), withoutInstallationLines(before));
    }

    // The command-line host builds the example: a missing file it may only
    // warn of passes, a missing source fails.
    void batchHostBuildsTheExample_data()
    {
        QTest::addColumn<QString>("removed");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("problem");
        QTest::newRow("as shipped: a warning") << "" << 0 << "/NEWS:1: warning: missing";
        QTest::newRow("a source removed: an error") << "src/util.c" << 1 << "/src/util.c:1: error: missing";
    }
    void batchHostBuildsTheExample()
    {
        QFETCH(QString, removed);
        QFETCH(QString, problem);
        QTemporaryDir work;
        QVERIFY(copyTree(exampleDir, work.path()));
        if (!removed.isEmpty())
            QVERIFY(QFile::remove(work.filePath(removed)));
        QProcess batch;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("VELMONTDIR"));
        environment.remove(QStringLiteral("ZENTAHOME"));
        batch.setProcessEnvironment(environment);
        batch.start(QStringLiteral(SDK_BATCH_PROGRAM), {work.filePath(QStringLiteral("filecheck.vmp")), QStringLiteral("build")});
        QVERIFY(batch.waitForFinished(20000));
        const QString out = QString::fromLocal8Bit(batch.readAllStandardOutput());
        const QString err = QString::fromLocal8Bit(batch.readAllStandardError());
        if (batch.exitCode() == 5 && err.contains(QStringLiteral("No plugin found for feature \"file_check\"")))
            QSKIP(factoryPending);
        QTEST(batch.exitCode(), "status");
        QVERIFY2(out.contains(QStringLiteral("end Sources: ")), qPrintable(out));
        QVERIFY2(err.contains(work.path() + problem + '\n'), qPrintable(err));
    }

private:
    RecordingHost host;
    QTemporaryDir dir;
    std::unique_ptr<QAStProject> project;
    NodeTestInterface* nodes = nullptr;
    NodeTagInterface* tags = nullptr;
};

QTEST_MAIN(tst_SamplePlugin)
#include "tst_sampleplugin.moc"
