#pragma once

#include "sdk_export.h"

#include <QtPlugin>

class QUnknownInterface;

/// How a plug-in's library hands its component to the registry: the library's
/// root object, found by Qt's plug-in loader, makes the component on demand.
/// A plug-in never implements this itself: it derives from one of the
/// library's plug-in classes (QAStTestNodePlugin, ...) and names
/// QAComponentPlugin_iid in its Q_PLUGIN_METADATA.
class SDK_EXPORT QAComponentPlugin
{
public:
    virtual ~QAComponentPlugin();
    /// A new reference to the component; the caller releases it.
    virtual QUnknownInterface* component() = 0;
};

/// Plug-ins built against another form of these interfaces name another
/// identifier, and the registry refuses them without loading their code.
#define QAComponentPlugin_iid "org.velmont.sdk.ComponentPlugin/1.0"
Q_DECLARE_INTERFACE(QAComponentPlugin, QAComponentPlugin_iid)
