// A plug-in of every kind the tree takes: the test node kinds "probe" and
// "dual", the tag kind "marker", and the configuration blocks "probeconf"
// and "dual", with environment lines for both. It counts the registry's
// calls in properties of its root object.

#include "environmentblockinterface.h"
#include "qainterfaceids.h"
#include "qastfolder.h"
#include "qastnodegroup.h"
#include "qasttestnodeplugin.h"

#include <QDomElement>
#include <QTextStream>

class ProbeNode : public QAStNodeGroup
{
    Q_OBJECT
public:
    ProbeNode(const QString& name, QAStData* parent, QAStData* after) : QAStNodeGroup(name, parent, after) {}
    ProbeNode(const QDomElement& element, int version, QAStData* parent, QAStData* after)
        : QAStNodeGroup(element.firstChildElement(QStringLiteral("group")), version, parent, after)
    {
    }
    void write(QTextStream& stream, int indent) override
    {
        indentXML(stream, indent);
        stream << "<probe>\n";
        QAStNodeGroup::write(stream, indent + 1);
        indentXML(stream, indent);
        stream << "</probe>\n";
    }
};

class MarkerTag : public QAStFolder
{
    Q_OBJECT
public:
    using QAStFolder::QAStFolder;
};

class ProbeEnvironment : public EnvironmentBlockInterface
{
public:
    QRESULT queryInterface(const QUuid& id, QUnknownInterface** iface) override
    {
        *iface = id == IID_QUnknown || id == IID_EnvironmentBlock ? this : nullptr;
        return *iface ? QS_OK : QE_NOINTERFACE;
    }
    // It lives as long as the plug-in.
    ulong addRef() override { return 1; }
    ulong release() override { return 1; }
    void generateEnv(const QString& feature, QAStData* data, QTextStream& stream) override
    {
        stream << "$PROBE_" << feature.toUpper() << "='" << data->name() << "';\n";
    }
};

class ProbePlugin : public QAStTestNodePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QAComponentPlugin_iid)
public:
    QStringList nodeFeatures() const override { return {"probe", "dual"}; }
    QStringList tagFeatures() const override { return {"marker"}; }
    QStringList configurationFeatures() const override { return {"probeconf", "dual"}; }
    QString pluginName() const override { return QStringLiteral("Probe"); }

    void initialize() override { count("initialized"); }
    bool initLibrary() override
    {
        count("started");
        return true;
    }
    QString name(const QString& feature) const override { return feature == QLatin1String("dual") ? "Dual" : "Probe"; }
    QAStData* nodeTest(const QString&, const QString& name, QAStData* parent, QAStData* after) override
    {
        return new ProbeNode(name, parent, after);
    }
    QAStData* nodeTest(const QString&, const QDomElement& element, int version, QAStData* parent,
                       QAStData* after) override
    {
        return new ProbeNode(element, version, parent, after);
    }
    // A probe holds no probe, and "dual" is only ever appended.
    bool toAddChild(const QString& feature, QAStData* parent, QAStData*) override
    {
        return feature != QLatin1String("dual") && !(parent && parent->inherits("ProbeNode"));
    }
    bool toAddNext(const QString&, QAStData* parent, QAStData*) override
    {
        return !(parent && parent->inherits("ProbeNode"));
    }
    QAStData* nodeTag(const QString&, QMap<QString, QVariant>& values, int, QAStData* parent,
                      QAStData* after) override
    {
        return new MarkerTag(values.value(QStringLiteral("name")).toString(), parent, after);
    }
    QAStData* nodeTag(const QString&, const QDomElement& element, int, QAStData* parent, QAStData* after) override
    {
        return new MarkerTag(element.firstChildElement(QStringLiteral("name")).text(), parent, after);
    }
    QUnknownInterface* queryExtension(const QUuid& id) override
    {
        return id == IID_EnvironmentBlock ? &environment : nullptr;
    }

private:
    void count(const char* call) { setProperty(call, property(call).toInt() + 1); }

    ProbeEnvironment environment;
};

#include "probeplugin.moc"
