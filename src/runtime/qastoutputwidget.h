#pragma once

#include "qailogmonitor.h"

#include <QColor>
#include <QFont>
#include <QTextEdit>

class QMenu;

/// The console pane: a read-only view of what the tool chain and the studio
/// say, with a count of errors, errors in their own colour and font, and a
/// jump to the source that a line speaks of.
///
/// Every piece of text between line feeds becomes a paragraph of its own, and
/// blank lines are dropped. A double-click on a line selects it and emits
/// selectedLine(); the console opens nothing itself: its owner connects that
/// signal, usually to editSource(). A line that a tool begins with
/// "(no action!!)" is left alone by selectLine(). The view keeps the last
/// 5000 lines.
class SDK_EXPORT QAStOutputWidget : public QTextEdit, public QAILogMonitor
{
    Q_OBJECT
public:
    enum MenuId { EditSelectedFileId = 1000, ClearWindowId = 1001 };

    explicit QAStOutputWidget(QWidget* parent = nullptr, const char* name = nullptr);
    ~QAStOutputWidget() override;

    void log(const QString& text) override;
    void error(const QString& text) override;
    int errorCount() const override;
    void resetError() override;

    void setErrorFont(const QFont& font);
    QFont errorFont() const { return _errorFont; }
    /// An invalid colour, the initial one, shows errors in black.
    void setErrorTextColor(const QColor& color);
    QColor errorTextColor() const { return _errorColor; }

    /// The console's context menu; the caller owns it. Items that act on the
    /// console carry their MenuId in QAction::data().
    virtual QMenu* createPopupMenu(const QPoint& position);
    virtual QMenu* createPopupMenu();

    /// Opens the file and line that \a line of tool output names, if it names
    /// an existing file, in the host's editor: what an owner connects to
    /// selectedLine().
    static void editSource(const QString& line);

signals:
    void consoleTextChanged(QAStOutputWidget* console);
    void selectedLine(const QString& line);

public slots:
    virtual void append(const QString& text);
    virtual void clear();
    void Append(const QString& text);
    void Appendnl(const QString& text);

    /// Asks for a text in the find dialog and searches from the top.
    void find();
    /// Searches \a text backward at once, case-sensitive and as a whole word;
    /// a null \a text opens the dialog as find() does.
    void find(const QString& text);
    void findDialogSearch(const QString& text, bool caseSensitive, bool wholeWord, bool backward);

    /// Writable while a selection stands, so that the view's own copy
    /// works on it; read-only otherwise.
    void selectionMade();
    void selectLine();
    void editSelection();
    /// Selects the whole of \a paragraph and emits selectedLine() with it.
    void mouseDoubleClick(int paragraph, int index);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;

private slots:
    void textEnter();

private:
    bool selectionInOneParagraph() const;

    int _errorCount = 0;
    QColor _errorColor;
    QFont _errorFont;
};
