#include "qastperlgen.h"

#include "qafileutil.h"
#include "qaprocess.h"
#include "qaproperty.h"
#include "environmentblockinterface.h"
#include "qainterfaceids.h"
#include "qastconfiguration.h"
#include "qastnode.h"
#include "qastnodeplugincenter.h"
#include "qastprjmacroanalyse.h"
#include "qastprojectpref.h"
#include "qastproject.h"
#include "qasttargetpackage.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QCoreApplication>
#include <QDir>
#include <QMetaObject>
#include <QTextCodec>
#include <QTextStream>

#include <optional>

namespace {

const QLatin1String defaultMarker("<default>");

// Bits of "executionFlag" that the generator reads itself.
enum : unsigned int {
    UnderDebug = 0x100,
    Coverage = 0x200,
    Tracing = 0x400,
    MemoryProfiling = 0x800,
    PerformanceProfiling = 0x1000,
    Contracts = 0x2000,
    Probes = 0x4000,
    Metrics = 0x8000,
    CodeReview = 0x10000,
    ControlCoupling = 0x20000,
    ApplicationProfiling = 0x40000,
    DataCoupling = 0x80000
};
const int AdaLanguage = 4;

// Several node kinds that the environment describes are built on this
// library, and need not be linked into it. Their operations are reached by
// name through the meta-object, so those kinds declare them Q_INVOKABLE; an
// object without the operation gives the empty answer.
template <typename T>
T call(QObject* object, const char* operation, T result = T())
{
    if (object && object->metaObject()->indexOfMethod(QByteArray(operation) + "()") >= 0)
        QMetaObject::invokeMethod(object, operation, Qt::DirectConnection,
                                  QReturnArgument<T>(QMetaType::fromType<T>().name(), result));
    return result;
}

// \a data when it is of \a className, else its nearest ancestor of it.
QAStData* selfOrAncestor(QAStData* data, const char* className)
{
    return data->inherits(className) ? data : data->parentOfClass(className);
}

// The program of the test that \a node is or belongs to; empty without one.
QString binaryTesterOf(QAStNode* node)
{
    QAStData* test = selfOrAncestor(node, "QAStNodeTest");
    return test ? call<QString>(test, "binaryTester") : QString();
}

// The items of the conditions setting, stripped. The shared splitter drops a
// last piece of one character, and a define such as "D" must survive: the
// text is closed with a separator of its own, behind a blank so that a
// trailing backslash cannot escape it, and the empty piece it ends is dropped.
QStringList conditionItems(const QString& text)
{
    if (text.isEmpty())
        return {};
    QStringList items = splitWithEscapeSequence(QStringLiteral(","), text + QLatin1String(" ,"));
    for (QString& item : items)
        item = item.trimmed();
    if (!items.isEmpty() && items.constLast().isEmpty())
        items.removeLast();
    return items;
}

/// One environment file in the writing: the forms of its lines, and the
/// settings of the configuration that it describes.
class Writer
{
public:
    Writer(QTextStream& out, QAStNode* node) : out(out), node(node) {}

    QTextStream& out;
    QAStNode* node;
    QAStConfiguration* configuration = nullptr;

    QVariant setting(const char* key) const
    {
        return configuration ? configuration->property(QLatin1String(key)) : QVariant();
    }
    QString text(const char* key) const { return setting(key).toString(); }
    int number(const char* key) const { return setting(key).toInt(); }
    bool flag(const char* key) const { return setting(key).toBool(); }
    QStringList items(const char* key) const { return setting(key).toStringList(); }

    // Q: a filtered text.
    void quoted(const char* name, const QString& value)
    {
        out << '$' << name << "='" << QAStPerlGen::safePath(value, node) << "';\n";
    }
    // S: a text with no macro expanded.
    void plain(const char* name, const QString& value)
    {
        out << '$' << name << "='" << QAStPerlGen::perlQuoted(value) << "';\n";
    }
    // I
    void integer(const char* name, int value) { out << '$' << name << '=' << value << ";\n"; }
    // B
    void boolean(const char* name, bool value) { out << '$' << name << '=' << (value ? 1 : 0) << ";\n"; }
    // L: always written, items filtered, divided by a comma and a blank.
    void list(const char* name, const QStringList& values)
    {
        out << '@' << name << "=(";
        for (qsizetype i = 0; i < values.size(); ++i) {
            if (i > 0)
                out << ", ";
            out << '\'' << QAStPerlGen::safePath(values.at(i), node) << '\'';
        }
        out << ");\n";
    }
    // M: only when not empty, items divided by a comma alone.
    void compact(const char* name, const QStringList& values, bool filtered)
    {
        if (values.isEmpty())
            return;
        out << '@' << name << "=(";
        for (qsizetype i = 0; i < values.size(); ++i) {
            if (i > 0)
                out << ',';
            const QString& value = values.at(i);
            out << '\'' << (filtered ? QAStPerlGen::safePath(value, node) : QAStPerlGen::perlQuoted(value))
                << '\'';
        }
        out << ");\n";
    }

    void quotedSetting(const char* name, const char* key) { quoted(name, text(key)); }
    void integerSetting(const char* name, const char* key) { integer(name, number(key)); }
    void booleanSetting(const char* name, const char* key) { boolean(name, flag(key)); }
    void listSetting(const char* name, const char* key) { list(name, items(key)); }
    void filesOf(const char* name, const char* kind)
    {
        QStringList files;
        node->outFileNames(QLatin1String(kind), files);
        list(name, files);
    }
};

void writeEverything(Writer& w, QAStData* data)
{
    w.out << "$STUDIO_IDE=1;\n";
    w.out << "$ECLIPSE_IDE=0;\n";
    w.out << "$OSNAME='unix';\n";
    w.out << "$PATH_SEPARATOR='/';\n";
    // The machine's paths and names: no macro of the project stands in them.
    w.plain("ZENTAHOME", QAFileUtil::shortPath(QAStData::installDir()));
    w.plain("BINDIR", QAFileUtil::shortPath(QAStData::binaryDir()));
    QString scripts = QAFileUtil::shortPath(QAStData::scriptsDir());
    if (!scripts.endsWith(QDir::separator()))
        scripts += QDir::separator();
    w.plain("SCRIPTDIR", scripts);
    w.plain("WORKING_DIR", QDir::currentPath());
    StudioInterface* studio = QAStData::studioIFace();
    w.plain("CMSTOOL", studio ? studio->cmsTool() : QString());
    if (!data)
        return;

    QAStData* project = data->project();
    const QString projectName = project ? project->name() : QString();
    const QString projectPath = project ? project->directory() : QString();
    w.quoted("PROJECT_NAME", projectName);
    w.quoted("PROJECT_PATH", projectPath);
    w.quoted("WORKSPACE_NAME", projectName);
    w.quoted("WORKSPACE_PATH", projectPath);
    w.plain("USERNAME", QAStData::userName());
    if (project)
        w.quoted("ZENTA_TPM_ROOT", projectPath);
    w.integer("STUDIO_PORT", QAStData::port());
}

// Writes the node's own part, up to its log file; false when the node has no
// configuration. \a port is then the configuration's port, or null; a port
// kept in the project is read into \a temporary, for this file alone.
bool writeNode(Writer& w, std::optional<QAStTargetPackage>& temporary, const QAStTargetPackage*& port)
{
    QAStNode* node = w.node;
    w.boolean("BATCH_MODE", QAStProject::modeBatch());
    if (node->inherits("QAStNodeTest")) {
        QStringList sources;
        for (QAStData* source : node->childrenOfClass("QAStNodeSource", true))
            sources << call<QString>(source, "fileKey");
        w.list("SOURCES", sources);
    }
    QAStData* system = nullptr;
    if (node->inherits("QAStNodeSystemTesting"))
        system = node;
    else if (node->inherits("QAStNodeTestScript"))
        system = node->parentOfClass("QAStNodeSystemTesting");
    if (system) {
        const int channel = call(system, "connectedTDFChannel", -1);
        if (channel >= 0)
            w.integer("TDF_CHANNEL", channel);
    }

    w.configuration = node->currentConfiguration();
    if (!w.configuration) {
        warning(" cannot generate environment no configuration");
        return false;
    }
    w.plain("CONFIGURATION", w.configuration->name());
    const unsigned int executionFlag = unsigned(w.number("executionFlag"));
    w.out << ((executionFlag & UnderDebug) ? "$EXECMODE='DEBUG';\n" : "$EXECMODE='NORMAL';\n");
    static const char stageLetters[] = "cptler";
    QString stage;
    for (int bit = 0; bit < 6; ++bit) {
        if (executionFlag & (1u << bit))
            stage += QLatin1Char(stageLetters[bit]);
    }
    w.plain("STAGE", stage);
    w.quoted("NAME", node->name());
    w.quoted("FILENAME", node->inherits("QAStNodeFileRef") ? call<QString>(node, "absolutePath") : QString());

    const QString targetPath = w.text("targetPath");
    if (w.flag("targetPathAsRelative")) {
        if (QAStData* project = node->project()) {
            temporary.emplace();
            if (temporary->read(project->directory() + QDir::separator() + targetPath))
                port = &*temporary;
        }
    } else {
        port = w.configuration->targetPackage();
    }
    if (port) {
        w.quoted("TARGETDIR", QAFileUtil::shortPath(port->fullPath));
        w.quoted("LP_TARGETDIR", port->fullPath);
    } else {
        // The tool chain shows this text when it tries the directory.
        const QString error = QCoreApplication::translate(
            "QAStPerlGen",
            "Error: Unable to generate the Target Deployment Port path because the target package "
            "named [%1] cannot be found in the installation").arg(targetPath);
        w.quoted("TARGETDIR", error);
        w.quoted("LP_TARGETDIR", error);
    }
    w.quotedSetting("INIFILE", "iniFileName");
    w.quoted("LOGFILENAME", node->logFilename());
    return true;
}

void writeHostAndBuild(Writer& w, const QStringList& conditions)
{
    w.quotedSetting("HOSTNAME", "computerName");
    w.quotedSetting("ADDRESS", "computerAddress");
    w.integerSetting("PORT", "computerPort");
    w.integerSetting("UPLOADER_PORT", "uploaderPort");
    w.quotedSetting("HOST_WORKING_DIR", "ge_host_workdir");
    w.quotedSetting("INTDIR", "intdir");
    w.quotedSetting("OUTDIR", "outdir");
    w.quotedSetting("CSV_SEPARATOR", "csvSeparator");
    w.quotedSetting("CSV_DECIMAL_SEPARATOR", "csvDecimalSeparator");
    w.quotedSetting("CSV_THOUSAND_SEPARATOR", "csvThousandSeparator");
    w.listSetting("SOURCES_DIR_LIST", "sourceDirectories");
    w.booleanSetting("STRUCT_AS_CLASS", "structDefinition");
    w.listSetting("INCLUDE_DIR_LIST", "ge_incdir");
    if (const QString alk = w.text("ge_alk_file_name"); !alk.isEmpty())
        w.quoted("USER_ALK_FILE", alk);
    w.quotedSetting("SRCEXT", "sourceExt");
    w.quotedSetting("OBJEXT", "objectExt");
    w.quotedSetting("EXEEXT", "binaryExt");
    w.quotedSetting("CPPFLAGS", "cppFlags");
    w.quotedSetting("CFLAGS", "cflags");
    w.out << "@GENERATION_CONDITION=(";
    for (qsizetype i = 0; i < conditions.size(); ++i)
        w.out << (i > 0 ? ", '" : "'") << conditions.at(i) << '\'';
    w.out << ");\n";
    w.booleanSetting("DEBUG", "debug");
    w.quoted("TDP_LANGUAGE", w.text("sourceLanguage").toUpper());
    w.listSetting("LIBRARY_DIR_LIST", "ge_libdir");
}

void writeFiles(Writer& w)
{
    w.filesOf("OBJECTS", "OBJ");
    w.filesOf("XOB", "XOB");
    w.filesOf("MET", "MET");
    QStringList libraries;
    for (QAStNode* child : w.node->children())
        child->outFileNames(QStringLiteral("LIB"), libraries);
    w.list("ADDITIONAL_LIBRARIES", libraries);
    w.booleanSetting("JAVA_BUILDJARFILE", "javaBuildJarFile");
    w.quoted("JAVA_JARFILENAME", binaryTesterOf(w.node));
    w.quotedSetting("JAVA_MANIFEST", "javaManifest");
    w.listSetting("JAVA_JAR_OTHER_DIR", "javaJarOtherDir");
    w.filesOf("FDCFILES", "FDC");
    w.filesOf("TSFFILES", "TSF");
    w.filesOf("OTSFILES", "OTS");
}

void writeUserEnvironment(Writer& w)
{
    const QVariant variables = w.setting("envVariables");
    if (variables.metaType().id() != QMetaType::QVariantMap)
        return;
    const QVariantMap map = variables.toMap();
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        w.out << "$ENV{'" << QAStPerlGen::perlQuoted(it.key()) << "'} = '"
              << QAStPerlGen::safeStr(it.value().toString(), w.node) << "';\n";
    }
}

void writeProgram(Writer& w)
{
    QAStNode* node = w.node;
    const bool test = node->inherits("QAStNodeTest");
    const QString tester = test ? call<QString>(node, "binaryTester") : QString();
    w.quoted("TESTPROGRAM", test ? node->determineRelativePathFile(tester) : QString());
    w.quoted("TESTPROGRAM_ABS", test ? QAFileUtil::cleanDirPath(tester) : QString());
    w.quotedSetting("ARGUMENTS", "arguments");
    w.quotedSetting("VIRTUAL_MACHINE_ARGUMENTS", "virtualMachineArguments");
    w.quotedSetting("BINARYEXT", "binaryExt");
    w.quotedSetting("LDFLAGS", "ldflags");
    w.quotedSetting("LIBRARIES", "additionnalObjects");
    w.booleanSetting("ZTL_MULTI_THREADS", "multiThreaded");
    w.integerSetting("ZTL_BUFFER_SIZE", "bufferSize");
    w.integerSetting("ZTL_THREADS_MAX", "maxThreads");
    w.quotedSetting("ZTL_MAIN_PROCEDURE", "mainProc");
    w.integerSetting("ZTL_CLOCK_KIND", "clockKind");
    w.booleanSetting("ZTC_RUN_GC_AT_EXIT", "ztc_rungcatexit");
}

void writeTestNaming(Writer& w)
{
    // A node outside any test still gets trace output, under a fixed name.
    QAStData* test = selfOrAncestor(w.node, "QAStNodeTest");
    const QString testName = test ? test->name() : QStringLiteral("ztlout");
    w.quoted("ZTL_OUT_FILE", w.text("intdir") + QDir::separator() + testName + QLatin1String(".spt"));
    w.quoted("TEST_NAME", testName);
}

void writeJavaRun(Writer& w)
{
    w.listSetting("JAVA_BOOTCLASSPATH", "javaBootClasspath");
    w.listSetting("JAVA_CLASSPATH", "javaClasspath");
    w.quotedSetting("JAVA_MAIN_CLASS", "javaMainClass");
}

void writeFileNames(Writer& w)
{
    QAStNode* node = w.node;
    w.quoted("TDFFILE", node->tdfFile());
    QString source = w.text("sourceFile");
    if (source == defaultMarker)
        source = node->name() + QLatin1Char('.') + w.text("sourceExt");
    w.quoted("SRCFILE", source);
    QString oti = w.text("otiFile");
    if (oti == defaultMarker)
        oti = w.text("intdir") + QDir::separator() + node->name() + QLatin1String(".oti");
    w.quoted("OTIFILE", oti);
    w.integerSetting("ZTO_PREPRO_MAX_ERRORS", "nuerror");
    w.booleanSetting("ZTO_PREPRO_NODLINE", "nodline");
    QString xrd = w.text("xrdFile");
    if (xrd == defaultMarker) {
        QAStData* parent = node->parent();
        const QString base = parent && parent->inherits("QAStNodeTest") ? parent->name() : node->name();
        xrd = w.text("outdir") + QDir::separator() + base + QLatin1String(".xrd");
    }
    w.quoted("XRDFILE", xrd);
}

void writeObjectTesting(Writer& w)
{
    w.booleanSetting("ZTO_STOP_ON_ERROR", "ztobreakonerror");
    w.booleanSetting("ZTO_DUMP_SUCCESS", "ztonopassdump");
    w.integerSetting("ZTO_MAX_INSTANCES", "ztomaxinstances");
    w.integer("ZTO_PRINT_BUFFER_SIZE", w.flag("printbuffer") ? w.number("printbuffersize") : 0);
    w.booleanSetting("ZTK_STOP_ON_ERROR", "ztkbreakonerror");
    w.booleanSetting("ZTK_DUMP_SUCCESS", "ztknopassdump");
    w.booleanSetting("ZTK_REPORT_REFLEXIVE_STATES", "ztkreflexivestate");
    w.booleanSetting("ZTK_INSTR_CONST", "ztkconstmethods");
    w.booleanSetting("ZTK_MT_SUPPORT", "ztkreentrant");
    w.booleanSetting("ZTK_CONST_ASSERTIONS", "ztkstrictcheck");
}

void writeUnitTesting(Writer& w)
{
    w.quotedSetting("ZTU_ZENTA_CLASSNAME", "zentaClassName");
    QString intermediate = w.text("intermediateFile");
    if (intermediate == defaultMarker) {
        QAStData* parent = w.node->parent();
        intermediate = QLatin1Char('T')
            + (parent && parent->inherits("QAStNodeUnitTesting") ? parent->name() : w.node->name());
    }
    w.quoted("ZTU_INTERMEDIATE_FILE", intermediate);
    w.booleanSetting("ZTU_SIMULATION", "simulation");
    w.booleanSetting("CONTONWARN", "preproerrorlevel");
    w.booleanSetting("ZTU_BREAK_ON_TEST_FAILED", "breakontest");
    w.booleanSetting("ZTU_IS_OPTION", "moreoptions");
    w.quotedSetting("ZTU_OPTIONS", "preparationOptions");
    w.integerSetting("ZTU_FILTER", "filter");
    w.integerSetting("ZTU_STRATEGY", "strategy");
    w.integerSetting("ZTU_REPORT_OUTLAY", "reportOutlay");
    w.booleanSetting("ZTU_IS_REPORT_OPTION", "moreRoptions");
    w.quotedSetting("ZTU_REPORT_OPTIONS", "reportoptions");
    w.booleanSetting("ZTU_COMPARE", "comparaison");
}

void writeSystemTesting(Writer& w)
{
    w.listSetting("ZTS_INTERFACE_FILES", "st_interface_files");
    w.quotedSetting("ZTS_ALLOCATION", "st_allocation");
    w.booleanSetting("ZTS_NOTSHARED", "st_notShared");
    const bool thread = w.flag("st_thread");
    w.boolean("ZTS_THREAD", thread);
    if (const QString function = w.text("st_thread_function"); thread && !function.isEmpty())
        w.quoted("ZTS_THREAD_FUNCTION", function);
    w.quotedSetting("ZTS_TRACE", "st_trace");
    const bool circular = w.flag("st_trace_circular");
    w.boolean("ZTS_TRACE_CIRCULAR", circular);
    if (const int size = w.number("st_bufsize"); circular && size != 0)
        w.integer("ZTS_BUFSIZE", size);
    if (const QString values = w.text("st_values"); !values.isEmpty())
        w.quoted("ZTS_VAL_DISP", values);
    if (const QString form = w.text("st_repform"); !form.isEmpty())
        w.quoted("ZTS_RA", form);
    w.booleanSetting("ZTS_TIME_STAMP", "st_time");
    w.booleanSetting("ZTS_DYN_FOLLOW", "st_dynfol");
    w.booleanSetting("ZTS_RT_BUFFER", "st_item_buf");
    w.integerSetting("ZTS_BUFFER_SIZE", "st_item_buf_size");
    // The key's leading blank is its spelling in project files.
    w.booleanSetting("ZTS_DYNFLW", " st_dtrack");
    w.integerSetting("ZTS_TAGTBUF_SIZE", "st_dtrack_buf_size");
    w.booleanSetting("ZTS_PROBE_CUSTOM", "st_custom");
    w.integerSetting("ZTS_PROBE_CUSTOM_TYPE", "st_custom_type");
    w.quotedSetting("ZTS_ADD_OPTIONS", "st_addOptions");
    w.quotedSetting("ZTS_REPLAY_CMDLINE_ARGS", "st_replay_cmdline_args");
    w.integerSetting("ZTS_INTERRECV_TIMEOUT", "st_interrecv_timeout");
}

void writeInstrumentation(Writer& w)
{
    const int fdcOption = w.number("fdc_name_opt");
    w.integer("ZTG_FDC_NAME_OPT", fdcOption);
    if (fdcOption == 0 || fdcOption == 1)
        w.quotedSetting("ZTG_FDC_VALUE", "fdc_value");
    const int tsfOption = w.number("tsf_name_opt");
    w.integer("ZTG_TSF_NAME_OPT", tsfOption);
    if (tsfOption == 0 || tsfOption == 1)
        w.quotedSetting("ZTG_TSF_VALUE", "tsf_value");
    w.compact("ZTG_SELECTIVE_FILES", w.items("tsf_selective_file"), false);
    w.compact("ZTG_SELECTIVE_CLASS", w.items("tsf_selective_class"), false);
    w.compact("ZTG_EXCLUDED_DIRS", w.items("exclude_dir"), true);
    w.compact("ZTG_DUMP_INCOMING_LIST", w.items("dump_incoming_list"), false);
    w.compact("ZTG_DUMP_RETURNING_LIST", w.items("dump_returning_list"), false);
    w.compact("ZTG_DUMP_CALLING_LIST", w.items("dump_calling_list"), false);
    // Named after a negative, carried as it is: the tool chain reads it so.
    w.booleanSetting("ZTG_HEADER_INSTR", "no_header_instr");
    w.booleanSetting("ZTG_INSTANTIATE_TEMPLATE", "instantiate_template");
    w.quotedSetting("ZTG_MISC_OPTIONS", "misc_options");
}

void writeCoverage(Writer& w)
{
    w.integerSetting("ZTC_INSTR_FUNCTIONS", "ztc_instr_functions");
    w.integerSetting("ZTC_INSTR_CALLS", "ztc_instr_calls");
    w.integerSetting("ZTC_INSTR_BLOCKS", "ztc_instr_blocks");
    w.integerSetting("ZTC_INSTR_CONDITIONS", "ztc_instr_conditions");
    w.quoted("ZTC_TIO_NAME", w.node->tioFile());
    w.booleanSetting("ZTC_SELECTIVE_TERNARY", "ztc_selective_no_ternary");
    w.booleanSetting("ZTC_SELECTIVE_INLINE", "ztc_selective_no_inline");
    w.booleanSetting("ZTC_SELECTIVE_INCLUDED", "ztc_selective_no_included");
    w.compact("ZTC_SELECTIVE_FUNCTIONS_LIST", w.items("ztc_selective_functions_list"), false);
    w.booleanSetting("ZTC_SELECTIVE_SPEC", "ztc_selective_spec");
    w.integerSetting("ZTC_INFORMATION", "ztc_information");
    w.quotedSetting("ZTC_INSTR_CTRL_PREFIX", "ztc_instr_ctrl_prefixe");
    w.integerSetting("ZTC_INSTR_CTRL_SUFFIX", "ztc_instr_ctrl_suffixe");
    w.booleanSetting("ZTC_METRICS", "ztc_no_metrics");
    w.quotedSetting("ZTC_USER_COMMENT", "ztc_user_comment");
    w.booleanSetting("ZTC_DUMP_DRIVER", "ztc_dump_driver");
}

void writeTracing(Writer& w)
{
    w.quoted("ZTT_TDF_NAME", w.node->tdfFile());
    w.booleanSetting("ZTT_CALLING_SEQUENCED", "ztt_calling_sequenced");
    w.booleanSetting("ZTT_AGGREGATE_TRACES", "ztt_aggregate_traces");
    w.booleanSetting("ZTT_TEMPLATE_NOTES", "ztt_template_notes");
    w.booleanSetting("ZTT_SPLIT", "ztt_split");
    w.integerSetting("ZTT_SPLIT_SIZE", "ztt_split_size");
    const QString prefix = w.text("ztt_split_prefixe");
    w.quoted("ZTT_SPLIT_PREFIX", prefix == defaultMarker ? QStringLiteral("ztt") : prefix);
    w.booleanSetting("ZTT_LOOP", "ztt_loop");
    w.quotedSetting("ZTT_LOOP_FLAGS", "ztt_loop_options");
    w.booleanSetting("ZTT_RECORD_MAX_STACK", "ztt_record_max_stack");
    w.booleanSetting("ZTT_ON_THE_FLY", "ztt_on_fly");
    w.booleanSetting("ZTT_ITEM_BUFFER", "ztt_item_buffer");
    w.integerSetting("ZTT_ITEM_BUFFER_SIZE", "ztt_item_buffer_size");
    w.booleanSetting("ZTT_PARTIAL_DUMP", "ztt_partial_dump");
    w.integerSetting("ZTT_SIGNAL_ACTION", "ztt_signal_action");
    w.booleanSetting("ZTT_TIMESTAMP", "ztt_time_stamp");
    w.booleanSetting("ZTT_HEAP_SIZE", "ztt_heap_size");
    w.booleanSetting("ZTT_THREAD_INFO", "ztt_thread_info");
}

void writeMemoryProfiling(Writer& w)
{
    w.quoted("ZTP_TPF_NAME", w.node->tpfFile());
    w.compact("ZTP_INSTR_CTRL_LIST", w.items("ztp_instr_ctrl"), true);
    w.booleanSetting("ZTP_REPORTS_FIU", "ztp_errors_fiu");
    w.booleanSetting("ZTP_REPORTS_MIU", "ztp_errors_miu");
    w.booleanSetting("ZTP_REPORTS_SIG", "ztp_errors_sig");
    const bool freeQueue = w.flag("ztp_fmwl");
    w.boolean("ZTP_REPORTS_FFM_FMWL", freeQueue);
    if (freeQueue) {
        w.integerSetting("ZTP_MAX_FREEQ_LENGTH", "ztp_fmwl_queue_len");
        w.integerSetting("ZTP_MAX_FREEQ_SIZE", "ztp_fmwl_queue_size");
    }
    w.booleanSetting("ZTP_REPORTS_ABWL", "ztp_abwl");
    w.integerSetting("ZTP_RED_ZONE_SIZE", "ztp_abwl_zone_size");
    w.integerSetting("ZTP_CALL_STACK_SIZE", "ztp_call_stack");
}

void writeJavaAnalysis(Writer& w)
{
    w.integerSetting("JAVA_OBJECT_HASH_SIZE", "javaObjectHashSize");
    w.integerSetting("JAVA_CLASS_HASH_SIZE", "javaClassHashSize");
    w.quotedSetting("JAVA_TRIGGER", "javaTrigger");
    w.booleanSetting("JAVA_HIT_KEY", "javaHitKey");
    w.booleanSetting("JAVA_NEXT_GC", "javaNextGC");
    w.quotedSetting("JAVA_STUDIO_IP_ADRESS", "javaStudioIPAdress");
    w.quotedSetting("JAVA_STUDIO_PORT_NB", "javaStudioPortNb");
    w.quotedSetting("JAVA_TPF_FILENAME", "javaTpfFileName");
    w.quotedSetting("JAVA_TSF_FILENAME", "javaTsfFileName");
    w.compact("JAVA_PACKAGE_ANALYZE", w.items("javaPackageAnalyze"), true);
    w.compact("JAVA_ANALYZE", w.items("javaAnalyze"), true);
    w.compact("JAVA_ANALYZE_ALLOC", w.items("javaAnalyzeAlloc"), true);
    w.quotedSetting("JAVA_FILTER_OPTION", "javaFilterOption");
}

void writeReportFiles(Writer& w)
{
    w.quoted("ZTG_TGF_NAME", w.node->tgfFile());
    w.quoted("ZTZ_TZF_NAME", w.node->tzfFile());
    w.quoted("ZTQ_TQF_NAME", w.node->tqfFile());
    w.booleanSetting("ZTQ_DUMP_DRIVER", "ztq_dump_driver");
}

void writeModes(Writer& w, const QAStTargetPackage* port)
{
    QAStNode* node = w.node;
    w.boolean("ZTOMODE", selfOrAncestor(node, "QAStNodeObjectTesting"));
    w.boolean("ZTUMODE", selfOrAncestor(node, "QAStNodeUnitTesting"));
    w.boolean("ZTSMODE", selfOrAncestor(node, "QAStNodeSystemTesting"));
    w.boolean("ZTJMODE", selfOrAncestor(node, "QAStNodeJavaTesting"));

    // An analysis the port refuses is off whatever the user ticked, and Ada
    // keeps only coverage, metrics and code review.
    const unsigned int flag = unsigned(w.number("executionFlag"));
    const unsigned int portFlags = port ? port->flags : 0;
    const bool notAda = w.configuration->languageType() != AdaLanguage;
    const auto allowed = [&](unsigned int bit) { return (flag & bit) && (portFlags & bit); };
    w.boolean("ZTPMODE", allowed(MemoryProfiling) && notAda);
    w.boolean("ZTQMODE", allowed(PerformanceProfiling) && notAda);
    w.boolean("ZTCMODE", allowed(Coverage));
    w.boolean("ZTTMODE", allowed(Tracing) && notAda);
    w.boolean("ZTKMODE", (flag & Contracts) && notAda);
    w.boolean("ZTMMODE", flag & Metrics);
    w.boolean("MISRA_MODE", flag & CodeReview);
    w.boolean("ZTS_PROBE", (flag & Probes) && notAda);
    w.boolean("ZTGMODE", (flag & ControlCoupling) && notAda);
    w.boolean("DCPMODE", (flag & DataCoupling) && notAda);
    w.boolean("ZTAMODE", (flag & ApplicationProfiling) && notAda);
}

void writeClosing(Writer& w)
{
    w.booleanSetting("JAVA_STUB", "javaStub");
    w.booleanSetting("JAVA_DISPLAY", "javaDisplay");
    w.booleanSetting("MET_ONE_LEVEL", "metOneLevel");
    w.listSetting("MET_RESTRICT_DIR", "metRestrictDir");

    QString rules = w.text("misraconf");
    if (rules == defaultMarker) {
        StudioInterface* studio = QAStData::studioIFace();
        const QString root = studio ? studio->dataDir() : StudioInterface().dataDir();
        rules = root + QLatin1String("/Common/lib/confrule.xml");
    } else if (QDir::isRelativePath(rules)) {
        QAStData* project = w.node->project();
        rules = (project ? project->directory() : QString()) + QDir::separator() + rules;
    }
    w.quoted("MISRA_CONF", rules);

    const QTextCodec* codec = QTextCodec::codecForLocale();
    w.out << "$MIME_NAME = '"
          << (codec ? QAStPerlGen::perlQuoted(QString::fromLatin1(codec->name())) : QStringLiteral("ISO-8859-1"))
          << "';\n";
    if (const QAStProjectPref* preferences = QAStData::preferences();
        preferences && preferences->boolValue(QStringLiteral("verbose"))) {
        w.out << "$ENV{'ZENTASTUDIO_VERBOSE'} = '"
              << preferences->value(QStringLiteral("verbose")).toInt() << "';\n";
    }
}

} // namespace

QString QAStPerlGen::perlQuoted(const QString& text)
{
    QString result = text;
    result.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    result.replace(QLatin1Char('\''), QLatin1String("\\'"));
    return result;
}

QString QAStPerlGen::expandMacros(const QString& text, QAStNode* node)
{
    QAStPrjMacroAnalyse macros(node);
    return macros.analyse(text, QStringLiteral("Prompt Dialog"));
}

QStringList QAStPerlGen::generationConditions(const QString& text, QAStNode* node)
{
    // Macros are expanded in the whole text, so that one may stand for
    // several conditions; each item is escaped once, on its own.
    QStringList items = conditionItems((node ? expandMacros(text, node) : text).trimmed());
    for (QString& item : items)
        item = perlQuoted(item);
    return items;
}

QString QAStPerlGen::safeStr(const QString& text, QAStNode* node)
{
    if (text.isEmpty())
        return QString();
    return perlQuoted(node ? expandMacros(text, node) : text);
}

QString QAStPerlGen::safePath(const QString& text, QAStNode* node)
{
    return safeStr(text, node);
}

void QAStPerlGen::generateEnv(QTextStream& out, QAStData* data)
{
    Writer w(out, QAStNode::toNode(data));
    writeEverything(w, data);
    if (!data) {
        warning(" cannot generate environment no node");
        return;
    }
    if (!w.node)
        return;

    std::optional<QAStTargetPackage> temporary;
    const QAStTargetPackage* port = nullptr;
    if (!writeNode(w, temporary, port))
        return;
    writeHostAndBuild(w, generationConditions(w.text("tcflags"), w.node));
    writeFiles(w);
    writeUserEnvironment(w);
    writeProgram(w);
    writeTestNaming(w);
    writeJavaRun(w);
    writeFileNames(w);
    writeObjectTesting(w);
    writeUnitTesting(w);
    writeSystemTesting(w);
    writeInstrumentation(w);
    writeCoverage(w);
    writeTracing(w);
    writeMemoryProfiling(w);
    writeJavaAnalysis(w);
    writeReportFiles(w);
    writeModes(w, port);
    writeClosing(w);
    generatePerlVariables(out, &w.configuration->perlVariables(), w.node);
}

void QAStPerlGen::generatePerlVariables(QTextStream& out, const QList<QAProperty*>* list, QAStNode* node)
{
    if (!list)
        return;
    for (QAProperty* property : *list) {
        const QString name = property->perlVarName();
        const QVariant value = property->value();
        switch (property->type()) {
        case QAProperty::StringType:
            out << '$' << name << "='" << safePath(value.toString(), node) << "';\n";
            break;
        case QAProperty::StringListType: {
            out << '@' << name << "=(";
            const QStringList items = value.toStringList();
            for (qsizetype i = 0; i < items.size(); ++i)
                out << (i > 0 ? ",'" : "'") << safePath(items.at(i), node) << '\'';
            out << ");\n";
            break;
        }
        case QAProperty::IntType:
            out << '$' << name << '=' << value.toInt() << ";\n";
            break;
        case QAProperty::BoolType:
            out << '$' << name << '=' << (value.toBool() ? 1 : 0) << ";\n";
            break;
        case QAProperty::MapType: {
            if (value.metaType().id() != QMetaType::QVariantMap)
                break;
            out << '@' << name << "=(";
            const QVariantMap map = value.toMap();
            for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
                out << (it == map.constBegin() ? "{'" : ",{'") << perlQuoted(it.key()) << "', '"
                    << safePath(it.value().toString(), node) << "'}";
            }
            out << ");\n";
            break;
        }
        default:
            break;
        }
    }
}

// A block of settings that a plug-in adds has its variables written with the
// others; the lines it computes itself come here, before those of the
// node's own kind, so that a node can still override what a block says.
void QAStPerlGen::generateBlockEnv(QTextStream& out, QAStData* data)
{
    QAStNodePluginCenter* center = QAStNodePluginCenter::nodePluginCenter();
    for (const QString& feature : center->featureList(IID_ConfigurationBlock)) {
        QUnknownInterface* face = nullptr;
        center->queryComponentInterface(feature, IID_EnvironmentBlock, &face);
        if (!face)
            continue;
        static_cast<EnvironmentBlockInterface*>(face)->generateEnv(feature, data, out);
        face->release();
    }
}
