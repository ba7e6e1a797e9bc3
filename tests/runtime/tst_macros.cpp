#include "qastfile.h"
#include "qastnode.h"
#include "qastprjmacroanalyse.h"
#include "qastproject.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidgetItem>

#include <functional>

namespace {

class SourceNode : public WithoutMenus<QAStNode>
{
public:
    SourceNode(const QString& name, QAStData* parent) : WithoutMenus(name, QPixmap(), parent) {}
    QStringList vcsItems() override { return {QStringLiteral("src/a.c"), QStringLiteral("inc dir/b.h")}; }
};

// Stands for each function call with "NAME[argument]...", in quotes, so that
// a call inside another gives the inner call's text as an argument, unless
// the call runs inside() instead, as a dialog's event loop runs other slots.
// It keeps the errors.
class RecordingBinding : public QAStPrjMacroAnalyse
{
public:
    using QAStPrjMacroAnalyse::QAStPrjMacroAnalyse;
    QString interpretFunction(int& token, QStringList arguments, QString) override
    {
        if (inside)
            return inside();
        QString call = token == PromptFunction ? "PROMPT" : token == EditorFunction ? "EDITOR" : "OPEN";
        for (const QString& argument : arguments)
            call += QLatin1Char('[') + argument + QLatin1Char(']');
        return QLatin1Char('\'') + call + QLatin1Char('\'');
    }
    void errorHandle(const QString& message) override { errors << message; }
    std::function<QString()> inside;
    QStringList errors;
};

void row(const char* tag, const char* selection, const QString& text, const QString& expected,
         const QStringList& messages = {})
{
    QTest::newRow(tag) << selection << text << expected << messages;
}

} // namespace

class tst_Macros : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QTemporaryDir dir;
    QAStProject project {QStringLiteral("demo"), QPixmap()};
    SourceNode* node = new SourceNode(QStringLiteral("unit"), &project);
    TestData* data = new TestData(QStringLiteral("folder"), &project);
    QAStFile* file = nullptr;
    QTreeWidgetItem item {QStringList{QStringLiteral("item")}};

private slots:
    void initTestCase()
    {
        QAStData::initialize(&host);
        project.create(dir.filePath(QStringLiteral("demo.vmp")));
        file = project.addFile(QStringLiteral("src/a.c"));
        QVERIFY(file);
        qputenv("MACRO_TEST_HOME", "/home/tester");
        qunsetenv("MACRO_TEST_NOSUCH");
        node->addOutFileName(QStringLiteral("FDC"), QStringList{"a.fdc", "b.fdc"});
        node->addOutFileName(QStringLiteral("TSF"), QStringLiteral("t.tsf"));
        node->addOutFileName(QStringLiteral("OBJ"), QStringList{"a.o", "b.o"});
        node->addOutFileName(QStringLiteral("XRD"), QStringLiteral("r.xrd"));
    }
    void cleanupTestCase() { QAStData::initialize(nullptr); }

    void expand_data()
    {
        QTest::addColumn<QString>("selection");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QStringList>("messages");
        const QString nul = QStringLiteral("a") + QChar(0) + QStringLiteral("b");
        const QString escapedQuotes = QStringLiteral("'") + QStringLiteral("\\'").repeated(500);

        row("a dot ends the macro and stays", "node", "$$NODENAME.c", "unit.c");
        row("more word characters, a hyphen among them, make the word unknown", "node", "$$NODENAMEX$$NODENAME-2",
            "", {"$$NODENAMEX$$NODENAME-2: Unknown macro $$NODENAMEX", "$$NODENAMEX$$NODENAME-2: Unknown macro $$NODENAME-2"});
        row("a bare double dollar is unknown, and may stand before a variable", "none", "$$ $$$MACRO_TEST_HOME",
            " /home/tester", {"$$ $$$MACRO_TEST_HOME: Unknown macro $$", "$$ $$$MACRO_TEST_HOME: Unknown macro $$"});
        row("a variable, bare and in parentheses, then the rest", "none", "$MACRO_TEST_HOME/x $(MACRO_TEST_HOME)/",
            "/home/tester/x /home/tester/");
        row("unset variables stay, in braces for parentheses", "none", "$MACRO_TEST_NOSUCH $(MACRO_TEST_NOSUCH)",
            "$MACRO_TEST_NOSUCH ${MACRO_TEST_NOSUCH}");
        row("a dollar before a character of no word, and at the end", "none", "$/x costs 5$", "$/x costs 5$");
        row("a parenthesis without a word", "none", "$( x)", "x)", {"$( x) : Unknown macro"});
        row("a word without its close", "none", "$(MACRO_TEST_HOME x", "x", {"$(MACRO_TEST_HOME x : Unknown macro"});
        row("macros of a later stage stay", "node", "$$ENVIRONMENT_FILE $$WSPPATH $$LOGFILE $$TRACER_OPTIONS",
            "$$ENVIRONMENT_FILE $$WSPPATH $$LOGFILE $$TRACER_OPTIONS");
        row("a line feed disappears", "none", "a\nb\n", "ab");
        row("text beyond ASCII and a NUL pass", "none", "grüße € 日本 " + nul, "grüße € 日本 " + nul);

        row("lone quotes, strings, words and parentheses stay", "none", "it's 'a \\' b' (x)", "it's 'a \\' b' (x)");
        row("escaped quotes with no closing quote leave the macro behind them to expand", "node",
            escapedQuotes + "$$NODENAME", escapedQuotes + "unit");
        row("a string closed after escaped quotes keeps its macro as written", "node", escapedQuotes + "$$NODENAME'",
            escapedQuotes + "$$NODENAME'");
        row("a string may start behind the place where another failed", "node", "'a\\x'$$NODENAME'", "'a\\x'$$NODENAME'");
        row("a line feed ends a string", "node", "'a\n$$NODENAME'", "'aunit'");

        row("project and node names, the project's directory and file", "node", "$$PRJNAME/$$NODENAME $$PRJDIR $$PRJPATH",
            "demo/unit %D %D/demo.vmp");
        row("a file's name, absolute path and project file", "file", "$$NODENAME=$$NODEPATH in $$PRJPATH",
            "a.c=%D/src/a.c in %D/demo.vmp");
        row("output files of a type, joined, and the node's report files", "node", "$$FDC|$$TSF|$$OBJECTS|$$ROD|$$TIO $$TDF",
            "%D/a.fdc %D/b.fdc|%D/t.tsf|%D/a.o %D/b.o|%D/r.xrd|%D/zentacov.tio %D/tracer.tdf");
        row("version control items, quoted, each with a blank", "node", "$$VCSITEMS", "\"src/a.c\" \"inc dir/b.h\" ");
        row("an object that is no node has a name and a project", "data", "$$NODENAME@$$PRJNAME", "folder@demo");
        row("node macros of an object that is no node", "data", "[$$FDC][$$TIO][$$ROD][$$NODEPATH]", "[][][][]");
        row("without a selection, only the binary directory and the interpreter", "none",
            "[$$NODENAME][$$PRJNAME][$$PRJPATH][$$VCSITEMS]$$BINDIR $$PERL",
            "[][][][]" + RecordingHost::stageDir() + "/bin/linux/x86_64 perllauncher");
        row("a list view item has a name and no project", "item", "$$NODENAME[$$PRJPATH][$$FDC]", "item[][]");
        row("a node has no path, and no binding for the version control directory", "node", "[$$NODEPATH][$$VCSDIR]",
            "[][]");
    }

    void expand()
    {
        QFETCH(QString, selection);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QFETCH(QStringList, messages);
        const QMap<QString, QAStData*> selected{{"node", node}, {"data", data}, {"file", file}};
        QAStPrjMacroAnalyse binding = selection == "item" ? QAStPrjMacroAnalyse(&item)
                                                          : QAStPrjMacroAnalyse(selected.value(selection));
        host.messages.clear();
        QCOMPARE(binding.analyse(text), expected.replace(QLatin1String("%D"), project.directory()));
        QCOMPARE(host.consoleText(0).split(QLatin1Char('\n'), Qt::SkipEmptyParts), messages);
    }

    void functions_data()
    {
        QTest::addColumn<QString>("selection");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QStringList>("messages");
        const QString syntax = QStringLiteral(" : Syntax error in function macro @@");

        row("quoted arguments", "", "@@OPEN('a' 'b') @@EDITOR()", "'OPEN[a][b]' 'EDITOR'");
        row("a word loses both its letters", "", "@@OPEN(ab)", "'OPEN[]'");
        row("a variable's value loses its ends too", "", "@@EDITOR('a b' $MACRO_TEST_HOME)", "'EDITOR[a b][home/teste]'");
        row("a call inside a call", "", "@@OPEN(@@EDITOR('a') 'b')", "'OPEN[EDITOR[a]][b]'");
        row("strings side by side, an escaped quote", "", "@@OPEN('it''s' 'a\\'b')", "'OPEN[it][s][a\\'b]'");
        row("the end before the close", "", "x @@OPEN('a'", "x ", {"x @@OPEN('a'" + syntax + "OPEN"});
        row("the end inside a call inside a call", "", "@@OPEN(@@EDITOR('a'", "",
            {"@@OPEN(@@EDITOR('a'" + syntax + "EDITOR", "@@OPEN(@@EDITOR('a'" + syntax + "OPEN"});
        row("no parenthesis behind the name", "", "@@OPEN x", "x", {"@@OPEN x" + syntax + "OPEN"});
        row("a dollar takes the close with it", "", "@@EDITOR($)", "", {"@@EDITOR($)" + syntax + "EDITOR"});
        row("a prompt with its label", "", "@@PROMPT('Name') x", "'PROMPT[Name]' x");
        row("a prompt's label must be quoted; the rest goes on", "", "@@PROMPT(Name) x", ") x",
            {"@@PROMPT(Name) x" + syntax + "PROMPT"});
        row("a prompt takes one string only", "", "@@PROMPT('a' )", ")", {"@@PROMPT('a' )" + syntax + "PROMPT"});
        row("a function name glued to a word", "", "x@@PROMPTY", "x", {"x@@PROMPTY" + syntax + "PROMPT"});
    }

    void functions()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QFETCH(QStringList, messages);
        RecordingBinding binding(node);
        QCOMPARE(binding.analyse(text, QStringLiteral("Prompt Dialog")), expected);
        QCOMPARE(binding.errors, messages);
    }

    // What the host's user types, the clipboard, and the caller's items.
    void valuesFromOutsideTheTree()
    {
        QAStPrjMacroAnalyse binding(node);
        const QString text = QStringLiteral("-o @@PROMPT('Output name').x [@@OPEN('a')]");
        host.textAnswers = QStringList{QStringLiteral("out"), QStringLiteral("ignored")};
        QCOMPARE(binding.analyse(text, QStringLiteral("Prompt Dialog")), QStringLiteral("-o out.x []"));
        QCOMPARE(binding.analyse(text, QString()), QStringLiteral("-o .x []"));
        host.textAnswers.clear();
        QCOMPARE(binding.analyse(text, QStringLiteral("Prompt Dialog")), QStringLiteral("-o .x []"));
        QCOMPARE(host.textQuestions, QStringList(2, QStringLiteral("Prompt Dialog|Output name")));

        QStringList items{QStringLiteral("a b.c"), QStringLiteral("d.c")};
        QGuiApplication::clipboard()->setText(QStringLiteral("copied"));
        QCOMPARE(binding.analyse(QStringLiteral("$$NODEPATH:$$CLIPBOARD"), QString(), &items),
                 QStringLiteral("a b.c d.c:copied"));
    }

    // A function's event loop expands other texts, with the same binding and
    // with another, and the outer expansion goes on where it stood. Calls
    // nest deeper than any stack would hold, and broken text passes; the
    // fuzzer's seeds keep other inputs that once looped or crashed.
    void expansionsNest()
    {
        RecordingBinding outer(node);
        QAStPrjMacroAnalyse other(data);
        outer.inside = [&] {
            return other.analyse(QStringLiteral("$$NODENAME")) + outer.analyse(QStringLiteral("($(MACRO_TEST_NOSUCH))"));
        };
        QCOMPARE(outer.analyse(QStringLiteral("@@PROMPT('q') $$NODENAME @@OPEN('r')")),
                 QStringLiteral("folder(${MACRO_TEST_NOSUCH}) unit folder(${MACRO_TEST_NOSUCH})"));

        host.messages.clear();
        other.analyse(QStringLiteral("@@EDITOR(").repeated(200000) + QStringLiteral(")").repeated(200000), "T");
        QVERIFY(host.messages.isEmpty());
        other.analyse(QString(QChar(0xd800)) + "$$" + QChar(0xdc00), "T");
        QCOMPARE(host.messages.size(), 1);
    }
};

QTEST_MAIN(tst_Macros)
#include "tst_macros.moc"
