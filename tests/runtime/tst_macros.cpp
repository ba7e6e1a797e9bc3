#include "qastdata.h"
#include "qastnode.h"
#include "qastprjmacroanalyse.h"
#include "qastproject.h"
#include "recordinghost.h"
#include "testdata.h"
#include "withoutmenus.h"

#include <QClipboard>
#include <QGuiApplication>
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
// a call inside another gives the inner call's text as an argument.
class RecordingBinding : public QAStPrjMacroAnalyse
{
public:
    using QAStPrjMacroAnalyse::QAStPrjMacroAnalyse;
    QString interpretFunction(int& token, QStringList arguments, QString) override
    {
        QString call = token == PromptFunction ? "PROMPT" : token == EditorFunction ? "EDITOR" : "OPEN";
        for (const QString& argument : arguments)
            call += QLatin1Char('[') + argument + QLatin1Char(']');
        return QLatin1Char('\'') + call + QLatin1Char('\'');
    }
};

class CountingBinding : public QAStPrjMacroAnalyse
{
public:
    CountingBinding() : QAStPrjMacroAnalyse(static_cast<QAStData*>(nullptr)) {}
    void errorHandle(const QString&) override { ++errors; }
    int errors = 0;
};

// A host whose user, asked for a text, runs answer(): it may expand other
// texts, as slots that run in a dialog's event loop may.
class AnsweringHost : public RecordingHost
{
public:
    QString getText(const QString&, const QString&, const QString&, bool* ok) override
    {
        *ok = true;
        return answer();
    }
    std::function<QString()> answer;
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
    QAStProject project {QStringLiteral("demo"), QPixmap()};
    SourceNode* node = new SourceNode(QStringLiteral("unit"), &project);
    TestData* data = new TestData(QStringLiteral("folder"), &project);
    QTreeWidgetItem item {QStringList{QStringLiteral("item")}};

    // The lines that reached the build console.
    QStringList reported() const { return host.consoleText(0).split(QLatin1Char('\n'), Qt::SkipEmptyParts); }

private slots:
    void initTestCase()
    {
        QAStData::initialize(&host);
        qputenv("MACRO_TEST_HOME", "/home/tester");
        qunsetenv("MACRO_TEST_NOSUCH");
        node->addOutFileName(QStringLiteral("FDC"), QStringList{"a.fdc", "b.fdc"});
        node->addOutFileName(QStringLiteral("TSF"), QStringLiteral("t.tsf"));
        node->addOutFileName(QStringLiteral("OBJ"), QStringList{"a.o", "b.o"});
        node->addOutFileName(QStringLiteral("XRD"), QStringLiteral("r.xrd"));
    }
    void cleanupTestCase() { QAStData::initialize(nullptr); }
    void init()
    {
        host.messages.clear();
        host.textQuestions.clear();
    }

    void expand_data()
    {
        QTest::addColumn<QString>("selection");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QStringList>("messages");
        const QString nul = QStringLiteral("a") + QChar(0) + QStringLiteral("b");

        row("a dot ends the macro and stays", "node", "$$NODENAME.c", "unit.c");
        row("more word characters make the word unknown", "node", "$$NODENAMEX", "",
            {"$$NODENAMEX: Unknown macro $$NODENAMEX"});
        row("a hyphen is a word character", "node", "$$NODENAME-2", "", {"$$NODENAME-2: Unknown macro $$NODENAME-2"});
        row("a bare double dollar is unknown", "none", "a $$ b", "a  b", {"a $$ b: Unknown macro $$"});
        row("an unknown macro, then a variable", "none", "$$$MACRO_TEST_HOME", "/home/tester",
            {"$$$MACRO_TEST_HOME: Unknown macro $$"});
        row("a variable, then the rest", "none", "$MACRO_TEST_HOME/x", "/home/tester/x");
        row("a variable in parentheses", "none", "$(MACRO_TEST_HOME)/x", "/home/tester/x");
        row("an unset variable in parentheses takes braces", "none", "$(MACRO_TEST_NOSUCH)", "${MACRO_TEST_NOSUCH}");
        row("an unset variable stays", "none", "$MACRO_TEST_NOSUCH", "$MACRO_TEST_NOSUCH");
        row("a dollar before a character of no word", "none", "$/x", "$/x");
        row("a dollar at the end", "none", "costs 5$", "costs 5$");
        row("a parenthesis without a word", "none", "$( x)", "x)", {"$( x) : Unknown macro"});
        row("a word without its close", "none", "$(MACRO_TEST_HOME x", "x", {"$(MACRO_TEST_HOME x : Unknown macro"});
        row("macros of a later stage stay", "node", "$$ENVIRONMENT_FILE $$WSPPATH $$LOGFILE $$TRACER_OPTIONS",
            "$$ENVIRONMENT_FILE $$WSPPATH $$LOGFILE $$TRACER_OPTIONS");
        row("a line feed disappears", "none", "a\nb\n", "ab");
        row("lone quotes, strings, words and parentheses stay", "none", "it's 'a \\' b' (x)", "it's 'a \\' b' (x)");
        row("text beyond ASCII and a NUL pass", "none", "grüße € 日本 " + nul, "grüße € 日本 " + nul);

        row("project and node names", "node", "$$PRJNAME/$$NODENAME", "demo/unit");
        row("the project directory", "node", "$$PRJDIR", "%D");
        row("the binary directory and the interpreter need no selection", "none", "$$BINDIR $$PERL",
            RecordingHost::stageDir() + "/bin/linux/x86_64 perllauncher");
        row("output files of a type, joined", "node", "$$FDC|$$TSF|$$OBJECTS|$$ROD",
            "%D/a.fdc %D/b.fdc|%D/t.tsf|%D/a.o %D/b.o|%D/r.xrd");
        row("the node's report files", "node", "$$TIO $$TDF", "%D/zentacov.tio %D/tracer.tdf");
        row("version control items, quoted, each with a blank", "node", "$$VCSITEMS", "\"src/a.c\" \"inc dir/b.h\" ");
        row("an object that is no node has a name and a project", "data", "$$NODENAME@$$PRJNAME", "folder@demo");
        row("node macros of an object that is no node", "data", "[$$FDC][$$TIO][$$ROD]", "[][][]");
        row("without a selection", "none", "[$$NODENAME][$$PRJNAME][$$PRJDIR][$$VCSITEMS]", "[][][][]");
        row("a list view item has a name and no project", "item", "$$NODENAME[$$PRJNAME][$$FDC]", "item[][]");
        row("no binding for the version control directory", "node", "[$$VCSDIR]", "[]");
    }

    void expand()
    {
        QFETCH(QString, selection);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QFETCH(QStringList, messages);
        QAStPrjMacroAnalyse onNode(node), onData(data), onNothing(static_cast<QAStData*>(nullptr)), onItem(&item);
        QAStPrjMacroAnalyse& binding = selection == "node" ? onNode
            : selection == "data"                          ? onData
            : selection == "item"                          ? onItem
                                                           : onNothing;
        QCOMPARE(binding.analyse(text), expected.replace(QLatin1String("%D"), project.directory()));
        QCOMPARE(reported(), messages);
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
        QCOMPARE(RecordingBinding(node).analyse(text, QStringLiteral("Prompt Dialog")), expected);
        QCOMPARE(reported(), messages);
    }

    void promptAsksTheHost()
    {
        QAStPrjMacroAnalyse binding(node);
        const QString text = QStringLiteral("-o @@PROMPT('Output name').x [@@OPEN('a')]");
        host.textAnswers = QStringList{QStringLiteral("out"), QStringLiteral("ignored")};
        QCOMPARE(binding.analyse(text, QStringLiteral("Prompt Dialog")), QStringLiteral("-o out.x []"));
        QCOMPARE(binding.analyse(text, QString()), QStringLiteral("-o .x []"));
        host.textAnswers.clear();
        QCOMPARE(binding.analyse(text, QStringLiteral("Prompt Dialog")), QStringLiteral("-o .x []"));
        QCOMPARE(host.textQuestions, QStringList(2, QStringLiteral("Prompt Dialog|Output name")));
        QVERIFY(host.messages.isEmpty());
    }

    void itemsAndClipboard()
    {
        QStringList items{QStringLiteral("a b.c"), QStringLiteral("d.c")};
        QGuiApplication::clipboard()->setText(QStringLiteral("copied"));
        QCOMPARE(QAStPrjMacroAnalyse(node).analyse(QStringLiteral("$$NODEPATH:$$CLIPBOARD"), QString(), &items),
                 QStringLiteral("a b.c d.c:copied"));
    }

    // A prompt's event loop expands other texts, with the same binding and
    // with another; the outer expansion goes on where it stood.
    void expansionsNest()
    {
        AnsweringHost answering;
        QAStData::initialize(&answering);
        QAStPrjMacroAnalyse outer(node), other(data);
        answering.answer = [&] {
            return other.analyse(QStringLiteral("$$NODENAME")) + outer.analyse(QStringLiteral("($(MACRO_TEST_NOSUCH))"));
        };
        const QString result = outer.analyse(QStringLiteral("@@PROMPT('q') $$NODENAME @@PROMPT('r')"), QStringLiteral("T"));
        QAStData::initialize(&host);
        QCOMPARE(result, QStringLiteral("folder(${MACRO_TEST_NOSUCH}) unit folder(${MACRO_TEST_NOSUCH})"));
    }

    void noInputLoopsOrCrashes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("errors");
        QString everyCharacter;
        for (char16_t code = 1; code < 0x180; ++code)
            everyCharacter += QChar(code);
        // Each error repeats the whole text, so the rows with errors stay short;
        // the deep row is deeper than any stack would hold.
        QTest::newRow("a thousand calls left open") << QStringLiteral("@@OPEN(").repeated(1000) << 1000;
        QTest::newRow("calls nested two hundred thousand deep")
            << QStringLiteral("@@EDITOR(").repeated(200000) + QStringLiteral(")").repeated(200000) << 0;
        QTest::newRow("dollars and parentheses") << QStringLiteral("$(").repeated(2000) << 1000;
        // Each quote starts a string that runs to the end and fails there.
        QTest::newRow("quotes without end") << QStringLiteral("'\\").repeated(2000) << 0;
        QTest::newRow("a run of unknown macros") << QStringLiteral("$$X").repeated(1000) << 1000;
        QTest::newRow("every character up to 0x17f") << everyCharacter << -1;
        QTest::newRow("lone surrogates") << QString(QChar(0xd800)) + "$$" + QChar(0xdc00) << 1;
    }

    void noInputLoopsOrCrashes()
    {
        QFETCH(QString, text);
        QFETCH(int, errors);
        CountingBinding counting;
        counting.analyse(text, QStringLiteral("T"));
        if (errors >= 0)
            QCOMPARE(counting.errors, errors);
    }
};

QTEST_MAIN(tst_Macros)
#include "tst_macros.moc"
