#include "qalogconsole.h"
#include "qamessagebox.h"
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

// Standard error of the process, taken over until take().
struct CapturedError {
    QTemporaryFile file;
    int saved = (std::fflush(stderr), dup(STDERR_FILENO));
    CapturedError() { QVERIFY(file.open() && dup2(file.handle(), STDERR_FILENO) >= 0); }
    QByteArray take()
    {
        std::fflush(stderr);
        dup2(saved, STDERR_FILENO);
        close(saved);
        file.seek(0);
        return file.readAll();
    }
};

QList<QTextBlock> paragraphs(const QTextEdit& view)
{
    QList<QTextBlock> blocks;
    for (QTextBlock block = view.document()->begin(); block.isValid() && !view.document()->isEmpty();
         block = block.next())
        blocks << block;
    return blocks;
}

QStringList texts(const QTextEdit& view)
{
    QStringList lines;
    for (const QTextBlock& block : paragraphs(view))
        lines << block.text();
    return lines;
}

} // namespace

class tst_OutputConsole : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QTemporaryDir dir;

private slots:
    void initTestCase() { QAStData::initialize(&host); }
    void cleanupTestCase() { QAStData::initialize(nullptr); }

    void append_data()
    {
        QTest::addColumn<QStringList>("calls");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("two lines with a blank line between") << QStringList{"a\n\nb"} << QStringList{"a", "b"};
        QTest::newRow("line feeds at both ends, and nothing but line feeds")
            << QStringList{"\nfirst\n", "\n\n", "second\n"} << QStringList{"first", "second"};
        QTest::newRow("a line that opens with a known tag is rich text")
            << QStringList{"<b>bold</b> text"} << QStringList{"bold text"};
        QTest::newRow("angle brackets of no tag stay text") << QStringList{"vector<int> v;"}
                                                            << QStringList{"vector<int> v;"};
    }

    void append()
    {
        QFETCH(QStringList, calls);
        QFETCH(QStringList, expected);
        QAStOutputWidget console;
        for (const QString& text : calls)
            console.log(text);
        QCOMPARE(texts(console), expected);
        QCOMPARE(console.errorCount(), 0);
    }

    void errorsAreCountedAndMarked_data()
    {
        QTest::addColumn<QColor>("colour");
        QTest::addColumn<bool>("bold");
        QTest::addColumn<bool>("underline");
        QTest::addColumn<QString>("shown");
        QTest::newRow("an invalid colour shows black") << QColor() << false << false << "#000000";
        QTest::newRow("red, bold and underlined") << QColor(Qt::red) << true << true << "#ff0000";
    }

    void errorsAreCountedAndMarked()
    {
        QFETCH(QColor, colour);
        QFETCH(bool, bold);
        QFETCH(bool, underline);
        QFETCH(QString, shown);
        QAStOutputWidget console;
        console.setErrorTextColor(colour);
        QFont font = console.font();
        font.setBold(bold);
        font.setUnderline(underline);
        console.setErrorFont(font);

        console.log(QStringLiteral("before"));
        console.error(QStringLiteral("main.c:3: error: vector<int> & more\n\nsecond line\n"));
        console.error(QStringLiteral("\n"));
        console.log(QStringLiteral("after"));

        QCOMPARE(console.errorCount(), 2);
        QCOMPARE(texts(console), (QStringList{"before", "main.c:3: error: vector<int> & more", "second line", "after"}));
        const QList<QTextBlock> blocks = paragraphs(console);
        for (int i = 0; i < blocks.size(); ++i) {
            const bool isError = i == 1 || i == 2;
            const QTextCharFormat format = blocks[i].begin().fragment().charFormat();
            QCOMPARE(format.foreground().style() != Qt::NoBrush, isError);
            if (isError)
                QCOMPARE(format.foreground().color().name(), shown);
            QCOMPARE(format.fontWeight() > QFont::Normal, isError && bold);
            QCOMPARE(format.fontUnderline(), isError && underline);
        }
        console.resetError();
        QCOMPARE(console.errorCount(), 0);
    }

    void keysOtherThanCopyAreSwallowed()
    {
        QAStOutputWidget console;
        console.log(QStringLiteral("alpha"));
        console.selectAll();
        QApplication::clipboard()->clear();
        QTest::keyClick(&console, Qt::Key_X);
        QTest::keyClick(&console, Qt::Key_Delete);
        QCOMPARE(console.toPlainText(), QStringLiteral("alpha"));
        QVERIFY(QApplication::clipboard()->text().isEmpty());
        QTest::keyClick(&console, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("alpha"));
    }

    void doubleClickOpensTheSource_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("requests");
        // %1 is a directory that holds "src dir/main file.c" and "run.pl".
        QTest::newRow("a compiler error names the file, line and column")
            << "%1/src dir/main file.c:7:3: error: 'x' undeclared" << QStringList{"%1/src dir/main file.c:7"};
        QTest::newRow("a script error names the file and the line")
            << "syntax error at %1/run.pl line 12, near \"= ;\"" << QStringList{"%1/run.pl:12"};
        QTest::newRow("a line that names no file") << "gcc: fatal error: no input files" << QStringList{};
        QTest::newRow("a file that is not there") << "/no/such/dir/main.c:3:1: error: x" << QStringList{};
    }

    void doubleClickOpensTheSource()
    {
        QFETCH(QString, line);
        QFETCH(QStringList, requests);
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("src dir")));
        for (const char* name : {"src dir/main file.c", "run.pl"})
            QVERIFY(QFile(dir.filePath(QString::fromLatin1(name))).open(QIODevice::WriteOnly));
        line.replace(QLatin1String("%1"), dir.path());
        requests.replaceInStrings(QStringLiteral("%1"), dir.path());
        host.editorRequests.clear();

        QAStOutputWidget console;
        console.resize(700, 300);
        console.log(QStringLiteral("gcc -c main.c\n  compiling"));
        console.error(line);
        console.log(QStringLiteral("1 error"));
        console.show();
        QVERIFY(QTest::qWaitForWindowExposed(&console));
        QSignalSpy selected(&console, &QAStOutputWidget::selectedLine);

        QTextCursor onTheLine(paragraphs(console).at(2));
        onTheLine.movePosition(QTextCursor::Right, QTextCursor::MoveAnchor, 3);
        QTest::mouseDClick(console.viewport(), Qt::LeftButton, {}, console.cursorRect(onTheLine).center());

        QCOMPARE(selected.size(), 1);
        QCOMPARE(selected.first().first().toString(), line);
        QCOMPARE(console.textCursor().selectedText(), line);
        QCOMPARE(host.editorRequests, requests);
    }

    void screenshotOfMixedOutput()
    {
        QAStOutputWidget console;
        console.resize(640, 200);
        console.setErrorTextColor(Qt::red);
        console.log(QStringLiteral("Building node \"unit\" with configuration \"Debug\"\n"
                                   "gcc -c \"src dir/main file.c\" -o main.o"));
        console.error(QStringLiteral("src dir/main file.c:4:12: error: 'undeclared' undeclared\n"
                                     "src dir/main file.c:3:9: warning: unused variable 'unused'"));
        console.log(QStringLiteral("(no action!!) see the log for details\n\nGroup.pl: 1 error"));
        console.error(QStringLiteral("Failed"));
        console.show();
        QVERIFY(QTest::qWaitForWindowExposed(&console));

        const QString screenshots = QCoreApplication::applicationDirPath() + QStringLiteral("/screenshots");
        QVERIFY(QDir().mkpath(screenshots));
        QVERIFY(console.grab().save(screenshots + QStringLiteral("/console.png")));
    }

    void logConsoleWritesToItsStreams()
    {
        QString logged, errors;
        QTextStream log(&logged), error(&errors);
        QALogConsole console(&log, &error);
        console.log(QStringLiteral("one"));
        console.error(QStringLiteral("bad"));
        console.log(QStringLiteral("two\n"));
        console.error(QStringLiteral("worse\n"));
        QCOMPARE(logged, QStringLiteral("onetwo\n"));
        QCOMPARE(errors, QStringLiteral("badworse\n"));
        QCOMPARE(console.errorCount(), 2);

        CapturedError standardError;
        QALogConsole().error(QStringLiteral("main.c:1: error\n"));
        QCOMPARE(standardError.take(), QByteArray("main.c:1: error\n"));
    }

    // In batch mode every box is one line on standard error and the answer 1,
    // whatever the operation and the buttons.
    void messageBoxInBatchMode()
    {
        using Box = int (*)(QWidget*, bool, const QString&, const QString&, int, int, int);
        for (Box box : {&QAMessageBox::warning, &QAMessageBox::information, &QAMessageBox::critical,
                        &QAMessageBox::question}) {
            CapturedError standardError;
            const int answer = box(nullptr, false, QStringLiteral("Velmont Studio"), QStringLiteral("Overwrite?"),
                                   QMessageBox::Yes | QMessageBox::Default, QMessageBox::No | QMessageBox::Escape, 0);
            QCOMPARE(standardError.take(), QByteArray("Warning:Overwrite?\n"));
            QCOMPARE(answer, 1);
        }
    }
};

QTEST_MAIN(tst_OutputConsole)
#include "tst_outputconsole.moc"
