#pragma once

#include <environmentblockinterface.h>
#include <qasttestnodeplugin.h>

class QAPropertyMapGroup;

/// The sample plug-in: one test node kind ("file_check"), one tag kind
/// ("todo") and one block of settings ("file_check_options") with the lines
/// it adds to every environment file.
///
/// The library asks a plug-in for what it serves through the class it
/// derives from; the environment lines of a block come through an interface
/// of the plug-in's own, handed out by queryExtension(). This object is that
/// interface: it lives as long as its library, which stays loaded until the
/// program ends, so its reference count guards nothing.
class FileCheckPlugin : public QAStTestNodePlugin, public EnvironmentBlockInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QAComponentPlugin_iid)
    Q_INTERFACES(QAComponentPlugin)
public:
    FileCheckPlugin();
    ~FileCheckPlugin() override;

    QStringList nodeFeatures() const override;
    QStringList tagFeatures() const override;
    QStringList configurationFeatures() const override;

    // The node kind.
    QString name(const QString& feature) const override;
    QAStData* nodeTest(const QString& feature, const QString& name, QAStData* parent, QAStData* after) override;
    QAStData* nodeTest(const QString& feature, const QDomElement& element, int version, QAStData* parent,
                       QAStData* after) override;
    bool toAddChild(const QString& feature, QAStData* parent, QAStData* after) override;
    bool toAddNext(const QString& feature, QAStData* parent, QAStData* after) override;

    // The tag kind.
    QAStData* nodeTag(const QString& feature, QMap<QString, QVariant>& values, int version, QAStData* parent,
                      QAStData* after) override;
    QAStData* nodeTag(const QString& feature, const QDomElement& element, int version, QAStData* parent,
                      QAStData* after) override;

    // The block of settings.
    using QAStTestNodePlugin::init;
    QAPropertyGroup* propertyDescriptor(const QString& feature) override;
    void init(const QString& feature, QAStConfiguration* configuration) override;
    void init(const QString& feature, QAStConfiguration* configuration, const QDomElement& element,
              int version) override;

    QString pluginDescription() const override;
    QString pluginVersion() const override;

    QUnknownInterface* queryExtension(const QUuid& id) override;

    // The block's environment lines.
    QRESULT queryInterface(const QUuid& id, QUnknownInterface** iface) override;
    ulong addRef() override;
    ulong release() override;
    void generateEnv(const QString& feature, QAStData* data, QTextStream& stream) override;

private:
    QAPropertyMapGroup* settings;
};
