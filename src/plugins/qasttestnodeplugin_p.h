#pragma once

#include "configurationblockinterface.h"
#include "nodetaginterface.h"
#include "nodetestinterface.h"
#include "qaplugininformationinterface.h"
#include "qlibraryinterface.h"

#include <QAtomicInt>
#include <QPointer>

class QAStTestNodePlugin;

/// The component of a QAStTestNodePlugin: each face forwards to the plug-in's
/// object. It counts its references and goes with the last release; a call
/// after the plug-in's object is gone answers as if nothing were served.
class QAStTestNodePluginPrivate : public NodeTestInterface,
                                  public NodeTagInterface,
                                  public ConfigurationBlockInterface,
                                  public QAPluginInformationInterface,
                                  public QLibraryInterface
{
public:
    explicit QAStTestNodePluginPrivate(QAStTestNodePlugin* plugin);

    QRESULT queryInterface(const QUuid& id, QUnknownInterface** iface) override;
    ulong addRef() override;
    ulong release() override;

    QStringList featureList() const override;

    void initialize() override;
    QString name(const QString& feature) const override;
    QPixmap pixmap(const QString& feature) const override;
    QAStData* nodeTest(const QString& feature, const QString& name, QAStData* parent, QAStData* after) override;
    QAStData* nodeTest(const QString& feature, const QDomElement& element, int version, QAStData* parent,
                       QAStData* after) override;
    bool toAddChild(const QString& feature, QAStData* parent, QAStData* after) override;
    bool toAddNext(const QString& feature, QAStData* parent, QAStData* after) override;

    QAStData* nodeTag(const QString& feature, QMap<QString, QVariant>& values, int version, QAStData* parent,
                      QAStData* after) override;
    QAStData* nodeTag(const QString& feature, const QDomElement& element, int version, QAStData* parent,
                      QAStData* after) override;

    QStringList configurationList() const override;
    QAPropertyGroup* propertyDescriptor(const QString& feature) override;
    void init(const QString& feature, QAStConfiguration* configuration) override;
    void init(const QString& feature, QAStConfiguration* configuration, const QAStTargetPackage& port) override;
    void reset(const QString& feature, QAStConfiguration* configuration, const QAStTargetPackage& port) override;
    void init(const QString& feature, QAStConfiguration* configuration, const QDomElement& element,
              int version) override;

    QString pluginName() const override;
    QPixmap pluginIcon() const override;
    QString pluginDescription() const override;
    QString pluginCompanyName() const override;
    QPixmap pluginCompanyIcon() const override;
    QString pluginCompanyDescription() const override;
    QString pluginCopyRight() const override;
    QString pluginVersion() const override;
    QDateTime pluginCreation() const override;

    bool init() override;
    void cleanup() override;
    bool canUnload() const override;

private:
    ~QAStTestNodePluginPrivate() override;

    QPointer<QAStTestNodePlugin> plugin;
    QAtomicInt references {1};
};
