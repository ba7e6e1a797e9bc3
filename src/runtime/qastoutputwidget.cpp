#include "qastoutputwidget.h"

#include "qastanalysemsg.h"
#include "qastdata.h"
#include "qatrace.h"
#include "qaviewerfinddialog.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPointer>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

namespace {

// One find dialog, and one remembered text to find, serve every console.
QPointer<QAViewerFindDialog> findDialog;
QString findExpression;

} // namespace

QAStOutputWidget::QAStOutputWidget(QWidget* parent, const char* name)
    : QTextEdit(parent), _errorFont(font())
{
    setObjectName(QString::fromLatin1(name));
    setReadOnly(true);
    setAcceptDrops(false);
    document()->setMaximumBlockCount(5000);
    connect(this, &QTextEdit::selectionChanged, this, &QAStOutputWidget::selectionMade);
    connect(this, &QTextEdit::textChanged, this, &QAStOutputWidget::textEnter);
}

QAStOutputWidget::~QAStOutputWidget() = default;

void QAStOutputWidget::log(const QString& text)
{
    append(text);
}

void QAStOutputWidget::Append(const QString& text)
{
    append(text);
}

void QAStOutputWidget::Appendnl(const QString& text)
{
    append(text);
}

void QAStOutputWidget::append(const QString& text)
{
    const QStringList pieces = text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (pieces.isEmpty())
        return;
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    for (const QString& piece : pieces) {
        cursor.movePosition(QTextCursor::End);
        // Each paragraph starts plain, so that the style of an error does not
        // run on into the next line.
        if (!document()->isEmpty())
            cursor.insertBlock(QTextBlockFormat(), QTextCharFormat());
        if (Qt::mightBeRichText(piece)) {
            // Markup may open blocks with margins of their own, which would
            // show as the blank lines that the console never has.
            const int start = cursor.position();
            cursor.insertHtml(piece);
            QTextCursor inserted(document());
            inserted.setPosition(start);
            inserted.setPosition(cursor.position(), QTextCursor::KeepAnchor);
            QTextBlockFormat tight;
            tight.setTopMargin(0);
            tight.setBottomMargin(0);
            inserted.mergeBlockFormat(tight);
        } else {
            cursor.insertText(piece, QTextCharFormat());
        }
    }
    cursor.endEditBlock();
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

void QAStOutputWidget::error(const QString& text)
{
    ++_errorCount;
    const QStringList pieces = text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (pieces.isEmpty())
        return;
    QString html = QStringLiteral("<font ") + QStringLiteral("color=\"%1\"").arg(_errorColor.name())
        + QLatin1Char(' ') + QStringLiteral("face=\"%1\"").arg(_errorFont.family().toHtmlEscaped())
        + QLatin1Char(' ') + QStringLiteral(" >");
    // The markup is ours, the message is not: a compiler's "std::vector<int>"
    // put into it as it stands would lose "<int>" as an unknown tag, so each
    // line is escaped. An error never carries markup of its sender; a log
    // line may.
    for (const QString& piece : pieces)
        html += QStringLiteral("<pre>") + piece.toHtmlEscaped() + QStringLiteral("</pre>");
    html += QStringLiteral("</font>");
    if (_errorFont.italic())
        html = QStringLiteral("<i>") + html + QStringLiteral("</i>");
    if (_errorFont.weight() > QFont::Normal)
        html = QStringLiteral("<b>") + html + QStringLiteral("</b>");
    if (_errorFont.underline())
        html = QStringLiteral("<u>") + html + QStringLiteral("</u>");
    append(html);
}

int QAStOutputWidget::errorCount() const
{
    return _errorCount;
}

void QAStOutputWidget::resetError()
{
    _errorCount = 0;
}

void QAStOutputWidget::setErrorFont(const QFont& font)
{
    _errorFont = font;
}

void QAStOutputWidget::setErrorTextColor(const QColor& color)
{
    _errorColor = color;
}

void QAStOutputWidget::clear()
{
    QTextEdit::clear();
}

void QAStOutputWidget::textEnter()
{
    emit consoleTextChanged(this);
}

void QAStOutputWidget::selectionMade()
{
    setReadOnly(!textCursor().hasSelection());
}

void QAStOutputWidget::keyPressEvent(QKeyEvent* event)
{
    const bool control = event->modifiers() == Qt::ControlModifier;
    if (control && (event->key() == Qt::Key_C || event->key() == Qt::Key_Insert))
        copy();
    event->accept();
}

void QAStOutputWidget::inputMethodEvent(QInputMethodEvent* event)
{
    event->accept();
}

// The view is writable while text is selected; neither a paste nor a
// middle-click may put anything into it then.
bool QAStOutputWidget::canInsertFromMimeData(const QMimeData*) const
{
    return false;
}

void QAStOutputWidget::insertFromMimeData(const QMimeData*) {}

void QAStOutputWidget::dragEnterEvent(QDragEnterEvent* event)
{
    event->ignore();
}

void QAStOutputWidget::dropEvent(QDropEvent* event)
{
    event->ignore();
}

void QAStOutputWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const QTextCursor at = cursorForPosition(event->position().toPoint());
    mouseDoubleClick(at.blockNumber(), at.positionInBlock());
    event->accept();
}

void QAStOutputWidget::mouseDoubleClick(int paragraph, int)
{
    const QTextBlock block = document()->findBlockByNumber(paragraph);
    if (!block.isValid())
        return;
    QTextCursor selection(block);
    selection.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    setTextCursor(selection);
    emit selectedLine(block.text());
}

void QAStOutputWidget::selectLine()
{
    const QString text = textCursor().selectedText();
    if (!text.startsWith(tr("(no action!!)")))
        emit selectedLine(text);
}

void QAStOutputWidget::editSelection()
{
    emit selectedLine(textCursor().selectedText());
}

void QAStOutputWidget::editSource(const QString& line)
{
    QAStAnalyseMsg message;
    if (message.analyze(line))
        QAStData::editFile(message.file, message.line);
    else
        warning("QAStOutputWidget: no file in \"%s\"", line.toLocal8Bit().constData());
}

bool QAStOutputWidget::selectionInOneParagraph() const
{
    const QTextCursor cursor = textCursor();
    return cursor.hasSelection()
        && document()->findBlock(cursor.selectionStart()) == document()->findBlock(cursor.selectionEnd());
}

QMenu* QAStOutputWidget::createPopupMenu(const QPoint&)
{
    auto* menu = new QMenu(this);
    QAction* edit = menu->addAction(tr("Edit selected file"), this, &QAStOutputWidget::editSelection);
    edit->setData(int(EditSelectedFileId));
    edit->setEnabled(selectionInOneParagraph());
    QAction* copyAction = menu->addAction(tr("Copy"), this, &QTextEdit::copy);
    copyAction->setEnabled(textCursor().hasSelection());
    menu->addAction(tr("Select All"), this, &QTextEdit::selectAll);
    menu->addSeparator();
    menu->addAction(tr("Find..."), this, qOverload<>(&QAStOutputWidget::find));
    menu->addSeparator();
    QAction* clearAction = menu->addAction(tr("Clear window"), this, &QAStOutputWidget::clear);
    clearAction->setData(int(ClearWindowId));
    return menu;
}

QMenu* QAStOutputWidget::createPopupMenu()
{
    return createPopupMenu(QPoint());
}

void QAStOutputWidget::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu* menu = createPopupMenu(event->pos());
    menu->exec(event->globalPos());
    delete menu;
}

void QAStOutputWidget::find()
{
    find(QString());
}

void QAStOutputWidget::find(const QString& text)
{
    delete findDialog;
    if (!text.isNull()) {
        findExpression = text;
        findDialogSearch(text, true, true, true);
        return;
    }
    findDialog = new QAViewerFindDialog(parentWidget(), "find dialog");
    moveCursor(QTextCursor::Start);
    connect(findDialog, &QAViewerFindDialog::search, this, &QAStOutputWidget::findDialogSearch);
    findDialog->setText(findExpression);
    findDialog->exec();
    // The dialog may have gone with its parent while it ran.
    if (findDialog)
        findExpression = findDialog->text();
}

void QAStOutputWidget::findDialogSearch(const QString& text, bool caseSensitive, bool wholeWord,
                                        bool backward)
{
    QTextDocument::FindFlags flags;
    if (caseSensitive)
        flags |= QTextDocument::FindCaseSensitively;
    if (wholeWord)
        flags |= QTextDocument::FindWholeWords;
    if (backward)
        flags |= QTextDocument::FindBackward;
    // A backward search starts in front of the current match, so that pressing
    // Find again moves on; the document's search does that from a selection.
    QTextEdit::find(text, flags);
}
