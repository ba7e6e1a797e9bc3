#pragma once

#include "qastfeatureplugin.h"

class QWidget;

/// The class a plug-in of activity features derives from. A task that the studio offers on its start page, for each
/// of its features; it overrides start() and the texts of the menus.
class SDK_EXPORT QAStActivityPlugin : public QAStFeaturePlugin
{
    Q_OBJECT
public:
    using QAStFeaturePlugin::QAStFeaturePlugin;

    QUnknownInterface* component() override;

    /// \a studio is the host's QUnknownInterface. Nothing is done by default.
    virtual bool start(const QString& feature, QUnknownInterface* studio, QWidget* parent);
};
