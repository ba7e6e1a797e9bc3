#pragma once

#include "qacomponentplugin.h"

#include <QDateTime>
#include <QObject>
#include <QPixmap>
#include <QString>

class QUnknownInterface;
class QUuid;

/// What every kind of plug-in has: what it says of itself, the life of its
/// library, and further interfaces of its own. A plug-in derives from the
/// class of its kind (QAStTestNodePlugin, QAStViewerPlugin, ...), whose
/// component forwards every call to it; it overrides what it serves.
class SDK_EXPORT QAStPlugin : public QObject, public QAComponentPlugin
{
    Q_OBJECT
    Q_INTERFACES(QAComponentPlugin)
public:
    explicit QAStPlugin(QObject* parent = nullptr);
    ~QAStPlugin() override;

    // What the plug-in says of itself; the name is its class name by default.
    virtual QString pluginName() const;
    virtual QPixmap pluginIcon() const;
    virtual QString pluginDescription() const;
    virtual QString pluginCompanyName() const;
    virtual QPixmap pluginCompanyIcon() const;
    virtual QString pluginCompanyDescription() const;
    virtual QString pluginCopyRight() const;
    virtual QString pluginVersion() const;
    virtual QDateTime pluginCreation() const;

    // What a component of the studio's windows shows in the host's list;
    // by default what the plug-in says of itself.
    virtual QString componentName() const;
    virtual QString componentDescription() const;
    virtual QString componentAuthor() const;
    virtual QString componentVersion() const;

    // The life of the library.
    virtual bool initLibrary();
    virtual void cleanupLibrary();
    virtual bool canUnload() const;

    /// A further interface of the plug-in's own, such as the environment
    /// block interface, that the component hands out for \a id: with one
    /// reference more, or null. None by default.
    virtual QUnknownInterface* queryExtension(const QUuid& id);
};
