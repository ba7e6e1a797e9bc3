#pragma once

#include "sdk_export.h"
#include "qastdataundoaction.h"

#include <QList>

/// The history of the tree's commands: one command deep.
///
/// Every new command throws away what could be undone or redone before it.
/// An undone removal is rebuilt from its text as a new object, so actions
/// that point at older objects must not outlive the one command kept.
class SDK_EXPORT QAStDataUndoActionManager
{
public:
    QAStDataUndoActionManager();
    ~QAStDataUndoActionManager();
    QAStDataUndoActionManager(const QAStDataUndoActionManager&) = delete;
    QAStDataUndoActionManager& operator=(const QAStDataUndoActionManager&) = delete;

    /// Records a command of one action; takes ownership.
    void add(QAStDataUndoAction* action);
    /// Records a command of several actions; takes ownership of them all.
    void add(const QList<QAStDataUndoAction*>& actions);
    bool undo();
    bool redo();
    bool hasUndoAction() const;
    bool hasRedoAction() const;
    void clear();

private:
    using Command = QList<QAStDataUndoAction*>;
    static bool replay(QList<Command>& from, QList<Command>& to);
    static void invert(QAStDataUndoAction* action, Command& inverse);

    QList<Command> undoStack;
    QList<Command> redoStack;
};
