#pragma once

#include "qaststudioplugin.h"

/// The class a plug-in of a text editor derives from: it overrides create(),
/// which opens an editor window, and openedWindow().
class SDK_EXPORT QAStEditorPlugin : public QAStStudioPlugin
{
    Q_OBJECT
public:
    using QAStStudioPlugin::QAStStudioPlugin;

    QUnknownInterface* component() override;

    virtual QWidget* create(QWidget* parent, const char* name);
    virtual QWidget* openedWindow(const QString& file);
};
