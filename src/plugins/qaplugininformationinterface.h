#pragma once

#include "qunknowninterface.h"

#include <QDateTime>
#include <QPixmap>
#include <QString>

/// What a plug-in says of itself, for the lists that show the plug-ins found.
class SDK_EXPORT QAPluginInformationInterface : public QUnknownInterface
{
public:
    virtual QString pluginName() const = 0;
    virtual QPixmap pluginIcon() const = 0;
    virtual QString pluginDescription() const = 0;
    virtual QString pluginCompanyName() const = 0;
    virtual QPixmap pluginCompanyIcon() const = 0;
    virtual QString pluginCompanyDescription() const = 0;
    virtual QString pluginCopyRight() const = 0;
    virtual QString pluginVersion() const = 0;
    virtual QDateTime pluginCreation() const = 0;
};
