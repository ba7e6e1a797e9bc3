#pragma once

#include "qastplugin.h"

#include <QMap>
#include <QStringList>
#include <QVariant>

class QAPropertyGroup;
class QAStConfiguration;
class QAStData;
class QAStTargetPackage;
class QDomElement;

/// The class a plug-in of test node kinds, tag kinds and configuration blocks
/// derives from. It overrides what it serves and leaves the rest: the lists
/// of features say which of the operations are ever called. Its component
/// (the registry's view of it) forwards every call here.
///
/// A minimal plug-in:
/// \code
/// class MyPlugin : public QAStTestNodePlugin {
///     Q_OBJECT
///     Q_PLUGIN_METADATA(IID QAComponentPlugin_iid)
///     Q_INTERFACES(QAComponentPlugin)
/// public:
///     QStringList nodeFeatures() const override { return {"my_test"}; }
///     QAStData* nodeTest(const QString&, const QString& name, QAStData* parent, QAStData* after) override;
///     ...
/// };
/// \endcode
class SDK_EXPORT QAStTestNodePlugin : public QAStPlugin
{
    Q_OBJECT
public:
    using QAStPlugin::QAStPlugin;

    QUnknownInterface* component() override;

    // The features, without their prefixes.
    virtual QStringList nodeFeatures() const;
    virtual QStringList tagFeatures() const;
    virtual QStringList configurationFeatures() const;

    // Test node kinds.
    virtual void initialize();
    virtual QString name(const QString& feature) const;
    virtual QPixmap pixmap(const QString& feature) const;
    virtual QAStData* nodeTest(const QString& feature, const QString& name, QAStData* parent, QAStData* after);
    virtual QAStData* nodeTest(const QString& feature, const QDomElement& element, int version,
                               QAStData* parent, QAStData* after);
    virtual bool toAddChild(const QString& feature, QAStData* parent, QAStData* after);
    virtual bool toAddNext(const QString& feature, QAStData* parent, QAStData* after);

    // Tag kinds.
    virtual QAStData* nodeTag(const QString& feature, QMap<QString, QVariant>& values, int version,
                              QAStData* parent, QAStData* after);
    virtual QAStData* nodeTag(const QString& feature, const QDomElement& element, int version,
                              QAStData* parent, QAStData* after);

    // Configuration blocks.
    virtual QAPropertyGroup* propertyDescriptor(const QString& feature);
    virtual void init(const QString& feature, QAStConfiguration* configuration);
    virtual void init(const QString& feature, QAStConfiguration* configuration, const QAStTargetPackage& port);
    virtual void reset(const QString& feature, QAStConfiguration* configuration, const QAStTargetPackage& port);
    virtual void init(const QString& feature, QAStConfiguration* configuration, const QDomElement& element,
                      int version);
};
