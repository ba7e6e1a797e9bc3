#include "qapropertygroup.h"
#include "qares.h"
#include "qastdatacopydrag.h"
#include "qastdatafactory.h"
#include "qastfile.h"
#include "qastnodegroup.h"
#include "qastnodeuser.h"
#include "qastnodesource.h"
#include "qastnodetest.h"
#include "qastnodetestscript.h"
#include "qastnodeunittesting.h"
#include "qastproject.h"
#include "projectfiles.h"
#include "recordinghost.h"
#include "withoutmenus.h"

#include <QClipboard>
#include <QDomDocument>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>

#include <memory>

// Stand-ins for the kinds that the file references meet only by class name.
class QAStNodeVirtualTester : public QAStNodeFileRef
{
    Q_OBJECT
public:
    QAStNodeVirtualTester(const QString& key) : QAStNodeFileRef(key, QPixmap()) {}
};

namespace {

// A `source` element as a project file holds it, around \a key.
QDomElement sourceElement(QDomDocument& document, const QString& key, const char* integrated = "false")
{
    const QString text = QStringLiteral("<source><nodefile_ref><node><data><name>n</name></data></node>"
                                        "<filepath>%1</filepath></nodefile_ref><integrated>%2</integrated>"
                                        "<source_child/></source>")
                             .arg(QAStData::stringToXMLValue(key), QString::fromLatin1(integrated));
    document.setContent(text);
    return document.documentElement();
}
} // namespace

class tst_FileReferences : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QTemporaryDir dir;
    std::unique_ptr<QAStProject> project;

    QString path(const QString& name) const { return dir.filePath(name); }
    std::unique_ptr<QAStProject> makeProject(const QString& file)
    {
        QDir().mkpath(QFileInfo(file).path());
        auto made = std::make_unique<QAStProject>(QPixmap());
        made->create(file);
        made->addConfiguration(QStringLiteral("Debug"));
        return made;
    }

private slots:
    void initTestCase() { QVERIFY(host.initializeLibrary()); }
    void init() { project = makeProject(path(QStringLiteral("p/p.vmp"))); }
    void cleanup() { project.reset(); }

    void keysReadFromAFileAreRelative_data()
    {
        QTest::addColumn<QString>("written"); // "@" stands for the project's directory
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("full");
        QTest::newRow("a relative key stays as it is") << "src/a.c" << "src/a.c" << "@/src/a.c";
        QTest::newRow("backslashes read as slashes") << "src\\sub\\a.c" << "src/sub/a.c" << "@/src/sub/a.c";
        QTest::newRow("an absolute key in the project is made relative") << "@/src/a.c" << "src/a.c" << "@/src/a.c";
        QTest::newRow("an absolute key outside it goes up") << "@/../lib/b.c" << "../lib/b.c" << "@/../lib/b.c";
        QTest::newRow("an absolute key with backslashes") << "@\\src\\a.c" << "src/a.c" << "@/src/a.c";
    }
    void keysReadFromAFileAreRelative()
    {
        QFETCH(QString, written);
        QFETCH(QString, key);
        QFETCH(QString, full);
        const QString top = project->directory();
        // A key written under another system has backslashes throughout.
        QString text = QString(written).replace(QLatin1Char('@'), top);
        if (written.contains(QLatin1Char('\\')))
            text.replace(QLatin1Char('/'), QLatin1Char('\\'));
        QDomDocument document;
        auto* source = qobject_cast<QAStNodeSource*>(
            QAStDataFactory::create(sourceElement(document, text, "true"), 1, project.get(), nullptr));
        QVERIFY(source);
        QCOMPARE(source->fileKey(), key);
        QCOMPARE(QDir::cleanPath(source->fullPath()), QDir::cleanPath(QString(full).replace(QLatin1Char('@'), top)));
        QVERIFY(source->integratedSource());
        QCOMPARE(source->perlScriptAfterChild(), QStringLiteral("Source.pl"));
    }

    // The older resource form names the key "key" and the mode "integrated".
    void olderFormKeysReadWithSlashes()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write("node = { type = \"Source\"; name = \"a.c\"; key = \"src\\sub\\a.c\"; integrated = true; };\n");
        file.close();
        std::unique_ptr<QARes> resources(QARes::read(QFile::encodeName(file.fileName()).constData(), false));
        QVERIFY(resources);
        auto* source = qobject_cast<QAStNodeSource*>(QAStDataFactory::create(
            QAStDataFactory::resourceClassName(QStringLiteral("Source")), resources.get(), project.get(), nullptr));
        QVERIFY(source);
        QCOMPARE(source->fileKey(), QStringLiteral("src/sub/a.c"));
        QCOMPARE(source->fullPath(), project->directory() + QStringLiteral("/src/sub/a.c"));
        QVERIFY(source->integratedSource());
    }

    // The two tags behind the reference stand at the source's own indent,
    // and what was written reads back the same.
    void sourcesReadBackWhatTheyWrite()
    {
        auto* group = new QAStNodeGroup(QStringLiteral("g"), project.get());
        auto* source = new QAStNodeSource(QStringLiteral("src/a.c"), group);
        source->setMode(QAStNodeSource::Integrated);
        const QString text = source->toString();
        QVERIFY2(text.contains(QLatin1String("\n<integrated>true</integrated>\n<source_child>")), qPrintable(text));
        QDomDocument document;
        QVERIFY(document.setContent(text));
        auto* read = qobject_cast<QAStNodeSource*>(QAStDataFactory::create(document.documentElement(), 1, group, source));
        QVERIFY(read);
        QCOMPARE(read->fileKey(), source->fileKey());
        QCOMPARE(read->mode(), QAStNodeSource::Integrated);
        QCOMPARE(read->toString(), text);
    }

    void keysFollowTheNodeThroughTheTree_data()
    {
        QTest::addColumn<QString>("move");
        QTest::addColumn<QString>("keyAfter"); // "@" the first project's directory
        QTest::newRow("a detached node holds an absolute key") << "detach" << "@/src/a.c";
        QTest::newRow("a node cut and pasted under a project elsewhere is relative to it")
            << "into other project" << "../p/src/a.c";
        QTest::newRow("a node moved under another parent of the project keeps its key") << "into group" << "src/a.c";
        QTest::newRow("a copy carries the absolute key, the node keeps its own") << "copy" << "src/a.c";
        QTest::newRow("a dragged copy too") << "drag" << "src/a.c";
    }
    void keysFollowTheNodeThroughTheTree()
    {
        QFETCH(QString, move);
        auto* source = new QAStNodeSource(QStringLiteral("src/a.c"), project.get());
        const QString absolute = source->absolutePath();
        std::unique_ptr<QAStProject> other = makeProject(path(QStringLiteral("q/q.vmp")));
        std::unique_ptr<QAStNodeSource> detached;
        if (move == QLatin1String("detach")) {
            source->remove();
            detached.reset(source);
        } else if (move == QLatin1String("into other project")) {
            source->remove();
            other->addChild(source);
        } else if (move == QLatin1String("into group")) {
            (new QAStNodeGroup(QStringLiteral("g"), project.get()))->addChild(source);
        } else {
            std::unique_ptr<QMimeData> mime;
            QString carried;
            if (move == QLatin1String("drag")) {
                mime.reset(source->dragObject(true, nullptr));
                QVERIFY(QAStDataCopyDrag::decode(mime.get(), carried));
            } else {
                source->copy();
                carried = QGuiApplication::clipboard()->text();
            }
            QVERIFY2(carried.contains(QAStData::stringToXMLValue(absolute)), qPrintable(carried));
        }
        QFETCH(QString, keyAfter);
        QCOMPARE(source->fileKey(), keyAfter.replace(QLatin1Char('@'), project->directory()));
        QCOMPARE(source->absolutePath(), absolute);
        QCOMPARE(source->name(), QStringLiteral("a.c"));
    }

    void dropsOnAFile_data()
    {
        QTest::addColumn<QString>("dropped");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QStringList>("groupAfter");
        QTest::addColumn<QStringList>("childrenAfter");
        QTest::newRow("a file dropped on a file lands behind it")
            << "file" << true << QStringList {"a.c", "b.c", "z.c"} << QStringList {};
        QTest::newRow("an external command becomes its child") << "user" << true << QStringList {"a.c", "z.c"}
                                                                << QStringList {"cmd"};
        QTest::newRow("a virtual tester is refused") << "tester" << false << QStringList {"a.c", "z.c"}
                                                     << QStringList {};
    }
    void dropsOnAFile()
    {
        QFETCH(QString, dropped);
        auto* group = new QAStNodeGroup(QStringLiteral("g"), project.get());
        auto* target = new QAStNodeSource(QStringLiteral("src/a.c"), group);
        new QAStNodeSource(QStringLiteral("src/z.c"), group, target);
        QAStData* data = nullptr;
        if (dropped == QLatin1String("file"))
            data = new QAStNodeSource(QStringLiteral("src/b.c"));
        else if (dropped == QLatin1String("user"))
            data = new QAStNodeUser(QStringLiteral("cmd"));
        else
            data = new QAStNodeVirtualTester(QStringLiteral("v.pts"));
        std::unique_ptr<QAStData> refused(data);
        QTEST(target->acceptDrop(data), "accepted");
        if (target->acceptDrop(data)) {
            target->addChild(data);
            refused.release();
        }
        QStringList inGroup, below;
        for (QAStData* child = group->firstChild(); child; child = child->next())
            inGroup << child->name();
        for (QAStData* child = target->firstChild(); child; child = child->next())
            below << child->name();
        QTEST(inGroup, "groupAfter");
        QTEST(below, "childrenAfter");
    }

    // A new key renames the node, and the project's file and every other
    // reference to it follow.
    void aNewKeyMovesTheFileAndItsReferences()
    {
        QAStFile* file = project->addFile(QStringLiteral("src/a.c"));
        QVERIFY(file);
        auto* first = new QAStNodeSource(file, project.get());
        auto* second = new QAStNodeSource(file, new QAStNodeGroup(QStringLiteral("g"), project.get()));
        auto* unrelated = new QAStNodeSource(QStringLiteral("src/c.c"), project.get());
        std::unique_ptr<QAPropertyGroup> properties(first->propertyGroup());
        properties->property(QStringLiteral("fileKey"))->setValue(QStringLiteral("lib/b.c"));
        QCOMPARE(first->fileKey(), QStringLiteral("lib/b.c"));
        QCOMPARE(first->name(), QStringLiteral("b.c"));
        QVERIFY(QAStFile::isEqualKeys(file->fileKey(), QStringLiteral("lib/b.c")));
        QCOMPARE(second->name(), QStringLiteral("b.c"));
        QCOMPARE(second->absolutePath(), first->absolutePath());
        QCOMPARE(unrelated->fileKey(), QStringLiteral("src/c.c"));
        QCOMPARE(properties->property(QStringLiteral("fullPath"))->displayValue(), project->directory() + "/lib/b.c");
        QVERIFY(first->isModified());
    }

    void rebuildFollowsFileTimes_data()
    {
        QTest::addColumn<QStringList>("made");   // type:file:seconds from now
        QTest::addColumn<int>("sourceAge");
        QTest::addColumn<int>("headerAge");
        QTest::addColumn<bool>("mustRebuild");
        QTest::newRow("a source with no products") << QStringList {} << -100 << -100 << true;
        QTest::newRow("one with placeholders only") << QStringList {"DUM:o/a.dum:-10"} << -100 << -100 << true;
        QTest::newRow("an object newer than its source and header")
            << QStringList {"OBJ:o/a.o:-10"} << -100 << -100 << false;
        QTest::newRow("a source changed after its object") << QStringList {"OBJ:o/a.o:-10"} << -5 << -100 << true;
        QTest::newRow("a header of the source changed after it") << QStringList {"OBJ:o/a.o:-10"} << -100 << -5 << true;
        QTest::newRow("one of two products older") << QStringList {"OBJ:o/a.o:-10", "GCN:o/a.gcno:-200"} << -100
                                                   << -100 << true;
        QTest::newRow("an object that is gone") << QStringList {"OBJ:o/gone.o:"} << -100 << -100 << true;
    }
    void rebuildFollowsFileTimes()
    {
        QFETCH(QStringList, made);
        QFETCH(int, sourceAge);
        QFETCH(int, headerAge);
        QAStFile* file = project->addFile(QStringLiteral("src/a.c"));
        file->addDependency(project->directory() + QStringLiteral("/include/a.h"));
        auto* source = new QAStNodeSource(file, project.get());
        QVERIFY(touchFile(source->absolutePath(), sourceAge));
        QVERIFY(touchFile(project->directory() + QStringLiteral("/include/a.h"), headerAge));
        for (const QString& entry : made) {
            const QStringList parts = entry.split(QLatin1Char(':'));
            const QString product = project->directory() + QLatin1Char('/') + parts.at(1);
            QFile::remove(product);
            if (!parts.at(2).isEmpty())
                QVERIFY(touchFile(product, parts.at(2).toInt()));
            source->addOutFileName(parts.at(0), product);
        }
        QTEST(source->mustRebuilt(), "mustRebuild");
    }

    void environmentLines_data()
    {
        QTest::addColumn<QString>("parent");
        QTest::addColumn<int>("mode");
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QStringList>("absent");
        QTest::newRow("an instrumented source under a group with no script")
            << "group" << 0 << QStringList {"$CODE_INSERTION=1;\n"} << QStringList {"@OTIFILES"};
        QTest::newRow("an integrated one") << "group" << 1 << QStringList {"$CODE_INSERTION=0;\n"}
                                           << QStringList {"@OTIFILES"};
        QTest::newRow("a source under an object test, even with no script")
            << "object test" << 0 << QStringList {"@OTIFILES=();\n"} << QStringList {};
        QTest::newRow("a source beside scripts gets their files, relative to it")
            << "group with scripts" << 0 << QStringList {"@OTIFILES=('o/it\\'s.oti','o/t1.oti');\n"}
            << QStringList {};
        QTest::newRow("a source with no parent") << "none" << 0 << QStringList {"$CODE_INSERTION=1;\n"}
                                                 << QStringList {"@OTIFILES"};
    }
    void environmentLines()
    {
        QFETCH(QString, parent);
        QFETCH(int, mode);
        QAStNode* up = nullptr;
        if (parent == QLatin1String("object test"))
            up = new QAStNodeObjectTesting(QStringLiteral("ot"), project.get());
        else if (parent != QLatin1String("none"))
            up = new QAStNodeGroup(QStringLiteral("g"), project.get());
        if (parent == QLatin1String("group with scripts")) {
            auto* one = new QAStNodeTestScript(QStringLiteral("t1.otc"), up);
            one->addOutFileName(QStringLiteral("OTI"), project->directory() + QStringLiteral("/o/t1.oti"));
            auto* two = new QAStNodeTestScript(QStringLiteral("t2.otc"), up);
            two->addOutFileName(QStringLiteral("OTI"), project->directory() + QStringLiteral("/o/it's.oti"));
        }
        QAStNodeSource source(QStringLiteral("src/a.c"), up);
        source.setMode(QAStNodeSource::Mode(mode));
        QString text;
        QTextStream stream(&text);
        source.generateEnv(stream);
        stream.flush();
        QFETCH(QStringList, present);
        QFETCH(QStringList, absent);
        for (const QString& line : present)
            QVERIFY2(text.contains(line), qPrintable(text.mid(text.indexOf(QLatin1String("$CODE_INSERTION")))));
        for (const QString& line : absent)
            QVERIFY2(!text.contains(line), qPrintable(line));
        source.remove();
    }
};

QTEST_MAIN(tst_FileReferences)
#include "tst_filereferences.moc"
