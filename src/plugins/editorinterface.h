#pragma once

#include "viewercomponentinterface.h"

#include <QString>

class QWidget;

/// An editor of text files, in windows of its own.
class SDK_EXPORT EditorInterface : public ViewerComponentInterface
{
public:
    virtual QWidget* create(QWidget* parent, const char* name) = 0;
    /// The window that edits \a file, or null.
    virtual QWidget* openedWindow(const QString& file) = 0;
};
