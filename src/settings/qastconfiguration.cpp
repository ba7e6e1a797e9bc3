#include "qastconfiguration.h"

#include "configurationblockinterface.h"
#include "qafileutil.h"
#include "qailogmonitor.h"
#include "qaproperty.h"
#include "qapropertymapgroup.h"
#include "qapropertyserializer.h"
#include "qares.h"
#include "qaresgroup.h"
#include "qaresstring.h"
#include "qainterfaceids.h"
#include "qastdata.h"
#include "qastnode.h"
#include "qastnodeplugincenter.h"
#include "qastsettingsloader.h"
#include "qasttargetpackage.h"
#include "qasttargetpackagelist.h"
#include "qatrace.h"
#include "qaxml.h"
#include "studiointerface.h"

#include <QDir>
#include <QDomElement>
#include <QSet>
#include <QSysInfo>
#include <QTextStream>

QAPropertyMapGroup* QAStConfiguration::_descriptor = nullptr;
QList<QAProperty*>* QAStConfiguration::_perlVariables = nullptr;
StudioInterface* QAStConfiguration::_studio = nullptr;

namespace {

const QString nameKey = QStringLiteral("name");
const QString extensionListTag = QStringLiteral("extension_block_list");

struct PluginGroup {
    QString feature;
    QAPropertyMapGroup* group;
};

// The groups that plug-ins added to the descriptor made last, in the order of
// their features.
QList<PluginGroup>& pluginGroups()
{
    static QList<PluginGroup> groups;
    return groups;
}

// Calls \a call with each plug-in's block of settings, in the order of the
// feature list.
template <typename Call>
void forEachBlock(Call call)
{
    QAStNodePluginCenter* center = QAStNodePluginCenter::nodePluginCenter();
    for (const QString& feature : center->featureList(IID_ConfigurationBlock)) {
        QUnknownInterface* face = nullptr;
        center->queryComponentInterface(feature, IID_ConfigurationBlock, &face);
        if (!face)
            continue;
        call(feature, static_cast<ConfigurationBlockInterface*>(face));
        face->release();
    }
}

// While it lives, the plug-ins' groups stand outside the descriptor, so that
// the library's own settings are read and written without theirs.
class PluginGroupsAside
{
public:
    explicit PluginGroupsAside(QAPropertyGroup* descriptor) : descriptor(descriptor)
    {
        for (const PluginGroup& each : pluginGroups()) {
            if (each.group->parent() == descriptor) {
                descriptor->removeChild(each.group);
                aside << each.group;
            }
        }
    }
    // Plug-ins' groups are the last children, so appending puts them back
    // in their places.
    ~PluginGroupsAside()
    {
        for (QAPropertyGroup* group : std::as_const(aside))
            descriptor->addChild(group);
    }
    Q_DISABLE_COPY(PluginGroupsAside)

private:
    QAPropertyGroup* descriptor;
    QList<QAPropertyGroup*> aside;
};

// Defaults that depend on the machine, the host or the configuration's name.
enum Computed { None, HostName, Loopback, CsvSeparator, CsvDecimal, CsvThousand, FileName };

struct Default {
    const char* key;
    Computed computed;
    QVariant value;
};

// Every setting a configuration knows, in the order a new one receives them.
// The definition file may override these; keys it does not name keep them.
const QList<Default>& defaults()
{
    static const QList<Default> table {
        {"executionFlag", None, QVariant(63)},
        {"computerName", HostName, QVariant()},
        {"computerAddress", Loopback, QVariant()},
        {"computerPort", None, QVariant(10000)},
        {"uploaderPort", None, QVariant(7777)},
        {"targetName", None, QVariant(QStringLiteral(""))},
        {"targetPath", None, QVariant(QStringLiteral(""))},
        {"targetFullPath", None, QVariant(QStringLiteral(""))},
        {"iniFileName", None, QVariant(QStringLiteral("tp.ini"))},
        {"sourceExt", None, QVariant(QStringLiteral(""))},
        {"objectExt", None, QVariant(QStringLiteral(""))},
        {"libraryStaticExt", None, QVariant(QStringLiteral(""))},
        {"libraryDynamicExt", None, QVariant(QStringLiteral(""))},
        {"binaryExt", None, QVariant(QStringLiteral(""))},
        {"ansiMode", None, QVariant(true)},
        {"version", None, QVariant(QStringLiteral(""))},
        {"target", None, QVariant(QStringLiteral(""))},
        {"exception", None, QVariant(true)},
        {"definitionFile", None, QVariant(QStringLiteral(""))},
        {"csvSeparator", CsvSeparator, QVariant()},
        {"csvDecimalSeparator", CsvDecimal, QVariant()},
        {"csvThousandSeparator", CsvThousand, QVariant()},
        {"intdir", FileName, QVariant()},
        {"outdir", FileName, QVariant()},
        {"ge_incdir", None, QVariant(QStringList())},
        {"ge_alk_file_name", None, QVariant(QStringLiteral(""))},
        {"testProgram", None, QVariant(QStringLiteral("<default>"))},
        {"arguments", None, QVariant(QStringLiteral(""))},
        {"virtualMachineArguments", None, QVariant(QStringLiteral(""))},
        {"envVariables", None, QVariant(QVariantMap())},
        {"javaMainClass", None, QVariant(QStringLiteral(""))},
        {"ge_host_workdir", None, QVariant(QStringLiteral("tmp"))},
        {"ge_libdir", None, QVariant(QStringList())},
        {"javaBuildJarFile", None, QVariant(false)},
        {"javaJarFileName", None, QVariant(QStringLiteral("<default>"))},
        {"javaManifest", None, QVariant(QStringLiteral(""))},
        {"javaJarOtherDir", None, QVariant(QStringList())},
        {"linkWithTDP", None, QVariant(false)},
        {"runtimeFormat", None, QVariant(QStringLiteral("OBJ"))},
        {"generationFormat", None, QVariant(QStringLiteral("LIB"))},
        {"sourceDirectories", None, QVariant(QStringList())},
        {"structDefinition", None, QVariant(true)},
        {"cppFlags", None, QVariant(QStringLiteral(""))},
        {"cflags", None, QVariant(QStringLiteral(""))},
        {"tcflags", None, QVariant(QStringLiteral(""))},
        {"ldflags", None, QVariant(QStringLiteral(""))},
        {"additionnalObjects", None, QVariant(QString())},
        {"debug", None, QVariant(false)},
        {"multiThreaded", None, QVariant(false)},
        {"bufferSize", None, QVariant(1024)},
        {"maxThreads", None, QVariant(64)},
        {"ztc_rungcatexit", None, QVariant(true)},
        {"mainProc", None, QVariant(QStringLiteral(""))},
        {"clockKind", None, QVariant(0)},
        {"javaBootClasspath", None, QVariant(QStringList())},
        {"javaClasspath", None, QVariant(QStringList())},
        {"nuerror", None, QVariant(30)},
        {"nodline", None, QVariant(true)},
        {"sourceLanguage", None, QVariant(QStringLiteral("CPP"))},
        {"sourceFile", None, QVariant(QStringLiteral("<default>"))},
        {"otiFile", None, QVariant(QStringLiteral("<default>"))},
        {"xrdFile", None, QVariant(QStringLiteral("<default>"))},
        {"ztobreakonerror", None, QVariant(false)},
        {"ztonopassdump", None, QVariant(false)},
        {"ztomaxinstances", None, QVariant(64)},
        {"printbuffer", None, QVariant(false)},
        {"printbuffersize", None, QVariant(1024)},
        {"ztkbreakonerror", None, QVariant(false)},
        {"ztknopassdump", None, QVariant(false)},
        {"ztkreflexivestate", None, QVariant(true)},
        {"ztkconstmethods", None, QVariant(false)},
        {"ztkreentrant", None, QVariant(true)},
        {"ztkstrictcheck", None, QVariant(false)},
        {"st_interface_files", None, QVariant(QStringList())},
        {"st_allocation", None, QVariant(QStringLiteral(""))},
        {"st_notShared", None, QVariant(false)},
        {"st_thread", None, QVariant(false)},
        {"st_thread_function", None, QVariant(QStringLiteral(""))},
        {"st_trace_circular", None, QVariant(false)},
        {"st_trace", None, QVariant(QStringLiteral(""))},
        {"st_bufsize", None, QVariant(10)},
        {"st_values", None, QVariant(QStringLiteral(""))},
        {"st_repform", None, QVariant(QStringLiteral(""))},
        {"st_time", None, QVariant(false)},
        {"st_dynfol", None, QVariant(false)},
        {"st_item_buf", None, QVariant(false)},
        {"st_item_buf_size", None, QVariant(8192)},
        {" st_dtrack", None, QVariant(false)},
        {"st_dtrack_buf_size", None, QVariant(4096)},
        {"st_interrecv_timeout", None, QVariant(300)},
        {"st_custom", None, QVariant(false)},
        {"st_custom_type", None, QVariant(0)},
        {"st_addOptions", None, QVariant(QStringLiteral(""))},
        {"st_replay_cmdline_args", None, QVariant(QStringLiteral(""))},
        {"fdc_name_opt", None, QVariant(0)},
        {"fdc_value", None, QVariant(QStringLiteral(""))},
        {"tsf_name_opt", None, QVariant(0)},
        {"tsf_value", None, QVariant(QStringLiteral(""))},
        {"tsf_selective_file", None, QVariant(QStringList())},
        {"tsf_selective_class", None, QVariant(QStringList())},
        {"exclude_dir", None, QVariant(QStringList())},
        {"dump_incoming_list", None, QVariant(QStringList())},
        {"dump_returning_list", None, QVariant(QStringList())},
        {"dump_calling_list", None, QVariant(QStringList())},
        {"no_header_instr", None, QVariant(true)},
        {"instantiate_template", None, QVariant(false)},
        {"misc_options", None, QVariant(QStringLiteral(""))},
        {"ztc_instr_functions", None, QVariant(1)},
        {"ztc_instr_calls", None, QVariant(1)},
        {"ztc_instr_blocks", None, QVariant(2)},
        {"ztc_instr_conditions", None, QVariant(3)},
        {"ztc_tio_name", None, QVariant(QStringLiteral("<default>"))},
        {"ztc_selective_no_ternary", None, QVariant(true)},
        {"ztc_selective_no_inline", None, QVariant(true)},
        {"ztc_selective_no_included", None, QVariant(true)},
        {"ztc_selective_functions_list", None, QVariant(QStringList())},
        {"ztc_selective_spec", None, QVariant(false)},
        {"ztc_information", None, QVariant(0)},
        {"ztc_instr_ctrl_prefixe", None, QVariant(QStringLiteral(""))},
        {"ztc_instr_ctrl_suffixe", None, QVariant(0)},
        {"ztc_no_metrics", None, QVariant(false)},
        {"ztc_user_comment", None, QVariant(QStringLiteral(""))},
        {"ztc_dump_driver", None, QVariant(false)},
        {"ztt_tdf_name", None, QVariant(QStringLiteral("<default>"))},
        {"ztt_calling_sequenced", None, QVariant(false)},
        {"ztt_aggregate_traces", None, QVariant(true)},
        {"ztt_template_notes", None, QVariant(true)},
        {"ztt_split", None, QVariant(true)},
        {"ztt_split_size", None, QVariant(5000)},
        {"ztt_split_prefixe", None, QVariant(QStringLiteral("<default>"))},
        {"ztt_loop", None, QVariant(false)},
        {"ztt_loop_options", None, QVariant(QStringLiteral(""))},
        {"ztt_record_max_stack", None, QVariant(true)},
        {"ztt_on_fly", None, QVariant(false)},
        {"ztt_item_buffer", None, QVariant(false)},
        {"ztt_item_buffer_size", None, QVariant(64)},
        {"ztt_partial_dump", None, QVariant(false)},
        {"ztt_signal_action", None, QVariant(0)},
        {"ztt_time_stamp", None, QVariant(true)},
        {"ztt_heap_size", None, QVariant(true)},
        {"ztt_thread_info", None, QVariant(true)},
        {"ztp_tpf_name", None, QVariant(QStringLiteral("<default>"))},
        {"ztp_instr_ctrl", None, QVariant(QStringList())},
        {"ztp_errors_fiu", None, QVariant(true)},
        {"ztp_errors_miu", None, QVariant(false)},
        {"ztp_errors_sig", None, QVariant(true)},
        {"ztp_fmwl", None, QVariant(true)},
        {"ztp_fmwl_queue_len", None, QVariant(100)},
        {"ztp_fmwl_queue_size", None, QVariant(1024)},
        {"ztp_abwl", None, QVariant(true)},
        {"ztp_abwl_zone_size", None, QVariant(16)},
        {"ztp_call_stack", None, QVariant(6)},
        {"javaObjectHashSize", None, QVariant(1)},
        {"javaClassHashSize", None, QVariant(1)},
        {"javaTrigger", None, QVariant(QStringLiteral("METHOD"))},
        {"javaHitKey", None, QVariant(false)},
        {"javaNextGC", None, QVariant(false)},
        {"javaStudioIPAdress", HostName, QVariant()},
        {"javaStudioPortNb", None, QVariant(QStringLiteral(""))},
        {"javaTpfFileName", None, QVariant(QStringLiteral("<default>"))},
        {"javaTsfFileName", None, QVariant(QStringLiteral("<default>"))},
        {"javaPackageAnalyze", None, QVariant(QStringList())},
        {"javaAnalyze", None, QVariant(QStringList())},
        {"javaAnalyzeAlloc", None, QVariant(QStringList())},
        {"javaFilterOption", None, QVariant(QStringLiteral("WITHOUT"))},
        {"ztg_tgf_name", None, QVariant(QStringLiteral("<default>"))},
        {"ztz_tzf_name", None, QVariant(QStringLiteral("<default>"))},
        {"ztq_tqf_name", None, QVariant(QStringLiteral("<default>"))},
        {"ztq_dump_driver", None, QVariant(false)},
        {"zentaClassName", None, QVariant(QStringLiteral(""))},
        {"intermediateFile", None, QVariant(QStringLiteral("<default>"))},
        {"simulation", None, QVariant(false)},
        {"preproerrorlevel", None, QVariant(true)},
        {"breakontest", None, QVariant(false)},
        {"preparationOptions", None, QVariant(QStringLiteral(""))},
        {"moreoptions", None, QVariant(false)},
        {"filter", None, QVariant(0)},
        {"strategy", None, QVariant(0)},
        {"reportOutlay", None, QVariant(0)},
        {"moreRoptions", None, QVariant(false)},
        {"reportoptions", None, QVariant(QStringLiteral(""))},
        {"noComparaison", None, QVariant(true)},
        {"instrumentedComparaison", None, QVariant(false)},
        {"secondContext", None, QVariant(false)},
        {"secondTarget", None, QVariant(false)},
        {"secondIntermediateFile", None, QVariant(false)},
        {"strictComparaison", None, QVariant(false)},
        {"comparaison", None, QVariant(false)},
        {"userCommandLine", None, QVariant(QStringLiteral(""))},
        {"javaStub", None, QVariant(true)},
        {"javaDisplay", None, QVariant(true)},
        {"j2meRestriction", None, QVariant(false)},
        {"metOneLevel", None, QVariant(false)},
        {"metRestrictDir", None, QVariant(QStringList())},
        {"misraconf", None, QVariant(QStringLiteral("<default>"))},
    };
    return table;
}

QVariant computedDefault(Computed computed, const QString& name)
{
    StudioInterface* studio = QAStData::studioIFace();
    switch (computed) {
    case HostName:
        return QSysInfo::machineHostName();
    case Loopback:
        return QStringLiteral("127.0.0.1");
    case CsvSeparator:
        return studio ? studio->csvSeparator() : StudioInterface().csvSeparator();
    case CsvDecimal:
        return studio ? studio->csvDecimalSeparator() : StudioInterface().csvDecimalSeparator();
    case CsvThousand:
        return studio ? studio->csvThousandSeparator() : StudioInterface().csvThousandSeparator();
    case FileName:
        return QAFileUtil::generateFilename(name);
    case None:
        break;
    }
    return QVariant();
}

// What adopting a port writes, besides the flags and its further defaults.
QList<QPair<const char*, QVariant>> portValues(const QAStTargetPackage& port)
{
    const QString ini = port.iniFile.isEmpty() ? QStringLiteral("tp.ini") : port.iniFile;
    return {
        {"targetName", port.name},
        {"targetPath", port.directory},
        {"targetFullPath", port.fullPath},
        {"iniFileName", ini},
        {"objectExt", port.objectExt},
        {"libraryStaticExt", port.libExt},
        {"libraryDynamicExt", port.dllExt},
        {"binaryExt", port.exeExt},
        {"sourceExt", port.srcExt},
        {"cppFlags", port.cppFlags},
        {"cflags", port.cFlags},
        {"tcflags", port.defines},
        {"ldflags", port.ldFlags},
        {"additionnalObjects", port.libs},
        {"sourceLanguage", port.language},
        {"intdir", port.directory},
        {"outdir", port.directory},
        {"ge_incdir", port.includePaths},
        {"ge_libdir", port.libraryPaths},
        {"javaBootClasspath", port.bootClassPath},
        {"j2meRestriction", port.j2meRestriction},
    };
}

// The kinds a port's further defaults can fill, from their text.
bool portDefaultKind(int type)
{
    return type == QAProperty::StringType || type == QAProperty::StringListType
        || type == QAProperty::IntType || type == QAProperty::BoolType;
}

QVariant portDefault(int type, const QString& text)
{
    switch (type) {
    case QAProperty::StringListType:
        return text.split(QLatin1Char(','));
    case QAProperty::IntType:
        return text.toInt();
    case QAProperty::BoolType: {
        const QString word = text.toLower();
        return word == QLatin1String("true") || word == QLatin1String("yes");
    }
    default:
        return text;
    }
}

void collectPerlVariables(QAProperty* property, QList<QAProperty*>& list)
{
    if (property->isGroup()) {
        for (QAProperty* child : static_cast<QAPropertyGroup*>(property)->children())
            collectPerlVariables(child, list);
    } else if (!property->perlVarName().isEmpty()) {
        list.append(property);
    }
}

} // namespace

QAStConfiguration::QAStConfiguration(const QString& name, QAStNode* node) : _node(node)
{
    setProperty(nameKey, name);
}

QAStConfiguration::~QAStConfiguration() = default;

QString QAStConfiguration::name() const
{
    return propertyMap().value(nameKey).toString();
}

void QAStConfiguration::setName(const QString& name)
{
    setProperty(nameKey, name);
}

QString QAStConfiguration::projectDirectory() const
{
    QAStData* project = _node ? _node->project() : nullptr;
    return project ? project->directory() : QString();
}

QAPropertyStore* QAStConfiguration::inheritOf() const
{
    return _node ? _node->inheritConfiguration(this) : nullptr;
}

QAPropertyMapGroup* QAStConfiguration::boundDescriptor()
{
    if (_descriptor)
        _descriptor->setPropertyStore(this);
    return _descriptor;
}

QAStTargetPackage* QAStConfiguration::targetPackage() const
{
    QAStTargetPackageList* installed = QAStTargetPackageList::installTargetPackages();
    return installed ? installed->targetPackage(property(QStringLiteral("targetPath")).toString())
                     : nullptr;
}

int QAStConfiguration::languageType() const
{
    const QString language = property(QStringLiteral("sourceLanguage")).toString().toUpper();
    if (language == QLatin1String("CPP"))
        return 2;
    if (language == QLatin1String("ADA") || language == QLatin1String("ADA83")
        || language == QLatin1String("ADA95"))
        return 4;
    if (language == QLatin1String("JAVA"))
        return 8;
    return 1;
}

const QList<QAProperty*>& QAStConfiguration::perlVariables()
{
    static const QList<QAProperty*> none;
    boundDescriptor();
    return _perlVariables ? *_perlVariables : none;
}

// ---------------------------------------------------------------------------
// Defaults and ports

void QAStConfiguration::init()
{
    const QString configurationName = name();
    for (const Default& entry : defaults()) {
        const QVariant value
            = entry.computed == None ? entry.value : computedDefault(entry.computed, configurationName);
        setProperty(QString::fromLatin1(entry.key), value);
    }
    if (QAPropertyMapGroup* descriptor = boundDescriptor())
        _initWithInitialPropertyValues(descriptor);
    forEachBlock([this](const QString& feature, ConfigurationBlockInterface* block) { block->init(feature, this); });
}

void QAStConfiguration::_initWithInitialPropertyValues(QAProperty* property)
{
    if (property->isGroup()) {
        for (QAProperty* child : static_cast<QAPropertyGroup*>(property)->children())
            _initWithInitialPropertyValues(child);
        return;
    }
    const QVariant initial = property->initialValue();
    if (initial.isNull())
        return;
    switch (property->type()) {
    case QAProperty::IntType:
    case QAProperty::UIntType:
        setProperty(property->key(), initial.toInt());
        break;
    case QAProperty::DoubleType:
        setProperty(property->key(), initial.toDouble());
        break;
    case QAProperty::StringType:
        setProperty(property->key(), initial.toString());
        break;
    case QAProperty::StringListType:
        setProperty(property->key(), initial.toStringList());
        break;
    case QAProperty::BoolType:
        setProperty(property->key(), initial.toBool());
        break;
    default:
        break;
    }
}

void QAStConfiguration::init(const QAStTargetPackage& port)
{
    setProperty(QStringLiteral("executionFlag"), int(port.flags | AllSteps));
    for (const auto& [key, value] : portValues(port))
        setProperty(QString::fromLatin1(key), value);
    if (QAPropertyMapGroup* descriptor = boundDescriptor())
        _initWithInitialValues(descriptor, port);
    forEachBlock([&](const QString& feature, ConfigurationBlockInterface* block) { block->init(feature, this, port); });
}

void QAStConfiguration::_initWithInitialValues(QAProperty* property, const QAStTargetPackage& port)
{
    if (property->isGroup()) {
        for (QAProperty* child : static_cast<QAPropertyGroup*>(property)->children())
            _initWithInitialValues(child, port);
        return;
    }
    const auto found = port.defaults.constFind(property->key());
    if (found == port.defaults.constEnd() || !portDefaultKind(property->type()))
        return;
    property->setValue(portDefault(property->type(), found.value()));
}

void QAStConfiguration::reset(const QAStTargetPackage& port)
{
    for (const auto& entry : portValues(port))
        unsetProperty(QString::fromLatin1(entry.first));
    if (QAPropertyMapGroup* descriptor = boundDescriptor())
        _resetWithInitialValues(descriptor, port);
    forEachBlock([&](const QString& feature, ConfigurationBlockInterface* block) { block->reset(feature, this, port); });
}

void QAStConfiguration::_resetWithInitialValues(QAProperty* property, const QAStTargetPackage& port)
{
    if (property->isGroup()) {
        for (QAProperty* child : static_cast<QAPropertyGroup*>(property)->children())
            _resetWithInitialValues(child, port);
        return;
    }
    if (port.defaults.contains(property->key()) && portDefaultKind(property->type()))
        property->reset();
}

// ---------------------------------------------------------------------------
// Project files

QString QAStConfiguration::nameOf(const QDomElement& element)
{
    const QDomElement data = element.firstChildElement(QStringLiteral("data"));
    const QDomElement holder = data.isNull() ? element : data;
    const QDomElement nameElement = holder.firstChildElement(nameKey);
    return nameElement.isNull() ? QString() : QAXML::toString(nameElement.text());
}

void QAStConfiguration::init(const QDomElement& element, int version)
{
    const QDomElement data = element.firstChildElement(QStringLiteral("data"));
    if (!(data.isNull() ? element : data).firstChildElement(nameKey).isNull())
        setName(nameOf(element));
    if (QAPropertyMapGroup* descriptor = boundDescriptor()) {
        const PluginGroupsAside aside(descriptor);
        QAPropertySerializer::read(this, descriptor, element);
    }
    applyPortFlags();
    readExtensionBlocks(element.firstChildElement(extensionListTag), version);
}

// A block goes to the plug-in that serves its feature; one that no installed
// plug-in serves is kept as it was read, so that a save here does not lose
// what a machine with the plug-in reads.
void QAStConfiguration::readExtensionBlocks(const QDomElement& list, int version)
{
    _extensionBlocks.clear();
    if (list.isNull())
        return;
    QAStNodePluginCenter* center = QAStNodePluginCenter::nodePluginCenter();
    const QStringList features = center->featureList(IID_ConfigurationBlock);
    for (QDomElement block = list.firstChildElement(); !block.isNull(); block = block.nextSiblingElement()) {
        const QString feature = block.tagName();
        QUnknownInterface* face = nullptr;
        if (features.contains(feature))
            center->queryComponentInterface(feature, IID_ConfigurationBlock, &face);
        if (!face) {
            _extensionBlocks.append({feature, QAStUnknownElement::Text(block)});
            continue;
        }
        static_cast<ConfigurationBlockInterface*>(face)->init(feature, this, block, version);
        face->release();
        _extensionBlocks.append({feature, QAStUnknownElement::Text()});
    }
}

// The project file says which port a configuration was made for, but what
// the port offers is the installation's business: its path and the analyses
// it refuses are taken from the port as installed now. A port that is not
// installed leaves everything as the file gives it.
void QAStConfiguration::applyPortFlags()
{
    if (!hasProperty(QStringLiteral("targetPath")))
        return;
    QAStTargetPackage* port = targetPackage();
    if (!port)
        return;
    setProperty(QStringLiteral("targetFullPath"), port->fullPath);
    if (port->flags == PortAnalyses)
        return;
    const unsigned int flag = property(QStringLiteral("executionFlag")).toUInt();
    const unsigned int allowed = (flag & ~unsigned(PortAnalyses)) | (flag & port->flags);
    setProperty(QStringLiteral("executionFlag"), int(allowed));
}

void QAStConfiguration::init(QARes* resources)
{
    QAResGroup* group = resources ? resources->toResGroup() : nullptr;
    if (!group || !group->child())
        return;
    if (QARes* item = group->child()->search("name"); item && item->toResString())
        setName(item->toResString()->value());
    if (QAPropertyMapGroup* descriptor = boundDescriptor())
        QAPropertySerializer::read(this, descriptor, resources);
}

void QAStConfiguration::init(const QAStConfiguration& other)
{
    QAPropertyStore::operator=(other);
    _extensionBlocks = other._extensionBlocks;
}

QAStConfiguration& QAStConfiguration::operator=(const QAStConfiguration& other)
{
    init(other);
    return *this;
}

void QAStConfiguration::write(QTextStream& stream, int indent)
{
    QAStData::indentXML(stream, indent);
    stream << "<configuration>\n";
    QAStData::toStream(stream, "name", QAXML::fromString(name()), indent + 1);
    if (QAPropertyMapGroup* descriptor = boundDescriptor()) {
        const PluginGroupsAside aside(descriptor);
        QAPropertySerializer::write(this, descriptor, stream, indent + 1);
    }
    writeExtensionBlocks(stream, indent + 1);
    QAStData::indentXML(stream, indent);
    stream << "</configuration>\n";
}

// The settings of a plug-in's block are written in an element named after
// its feature, inside `extension_block_list`, and only there; the plug-in
// reads them back from that element when the configuration is read. Blocks
// stand in the order they were read, those read nowhere yet in the order of
// the features; a block without values of this configuration is left out,
// and so is the list when it would be empty.
void QAStConfiguration::writeExtensionBlocks(QTextStream& stream, int indent)
{
    QString text;
    QTextStream blocks(&text);
    QSet<QString> written;
    const auto writeBlock = [&](const QString& feature) {
        if (written.contains(feature))
            return;
        written.insert(feature);
        for (const PluginGroup& each : pluginGroups()) {
            if (each.feature == feature && _descriptor && each.group->parent() == _descriptor
                && each.group->isOverriden())
                QAPropertySerializer::write(this, each.group, feature, blocks, indent + 1);
        }
    };
    for (const ExtensionBlock& block : std::as_const(_extensionBlocks)) {
        if (block.kept.isNull())
            writeBlock(block.feature);
        else
            block.kept.write(blocks, indent + 1);
    }
    for (const PluginGroup& each : pluginGroups())
        writeBlock(each.feature);
    blocks.flush();
    if (text.isEmpty())
        return;
    QAStData::indentXML(stream, indent);
    stream << "<extension_block_list>\n" << text;
    QAStData::indentXML(stream, indent);
    stream << "</extension_block_list>\n";
}

// ---------------------------------------------------------------------------
// The process-wide description

const QMap<QString, int>& QAStConfiguration::filterMap()
{
    static const QMap<QString, int> filters {
        {QStringLiteral("C"), 0x1},
        {QStringLiteral("C++"), 0x2},
        {QStringLiteral("ADA"), 0x4},
        {QStringLiteral("JAVA"), 0x8},
        {QStringLiteral("GROUP"), 0x100},
        {QStringLiteral("TEST"), 0x200},
        {QStringLiteral("UNIT_TESTING"), 0x400},
        {QStringLiteral("OBJECT_TESTING"), 0x800},
        {QStringLiteral("SYSTEM_TESTING"), 0x1000},
        {QStringLiteral("USER"), 0x2000},
        {QStringLiteral("SOURCE"), 0x4000},
        {QStringLiteral("TEST_SCRIPT"), 0x8000},
        {QStringLiteral("UNIT_TESTSCRIPT"), 0x10000},
        {QStringLiteral("SYSTEM_TESTSCRIPT"), 0x20000},
        {QStringLiteral("VIRTUAL_TESTER"), 0x40000},
        {QStringLiteral("PROJECT"), 0x80000},
        {QStringLiteral("APPLICATION"), 0x100000},
        {QStringLiteral("LIBRARY"), 0x200000},
        {QStringLiteral("JAVA_TESTING"), 0x400000},
        {QStringLiteral("STUDIO"), 0x10000000},
        {QStringLiteral("ECLIPSE_VTA"), 0x20000000},
        {QStringLiteral("ECLIPSE_TPTP"), 0x40000000},
    };
    return filters;
}

QList<unsigned int> QAStConfiguration::maskGroups()
{
    return {0xF, 0xFFFF00, 0x70000000};
}

QStringList QAStConfiguration::defaultKeys()
{
    QStringList keys;
    for (const Default& entry : defaults())
        keys << QString::fromLatin1(entry.key);
    return keys;
}

QAPropertyMapGroup* QAStConfiguration::createPropertyDescriptor()
{
    StudioInterface* studio = _studio ? _studio : QAStData::studioIFace();
    QAILogMonitor* log = studio ? studio->console(QAStData::MessageConsole) : nullptr;
    if (log)
        log->resetError();
    const QString root = studio ? studio->dataDir() : QString();
    const QString file = root + QStringLiteral("/Common/lib/velmontprojectsettings.properties");
    QAStSettingsLoader loader;
    QAPropertyMapGroup* descriptor = loader.load(QDir::cleanPath(file), filterMap(), maskGroups(), log);
    if (log && log->errorCount() > 0) {
        delete descriptor;
        return nullptr;
    }
    if (!descriptor)
        return nullptr;
    // Each plug-in's block joins the tree as a group below the root, so that
    // its settings are stored, inherited and shown like the library's own.
    pluginGroups().clear();
    forEachBlock([&](const QString& feature, ConfigurationBlockInterface* block) {
        QAPropertyGroup* offered = block->propertyDescriptor(feature);
        auto* group = dynamic_cast<QAPropertyMapGroup*>(offered);
        if (!group) {
            if (offered)
                warning("QAStConfiguration: the settings of %s are not bound to a store", qPrintable(feature));
            return;
        }
        descriptor->addChild(group);
        pluginGroups().append({feature, group});
    });
    return descriptor;
}

void QAStConfiguration::releasePluginGroups(QAPropertyGroup* descriptor)
{
    for (const PluginGroup& each : pluginGroups()) {
        if (descriptor && each.group->parent() == descriptor)
            descriptor->removeChild(each.group);
    }
}

bool QAStConfiguration::initialize(StudioInterface* studio, QARes* resources)
{
    Q_UNUSED(resources);
    if (_descriptor)
        return true;
    _studio = studio;
    _descriptor = createPropertyDescriptor();
    if (!_descriptor)
        return false;
    _perlVariables = new QList<QAProperty*>;
    collectPerlVariables(_descriptor, *_perlVariables);
    return true;
}

void QAStConfiguration::terminate(StudioInterface* studio, QARes* resources)
{
    Q_UNUSED(studio);
    Q_UNUSED(resources);
    delete _perlVariables;
    _perlVariables = nullptr;
    releasePluginGroups(_descriptor);
    pluginGroups().clear();
    delete _descriptor;
    _descriptor = nullptr;
    _studio = nullptr;
}
