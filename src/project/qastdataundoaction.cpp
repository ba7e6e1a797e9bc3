#include "qastdataundoaction.h"

#include "qastdata.h"
#include "qatrace.h"

QAStDataUndoAction::QAStDataUndoAction(Action action, QAStData* data)
    : action(action), data(data)
{
    warning("QAStDataUndoAction::QAStDataUndoAction");
    if (!data)
        return;
    parent = data->parent();
    previous = data->previous();
    // The text is taken now: a removed object is gone by the time it is undone.
    if (action == Removed)
        text = data->toString();
}
