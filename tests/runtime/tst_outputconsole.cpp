#include "qalogconsole.h"
#include "qamessagebox.h"
#include "qastanalysemsg.h"
#include "qastdata.h"
#include "qastoutputwidget.h"
#include "recordinghost.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>
#include <QTextBlock>

#include <cstdio>
#include <unistd.h>

namespace {

// What \a write puts on standard error.
template <typename Write>
QByteArray standardErrorOf(Write write)
{
    QTemporaryFile file;
    const int saved = (std::fflush(stderr), dup(STDERR_FILENO));
    if (!file.open() || dup2(file.handle(), STDERR_FILENO) < 0)
        return "(standard error not taken over)";
    write();
    std::fflush(stderr);
    dup2(saved, STDERR_FILENO);
    close(saved);
    file.seek(0);
    return file.readAll();
}

} // namespace

class tst_OutputConsole : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QTemporaryDir dir;

private slots:
    // The parser asks the file system which substring is a file: the cases
    // run among files of their own, in a directory that is also the current
    // one, against which relative names in a message are taken.
    void initTestCase()
    {
        QAStData::initialize(&host);
        QVERIFY(QDir::setCurrent(dir.path()));
        for (const char* name : {"src dir", "a b", "dir.c"})
            QVERIFY(QDir().mkpath(QString::fromLatin1(name)));
        for (const char* name : {"src dir/main file.c", "run.pl", "x.c", "c.c", "x.c.orig", "a b/c.c"})
            QVERIFY(QFile(QString::fromLatin1(name)).open(QIODevice::WriteOnly));
    }
    void cleanupTestCase() { QAStData::initialize(nullptr); }

    // "file:line:column#anchor" as found; %1 stands for the directory.
    void analyze_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("found");
        QTest::newRow("an absolute path with a blank, line and column after at") << "see %1/a b/c.c at 9:3" << "%1/a b/c.c:9:3";
        QTest::newRow("a two-digit line reads the column one digit too far on") << "c.c at 10:37" << "c.c:10:7";
        QTest::newRow("two-digit line and column: the column's last digit") << "x.c:12:75" << "x.c:12:5";
        QTest::newRow("two-digit line, one-digit column: no column") << "x.c:12:7" << "x.c:12:0";
        QTest::newRow("a blank behind the separator: no column") << "x.c:12: note" << "x.c:12:0";
        QTest::newRow("comma and line") << "x.c,line 5:7" << "x.c:5:7";
        QTest::newRow("quoted name, line and a dotted column") << "\"x.c\", line 5.7: oops" << "x.c:5:7";
        QTest::newRow("comma, line and a colon") << "x.c, line: 12" << "x.c:12:0";
        QTest::newRow("comma and the number") << "x.c,12" << "x.c:12:0";
        QTest::newRow("the number in parentheses") << "x.c(12) : error" << "x.c:12:0";
        QTest::newRow("slash and Line") << "x.c/Line 12" << "x.c:12:0";
        QTest::newRow("the prefix may stand anywhere behind the name") << "x.c then c.c:4" << "x.c:4:0";
        QTest::newRow("digits must follow the prefix's first match") << "x.c at end, at 5" << "x.c:0:0";
        QTest::newRow("the longest name at the leftmost start") << "x.c.orig:3" << "x.c.orig:3:0";
        QTest::newRow("a line number too large for an int is none") << "x.c:99999999999" << "x.c:0:0";
        QTest::newRow("an anchor and no line") << "x.c#frag" << "x.c:0:0#frag";
        QTest::newRow("the anchor is behind the last hash") << "see x.c:3 #a#b" << "x.c:3:0#b";
        QTest::newRow("a directory is no file") << "dir.c:3:1: error" << ":0:0";
        QTest::newRow("a word that looks like a path") << "/no/such/file.c:3:1" << ":0:0";
    }

    void analyze()
    {
        QFETCH(QString, message);
        QFETCH(QString, found);
        QAStAnalyseMsg analyser;
        // Nothing of an earlier message may survive the next one.
        QVERIFY(analyser.analyze(QStringLiteral("x.c:1:2 #old")));
        QCOMPARE(analyser.analyze(message.replace(QLatin1String("%1"), dir.path())), !found.startsWith(':'));
        QCOMPARE(analyser.file.isNull(), found.startsWith(':'));
        const QString result = QStringLiteral("%1:%2:%3").arg(analyser.file).arg(analyser.line).arg(analyser.column);
        QCOMPARE(analyser.anchor.isEmpty() ? result : result + '#' + analyser.anchor,
                 found.replace(QLatin1String("%1"), dir.path()));
    }

    void append_data()
    {
        QTest::addColumn<QStringList>("calls");
        QTest::addColumn<QString>("expected");
        QTest::newRow("two lines with a blank line between") << QStringList{"a\n\nb"} << "a\nb";
        QTest::newRow("line feeds at both ends, and nothing but line feeds")
            << QStringList{"\nfirst\n", "\n\n", "second\n"} << "first\nsecond";
        QTest::newRow("a known tag is rich text, angle brackets of none are not")
            << QStringList{"<b>bold</b> text", "vector<int> v;"} << "bold text\nvector<int> v;";
    }

    void append()
    {
        QFETCH(QStringList, calls);
        QFETCH(QString, expected);
        QAStOutputWidget console;
        for (const QString& text : calls)
            console.log(text);
        QCOMPARE(console.toPlainText(), expected);
    }

    // An error keeps to its own paragraphs, in the error style; one with an
    // invalid colour shows black. Tool output that looks like markup shows
    // as it was written.
    void errorsAreCountedAndMarked()
    {
        QAStOutputWidget console;
        console.log(QStringLiteral("before"));
        console.error(QStringLiteral("main.c:3: error: std::vector<int> & more\n\n"));
        console.setErrorTextColor(Qt::red);
        QFont font = console.font();
        font.setBold(true);
        font.setUnderline(true);
        console.setErrorFont(font);
        console.error(QStringLiteral("\nsecond <b>line</b>\n"));
        console.error(QStringLiteral("\n"));
        console.log(QStringLiteral("after"));

        QCOMPARE(console.errorCount(), 3);
        QCOMPARE(console.toPlainText(), QStringLiteral("before\nmain.c:3: error: std::vector<int> & more\n"
                                                       "second <b>line</b>\nafter"));
        const QStringList colours{"", "#000000", "#ff0000", ""};
        for (int i = 0; i < colours.size(); ++i) {
            const QTextCharFormat format = console.document()->findBlockByNumber(i).begin().fragment().charFormat();
            QCOMPARE(format.foreground().style() == Qt::NoBrush ? QString() : format.foreground().color().name(),
                     colours[i]);
            QCOMPARE(format.fontWeight() > QFont::Normal, i == 2);
            QCOMPARE(format.fontUnderline(), i == 2);
        }
    }

    // Writable while a selection stands, so that copying works on it; still
    // nothing but a copy gets through.
    void aSelectionAllowsCopyingOnly()
    {
        QAStOutputWidget console;
        console.log(QStringLiteral("alpha"));
        QVERIFY(console.isReadOnly());
        console.selectAll();
        QVERIFY(!console.isReadOnly());
        QApplication::clipboard()->setText(QStringLiteral("pasted"));
        console.paste();
        QTest::keyClick(&console, Qt::Key_X);
        QTest::keyClick(&console, Qt::Key_Delete);
        QTest::keyClick(&console, Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(console.toPlainText(), QStringLiteral("alpha"));
        QTest::keyClick(&console, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("alpha"));
        console.moveCursor(QTextCursor::End);
        QVERIFY(console.isReadOnly());
    }

    void doubleClickSelectsTheLineForItsOwner_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("requests");
        QTest::newRow("a compiler error names the file, line and column")
            << "src dir/main file.c:7:3: error: 'x' undeclared" << QStringList{"src dir/main file.c:7"};
        QTest::newRow("a script error names the file and the line")
            << "syntax error at run.pl line 12, near \"= ;\"" << QStringList{"run.pl:12"};
        QTest::newRow("a file that is not there") << "/no/such/dir/main.c:3:1: error: x" << QStringList{};
    }

    // The owner opens the file; a console that opened it as well would open
    // it twice.
    void doubleClickSelectsTheLineForItsOwner()
    {
        QFETCH(QString, line);
        QFETCH(QStringList, requests);
        host.editorRequests.clear();

        QAStOutputWidget console;
        connect(&console, &QAStOutputWidget::selectedLine, &QAStOutputWidget::editSource);
        console.resize(700, 300);
        console.log(QStringLiteral("gcc -c main.c\n  compiling"));
        console.error(line);
        console.log(QStringLiteral("1 error"));
        console.show();
        QVERIFY(QTest::qWaitForWindowExposed(&console));
        QSignalSpy selected(&console, &QAStOutputWidget::selectedLine);

        QTextCursor onTheLine(console.document()->findBlockByNumber(2));
        onTheLine.movePosition(QTextCursor::Right, QTextCursor::MoveAnchor, 3);
        QTest::mouseDClick(console.viewport(), Qt::LeftButton, {}, console.cursorRect(onTheLine).center());

        QCOMPARE(selected.size(), 1);
        QCOMPARE(selected.first().first().toString(), line);
        QCOMPARE(console.textCursor().selectedText(), line);
        QCOMPARE(host.editorRequests, requests);
    }

    // Without a user: a stream console writes what it is given, to standard
    // error when it has no stream, and every box is one line on standard
    // error and the answer 1, whatever the operation and the buttons.
    void batchEnds()
    {
        QString logged, errors;
        QTextStream log(&logged), error(&errors);
        QALogConsole console(&log, &error);
        console.log(QStringLiteral("one"));
        console.error(QStringLiteral("two\n"));
        QCOMPARE(logged + QLatin1Char('|') + errors, QStringLiteral("one|two\n"));
        QCOMPARE(console.errorCount(), 1);
        QCOMPARE(standardErrorOf([] { QALogConsole().error(QStringLiteral("main.c:1: error\n")); }),
                 QByteArray("main.c:1: error\n"));

        using Box = int (*)(QWidget*, bool, const QString&, const QString&, int, int, int);
        for (Box box : {&QAMessageBox::warning, &QAMessageBox::information, &QAMessageBox::critical,
                        &QAMessageBox::question}) {
            int answer = 0;
            QCOMPARE(standardErrorOf([&] {
                answer = box(nullptr, false, QStringLiteral("Velmont Studio"), QStringLiteral("Overwrite?"),
                             QMessageBox::Yes | QMessageBox::Default, QMessageBox::No | QMessageBox::Escape, 0);
            }), QByteArray("Warning:Overwrite?\n"));
            QCOMPARE(answer, 1);
        }
    }
};

QTEST_MAIN(tst_OutputConsole)
#include "tst_outputconsole.moc"
