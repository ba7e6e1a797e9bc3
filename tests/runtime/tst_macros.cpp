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
#include <memory>

namespace {

class SourceNode : public WithoutMenus<QAStNode>
{
public:
    SourceNode(const QString& name, QAStData* parent) : WithoutMenus(name, QPixmap(), parent) {}
    QStringList vcsItems() override { return {QStringLiteral("src/a.c"), QStringLiteral("inc dir/b.h")}; }
};

// Records each function call as "NAME[argument]...", and stands for it with
// its name in quotes, so that a call inside another becomes its name.
class RecordingBinding : public QAStPrjMacroAnalyse
{
public:
    using QAStPrjMacroAnalyse::QAStPrjMacroAnalyse;
    QString interpretFunction(int& token, QStringList arguments, QString) override
    {
        const QString name = token == PromptFunction ? QStringLiteral("PROMPT")
            : token == EditorFunction                ? QStringLiteral("EDITOR")
                                                     : QStringLiteral("OPEN");
        QString call = name;
        for (const QString& argument : arguments)
            call += QLatin1Char('[') + argument + QLatin1Char(']');
        calls << call;
        return QLatin1Char('\'') + name + QLatin1Char('\'');
    }
    QStringList calls;
};

class CountingBinding : public QAStPrjMacroAnalyse
{
public:
    CountingBinding() : QAStPrjMacroAnalyse(static_cast<QAStData*>(nullptr)) {}
    void errorHandle(const QString&) override { ++errors; }
    int errors = 0;
};

// A host whose user, asked for a text, runs \a answer: it may expand other
// texts, as slots that run in the dialog's event loop may.
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

} // namespace

class tst_Macros : public QObject
{
    Q_OBJECT

    RecordingHost host;
    std::unique_ptr<QAStProject> project;
    SourceNode* node = nullptr;
    TestData* data = nullptr;
    QTreeWidgetItem item {QStringList{QStringLiteral("item")}};

    QString expanded(QString text) const
    {
        return text.replace(QLatin1String("%D"), project->directory())
            .replace(QLatin1String("%B"), RecordingHost::stageDir() + QStringLiteral("/bin/linux/x86_64"));
    }

    std::unique_ptr<QAStPrjMacroAnalyse> binding(const QString& selection)
    {
        if (selection == QLatin1String("item"))
            return std::make_unique<QAStPrjMacroAnalyse>(&item);
        QAStData* selected = nullptr;
        if (selection == QLatin1String("node"))
            selected = node;
        else if (selection == QLatin1String("data"))
            selected = data;
        return std::make_unique<QAStPrjMacroAnalyse>(selected);
    }

    // The lines that reached the build console.
    QStringList reported() const { return host.consoleText(0).split(QLatin1Char('\n'), Qt::SkipEmptyParts); }

private slots:
    void initTestCase()
    {
        QAStData::initialize(&host);
        qputenv("MACRO_TEST_HOME", "/home/tester");
        qunsetenv("MACRO_TEST_NOSUCH");
        project = std::make_unique<QAStProject>(QStringLiteral("demo"), QPixmap());
        node = new SourceNode(QStringLiteral("unit"), project.get());
        data = new TestData(QStringLiteral("folder"), project.get());
        for (const char* file : {"a.fdc", "b.fdc"})
            node->addOutFileName(QStringLiteral("FDC"), QString::fromLatin1(file));
        node->addOutFileName(QStringLiteral("TSF"), QStringLiteral("t.tsf"));
        node->addOutFileName(QStringLiteral("OBJ"), QStringList{"a.o", "b.o"});
        node->addOutFileName(QStringLiteral("XRD"), QStringLiteral("r.xrd"));
    }

    void cleanupTestCase()
    {
        project.reset();
        QAStData::initialize(nullptr);
    }

    void init()
    {
        host.messages.clear();
        host.textQuestions.clear();
        host.textAnswers.clear();
    }

    void expand_data()
    {
        QTest::addColumn<QString>("selection");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QStringList>("messages");

        // The language.
        QTest::newRow("a dot ends the macro and stays")
            << "node" << "$$NODENAME.c" << "unit.c" << QStringList{};
        QTest::newRow("further word characters make the whole word unknown")
            << "node" << "$$NODENAMEX" << "" << QStringList{"$$NODENAMEX: Unknown macro $$NODENAMEX"};
        QTest::newRow("a hyphen is a word character")
            << "node" << "$$NODENAME-2" << "" << QStringList{"$$NODENAME-2: Unknown macro $$NODENAME-2"};
        QTest::newRow("a bare double dollar is an unknown macro")
            << "none" << "a $$ b" << "a  b" << QStringList{"a $$ b: Unknown macro $$"};
        QTest::newRow("an unknown macro, then a variable")
            << "none" << "$$$MACRO_TEST_HOME" << "/home/tester"
            << QStringList{"$$$MACRO_TEST_HOME: Unknown macro $$"};
        QTest::newRow("a variable, then the rest") << "none" << "$MACRO_TEST_HOME/x" << "/home/tester/x" << QStringList{};
        QTest::newRow("a variable in parentheses") << "none" << "$(MACRO_TEST_HOME)/x" << "/home/tester/x"
                                                   << QStringList{};
        QTest::newRow("an unset variable in parentheses takes braces")
            << "none" << "$(MACRO_TEST_NOSUCH)" << "${MACRO_TEST_NOSUCH}" << QStringList{};
        QTest::newRow("an unset variable stays") << "none" << "$MACRO_TEST_NOSUCH" << "$MACRO_TEST_NOSUCH"
                                                 << QStringList{};
        QTest::newRow("a dollar before a character of no word") << "none" << "$/x" << "$/x" << QStringList{};
        QTest::newRow("a dollar at the end") << "none" << "costs 5$" << "costs 5$" << QStringList{};
        QTest::newRow("a dollar and a parenthesis without a word")
            << "none" << "$( x)" << "x)" << QStringList{"$( x) : Unknown macro"};
        QTest::newRow("a dollar, a parenthesis and a word without its close")
            << "none" << "$(MACRO_TEST_HOME x" << "x" << QStringList{"$(MACRO_TEST_HOME x : Unknown macro"};
        QTest::newRow("the environment file macro stays as its eighteen characters")
            << "node" << "$$ENVIRONMENT_FILE" << "$$ENVIRONMENT_FILE" << QStringList{};
        QTest::newRow("the macros of a later stage stay as written")
            << "node"
            << "$$WSPNAME $$WSPDIR $$WSPPATH $$LOGFILE $$ADDITIONNAL_OPTIONS $$PREPRO_OPTIONS "
               "$$POSTPRO_OPTIONS $$COVERAGE_OPTIONS $$TRACER_OPTIONS"
            << "$$WSPNAME $$WSPDIR $$WSPPATH $$LOGFILE $$ADDITIONNAL_OPTIONS $$PREPRO_OPTIONS "
               "$$POSTPRO_OPTIONS $$COVERAGE_OPTIONS $$TRACER_OPTIONS"
            << QStringList{};
        QTest::newRow("a line feed disappears") << "none" << "a\nb\n" << "ab" << QStringList{};
        QTest::newRow("a lone quote is a character") << "none" << "it's" << "it's" << QStringList{};
        QTest::newRow("strings keep their quotes, words and parentheses stay")
            << "none" << "say 'hi \\' there' (twice)" << "say 'hi \\' there' (twice)" << QStringList{};
        QTest::newRow("text beyond ASCII passes") << "none" << "grüße € 日本" << "grüße € 日本" << QStringList{};
        QTest::newRow("a NUL character passes") << "none" << QString(QStringLiteral("a") + QChar(0) + "b")
                                                << QString(QStringLiteral("a") + QChar(0) + "b") << QStringList{};

        // The project macros.
        QTest::newRow("project and node names") << "node" << "$$PRJNAME/$$NODENAME" << "demo/unit" << QStringList{};
        QTest::newRow("the project directory") << "node" << "$$PRJDIR" << "%D" << QStringList{};
        QTest::newRow("the project of an object that is no node") << "data" << "$$PRJNAME:$$NODENAME"
                                                                   << "demo:folder" << QStringList{};
        QTest::newRow("the binary directory needs no selection") << "none" << "$$BINDIR" << "%B" << QStringList{};
        QTest::newRow("the interpreter's word") << "none" << "$$PERL" << "perllauncher" << QStringList{};
        QTest::newRow("output files of a type, joined") << "node" << "$$FDC|$$TSF|$$OBJECTS|$$ROD"
                                                        << "%D/a.fdc %D/b.fdc|%D/t.tsf|%D/a.o %D/b.o|%D/r.xrd"
                                                        << QStringList{};
        QTest::newRow("the node's report files") << "node" << "$$TIO $$TDF" << "%D/zentacov.tio %D/tracer.tdf"
                                                 << QStringList{};
        QTest::newRow("version control items, quoted, each with a blank")
            << "node" << "$$VCSITEMS" << "\"src/a.c\" \"inc dir/b.h\" " << QStringList{};
        QTest::newRow("node macros of an object that is no node")
            << "data" << "[$$FDC][$$TIO][$$ROD]" << "[][][]" << QStringList{};
        QTest::newRow("without a selection") << "none" << "[$$NODENAME][$$PRJNAME][$$PRJDIR][$$VCSITEMS]"
                                             << "[][][][]" << QStringList{};
        QTest::newRow("the name of a list view item") << "item" << "$$NODENAME" << "item" << QStringList{};
        QTest::newRow("a list view item has no project")
            << "item" << "[$$PRJNAME][$$VCSITEMS][$$FDC]" << "[][][]" << QStringList{};
        QTest::newRow("no binding for the version control directory")
            << "node" << "[$$VCSDIR]" << "[]" << QStringList{};
    }

    void expand()
    {
        QFETCH(QString, selection);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QFETCH(QStringList, messages);
        QCOMPARE(binding(selection)->analyse(text), expanded(expected));
        QCOMPARE(reported(), messages);
        QVERIFY(host.textQuestions.isEmpty());
    }

    void emptyTextGivesANullString()
    {
        QVERIFY(binding(QStringLiteral("node"))->analyse(QString()).isNull());
        QVERIFY(binding(QStringLiteral("node"))->analyse(QStringLiteral("")).isNull());
    }

    void functions_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("calls");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QStringList>("messages");

        QTest::newRow("two quoted arguments") << "@@OPEN('a' 'b')" << QStringList{"OPEN[a][b]"} << "'OPEN'"
                                              << QStringList{};
        QTest::newRow("a word loses both its letters") << "@@OPEN(ab)" << QStringList{"OPEN[]"} << "'OPEN'"
                                                       << QStringList{};
        QTest::newRow("no argument") << "@@EDITOR()" << QStringList{"EDITOR"} << "'EDITOR'" << QStringList{};
        QTest::newRow("a variable's value loses its ends as well")
            << "@@EDITOR('src/a b.c' $MACRO_TEST_HOME)" << QStringList{"EDITOR[src/a b.c][home/teste]"}
            << "'EDITOR'" << QStringList{};
        QTest::newRow("a call inside a call") << "@@OPEN(@@EDITOR('a') 'b')"
                                              << QStringList{"EDITOR[a]", "OPEN[EDITOR][b]"} << "'OPEN'"
                                              << QStringList{};
        QTest::newRow("two strings side by side") << "@@OPEN('it''s')" << QStringList{"OPEN[it][s]"} << "'OPEN'"
                                                  << QStringList{};
        QTest::newRow("an escaped quote stays escaped") << "@@OPEN('a\\'b')" << QStringList{"OPEN[a\\'b]"}
                                                        << "'OPEN'" << QStringList{};
        QTest::newRow("the end before the close")
            << "x @@OPEN('a'" << QStringList{} << "x "
            << QStringList{"x @@OPEN('a' : Syntax error in function macro @@OPEN"};
        QTest::newRow("the end inside a call inside a call")
            << "@@OPEN(@@EDITOR('a'" << QStringList{} << ""
            << QStringList{"@@OPEN(@@EDITOR('a' : Syntax error in function macro @@EDITOR",
                           "@@OPEN(@@EDITOR('a' : Syntax error in function macro @@OPEN"};
        QTest::newRow("no parenthesis behind the name") << "@@OPEN x" << QStringList{} << "x"
                                                        << QStringList{"@@OPEN x : Syntax error in function macro @@OPEN"};
        QTest::newRow("a dollar takes the close with it")
            << "@@EDITOR($)" << QStringList{} << ""
            << QStringList{"@@EDITOR($) : Syntax error in function macro @@EDITOR"};
        QTest::newRow("a prompt with its label") << "@@PROMPT('Name') x" << QStringList{"PROMPT[Name]"}
                                                 << "'PROMPT' x" << QStringList{};
        QTest::newRow("a prompt's label must be quoted; what follows goes on")
            << "@@PROMPT(Name) x" << QStringList{} << ") x"
            << QStringList{"@@PROMPT(Name) x : Syntax error in function macro @@PROMPT"};
        QTest::newRow("a prompt takes one string only")
            << "@@PROMPT('a' )" << QStringList{} << ")"
            << QStringList{"@@PROMPT('a' ) : Syntax error in function macro @@PROMPT"};
        QTest::newRow("a prompt at the end") << "x@@PROMPT" << QStringList{} << "x"
                                             << QStringList{"x@@PROMPT : Syntax error in function macro @@PROMPT"};
        QTest::newRow("a function name glued to a word")
            << "x@@PROMPTY" << QStringList{} << "x"
            << QStringList{"x@@PROMPTY : Syntax error in function macro @@PROMPT"};
    }

    void functions()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, calls);
        QFETCH(QString, result);
        QFETCH(QStringList, messages);
        RecordingBinding recording(node);
        QCOMPARE(recording.analyse(text, QStringLiteral("Prompt Dialog")), result);
        QCOMPARE(recording.calls, calls);
        QCOMPARE(reported(), messages);
    }

    void promptAsksTheHost_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QStringList>("questions");
        QTest::newRow("the answer takes the call's place")
            << "-o @@PROMPT('Output name').x" << "Prompt Dialog" << QStringList{"out"} << "-o out.x"
            << QStringList{"Prompt Dialog|Output name"};
        QTest::newRow("a cancel gives nothing") << "-o @@PROMPT('Output name').x" << "Prompt Dialog"
                                                << QStringList{} << "-o .x"
                                                << QStringList{"Prompt Dialog|Output name"};
        QTest::newRow("without a title nobody is asked")
            << "-o @@PROMPT('Output name').x" << QString() << QStringList{"out"} << "-o .x" << QStringList{};
        QTest::newRow("each prompt asks") << "@@PROMPT('A')-@@PROMPT('B')" << "T" << QStringList{"1", "2"}
                                          << "1-2" << QStringList{"T|A", "T|B"};
        QTest::newRow("opening and editing give nothing in a project")
            << "[@@OPEN('a')][@@EDITOR('b' 'c')]" << "T" << QStringList{"x"} << "[][]" << QStringList{};
    }

    void promptAsksTheHost()
    {
        QFETCH(QString, text);
        QFETCH(QString, title);
        QFETCH(QStringList, answers);
        QFETCH(QString, expected);
        QFETCH(QStringList, questions);
        host.textAnswers = answers;
        QCOMPARE(binding(QStringLiteral("node"))->analyse(text, title), expected);
        QCOMPARE(host.textQuestions, questions);
        QVERIFY(host.messages.isEmpty());
    }

    void withoutAHostNothingIsAskedOrReported()
    {
        QAStData::initialize(nullptr);
        QAStPrjMacroAnalyse alone(node);
        QAStData::initialize(&host);
        QCOMPARE(alone.analyse(QStringLiteral("[@@PROMPT('Name')][$$NOSUCH][$$BINDIR]"), QStringLiteral("T")),
                 QStringLiteral("[][][]"));
        QVERIFY(host.textQuestions.isEmpty());
        QVERIFY(host.messages.isEmpty());
    }

    void itemsStandForTheNodePath()
    {
        QStringList items{QStringLiteral("a b.c"), QStringLiteral("d.c")};
        QCOMPARE(binding(QStringLiteral("node"))->analyse(QStringLiteral("edit $$NODEPATH"), QString(), &items),
                 QStringLiteral("edit a b.c d.c"));
        QCOMPARE(binding(QStringLiteral("node"))->analyse(QStringLiteral("edit $$NODEPATH")),
                 QStringLiteral("edit "));
    }

    void clipboardText()
    {
        QGuiApplication::clipboard()->setText(QStringLiteral("copied text"));
        QCOMPARE(binding(QStringLiteral("none"))->analyse(QStringLiteral("[$$CLIPBOARD]")),
                 QStringLiteral("[copied text]"));
    }

    // A prompt's event loop expands other texts, with the same binding and
    // with another; the outer expansion goes on where it stood.
    void expansionsNest()
    {
        AnsweringHost answering;
        QAStData::initialize(&answering);
        QAStPrjMacroAnalyse outer(node);
        QAStPrjMacroAnalyse other(data);
        answering.answer = [&] {
            return other.analyse(QStringLiteral("$$NODENAME:$MACRO_TEST_HOME")) + QLatin1Char('|')
                + outer.analyse(QStringLiteral("$$PRJNAME $(MACRO_TEST_NOSUCH)"));
        };
        const QString result =
            outer.analyse(QStringLiteral("[@@PROMPT('q')] $$NODENAME $MACRO_TEST_HOME @@PROMPT('r')"),
                          QStringLiteral("T"));
        QAStData::initialize(&host);
        QCOMPARE(result, QStringLiteral("[folder:/home/tester|demo ${MACRO_TEST_NOSUCH}] unit /home/tester "
                                        "folder:/home/tester|demo ${MACRO_TEST_NOSUCH}"));
    }

    void noInputLoopsOrCrashes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("errors");
        QString everyCharacter;
        for (int code = 1; code < 0x180; ++code)
            everyCharacter += QChar(code);
        QTest::newRow("three thousand calls left open") << QStringLiteral("@@OPEN(").repeated(3000) << 3000;
        QTest::newRow("calls nested three thousand deep and closed")
            << QStringLiteral("@@EDITOR(").repeated(3000) + QStringLiteral(")").repeated(3000) << 0;
        QTest::newRow("dollars and parentheses") << QStringLiteral("$(").repeated(10000) << 5000;
        QTest::newRow("quotes without end") << QStringLiteral("'\\").repeated(10000) << 0;
        QTest::newRow("a run of unknown macros") << QStringLiteral("$$X").repeated(2000) << 2000;
        QTest::newRow("every character up to 0x17f") << everyCharacter << -1;
        QTest::newRow("lone surrogates") << QString(QChar(0xd800)) + "$$" + QChar(0xdc00) << 1;
    }

    void noInputLoopsOrCrashes()
    {
        QFETCH(QString, text);
        QFETCH(int, errors);
        CountingBinding counting;
        counting.analyse(text, QString());
        if (errors >= 0)
            QCOMPARE(counting.errors, errors);
    }
};

QTEST_MAIN(tst_Macros)
#include "tst_macros.moc"
