#include "qastdataundoactionmanager.h"

#include "qastdata.h"
#include "qastdatafactory.h"

#include <QDomDocument>

QAStDataUndoActionManager::QAStDataUndoActionManager() = default;

QAStDataUndoActionManager::~QAStDataUndoActionManager()
{
    clear();
}

void QAStDataUndoActionManager::add(QAStDataUndoAction* action)
{
    if (action)
        add(Command {action});
}

void QAStDataUndoActionManager::add(const QList<QAStDataUndoAction*>& actions)
{
    clear();
    undoStack.append(actions);
}

bool QAStDataUndoActionManager::hasUndoAction() const
{
    return !undoStack.isEmpty();
}

bool QAStDataUndoActionManager::hasRedoAction() const
{
    return !redoStack.isEmpty();
}

void QAStDataUndoActionManager::clear()
{
    for (Command& command : undoStack)
        qDeleteAll(command);
    for (Command& command : redoStack)
        qDeleteAll(command);
    undoStack.clear();
    redoStack.clear();
}

bool QAStDataUndoActionManager::undo()
{
    return replay(undoStack, redoStack);
}

bool QAStDataUndoActionManager::redo()
{
    return replay(redoStack, undoStack);
}

bool QAStDataUndoActionManager::replay(QList<Command>& from, QList<Command>& to)
{
    if (from.isEmpty())
        return false;
    const Command command = from.takeFirst();
    Command inverse;
    for (QAStDataUndoAction* action : command) {
        invert(action, inverse);
        delete action;
    }
    // An empty inverse is kept too: the command still counts as undone.
    to.prepend(inverse);
    return true;
}

void QAStDataUndoActionManager::invert(QAStDataUndoAction* action, Command& inverse)
{
    if (action->action == QAStDataUndoAction::Removed) {
        // The object's parent may be gone meanwhile; then there is no place to
        // put it back.
        if (!action->parent)
            return;
        QDomDocument document(QStringLiteral("Clipboard"));
        if (!document.setContent(action->text))
            return;
        QAStData* object = QAStDataFactory::create(document.documentElement(), 1, action->parent,
                                                   action->previous);
        if (!object)
            return;
        action->parent->addChild(object, nullptr);
        inverse.append(new QAStDataUndoAction(QAStDataUndoAction::Added, object));
        return;
    }
    QAStData* data = action->data;
    if (!data)
        return;
    inverse.append(new QAStDataUndoAction(QAStDataUndoAction::Removed, data));
    data->remove();
    delete data;
}
