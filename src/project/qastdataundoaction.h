#pragma once

#include "sdk_export.h"

#include <QPointer>
#include <QString>

class QAStData;

/// One step of a user command, kept so that the command can be undone.
///
/// A removal keeps the object's text, since the object itself is deleted; an
/// addition keeps only the object. The pointers are guarded: an object
/// deleted by other means leaves the action harmless instead of dangling.
class SDK_EXPORT QAStDataUndoAction
{
public:
    enum Action { Added = 0, Removed = 1 };

    QAStDataUndoAction(Action action, QAStData* data);

    Action action;
    QString text;
    QPointer<QAStData> parent;
    QPointer<QAStData> previous;
    QPointer<QAStData> data;
};
