#pragma once

#include "qastfeatureplugin.h"

class QWidget;

/// The class a plug-in of export features derives from. A writer of the open project in a foreign form, for each
/// of its features; it overrides doExport() and the texts of the menus.
class SDK_EXPORT QAStExportPlugin : public QAStFeaturePlugin
{
    Q_OBJECT
public:
    using QAStFeaturePlugin::QAStFeaturePlugin;

    QUnknownInterface* component() override;

    /// \a studio is the host's QUnknownInterface. Nothing is done by default.
    virtual bool doExport(const QString& feature, QUnknownInterface* studio, QWidget* parent);
};
