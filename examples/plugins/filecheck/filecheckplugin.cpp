#include "filecheckplugin.h"

#include "filechecknode.h"
#include "todotag.h"

#include <qainterfaceids.h>
#include <qapropertymapgroup.h>
#include <qapropertymapint.h>
#include <qastpropertymappathitem.h>
#include <qapropertymapyesno.h>
#include <qapropertyserializer.h>
#include <qastconfiguration.h>
#include <qastnode.h>
#include <qastperlgen.h>

#include <QTextStream>

namespace {

const QString nodeFeature = QStringLiteral("file_check");
const QString tagFeature = QStringLiteral("todo");
const QString blockFeature = QStringLiteral("file_check_options");

} // namespace

// The block's settings join the studio's own: stored per node and per
// configuration, inherited from the parent nodes, shown in the settings
// dialog, and written to the environment file under their Perl names. The
// keys begin with the block's name, so that they meet no key of the library
// or of another plug-in.
FileCheckPlugin::FileCheckPlugin() : settings(new QAPropertyMapGroup(blockFeature))
{
    settings->setName(tr("File Check"));

    auto* base = new QAStPropertyMapPathItem(QStringLiteral("fileCheckBaseDir"));
    base->setName(tr("Base Directory"));
    base->setWhatThis(tr("The directory against which the relative paths of a file check are read; "
                         "empty for the project's directory."));
    base->setPerlVarName(QStringLiteral("FILECHECK_BASE_DIR"));
    base->setMode(2); // a directory
    settings->addChild(base);

    auto* size = new QAPropertyMapInt(QStringLiteral("fileCheckMinSize"));
    size->setName(tr("Smallest Size"));
    size->setWhatThis(tr("A file with fewer bytes than this fails the check."));
    size->setPerlVarName(QStringLiteral("FILECHECK_MIN_SIZE"));
    size->setSuffix(tr(" bytes"));
    settings->addChild(size);

    auto* warnOnly = new QAPropertyMapYesNo(QStringLiteral("fileCheckWarnOnly"));
    warnOnly->setName(tr("Warn Only"));
    warnOnly->setWhatThis(tr("Problems are reported, and the check still succeeds."));
    warnOnly->setPerlVarName(QStringLiteral("FILECHECK_WARN_ONLY"));
    settings->addChild(warnOnly);
}

// The library gives the group back before it deletes its own tree.
FileCheckPlugin::~FileCheckPlugin()
{
    delete settings;
}

QStringList FileCheckPlugin::nodeFeatures() const
{
    return {nodeFeature};
}

QStringList FileCheckPlugin::tagFeatures() const
{
    return {tagFeature};
}

QStringList FileCheckPlugin::configurationFeatures() const
{
    return {blockFeature};
}

QString FileCheckPlugin::name(const QString&) const
{
    return tr("File Check");
}

QAStData* FileCheckPlugin::nodeTest(const QString&, const QString& name, QAStData* parent, QAStData* after)
{
    return new FileCheckNode(name, parent, after);
}

QAStData* FileCheckPlugin::nodeTest(const QString&, const QDomElement& element, int version, QAStData* parent,
                                    QAStData* after)
{
    return new FileCheckNode(element, version, parent, after);
}

// A check stands among the nodes of a group or of the project.
bool FileCheckPlugin::toAddChild(const QString&, QAStData* parent, QAStData*)
{
    return parent && parent->inherits("QAStNodeContainer");
}

bool FileCheckPlugin::toAddNext(const QString&, QAStData* parent, QAStData*)
{
    return parent && parent->inherits("QAStNodeContainer");
}

QAStData* FileCheckPlugin::nodeTag(const QString&, QMap<QString, QVariant>& values, int, QAStData* parent,
                                   QAStData* after)
{
    return new TodoTag(values, parent, after);
}

QAStData* FileCheckPlugin::nodeTag(const QString&, const QDomElement& element, int version, QAStData* parent,
                                   QAStData* after)
{
    return new TodoTag(element, version, parent, after);
}

QAPropertyGroup* FileCheckPlugin::propertyDescriptor(const QString&)
{
    return settings;
}

// The defaults, given to the initial configuration of each configuration
// name; every node inherits them until it says otherwise.
void FileCheckPlugin::init(const QString&, QAStConfiguration* configuration)
{
    configuration->setProperty(QStringLiteral("fileCheckBaseDir"), QString());
    configuration->setProperty(QStringLiteral("fileCheckMinSize"), 0);
    configuration->setProperty(QStringLiteral("fileCheckWarnOnly"), false);
}

// The library writes the block's values inside an element of the block's
// name; they are read back from that element here.
void FileCheckPlugin::init(const QString&, QAStConfiguration* configuration, const QDomElement& element, int)
{
    QAPropertySerializer::read(configuration, settings, element);
}

QString FileCheckPlugin::pluginDescription() const
{
    return tr("A test node that checks that files exist, a tag for the notes left in sources, "
              "and the settings of the check.");
}

QString FileCheckPlugin::pluginVersion() const
{
    return QStringLiteral("1.0");
}

QUnknownInterface* FileCheckPlugin::queryExtension(const QUuid& id)
{
    QUnknownInterface* face = nullptr;
    queryInterface(id, &face);
    return face;
}

QRESULT FileCheckPlugin::queryInterface(const QUuid& id, QUnknownInterface** iface)
{
    *iface = nullptr;
    if (id != IID_EnvironmentBlock)
        return QE_NOINTERFACE;
    *iface = static_cast<EnvironmentBlockInterface*>(this);
    addRef();
    return QS_OK;
}

ulong FileCheckPlugin::addRef()
{
    return 1;
}

ulong FileCheckPlugin::release()
{
    return 1;
}

// The settings themselves are written with the others; the block adds what
// it computes from them: the directory the check reads relative paths
// against, made absolute for the node at hand.
void FileCheckPlugin::generateEnv(const QString&, QAStData* data, QTextStream& stream)
{
    QAStNode* node = QAStNode::toNode(data);
    QAStConfiguration* configuration = node ? node->currentConfiguration() : nullptr;
    if (!configuration)
        return;
    const QString base = configuration->property(QStringLiteral("fileCheckBaseDir")).toString();
    stream << "$FILECHECK_ROOT='" << QAStPerlGen::safePath(node->determineAbsolutePathFile(base), node)
           << "';\n";
}
