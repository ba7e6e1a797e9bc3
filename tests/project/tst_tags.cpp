#include "qastaclasstag.h"
#include "qastamethodtag.h"
#include "qastapackagetag.h"
#include "qastastructtag.h"
#include "qastdatafactory.h"
#include "qastfile.h"
#include "qastfileanalyse.h"
#include "qastproject.h"
#include "qastprojectpref.h"
#include "qastrootfolder.h"
#include "recordinghost.h"

#include <QDomDocument>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

// Builds tags below a file from lines "depth kind name [qualifier] [complete]":
// kinds c class, s struct, p package, f function, m method, t plain tag.
QList<QAStATag*> build(QAStFile* file, const QStringList& lines)
{
    QList<QAStATag*> made;
    QList<QAStData*> parents {file};
    for (const QString& line : lines) {
        const QStringList word = line.split(QLatin1Char(' '));
        const int depth = word.at(0).toInt();
        parents = parents.mid(0, depth + 1);
        QAStData* parent = parents.last();
        const QString& name = word.at(2);
        QAStATag* tag = nullptr;
        switch (word.at(1).at(0).toLatin1()) {
        case 'c': tag = new QAStAClassTag(name, QString(), 1, parent, parent->last()); break;
        case 's': tag = new QAStAStructTag(name, QString(), 1, parent, parent->last()); break;
        case 'p': tag = new QAStAPackageTag(name, QString(), 1, parent, parent->last()); break;
        case 'f': tag = new QAStAFunctionTag(name, QString(), 1, parent, parent->last()); break;
        case 'm': tag = new QAStAMethodTag(name, QString(), 1, parent, parent->last()); break;
        default: tag = new QAStATag(name, QString(), 1, parent, parent->last()); break;
        }
        if (word.size() > 3)
            tag->setQualifier(word.at(3).toInt(nullptr, 16));
        if (word.size() > 4)
            tag->setQualifiedName(word.at(4));
        parents.append(tag);
        made.append(tag);
    }
    return made;
}

QAStATag* named(QAStData* under, const QString& name)
{
    for (QAStData* data : under->childrenOfClass("QAStATag", true)) {
        if (data->name() == name)
            return static_cast<QAStATag*>(data);
    }
    return nullptr;
}

} // namespace

class tst_Tags : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QTemporaryDir dir;
    std::unique_ptr<QAStProject> project;
    QList<QAStATag*> launched;

    QAStFile* fileOf(const QString& key)
    {
        QFile touch(dir.filePath(key));
        touch.open(QIODevice::Append);
        return project->addFile(key);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(host.initializeLibrary());
        QAStATag::setTestLauncher([this](QAStATag* target) { launched << target; });
    }

    void init()
    {
        host.boxes.clear();
        host.messages.clear();
        host.boxAnswer = 0;
        launched.clear();
        project = std::make_unique<QAStProject>(dir.filePath(QStringLiteral("p.vmp")));
        project->addConfiguration(QStringLiteral("Debug"));
        project->setCurrentConfiguration(QStringLiteral("Debug"));
    }

    void cleanup() { project.reset(); }

    void kindsFollowTheName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("language");
        QTest::newRow("a lower-case .c is C even beside C++") << "dir/a.c" << 10 << 1;
        QTest::newRow("an upper-case .C is C++") << "a.C" << 12 << 2;
        QTest::newRow("an upper-case .H is a header") << "a.H" << 9 << 0;
        QTest::newRow("a trace is never a memory or performance result") << "r.tsf" << 19 << 0;
        QTest::newRow("a supervision script is found before all scripts") << "s.spv" << 7 << 0;
        QTest::newRow("an Ada body") << "p.adb" << 14 << 4;
        QTest::newRow("a Java source") << "A.java" << 15 << 8;
        QTest::newRow("a workspace by its own pattern") << "w.vmw" << 2 << 0;
        QTest::newRow("a makefile by its prefix") << "Makefile.am" << 17 << 0;
        QTest::newRow("a makefile's prefix comes before data files") << "Makefile.csv" << 17 << 0;
        QTest::newRow("C comes before a makefile's prefix") << "dir/makefile.c" << 10 << 1;
        QTest::newRow("a folder's suffix is not the file's") << "dir.c/README" << 27 << 0;
        QTest::newRow("a pattern must match the whole name") << "a.cpp.bak" << 27 << 0;
        QTest::newRow("a user kind") << "x.zz" << 26 << 0;
    }

    void kindsFollowTheName()
    {
        QFETCH(QString, name);
        QFETCH(int, type);
        QFETCH(int, language);
        QAStData::preferences()->setValue(QStringLiteral("fileTypes"),
                                          QAStData::stringMapToXMLValue({{"Mine", "*.zz;*.yy"}}));
        QCOMPARE(QAStFile::fileType(name), type);
        QCOMPARE(QAStFile::languageType(name), language);
        QAStData::preferences()->setValue(QStringLiteral("fileTypes"), QString());
    }

    void iconsFollowTheQualifier_data()
    {
        QTest::addColumn<QString>("tag");
        QTest::addColumn<int>("qualifier");
        QTest::addColumn<QString>("icon");
        QTest::newRow("a class") << "0 c C" << 0x80 << "class_xpm";
        QTest::newRow("a private class") << "0 c C" << 0x84 << "class_private_xpm";
        QTest::newRow("a protected class") << "0 c C" << 0x82 << "class_protected_xpm";
        QTest::newRow("a public method") << "0 m m" << 0x81 << "function_xpm";
        QTest::newRow("a private method") << "0 m m" << 0x104 << "method_private_xpm";
        QTest::newRow("a protected method") << "0 m m" << 0x82 << "method_protected_xpm";
        QTest::newRow("a function") << "0 f f" << 0x100 << "function_xpm";
        QTest::newRow("a structure") << "0 s s" << 0x80 << "structure_xpm";
        QTest::newRow("a namespace") << "0 p n" << 0x800 << "namespace_xpm";
        QTest::newRow("a package specification") << "0 p p" << 0x80 << "package_spec_xpm";
        QTest::newRow("a package body") << "0 p p" << 0x100 << "package_xpm";
        QTest::newRow("a word of a script") << "0 t t" << 0x4000 << "script_tag_xpm";
    }

    // The picture is found when asked, and a view that shows the tag hears
    // of a new one when the qualifier changes.
    void iconsFollowTheQualifier()
    {
        QFETCH(QString, tag);
        QFETCH(int, qualifier);
        QFETCH(QString, icon);
        QAStATag* made = build(project->addFile(dir.filePath(QStringLiteral("a.cpp"))), {tag}).first();
        QSignalSpy changed(made, &QAStData::iconChanged);
        host.pixmapsAsked.clear();
        made->setQualifier(qualifier);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(host.pixmapsAsked, QStringList {icon});
        made->icon();
        QCOMPARE(host.pixmapsAsked, QStringList({icon, icon}));
    }

    void aChosenIconStays()
    {
        QAStATag* made = build(project->addFile(dir.filePath(QStringLiteral("a.cpp"))), {"0 f f"}).first();
        made->setIconByFileName(QStringLiteral("mine.xpm"));
        QSignalSpy changed(made, &QAStData::iconChanged);
        host.pixmapsAsked.clear();
        made->setQualifier(0x104);
        made->icon();
        QCOMPARE(changed.count(), 0);
        QCOMPARE(host.pixmapsAsked, QStringList());
    }

    void filtersOfTheAddFilesDialog()
    {
        QCOMPARE(QAStFile::fileTypeFilter(QAStFile::Workspace), QAStFile::fileTypeFilter(QAStFile::Project));
        QCOMPARE(QAStFile::fileTypeFilter(24), QStringList("All Files (*)"));
        QCOMPARE(QAStFile::fileTypeFilter(11), QStringList("All C and Header Files (*.c;*.h;*.hh;*.hpp;*.hxx;*.H)"));
        QAStData::preferences()->setValue(QStringLiteral("fileTypes"),
                                          QAStData::stringMapToXMLValue({{"A", "*.a"}, {"B", "*.b;*.bb"}}));
        QCOMPARE(QAStFile::fileTypeFilter(26), QStringList({"A (*.a)", "B (*.b;*.bb)"}));
        QAStData::preferences()->setValue(QStringLiteral("fileTypes"), QString());
        QStringList labels;
        for (const QString& filter : QAStFile::addFilesFilters(2))
            labels << filter.section(QLatin1String(" ("), 0, 0);
        QCOMPARE(labels, QStringList({"All C++ Files", "All Ada Files", "All C Files", "All Java Files", "Matlab Files",
                                      "All Test Scripts", "All Files"}));
    }

    void qualifiedNamesFollowTheLanguage_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("tree");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("qualified");
        QTest::newRow("a Java class in its package is dotted")
            << "A.java" << QStringList {"0 p a 20000", "1 c C"} << "C" << "a.C";
        QTest::newRow("a Java package among packages goes by colons")
            << "A.java" << QStringList {"0 p a 20000", "1 p b 20000"} << "b" << "a::b";
        QTest::newRow("a C++ class in a namespace")
            << "a.cpp" << QStringList {"0 p n 800", "1 c C", "2 s S"} << "S" << "n::C::S";
        QTest::newRow("an Ada child unit is dotted") << "p.ads" << QStringList {"0 p p 80", "1 p c 80"} << "c" << "p.c";
        QTest::newRow("a function goes through its packages only")
            << "p.adb" << QStringList {"0 p p 100", "1 f f 100", "2 f g 100"} << "g" << "p.g";
        QTest::newRow("a method under its class") << "a.cpp" << QStringList {"0 c C", "1 m m 81"} << "m" << "C::m";
        QTest::newRow("a stored name wins over the tree")
            << "a.cpp" << QStringList {"0 c C", "1 m m 100 N::C::m"} << "m" << "N::C::m";
        QTest::newRow("a plain tag goes through every tag") << "t.ptu" << QStringList {"0 t s", "1 t t"} << "t" << "s::t";
    }

    void qualifiedNamesFollowTheLanguage()
    {
        QFETCH(QString, file);
        QFETCH(QStringList, tree);
        QFETCH(QString, tag);
        QFETCH(QString, qualified);
        QAStFile* owner = fileOf(file);
        build(owner, tree);
        QCOMPARE(named(owner, tag)->qualifiedName(), qualified);
    }

    void aMethodKnowsItsClassByName()
    {
        QAStFile* header = fileOf(QStringLiteral("a.h"));
        QAStFile* source = fileOf(QStringLiteral("a.cpp"));
        build(header, {"0 p n 800", "1 c C", "2 m m 81"});
        auto* outside = static_cast<QAStAMethodTag*>(build(source, {"0 m m 100 n::C::m"}).first());
        QCOMPARE(outside->classPrefix(), QStringLiteral("n::C"));
        QCOMPARE(outside->ofClass(), named(header, "C"));
        QCOMPARE(outside->declaration(), named(header, "m"));
        QCOMPARE(static_cast<QAStAFunctionTag*>(named(header, "m"))->implementation(), outside);
        QCOMPARE(outside->displayName(), QStringLiteral("m"));
        outside->setSignature(QStringLiteral("(int)"));
        QCOMPARE(outside->displayName(), QStringLiteral("m(int)"));
    }

    // Each row: the tree of a.cpp (or the file named first), the tag asked
    // to test, what is opened, and the question asked before, if any.
    void testGoesToWhatCanBeTested_data()
    {
        QTest::addColumn<QStringList>("tree");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("opened");
        QTest::addColumn<QString>("question");
        QTest::newRow("a public method of a top class is tested itself")
            << QStringList {"0 c C", "1 m m 81"} << "m" << "m" << "";
        QTest::newRow("a private method offers its class")
            << QStringList {"0 c C", "1 m m 84"} << "m" << "C" << "m\n\nThe test script will be generated for its parent: C.";
        QTest::newRow("an abstract method offers its class") << QStringList {"0 c C", "1 m m a1"} << "m" << "C" << "m\n\n";
        QTest::newRow("a nested class offers the outer class")
            << QStringList {"0 c O", "1 c I", "2 m m 81"} << "I" << "O" << "I\n\n";
        QTest::newRow("a public method of a nested class offers the outer class")
            << QStringList {"0 c O", "1 c I", "2 m m 81"} << "m" << "O" << "m\n\n";
        QTest::newRow("a namespace is no unit but at file level is its own parent")
            << QStringList {"0 p n 800", "1 f f 100"} << "f" << "f" << "";
        QTest::newRow("a plain tag offers its file")
            << QStringList {"0 t x"} << "x" << "a.cpp" << "x\n\nThe test script will be generated for its parent: a.cpp.";
        QTest::newRow("a definition without declaration is judged by its own access")
            << QStringList {"0 c C", "0 m m 101 C::m"} << "m" << "m" << "";
        QTest::newRow("an Ada subprogram offers its package")
            << QStringList {"p.adb", "0 p p 100", "1 f f 100"} << "f" << "p" << "f\n\n";
    }

    void testGoesToWhatCanBeTested()
    {
        QFETCH(QStringList, tree);
        QFETCH(QString, tag);
        QFETCH(QString, opened);
        QFETCH(QString, question);
        const QString key = tree.first().contains(QLatin1Char('.')) ? tree.takeFirst() : QStringLiteral("a.cpp");
        QAStFile* file = fileOf(key);
        build(file, tree);
        QAStATag* asked = named(file, tag);
        asked->test();
        QCOMPARE(launched.size(), 1);
        QCOMPARE(launched.first()->name(), opened);
        if (question.isEmpty())
            QVERIFY(host.boxes.isEmpty());
        else
            QVERIFY2(host.boxes.value(0).contains(question), qPrintable(host.boxes.value(0)));
        // Answered no, nothing opens.
        launched.clear();
        host.boxAnswer = QMessageBox::No;
        asked->test();
        QCOMPARE(launched.size(), question.isEmpty() ? 1 : 0);
    }

    void testabilityByKind_data()
    {
        QTest::addColumn<QStringList>("tree");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<bool>("testable");
        QTest::addColumn<bool>("direct");
        QTest::newRow("a namespace is not testable") << QStringList {"0 p n 800"} << "n" << false << true;
        QTest::newRow("a Java package is not testable") << QStringList {"0 p j 20000"} << "j" << false << true;
        QTest::newRow("an Ada package at file level is") << QStringList {"0 p p 100"} << "p" << true << true;
        QTest::newRow("a structure in a class is not a root")
            << QStringList {"0 c C", "1 s S"} << "S" << true << false;
        QTest::newRow("a structure in a namespace is") << QStringList {"0 p n 800", "1 s S"} << "S" << true << true;
        QTest::newRow("a plain tag is never testable") << QStringList {"0 t t 4000"} << "t" << false << false;
    }

    void testabilityByKind()
    {
        QFETCH(QStringList, tree);
        QFETCH(QString, tag);
        QFETCH(bool, testable);
        QFETCH(bool, direct);
        QAStFile* file = fileOf(QStringLiteral("a.cpp"));
        build(file, tree);
        QCOMPARE(named(file, tag)->isTestable(), testable);
        QCOMPARE(named(file, tag)->isDirectlyTestable(), direct);
    }

    void classesOfJavaTestScriptsAreNotTested()
    {
        QAStFile* file = fileOf(QStringLiteral("T.java"));
        file->setQualifier(0x10000);
        build(file, {"0 c T"});
        QVERIFY(!named(file, "T")->isTestable());
    }

    void stubbableFilesLeaveOutWhatIsTested_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QStringList>("stubs");
        QTest::newRow("a C file: its other sources, no header") << "a.c" << "" << QStringList {"b.c"};
        QTest::newRow("a C++ file: its headers too") << "a.cpp" << "" << QStringList {"a.h", "b.c"};
        QTest::newRow("a C++ class: not its own headers and sources") << "a.cpp" << "C" << QStringList {"b.c"};
        QTest::newRow("a C++ function: no header") << "a.cpp" << "f" << QStringList {"b.c"};
        QTest::newRow("a package: nothing") << "a.cpp" << "n" << QStringList {};
    }

    void stubbableFilesLeaveOutWhatIsTested()
    {
        QFETCH(QString, source);
        QFETCH(QString, tag);
        QFETCH(QStringList, stubs);
        QAStFile* file = fileOf(source);
        QAStFile* header = fileOf(QStringLiteral("a.h"));
        fileOf(QStringLiteral("b.c"));
        file->addDependency(QStringLiteral("a.h"));
        file->addDependency(QStringLiteral("b.c"));
        build(header, {"0 f f 80"});
        build(file, {"0 f f 100", "0 c C", "0 p n 800"});
        QAStATag* asked = tag.isEmpty() ? file : named(file, tag);
        QStringList expected;
        for (const QString& stub : stubs)
            expected << dir.filePath(stub);
        QCOMPARE(asked->stubbableFiles(), expected);
    }

    // A path is added in its cleaned, relative form, once; "-" clears the list.
    void dependenciesAreKeptOnceEach_data()
    {
        QTest::addColumn<QStringList>("added");
        QTest::addColumn<QStringList>("kept");
        QTest::newRow("a key named twice is kept once, in the order first seen")
            << QStringList {"a.h", "b.h", "a.h"} << QStringList {"./a.h", "./b.h"};
        QTest::newRow("spellings of one path are one key")
            << QStringList {"./x/../a.h", "a.h", ".\\a.h"} << QStringList {"./a.h"};
        QTest::newRow("a key cleared may be added again")
            << QStringList {"a.h", "b.h", "-", "b.h", "a.h"} << QStringList {"./b.h", "./a.h"};
    }

    void dependenciesAreKeptOnceEach()
    {
        QFETCH(QStringList, added);
        QFETCH(QStringList, kept);
        QAStFile* file = fileOf(QStringLiteral("a.c"));
        for (const QString& path : added) {
            if (path == QLatin1String("-"))
                file->clearDependencies();
            else
                file->addDependency(path);
        }
        QCOMPARE(file->dependencies(), kept);
    }

    void tagsSurviveTheObjectsFile()
    {
        QAStFile* file = fileOf(QStringLiteral("a.cpp"));
        file->setTimeStamp();
        file->addDependency(QStringLiteral("a.h"));
        const QList<QAStATag*> made = build(file, {"0 p n 800", "1 c C", "2 m m 84", "0 m d 100 n::C::d", "0 f g 100",
                                                   "0 s S", "0 t z 4000", "0 p s 100 q.s"});
        made.at(2)->setSignature(QStringLiteral("(int, char)"));
        static_cast<QAStAClassTag*>(made.at(1))->setInherits({"B"});
        QDomDocument document;
        QVERIFY(QAStData::parseDocument(file->toString(), document));
        std::unique_ptr<QAStData> copy(QAStDataFactory::create(document.documentElement(), 1, project->rootFolder(), nullptr));
        auto* read = qobject_cast<QAStFile*>(copy.get());
        QVERIFY(read);
        QCOMPARE(read->dependencies(), file->dependencies());
        QCOMPARE(read->timeStamp(), file->timeStamp());
        QVERIFY(!read->needUpdate());
        const QList<QAStATag*> before = file->children();
        const QList<QAStATag*> after = read->children();
        QCOMPARE(after.size(), before.size());
        for (qsizetype i = 0; i < before.size(); ++i) {
            QCOMPARE(after.at(i)->metaObject()->className(), before.at(i)->metaObject()->className());
            QCOMPARE(after.at(i)->qualifiedName(), before.at(i)->qualifiedName());
            QCOMPARE(after.at(i)->qualifier(), before.at(i)->qualifier());
            QCOMPARE(after.at(i)->displayName(), before.at(i)->displayName());
        }
        QCOMPARE(static_cast<QAStAClassTag*>(after.at(1))->inherits(), QStringList {"B"});
    }

    void anOlderAnalysisMakesTheFileStale()
    {
        QAStFile* file = fileOf(QStringLiteral("a.c"));
        file->setTimeStamp();
        QVERIFY(!file->needUpdate());
        QFile touch(file->absolutePath());
        QVERIFY(touch.open(QIODevice::Append));
        QVERIFY(touch.setFileTime(file->timeStamp().addSecs(60), QFileDevice::FileModificationTime));
        touch.close();
        QDomDocument document;
        QVERIFY(QAStData::parseDocument(file->toString(), document));
        std::unique_ptr<QAStData> copy(QAStDataFactory::create(document.documentElement(), 1, project->rootFolder(), nullptr));
        QVERIFY(static_cast<QAStFile*>(copy.get())->needUpdate());
        file->changeFileKey(QStringLiteral("b.c"));
        QCOMPARE(file->name(), QStringLiteral("b.c"));
        QVERIFY(file->timeStamp().isNull());
    }

    void anUpToDateFileAnswersAtOnce()
    {
        QAStFile* file = fileOf(QStringLiteral("a.c"));
        file->setTimeStamp();
        QSignalSpy started(file, &QAStFile::taggingStarted);
        QSignalSpy ended(file, &QAStFile::taggingTerminated);
        file->parse(false);
        QCOMPARE(ended.size(), 1);
        QCOMPARE(started.size(), 0);
        QVERIFY(host.consoleText(QAStData::MessageConsole).contains(QStringLiteral("a.c: is up-to-date")));
    }

    void aSecondPassWhileOneRunsDoesNothing()
    {
        QAStFile* file = fileOf(QStringLiteral("a.c"));
        QSignalSpy started(file, &QAStFile::taggingStarted);
        QSignalSpy ended(file, &QAStFile::taggingTerminated);
        file->parse(true);
        QVERIFY(file->isTagging());
        file->parse(true);
        QCOMPARE(started.size(), 1);
        QVERIFY(ended.wait(8000));
        QVERIFY(!file->isTagging());
        QCOMPARE(started.size(), 1);
    }

    void aQueueGoesOnPastUpToDateFiles()
    {
        QAStFile* first = fileOf(QStringLiteral("a.c"));
        QAStFile* second = fileOf(QStringLiteral("b.c"));
        first->setTimeStamp();
        second->setTimeStamp();
        QAStFileAnalyse analyse({first, second}, false);
        QSignalSpy finished(&analyse, &QAStFileAnalyse::analyseFinished);
        analyse.start();
        QCOMPARE(finished.size(), 1);
        QVERIFY(!analyse.inProgress());
        QCOMPARE(host.consoleText(QAStData::MessageConsole).count(QStringLiteral("is up-to-date")), 2);
    }
};

QTEST_MAIN(tst_Tags)
#include "tst_tags.moc"
