#include "qastaclasstag.h"
#include "qastafunctiontag.h"
#include "qastconfiguration.h"
#include "qastfile.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qastnametable.h"
#include "qasttagreader.h"
#include "qasttagscanner.h"
#include "recordinghost.h"

#include <QDirIterator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

// "TOKEN" or "TOKEN:text" for each token up to the end.
QStringList tokensOf(const QByteArray& text)
{
    QAStTagScanner scanner(text.constData(), text.size());
    QStringList tokens;
    for (int token = scanner.next(); token != QAStTagScanner::TK_END; token = scanner.next()) {
        QString entry = QString::fromLatin1(QAStTagScanner::tokenName(token)).mid(3);
        if (token == QAStTagScanner::TK_IDENT || token == QAStTagScanner::TK_NUMBER
            || token == QAStTagScanner::TK_UNKNOWN)
            entry += QLatin1Char(':') + QString::fromUtf8(scanner.text());
        tokens << entry;
    }
    return tokens;
}

// One line per tag below \a file, indented by depth: class, qualified name,
// signature, line and qualifier in hexadecimal.
QStringList treeOf(const QAStData* file)
{
    QStringList lines;
    for (QAStData* data : file->childrenOfClass("QAStATag", true)) {
        auto* tag = static_cast<QAStATag*>(data);
        int depth = 0;
        for (const QAStData* up = tag->parent(); up != file; up = up->parent())
            ++depth;
        lines << QString(depth * 2, QLatin1Char(' ')) + QString::fromLatin1(tag->metaObject()->className()).mid(4)
                     + QLatin1Char(' ') + tag->qualifiedName() + tag->signature() + QLatin1Char(' ')
                     + QString::number(tag->line()) + QLatin1String(" 0x") + QString::number(tag->qualifier(), 16);
    }
    return lines;
}

// A host that stops the pass once it has told \a stopAt positions.
class StoppingHost : public RecordingHost
{
public:
    void progressStep(qint64) override
    {
        if (++steps == stopAt)
            QAStFile::stopFileInformationProcess();
    }
    int steps = 0;
    int stopAt = -1;
};

} // namespace

class tst_TagReader : public QObject
{
    Q_OBJECT

    StoppingHost host;
    QTemporaryDir dir;
    std::unique_ptr<QAStProject> project;

    QString write(const QString& name, const QByteArray& text = QByteArray())
    {
        const QString path = dir.filePath(name);
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return QString();
        file.write(text);
        return path;
    }

    QAStFile* readInto(const QString& key, const QByteArray& tags, QAStTagReader* reader = nullptr)
    {
        QAStFile* file = project->file(key);
        if (!file)
            file = project->addFile(key);
        QAStTagReader own(file);
        (reader ? reader : &own)->read(tags.constData(), tags.size());
        return file;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(host.initializeLibrary());
        host.perl = QStringList {QStringLiteral("perl"), QStringLiteral("-I") + RecordingHost::stageDir() + "/lib/perl"};
    }

    void init()
    {
        host.messages.clear();
        host.steps = 0;
        host.stopAt = -1;
        project = std::make_unique<QAStProject>(dir.filePath(QStringLiteral("p.vmp")));
        for (const char* name : {"a.c", "a.h", "b.h", "A.java", "p.adb"})
            write(QString::fromLatin1(name));
    }

    void cleanup() { project.reset(); }

    void scannerCutsLinesIntoTokens_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("tokens");
        QTest::newRow("a qualified name is one word") << QByteArray("Foo::bar\t") << QStringList {"IDENT:Foo::bar", "TAB"};
        QTest::newRow("a drive letter path is one word") << QByteArray("C:/x.c") << QStringList {"IDENT:C:/x.c"};
        QTest::newRow("a single colon ends a word and stays in it") << QByteArray("ab:c") << QStringList {"IDENT:ab:", "IDENT:c"};
        QTest::newRow("a field name before two colons is no keyword")
            << QByteArray("class::x") << QStringList {"IDENT:class::x"};
        QTest::newRow("struct and union fields are class fields")
            << QByteArray("struct:S\tunion:U") << QStringList {"CLASS", "IDENT:S", "TAB", "CLASS", "IDENT:U"};
        QTest::newRow("a line number runs into its separator")
            << QByteArray("12;\"\tf") << QStringList {"NUMBER:12", "EXTSEP", "TAB", "IDENT:f"};
        QTest::newRow("a number followed by letters is a word") << QByteArray("1abc") << QStringList {"IDENT:1abc"};
        QTest::newRow("a leading zero or colon is unknown")
            << QByteArray("0\t:a") << QStringList {"UNKNOWN:0", "TAB", "UNKNOWN::", "IDENT:a"};
        QTest::newRow("quoted text spans tabs and line feeds")
            << QByteArray("\"a\tb\nc\",x") << QStringList {"IDENT:\"a\tb\nc\"", "COMMA", "IDENT:x"};
        QTest::newRow("an unclosed quote is unknown") << QByteArray("\"ab") << QStringList {"UNKNOWN:\"", "IDENT:ab"};
        QTest::newRow("a format line is skipped, also the first")
            << QByteArray("!_TAG_FILE_FORMAT\t2\n!x\r\nf") << QStringList {"EOL", "EOL", "IDENT:f"};
        QTest::newRow("an exclamation mark inside a line is no comment")
            << QByteArray("a\t!b") << QStringList {"IDENT:a", "TAB", "UNKNOWN:!", "IDENT:b"};
        QTest::newRow("a signature is cut at its commas")
            << QByteArray("signature:(int a, char b)")
            << QStringList {"SIGNATURE", "IDENT:(int a", "COMMA", "IDENT: char b)"};
        QTest::newRow("high bytes and control bytes 0x10 to 0x1f stand in words")
            << QByteArray("\xc3\xa9t\x10\x1f\x01") << QStringList {"IDENT:\xc3\xa9t\x10\x1f", "UNKNOWN:\x01"};
        QTest::newRow("a lone carriage return is unknown")
            << QByteArray("a\rb\r\n") << QStringList {"IDENT:a", "UNKNOWN:\r", "IDENT:b", "EOL"};
    }

    void scannerCutsLinesIntoTokens()
    {
        QFETCH(QByteArray, text);
        QFETCH(QStringList, tokens);
        QCOMPARE(tokensOf(text), tokens);
    }

    // Words are scanned sixteen bytes at a time where the text allows: every
    // byte, at every place across two such blocks, must end a word exactly
    // where it would one byte at a time.
    void aWordEndsAtTheSameByteWhereverItFalls()
    {
        const QByteArray tail = "\t" + QByteArray(40, 'z');
        for (int byte = 0; byte < 256; ++byte) {
            const char c = char(byte);
            const bool stops = byte < 0x10 || c == ',' || c == ':';
            for (int run = 0; run < 34; ++run) {
                const QByteArray head = "a" + QByteArray(run, 'x');
                QAStTagScanner scanner;
                const QByteArray text = head + c + "y" + tail;
                scanner.reset(text.constData(), text.size());
                scanner.next();
                QByteArray expected = head + c + "y";
                if (c == ':' && run > 0)
                    expected = head + c;
                else if (stops && c != ':')
                    expected = head;
                QVERIFY2(scanner.text() == expected, qPrintable(QStringLiteral("byte 0x%1 after %2 bytes")
                                                                     .arg(byte, 2, 16, QLatin1Char('0'))
                                                                     .arg(run + 1)));
            }
        }
    }

    void scannerCountsLines()
    {
        const QByteArray text("a\r\n\"x\ny\"\nb");
        QAStTagScanner scanner(text.constData(), text.size());
        while (scanner.next() != QAStTagScanner::TK_END) {}
        QCOMPARE(scanner.line(), 4);
    }

    void linesBecomeTags_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QByteArray>("tags");
        QTest::addColumn<QStringList>("tree");
        QTest::newRow("a format line first, then C functions, prototypes and structures")
            << "a.c"
            << QByteArray("!_TAG_FILE_FORMAT\t2\t/x/\nf\ta.c\t3;\"\tfunction\tsignature:(int a, char b)\n"
                          "s\ta.c\t9;\"\tstruct\n")
            << QStringList {"AFunctionTag f(int a, char b) 3 0x100", "AStructTag s 9 0x80"};
        QTest::newRow("an enumeration makes nothing and a number is a name")
            << "a.c" << QByteArray("e\ta.c\t2;\"\tenum\n12\ta.c\t4;\"\tfunction\n")
            << QStringList {"AFunctionTag 12 4 0x100"};
        QTest::newRow("members hang under their class with their access")
            << "a.h"
            << QByteArray("n\ta.h\t1;\"\tnamespace\nC\ta.h\t2;\"\tclass\tnamespace:n\n"
                          "m\ta.h\t3;\"\tprototype\tclass:n::C\taccess:private\timplementation:pure virtual\n"
                          "v\ta.h\t4;\"\tfunction\tclass:n::C\taccess:public\taccess:public\n")
            << QStringList {"APackageTag n 1 0x800", "  AClassTag n::C 2 0x80", "    AMethodTag n::C::m 3 0xa4",
                            "    AMethodTag n::C::v 4 0x102"};
        QTest::newRow("a definition after its declaration in the class goes under the file")
            << "a.h"
            << QByteArray("C\ta.h\t1;\"\tclass\nm\ta.h\t2;\"\tprototype\tclass:C\taccess:public\n"
                          "m\ta.h\t5;\"\tfunction\tclass:C\n")
            << QStringList {"AClassTag C 1 0x80", "  AMethodTag C::m 2 0x81", "AMethodTag C::m 5 0x100"};
        QTest::newRow("a reopened namespace takes what follows; tags before the first scope are found")
            << "a.h"
            << QByteArray("n\ta.h\t1;\"\tnamespace\nf\ta.h\t2;\"\tprototype\nn\ta.h\t3;\"\tnamespace\n"
                          "C\ta.h\t4;\"\tclass\tnamespace:n\nm\ta.h\t5;\"\tprototype\tclass:n::C\n")
            << QStringList {"APackageTag n 1 0x800", "AFunctionTag f 2 0x80", "APackageTag n 3 0x800",
                            "  AClassTag n::C 4 0x80", "    AMethodTag n::C::m 5 0x80"};
        QTest::newRow("java classes reach their package and are dotted")
            << "A.java"
            << QByteArray("p\tA.java\t1;\"\tpackage\nA\tA.java\t2;\"\tclass\nm\tA.java\t3;\"\tmethod\tclass:A\n")
            << QStringList {"APackageTag p 1 0x20000", "  AClassTag p.A 2 0x80", "    AMethodTag p.A.m 3 0x80"};
        QTest::newRow("ada child units and separate bodies")
            << "p.adb"
            << QByteArray("c\tp.adb\t1;\"\tpackage_body\tparent:p\nq\tp.adb\t2;\"\tprocedure_body\touter:p.c\n"
                          "s\tp.adb\t3;\"\tpackage_body\tseparate:p\n")
            << QStringList {"APackageTag p.c 1 0x100", "  AFunctionTag p.c.q 2 0x100", "APackageTag p.s 3 0x100"};
        QTest::newRow("test script words make plain tags")
            << "a.c" << QByteArray("t\ta.c\t1;\"\tztu_test\n")
            << QStringList {"ATag t 1 0x4000"};
        QTest::newRow("a free field is kept for plug-ins, unknown tokens are passed over")
            << "a.c" << QByteArray("f\ta.c\t1;\"\tfunction\tline:\t0\tkey:value\n")
            << QStringList {"AFunctionTag f 1 0x100"};
    }

    void linesBecomeTags()
    {
        QFETCH(QString, key);
        QFETCH(QByteArray, tags);
        QFETCH(QStringList, tree);
        QAStFile* file = readInto(QStringLiteral("./") + key, tags);
        QCOMPARE(treeOf(file), tree);
        QCOMPARE(host.consoleText(QAStData::MessageConsole, true), QString());
    }

    void badLinesAreReportedAndSkipped_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QString>("message");
        // A field error ends the line, but the tag read so far stays.
        QTest::addColumn<bool>("kept");
        QTest::newRow("no name") << QByteArray("\ta.c\t1;\"\tfunction") << "expecting an identifier" << false;
        QTest::newRow("no tab after the name") << QByteArray("f,a.c") << "expecting a tab" << false;
        QTest::newRow("no file") << QByteArray("f\t\t1") << "expecting a file" << false;
        QTest::newRow("no line number") << QByteArray("f\ta.c\tx;\"") << "expecting a line number" << false;
        QTest::newRow("no separator") << QByteArray("f\ta.c\t1\tfunction") << "expecting the extension separator"
                                      << false;
        QTest::newRow("no kind") << QByteArray("f\ta.c\t1;\"\t\t") << "expecting a kind" << false;
        QTest::newRow("a class field without its class") << QByteArray("f\ta.c\t5;\"\tfunction\tclass:\t")
                                                         << "expecting an implementation name" << true;
        QTest::newRow("a parent field without its parent") << QByteArray("f\ta.c\t5;\"\tfunction\tparent:,")
                                                           << "expecting a parent name" << true;
        QTest::newRow("an access field without its word") << QByteArray("f\ta.c\t5;\"\tfunction\taccess:\t")
                                                          << "expecting an identifier" << true;
        QTest::newRow("a signature field without its text")
            << QByteArray("f\ta.c\t5;\"\tfunction\tsignature:\tx") << "expecting a signature" << true;
    }

    void badLinesAreReportedAndSkipped()
    {
        QFETCH(QByteArray, line);
        QFETCH(QString, message);
        QFETCH(bool, kept);
        QAStTagReader reader(project->addFile(QStringLiteral("a.c")));
        QAStFile* file = readInto(QStringLiteral("./a.c"), "!_TAG\nok\ta.c\t1;\"\tfunction\n" + line + "\nlast\ta.c\t9;\"\tfunction\n", &reader);
        QCOMPARE(reader.errors(), QStringList(QStringLiteral("Syntax error: %1 in file ./ctags: line 3").arg(message)));
        QVERIFY(host.consoleText(QAStData::MessageConsole, true).contains(reader.errors().first()));
        const QStringList tree = treeOf(file);
        QCOMPARE(tree.first(), QStringLiteral("AFunctionTag ok 1 0x100"));
        QCOMPARE(tree.last(), QStringLiteral("AFunctionTag last 9 0x100"));
        QCOMPARE(tree.size(), kept ? 3 : 2);
    }

    // What a reader knows of the tags it made must not outlive its pass:
    // the tags of the next pass may come at the same addresses.
    void aReaderReadingAgainForgetsItsLastPass_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<QStringList>("tree");
        const QByteArray declared = "C\ta.h\t1;\"\tclass\nm\ta.h\t2;\"\tprototype\tclass:C\n";
        const QByteArray defined = "C\ta.h\t1;\"\tclass\nm\ta.h\t2;\"\tfunction\tclass:C\n";
        QTest::newRow("a method the class declared last time is defined in the class now")
            << declared << defined << QStringList {"AClassTag C 1 0x80", "  AMethodTag C::m 2 0x100"};
        QTest::newRow("a definition of a name another class declares stays in its own class")
            << defined
            << declared + "D\ta.h\t3;\"\tclass\nm\ta.h\t4;\"\tfunction\tclass:D\nm\ta.h\t5;\"\tfunction\tclass:C\n"
            << QStringList {"AClassTag C 1 0x80", "  AMethodTag C::m 2 0x80", "AClassTag D 3 0x80",
                            "  AMethodTag D::m 4 0x100", "AMethodTag C::m 5 0x100"};
    }

    void aReaderReadingAgainForgetsItsLastPass()
    {
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, second);
        QFETCH(QStringList, tree);
        QAStTagReader reader(project->addFile(QStringLiteral("./a.h")));
        readInto(QStringLiteral("./a.h"), first, &reader);
        QCOMPARE(treeOf(readInto(QStringLiteral("./a.h"), second, &reader)), tree);
    }

    // The names of a pass go through growth of the table, and names whose
    // hashes agree must still be told apart by their text.
    void theNameTableFindsEveryNameItWasGiven_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("oneHash");
        QTest::newRow("a few names") << 3 << false;
        QTest::newRow("names enough to grow the table many times") << 5000 << false;
        QTest::newRow("names that all share one hash") << 200 << true;
    }

    void theNameTableFindsEveryNameItWasGiven()
    {
        QFETCH(int, count);
        QFETCH(bool, oneHash);
        const auto hashOf = [&](const QString& name) { return oneHash ? size_t(7) : QAStNameTable<int>::hashOf(name); };
        QAStNameTable<int> table;
        QVERIFY(!table.find(QStringLiteral("n0"), hashOf(QStringLiteral("n0"))));
        for (int i = 0; i < count; ++i) {
            const QString name = QStringLiteral("n%1").arg(i);
            table.obtain(name, hashOf(name)) = i;
        }
        // A name given again keeps its entry.
        table.obtain(QStringLiteral("n0"), hashOf(QStringLiteral("n0"))) += 0;
        QCOMPARE(table.size(), qsizetype(count));
        for (int i = 0; i < count; ++i) {
            const QString name = QStringLiteral("n%1").arg(i);
            const int* value = table.find(name, hashOf(name));
            QVERIFY2(value && *value == i, qPrintable(name));
        }
        QVERIFY(!table.find(QStringLiteral("absent"), hashOf(QStringLiteral("absent"))));
    }

    void includedFilesBecomeDependencies()
    {
        QAStFile* file = readInto(QStringLiteral("./a.c"), "p\ta.h\t1;\"\tprototype\nq\tgone/x.h\t2\nf\ta.c\t3;\"\tfunction\n");
        QCOMPARE(file->dependencies(), QStringList({"./a.h", "./gone/x.h"}));
        QAStFile* header = project->file(QStringLiteral("a.h"));
        QVERIFY(header);
        QCOMPARE(header->parent(), project->rootFolder()->dependencyFolder());
        QCOMPARE(treeOf(header), QStringList {"AFunctionTag p 1 0x80"});
        QVERIFY(project->file(QStringLiteral("gone/x.h")));
        QVERIFY(!header->needUpdate());
        QVERIFY(!file->needUpdate());
    }

    void headersAreRenewedOnlyWhenStaleAndOnce()
    {
        QAStFile* file = readInto(QStringLiteral("./a.c"), "p\ta.h\t1;\"\tprototype\n");
        QAStFile* header = project->file(QStringLiteral("a.h"));
        // Up to date: its lines are passed over and its tags stay.
        readInto(QStringLiteral("./a.c"), "other\ta.h\t7;\"\tprototype\nf\ta.c\t1;\"\tfunction\n");
        QCOMPARE(treeOf(header), QStringList {"AFunctionTag p 1 0x80"});
        QCOMPARE(treeOf(file), QStringList {"AFunctionTag f 1 0x100"});
        // Stale, and named by two runs of lines: cleared before the first only.
        header->resetTimeStamp();
        readInto(QStringLiteral("./a.c"), "q\ta.h\t2;\"\tprototype\nf\ta.c\t1;\"\tfunction\nr\ta.h\t3;\"\tprototype\n");
        QCOMPARE(treeOf(header), QStringList({"AFunctionTag q 2 0x80", "AFunctionTag r 3 0x80"}));
    }

    // A body whose class lies elsewhere takes the name of a prototype in
    // the headers it includes; "body of" marks the body asked about.
    void aBodyTakesItsNameFromAPrototypeOfItsHeaders_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<QString>("name");
        const QByteArray header = "N\ta.h\t1;\"\tnamespace\nC\ta.h\t2;\"\tclass\tnamespace:N\n"
                                  "m\ta.h\t3;\"\tprototype\tclass:N::C\n";
        const QByteArray body = "m\ta.c\t5;\"\tfunction\tclass:C\n";
        // A first body makes the reader index the project's functions
        // before the header comes.
        const QByteArray indexFirst = "x\ta.c\t1;\"\tfunction\tclass:D\n";
        QTest::newRow("a prototype of an included header names the body") << header + body << QByteArray() << "N::C::m";
        QTest::newRow("a declaration of the body's own name keeps it")
            << header + "C\ta.h\t7;\"\tclass\nm\ta.h\t8;\"\tprototype\tclass:C\n" + body << QByteArray() << "C::m";
        QTest::newRow("a prototype whose body is known is passed over")
            << header + "m\ta.h\t9;\"\tfunction\tclass:N::C\n" + body << QByteArray() << "C::m";
        QTest::newRow("a prototype gone with its renewed header names nothing")
            << header + body << indexFirst + "other\ta.h\t1;\"\tprototype\n" + body << "C::m";
        QTest::newRow("a prototype made again by its renewed header names the body")
            << header + body << indexFirst + header + body << "N::C::m";
    }
    void aBodyTakesItsNameFromAPrototypeOfItsHeaders()
    {
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, second);
        QFETCH(QString, name);
        QAStFile* file = readInto(QStringLiteral("./a.c"), first);
        if (!second.isEmpty()) {
            project->file(QStringLiteral("a.h"))->resetTimeStamp();
            readInto(QStringLiteral("./a.c"), second);
        }
        const QStringList tree = treeOf(file);
        QVERIFY2(tree.contains(QStringLiteral("AMethodTag %1 5 0x100").arg(name)), qPrintable(tree.join('\n')));
    }

    void aStopEndsThePassAndKeepsTheTagsMade()
    {
        host.stopAt = 2;
        QAStFile* file = readInto(QStringLiteral("./a.c"), "f\ta.c\t1;\"\tfunction\ng\ta.c\t2;\"\tfunction\nh\ta.c\t3;\"\tfunction\n");
        QCOMPARE(treeOf(file), QStringList({"AFunctionTag f 1 0x100", "AFunctionTag g 2 0x100"}));
        QVERIFY(!file->needUpdate());
    }

    // Real sources, analysed through the tool chain's tag script.
    void realSourcesLandUnderTheirFiles_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("analysed");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("tag");
        QTest::newRow("a C function under its source")
            << "c" << "src/shared/queue.c" << "src/shared/queue.c" << "AFunctionTag queue_push_tail(struct queue * queue,void * data) 75 0x100";
        QTest::newRow("a static C function under its source")
            << "c" << "src/shared/queue.c" << "src/shared/queue.c" << "AFunctionTag direct_match(const void * a,const void * b) 213 0x100";
        QTest::newRow("a C structure under its source")
            << "c" << "src/shared/queue.c" << "src/shared/queue.c" << "AStructTag queue 18 0x80";
        QTest::newRow("a C prototype under the included header")
            << "c" << "src/shared/queue.c" << "src/shared/queue.h" << "AFunctionTag queue_new(void) 22 0x80";
        QTest::newRow("a C structure of the header")
            << "c" << "src/shared/queue.c" << "src/shared/queue.h" << "AStructTag queue_entry 17 0x80";
        QTest::newRow("a C++ class in its namespace")
            << "cpp" << "src/gtest-test-part.cc" << "include/gtest/gtest-test-part.h" << "  AClassTag testing::TestPartResult 52 0x80";
        QTest::newRow("a private C++ method declared in its class")
            << "cpp" << "src/gtest-test-part.cc" << "include/gtest/gtest-test-part.h"
            << "    AMethodTag testing::TestPartResult::ExtractSummary(const char * message) 113 0x84";
        QTest::newRow("a pure virtual method")
            << "cpp" << "src/gtest-test-part.cc" << "include/gtest/gtest-test-part.h"
            << "    AMethodTag testing::TestPartResultReporterInterface::ReportTestPartResult(const TestPartResult & result) 157 0xa1";
        QTest::newRow("a class of a nested namespace")
            << "cpp" << "src/gtest-test-part.cc" << "include/gtest/gtest-test-part.h"
            << "    AClassTag testing::internal::HasNewFatalFailureHelper 168 0x80";
        QTest::newRow("a method defined outside its class, in the source")
            << "cpp" << "src/gtest-test-part.cc" << "src/gtest-test-part.cc"
            << "AMethodTag testing::TestPartResultArray::Append(const TestPartResult & result) 64 0x100";
    }

    void realSourcesLandUnderTheirFiles()
    {
        QFETCH(QString, source);
        QFETCH(QString, analysed);
        QFETCH(QString, file);
        QFETCH(QString, tag);
        const QString from = QStringLiteral(SDK_TESTDATA_DIR "/tags/") + source;
        QDirIterator it(from, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            const QString copy = dir.filePath(QDir(from).relativeFilePath(path));
            QDir().mkpath(QFileInfo(copy).absolutePath());
            QFile::copy(path, copy);
        }
        // The headers of the C++ sources lie below their include directory.
        QAStConfiguration* settings = project->addConfiguration(QStringLiteral("Tags"));
        QVERIFY(settings);
        project->setCurrentConfiguration(QStringLiteral("Tags"));
        settings->setProperty(QStringLiteral("ge_incdir"), QStringList {dir.filePath("include")});
        QAStFile* target = project->addFile(dir.filePath(analysed));
        QSignalSpy done(target, &QAStFile::taggingTerminated);
        target->taggingInformation(true);
        QTRY_COMPARE_WITH_TIMEOUT(done.size(), 1, 8000);
        QAStFile* holder = project->file(file);
        QVERIFY2(holder, qPrintable(host.consoleText(QAStData::MessageConsole)));
        QVERIFY2(treeOf(holder).contains(tag), qPrintable(treeOf(holder).join(QLatin1Char('\n'))));
        QVERIFY(!target->needUpdate());
    }
};

QTEST_MAIN(tst_TagReader)
#include "tst_tagreader.moc"
