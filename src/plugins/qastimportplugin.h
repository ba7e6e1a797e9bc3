#pragma once

#include "qastfeatureplugin.h"

class QWidget;

/// The class a plug-in of import features derives from. A reader of a foreign project form, for each
/// of its features; it overrides import() and the texts of the menus.
class SDK_EXPORT QAStImportPlugin : public QAStFeaturePlugin
{
    Q_OBJECT
public:
    using QAStFeaturePlugin::QAStFeaturePlugin;

    QUnknownInterface* component() override;

    /// \a studio is the host's QUnknownInterface. Nothing is done by default.
    virtual bool import(const QString& feature, QUnknownInterface* studio, QWidget* parent);
};
