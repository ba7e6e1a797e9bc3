#pragma once

#include "qunknowninterface.h"

#include <QStringList>

class QAPropertyGroup;
class QAStConfiguration;
class QAStTargetPackage;
class QDomElement;

/// A block of settings that a plug-in adds to every configuration, for each
/// of its features (without the prefix "conf:"). The block's description
/// joins the settings' description tree, so its values are stored, inherited
/// and shown like the library's own; the operations below tell the plug-in
/// when a configuration takes its defaults, adopts or drops a port, or reads
/// the block's element of a project file.
class SDK_EXPORT ConfigurationBlockInterface : public QUnknownInterface
{
public:
    /// The features served, without their prefix.
    virtual QStringList configurationList() const = 0;
    /// The description of the block's settings. The plug-in owns the group
    /// and its properties.
    virtual QAPropertyGroup* propertyDescriptor(const QString& feature) = 0;
    /// An initial configuration takes its built-in defaults.
    virtual void init(const QString& feature, QAStConfiguration* configuration) = 0;
    /// \a configuration adopts \a port.
    virtual void init(const QString& feature, QAStConfiguration* configuration,
                      const QAStTargetPackage& port) = 0;
    /// \a configuration drops \a port.
    virtual void reset(const QString& feature, QAStConfiguration* configuration,
                       const QAStTargetPackage& port) = 0;
    /// \a configuration reads the block's element \a element of a project file.
    virtual void init(const QString& feature, QAStConfiguration* configuration, const QDomElement& element,
                      int version) = 0;
};
