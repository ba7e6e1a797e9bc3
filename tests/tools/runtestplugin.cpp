// A test node kind for the command-line host's tests: "run_test", a test
// node whose build and execution steps are both its node's script, as the
// project file names it.

#include "qastnodetest.h"
#include "qasttestnodeplugin.h"

#include <QDomElement>
#include <QTextStream>

class RunTestNode : public QAStNodeTest
{
    Q_OBJECT
public:
    RunTestNode(const QString& name, QAStData* parent, QAStData* after) : QAStNodeTest(name, QPixmap(), parent, after)
    {
    }
    RunTestNode(const QDomElement& element, int version, QAStData* parent, QAStData* after)
        : QAStNodeTest(element.firstChildElement(QStringLiteral("test")), version, parent, after)
    {
    }
    void write(QTextStream& stream, int indent) override
    {
        indentXML(stream, indent);
        stream << "<run_test>\n";
        QAStNodeTest::write(stream, indent + 1);
        indentXML(stream, indent);
        stream << "</run_test>\n";
    }
};

class RunTestPlugin : public QAStTestNodePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QAComponentPlugin_iid)
public:
    QStringList nodeFeatures() const override { return {"run_test"}; }
    QString pluginName() const override { return QStringLiteral("Run test"); }
    QString name(const QString&) const override { return QStringLiteral("Run test"); }
    QAStData* nodeTest(const QString&, const QString& name, QAStData* parent, QAStData* after) override
    {
        return new RunTestNode(name, parent, after);
    }
    QAStData* nodeTest(const QString&, const QDomElement& element, int version, QAStData* parent,
                       QAStData* after) override
    {
        return new RunTestNode(element, version, parent, after);
    }
};

#include "runtestplugin.moc"
