#include "qalogconsole.h"
#include "qalogmessagebox.h"
#include "qamessagebox.h"
#include "qastdata.h"
#include "qastoutputwidget.h"
#include "qaviewerfinddialog.h"
#include "recordinghost.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>
#include <QTextBlock>
#include <QTextStream>
#include <QTimer>

#include <cstdio>
#include <functional>
#include <unistd.h>

namespace {

// Takes over a standard stream of the process, so that what the console ends
// write there can be read back.
class CapturedStream
{
public:
    explicit CapturedStream(FILE* stream) : stream(stream), descriptor(fileno(stream))
    {
        std::fflush(stream);
        saved = dup(descriptor);
        if (file.open())
            dup2(file.handle(), descriptor);
    }
    ~CapturedStream() { take(); }

    QByteArray take()
    {
        if (saved < 0)
            return QByteArray();
        std::fflush(stream);
        dup2(saved, descriptor);
        close(saved);
        saved = -1;
        file.seek(0);
        return file.readAll();
    }

private:
    FILE* stream;
    int descriptor;
    int saved = -1;
    QTemporaryFile file;
};

struct SeenBox {
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString caption;
    QString text;
    int buttons = 0;
};

// Acts on the next modal dialog as soon as it shows.
void onNextModal(std::function<void(QWidget*)> act)
{
    auto* timer = new QTimer;
    timer->setInterval(0);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, act] {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal)
            return;
        timer->stop();
        timer->deleteLater();
        act(modal);
    });
    timer->start();
}

// Records the next message box and presses \a key on it.
void answerNextBox(SeenBox* seen, int key)
{
    onNextModal([seen, key](QWidget* modal) {
        auto* box = qobject_cast<QMessageBox*>(modal);
        if (!box) {
            modal->close();
            return;
        }
        seen->icon = box->icon();
        seen->caption = box->windowTitle();
        seen->text = box->text();
        seen->buttons = int(box->buttons().size());
        QTest::keyClick(box, Qt::Key(key));
    });
}

QStringList paragraphs(const QTextEdit& view)
{
    QStringList texts;
    if (view.document()->isEmpty())
        return texts;
    for (QTextBlock block = view.document()->begin(); block.isValid(); block = block.next())
        texts << block.text();
    return texts;
}

QTextCharFormat paragraphFormat(const QTextEdit& view, const QString& text)
{
    for (QTextBlock block = view.document()->begin(); block.isValid(); block = block.next()) {
        if (block.text() == text)
            return block.begin().fragment().charFormat();
    }
    return QTextCharFormat();
}

QPoint paragraphCentre(QTextEdit& view, const QString& text)
{
    for (QTextBlock block = view.document()->begin(); block.isValid(); block = block.next()) {
        if (block.text() == text) {
            QTextCursor cursor(block);
            cursor.movePosition(QTextCursor::Right, QTextCursor::MoveAnchor, 2);
            return view.cursorRect(cursor).center();
        }
    }
    return QPoint(-1, -1);
}

void selectParagraphs(QTextEdit& view, int first, int last, int from = 0, int to = -1)
{
    QTextCursor cursor(view.document()->findBlockByNumber(first));
    cursor.movePosition(QTextCursor::Right, QTextCursor::MoveAnchor, from);
    const QTextBlock end = view.document()->findBlockByNumber(last);
    cursor.setPosition(to < 0 ? end.position() + end.length() - 1 : end.position() + to,
                       QTextCursor::KeepAnchor);
    view.setTextCursor(cursor);
}

QStringList actionTexts(const QMenu* menu)
{
    QStringList texts;
    for (const QAction* action : menu->actions())
        texts << (action->isSeparator() ? QStringLiteral("-") : action->text());
    return texts;
}

QAction* actionWithId(const QMenu* menu, int id)
{
    for (QAction* action : menu->actions()) {
        if (action->data().toInt() == id)
            return action;
    }
    return nullptr;
}

} // namespace

class tst_OutputConsole : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QTemporaryDir dir;

    QString inDir(QString text) const { return text.replace(QLatin1String("%1"), dir.path()); }

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        QAStData::initialize(&host);
    }
    void cleanupTestCase() { QAStData::initialize(nullptr); }
    void init() { host.editorRequests.clear(); }

    void append_data()
    {
        QTest::addColumn<QStringList>("calls");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("two lines with a blank line between") << QStringList{"a\n\nb"} << QStringList{"a", "b"};
        QTest::newRow("line feeds at both ends") << QStringList{"\nfirst\n", "second\n"}
                                                 << QStringList{"first", "second"};
        QTest::newRow("nothing but line feeds") << QStringList{"\n\n\n", ""} << QStringList{};
        QTest::newRow("each call is a paragraph of its own") << QStringList{"a", "b"} << QStringList{"a", "b"};
        QTest::newRow("a line that opens with a known tag is rich text")
            << QStringList{"<b>bold</b> text"} << QStringList{"bold text"};
        QTest::newRow("angle brackets of no tag stay text")
            << QStringList{"std::vector<int> v;"} << QStringList{"std::vector<int> v;"};
    }

    void append()
    {
        QFETCH(QStringList, calls);
        QFETCH(QStringList, expected);
        QAStOutputWidget console;
        QSignalSpy changed(&console, &QAStOutputWidget::consoleTextChanged);
        for (const QString& text : calls)
            console.log(text);
        QCOMPARE(paragraphs(console), expected);
        QCOMPARE(changed.isEmpty(), expected.isEmpty());
        if (!changed.isEmpty())
            QCOMPARE(changed.first().first().value<QAStOutputWidget*>(), &console);
        QCOMPARE(console.errorCount(), 0);
    }

    void errorStyle_data()
    {
        QTest::addColumn<QColor>("colour");
        QTest::addColumn<bool>("bold");
        QTest::addColumn<bool>("italic");
        QTest::addColumn<bool>("underline");
        QTest::addColumn<QString>("shown");
        QTest::newRow("an invalid colour shows black") << QColor() << false << false << false << "#000000";
        QTest::newRow("red, bold, italic and underlined") << QColor(Qt::red) << true << true << true << "#ff0000";
        QTest::newRow("blue and underlined only") << QColor(Qt::blue) << false << false << true << "#0000ff";
    }

    void errorStyle()
    {
        QFETCH(QColor, colour);
        QFETCH(bool, bold);
        QFETCH(bool, italic);
        QFETCH(bool, underline);
        QFETCH(QString, shown);

        QAStOutputWidget console;
        console.setErrorTextColor(colour);
        QFont font = console.font();
        font.setBold(bold);
        font.setItalic(italic);
        font.setUnderline(underline);
        console.setErrorFont(font);

        console.log(QStringLiteral("before"));
        console.error(QStringLiteral("main.c:3: error: std::vector<int> & more\n\nsecond line\n"));
        console.error(QStringLiteral("\n"));
        console.log(QStringLiteral("after"));

        QCOMPARE(console.errorCount(), 2);
        QCOMPARE(paragraphs(console),
                 (QStringList{"before", "main.c:3: error: std::vector<int> & more", "second line", "after"}));
        for (const char* line : {"main.c:3: error: std::vector<int> & more", "second line"}) {
            const QTextCharFormat format = paragraphFormat(console, QString::fromLatin1(line));
            QCOMPARE(format.foreground().color().name(), shown);
            QCOMPARE(format.fontWeight() > QFont::Normal, bold);
            QCOMPARE(format.fontItalic(), italic);
            QCOMPARE(format.fontUnderline(), underline);
        }
        for (const char* line : {"before", "after"}) {
            const QTextCharFormat format = paragraphFormat(console, QString::fromLatin1(line));
            QCOMPARE(format.foreground().style(), Qt::NoBrush);
            QVERIFY(!format.fontUnderline());
        }
        console.resetError();
        QCOMPARE(console.errorCount(), 0);
    }

    void keys_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("copied");
        QTest::newRow("the letter x does nothing") << int(Qt::Key_X) << int(Qt::NoModifier) << "";
        QTest::newRow("Delete does nothing") << int(Qt::Key_Delete) << int(Qt::NoModifier) << "";
        QTest::newRow("Control+V does nothing") << int(Qt::Key_V) << int(Qt::ControlModifier) << "";
        QTest::newRow("Control+C copies") << int(Qt::Key_C) << int(Qt::ControlModifier) << "beta";
        QTest::newRow("Control+Insert copies") << int(Qt::Key_Insert) << int(Qt::ControlModifier) << "beta";
    }

    void keys()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(QString, copied);
        QAStOutputWidget console;
        console.log(QStringLiteral("alpha\nbeta"));
        selectParagraphs(console, 1, 1);
        QApplication::clipboard()->setText(QStringLiteral("beta"));
        QApplication::clipboard()->clear();
        QTest::keyClick(&console, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QCOMPARE(console.toPlainText(), QStringLiteral("alpha\nbeta"));
        QCOMPARE(QApplication::clipboard()->text(), copied);
        QVERIFY(console.isReadOnly());
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
        for (const char* name : {"src dir/main file.c", "run.pl"}) {
            QFile file(dir.filePath(QString::fromLatin1(name)));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        line = inDir(line);
        for (QString& request : requests)
            request = inDir(request);

        QAStOutputWidget console;
        console.resize(700, 300);
        console.log(QStringLiteral("gcc -c main.c\n  compiling"));
        console.error(line);
        console.log(QStringLiteral("1 error"));
        console.show();
        QVERIFY(QTest::qWaitForWindowExposed(&console));
        QSignalSpy selected(&console, &QAStOutputWidget::selectedLine);

        const QPoint at = paragraphCentre(console, line);
        QVERIFY(at.y() >= 0);
        QTest::mouseDClick(console.viewport(), Qt::LeftButton, Qt::NoModifier, at);

        QCOMPARE(selected.size(), 1);
        QCOMPARE(selected.first().first().toString(), line);
        QCOMPARE(console.textCursor().selectedText(), line);
        QCOMPARE(host.editorRequests, requests);
    }

    void selectLineLeavesNoActionLinesAlone_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("emitted");
        QTest::newRow("a line of tool output") << "main.c:3: error" << true;
        QTest::newRow("a line marked for no action") << "(no action!!) main.c:3: error" << false;
    }

    void selectLineLeavesNoActionLinesAlone()
    {
        QFETCH(QString, line);
        QFETCH(bool, emitted);
        QAStOutputWidget console;
        console.log(line);
        selectParagraphs(console, 0, 0);
        QSignalSpy selected(&console, &QAStOutputWidget::selectedLine);
        console.selectLine();
        QCOMPARE(selected.size(), emitted ? 1 : 0);
    }

    void popupMenu_data()
    {
        QTest::addColumn<int>("firstParagraph");
        QTest::addColumn<int>("lastParagraph");
        QTest::addColumn<bool>("editable");
        QTest::newRow("no selection: nothing to edit") << -1 << -1 << false;
        QTest::newRow("a selection in one paragraph") << 1 << 1 << true;
        QTest::newRow("a selection over two paragraphs") << 0 << 1 << false;
    }

    void popupMenu()
    {
        QFETCH(int, firstParagraph);
        QFETCH(int, lastParagraph);
        QFETCH(bool, editable);
        QAStOutputWidget console;
        console.log(QStringLiteral("first\nx.c:3: error"));
        if (firstParagraph >= 0)
            selectParagraphs(console, firstParagraph, lastParagraph);

        QScopedPointer<QMenu> menu(console.createPopupMenu());
        QCOMPARE(actionTexts(menu.get()),
                 (QStringList{"Edit selected file", "Copy", "Select All", "-", "Find...", "-", "Clear window"}));
        QAction* edit = actionWithId(menu.get(), QAStOutputWidget::EditSelectedFileId);
        QVERIFY(edit);
        QCOMPARE(edit->isEnabled(), editable);

        QSignalSpy selected(&console, &QAStOutputWidget::selectedLine);
        if (editable) {
            edit->trigger();
            QCOMPARE(selected.size(), 1);
            QCOMPARE(selected.first().first().toString(), QStringLiteral("x.c:3: error"));
        }
        QAction* clear = actionWithId(menu.get(), QAStOutputWidget::ClearWindowId);
        QVERIFY(clear);
        clear->trigger();
        QVERIFY(console.document()->isEmpty());
    }

    void findSearchesFromTheCursor()
    {
        QAStOutputWidget console;
        console.log(QStringLiteral("beta one\nalphabeta\nBeta two\nbeta three"));
        console.moveCursor(QTextCursor::Start);

        console.findDialogSearch(QStringLiteral("beta"), true, false, false);
        QCOMPARE(console.textCursor().block().blockNumber(), 0);
        console.findDialogSearch(QStringLiteral("beta"), true, false, false);
        QCOMPARE(console.textCursor().block().blockNumber(), 1);
        console.findDialogSearch(QStringLiteral("beta"), true, true, false);
        QCOMPARE(console.textCursor().block().blockNumber(), 3);
        console.findDialogSearch(QStringLiteral("beta"), false, true, true);
        QCOMPARE(console.textCursor().block().blockNumber(), 2);

        // A text given at once is searched backward, case-sensitive, as a word.
        console.moveCursor(QTextCursor::End);
        console.find(QStringLiteral("beta"));
        QCOMPARE(console.textCursor().block().blockNumber(), 3);
        console.find(QStringLiteral("beta"));
        QCOMPARE(console.textCursor().block().blockNumber(), 0);
        QCOMPARE(console.textCursor().selectedText(), QStringLiteral("beta"));
    }

    void findDialogRemembersTheText()
    {
        QWidget window;
        auto* console = new QAStOutputWidget(&window);
        console->log(QStringLiteral("one\ntwo needle\nthree"));

        QString shownName;
        onNextModal([&shownName](QWidget* modal) {
            shownName = modal->objectName();
            modal->findChild<QLineEdit*>()->setText(QStringLiteral("needle"));
            for (QPushButton* button : modal->findChildren<QPushButton*>()) {
                if (button->text() == QLatin1String("&Find"))
                    button->click();
            }
            modal->close();
        });
        console->find();
        QCOMPARE(shownName, QStringLiteral("find dialog"));
        QCOMPARE(console->textCursor().selectedText(), QStringLiteral("needle"));

        QString offered;
        onNextModal([&offered](QWidget* modal) {
            offered = modal->findChild<QLineEdit*>()->text();
            modal->close();
        });
        console->find();
        QCOMPARE(offered, QStringLiteral("needle"));
    }

    void screenshotOfMixedOutput()
    {
        QAStOutputWidget console;
        console.resize(640, 260);
        console.setErrorTextColor(Qt::red);
        QFont font = console.font();
        font.setBold(true);
        console.setErrorFont(font);
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
        const QString file = screenshots + QStringLiteral("/console.png");
        QFile::remove(file);
        QVERIFY(console.grab().save(file));
        QVERIFY(QFileInfo(file).size() > 0);
        QCOMPARE(console.errorCount(), 2);
    }

    void logConsoleWritesToItsStreams()
    {
        QString logged, errors;
        QTextStream log(&logged), error(&errors);
        QALogConsole console(&log, &error);
        console.log(QStringLiteral("one"));
        console.log(QStringLiteral("two\n"));
        console.error(QStringLiteral("bad"));
        console.error(QStringLiteral("worse\n"));
        QCOMPARE(logged, QStringLiteral("onetwo\n"));
        QCOMPARE(errors, QStringLiteral("badworse\n"));
        QCOMPARE(console.errorCount(), 2);
        console.resetError();
        QCOMPARE(console.errorCount(), 0);
    }

    void logConsoleWritesToTheProcessStreams()
    {
        QALogConsole console;
        CapturedStream out(stdout);
        CapturedStream err(stderr);
        console.log(QStringLiteral("built\n"));
        console.error(QStringLiteral("main.c:1: error\n"));
        console.log(QStringLiteral("done"));
        QCOMPARE(err.take(), QByteArray("main.c:1: error\n"));
        QCOMPARE(out.take(), QByteArray("built\ndone"));
        QCOMPARE(console.errorCount(), 1);
    }

    void messageBoxInBatchMode_data()
    {
        QTest::addColumn<QString>("operation");
        for (const char* operation : {"warning", "information", "critical", "question"})
            QTest::newRow(operation) << QString::fromLatin1(operation);
    }

    // Every operation writes one line and answers 1, whatever the buttons.
    void messageBoxInBatchMode()
    {
        QFETCH(QString, operation);
        using Box = int (*)(QWidget*, bool, const QString&, const QString&, int, int, int);
        const QMap<QString, Box> boxes{{"warning", &QAMessageBox::warning},
                                       {"information", &QAMessageBox::information},
                                       {"critical", &QAMessageBox::critical},
                                       {"question", &QAMessageBox::question}};
        CapturedStream err(stderr);
        const int answer = boxes.value(operation)(nullptr, false, QStringLiteral("Velmont Studio"),
                                                  QStringLiteral("Overwrite the file?"),
                                                  QMessageBox::Yes | QMessageBox::Default,
                                                  QMessageBox::No | QMessageBox::Escape, 0);
        QCOMPARE(err.take(), QByteArray("Warning:Overwrite the file?\n"));
        QCOMPARE(answer, 1);
    }

    void messageBoxWithDialog_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("answer");
        QTest::newRow("Return presses the default button") << int(Qt::Key_Return) << int(QMessageBox::Yes);
        QTest::newRow("Escape presses the escape button") << int(Qt::Key_Escape) << int(QMessageBox::No);
    }

    void messageBoxWithDialog()
    {
        QFETCH(int, key);
        QFETCH(int, answer);
        SeenBox seen;
        answerNextBox(&seen, key);
        const int pressed = QAMessageBox::question(nullptr, true, QStringLiteral("Velmont Studio"),
                                                   QStringLiteral("Overwrite the file?"),
                                                   QMessageBox::Yes | QMessageBox::Default,
                                                   QMessageBox::No | QMessageBox::Escape, 0);
        QCOMPARE(pressed, answer);
        QCOMPARE(seen.icon, QMessageBox::Warning);
        QCOMPARE(seen.caption, QStringLiteral("Velmont Studio"));
        QCOMPARE(seen.text, QStringLiteral("Overwrite the file?"));
        QCOMPARE(seen.buttons, 2);
    }

    void logMessageBoxShowsEveryMessage()
    {
        QALogMessageBox boxes(QStringLiteral("Import"), nullptr);
        SeenBox seen;
        answerNextBox(&seen, Qt::Key_Return);
        boxes.error(QStringLiteral("cannot read a.vmp"));
        QCOMPARE(seen.icon, QMessageBox::Critical);
        QCOMPARE(seen.caption, QStringLiteral("Import"));
        QCOMPARE(seen.text, QStringLiteral("cannot read a.vmp"));
        QCOMPARE(boxes.errorCount(), 1);

        answerNextBox(&seen, Qt::Key_Return);
        boxes.log(QStringLiteral("3 nodes read"));
        QCOMPARE(seen.icon, QMessageBox::Warning);
        QCOMPARE(seen.text, QStringLiteral("3 nodes read"));
        QCOMPARE(boxes.errorCount(), 1);
    }
};

QTEST_MAIN(tst_OutputConsole)
#include "tst_outputconsole.moc"
