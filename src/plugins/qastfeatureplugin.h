#pragma once

#include "qastplugin.h"

#include <QStringList>

/// The part that activity, import and export plug-ins share: several
/// features, each with a title, a logo and a description for the menus.
class SDK_EXPORT QAStFeaturePlugin : public QAStPlugin
{
    Q_OBJECT
public:
    using QAStPlugin::QAStPlugin;

    virtual QStringList features() const;
    /// The feature's own name by default.
    virtual QString title(const QString& feature) const;
    virtual QPixmap logo(const QString& feature) const;
    virtual QString description(const QString& feature) const;
};
