#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastnodesource.h"
#include "qastnodetest.h"
#include "qastprojectpref.h"
#include "qastproject.h"
#include "qasttargetpackagelist.h"
#include "recordinghost.h"
#include "settingsfixture.h"
#include "testdata.h"
#include "withoutmenus.h"

#include <QScopeGuard>
#include <QSignalSpy>
#include <QSysInfo>
#include <QTemporaryDir>

namespace {

// Node kinds built on this library; the generator knows them by class name
// and reaches their operations through the meta-object.
class QAStNodeUnitTesting : public QAStNodeTest
{
    Q_OBJECT
public:
    QAStNodeUnitTesting(const QString& name, QAStData* parent) : QAStNodeTest(name, QPixmap(), parent) {}
};
class QAStNodeSystemTesting : public QAStNodeTest
{
    Q_OBJECT
public:
    QAStNodeSystemTesting(const QString& name, QAStData* parent) : QAStNodeTest(name, QPixmap(), parent) {}
    Q_INVOKABLE int connectedTDFChannel() { return 7; }
};
class QAStNodeTestScript : public QAStNodeFileRef
{
    Q_OBJECT
public:
    QAStNodeTestScript(const QString& key, QAStData* parent) : QAStNodeFileRef(key, QPixmap(), parent) {}
};
using PlainNode = WithoutMenus<QAStNode>;

template <class Kind>
QAStData* made(const QString& name, QAStData* parent)
{
    return new Kind(name, parent);
}

template <>
QAStData* made<QAStNodeTest>(const QString& name, QAStData* parent)
{
    return new QAStNodeTest(name, QPixmap(), parent);
}

// Files of the chain stand in the project's directory "src".
template <class Kind>
QAStData* madeFile(const QString& name, QAStData* parent)
{
    return new Kind(QStringLiteral("src/") + name, parent);
}

class EnvironmentHost : public RecordingHost
{
public:
    QString cmsTool() override { return cms; }
    QString userName() override { return user; }
    QString cms;
    QString user;
};

// Prints every variable that the environment file gives Perl, and every
// entry it changes in %ENV, each text hex-encoded: the comparison is on the
// bytes Perl holds. An array's line begins with its number of items.
const char* const dumpScript = R"(no strict;
my %before = map { $_ => 1 } keys %main::;
my %env = %ENV;
do $ARGV[0] or die "environment: $@ $!\n";
sub hx { unpack('H*', $_[0]) }
for my $name (sort keys %main::) {
    next if $before{$name} || $name !~ /^[A-Za-z_]\w*$/;
    print "\$$name=", hx(${"main::$name"}), "\n" if defined ${"main::$name"};
    print "\@$name=", join(',', scalar(@{"main::$name"}), map { hx($_) } @{"main::$name"}), "\n"
        if defined *{"main::$name"}{ARRAY};
}
for (sort keys %ENV) {
    print '%', hx($_), '=', hx($ENV{$_}), "\n" unless exists $env{$_} && $env{$_} eq $ENV{$_};
}
)";

using PerlView = QMap<QString, QStringList>;

QString generated(QAStData* data)
{
    QString text;
    QTextStream stream(&text);
    data->generateEnv(stream);
    stream.flush();
    return text;
}

} // namespace

class tst_EnvironmentFile : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void goldenFileLineByLine();
    void perlReadsBackHostileTexts_data();
    void perlReadsBackHostileTexts();
    void linesFollowTheSettingsAndTheNode_data();
    void linesFollowTheSettingsAndTheNode();

private:
    /// A fresh project on the plain port; for "node", a node of a group in it.
    /// The project takes its name from its file.
    QAStData* build(const QString& kind, const QString& projectName = QStringLiteral("proj"));
    PerlView perlView(QAStData* data);
    QString substituted(QString text) const;

    EnvironmentHost host;
    QTemporaryDir ports;
    QTemporaryDir dir;
    std::unique_ptr<QAStProject> project;
};

void tst_EnvironmentFile::initTestCase()
{
    installProcessLeakGuard();
    QAStData::initialize(&host);
    QVERIFY(writeFile(ports.filePath("plain/tp.ini"), "NAME = \"Plain\"\nLANGUAGE = \"CPP\"\nSRCEXT = \"cpp\"\n"));
    QVERIFY(writeFile(ports.filePath("nocoverage/tp.ini"), "NAME = \"No coverage\"\nLANGUAGE = \"C\"\nZTCMODE = \"0\"\n"));
    QVERIFY(writeFile(dir.filePath("own/tp.ini"), "NAME = \"Own\"\n"));
    QVERIFY(writeFile(dir.filePath("dump.pl"), dumpScript));
    QAStData::preferences()->setValue(QStringLiteral("tdpDirectories"), QStringList(ports.path()));
    QVERIFY(QAStTargetPackageList::initialize(&host));
    QVERIFY(QAStConfiguration::initialize(&host));
}

void tst_EnvironmentFile::cleanupTestCase()
{
    project.reset();
    QAStConfiguration::terminate();
    QAStTargetPackageList::terminate();
}

QAStData* tst_EnvironmentFile::build(const QString& kind, const QString& projectName)
{
    project = std::make_unique<QAStProject>(QPixmap());
    project->create(dir.filePath(projectName + QStringLiteral(".vmp")));
    project->addConfiguration(QStringLiteral("Debug"));
    project->initialConfiguration(QStringLiteral("Debug"))
        ->init(*QAStTargetPackageList::installTargetPackages()->targetPackage(QStringLiteral("plain")));
    host.cms.clear();
    host.user = QStringLiteral("tester");
    if (kind != QLatin1String("node"))
        return project.get();
    // A group holding the node, which has a result, and a subgroup.
    auto* group = new QAStNodeGroup(QStringLiteral("G"), project.get());
    auto* node = new PlainNode(QStringLiteral("n"), QPixmap(), group);
    new QAStNodeGroup(QStringLiteral("sub"), group, node);
    node->addOutFileName(QStringLiteral("FDC"), QStringLiteral("/r/n.fdc"));
    int quid = 100;
    project->setQuid(quid++);
    for (QAStData* each : project->childrenOfClass("QAStData", true))
        each->setQuid(quid++);
    return node;
}

// What Perl holds after reading the environment file that \a data writes
// through the library, as a script of the tool chain would.
PerlView tst_EnvironmentFile::perlView(QAStData* data)
{
    host.messages.clear();
    QTextStream stream;
    if (!data->createEnvironmentFile(stream))
        return {{QStringLiteral("error"), {QStringLiteral("cannot write the file")}}};
    data->generateEnv(stream);
    QSignalSpy terminated(data, &QAStData::perlScriptTerminated);
    data->executePerlScript(dir.filePath(QStringLiteral("dump.pl")), dir.path(), &stream, true);
    if (!terminated.wait(20000) || data->executionStatus() != 0)
        return {{QStringLiteral("error"), {host.consoleText(QAStData::BuildConsole)}}};
    PerlView view;
    for (const QString& line : host.consoleText(QAStData::BuildConsole).split('\n', Qt::SkipEmptyParts)) {
        QString name = line.section('=', 0, 0);
        QStringList values = line.section('=', 1).split(',');
        for (qsizetype i = name.startsWith('@') ? 1 : 0; i < values.size(); ++i)
            values[i] = QString::fromUtf8(QByteArray::fromHex(values.at(i).toLatin1()));
        if (name.startsWith('%'))
            name = '%' + QString::fromUtf8(QByteArray::fromHex(name.mid(1).toLatin1()));
        view.insert(name, values);
    }
    return view;
}

// The machine's own parts of a generated text, as the golden file has them.
QString tst_EnvironmentFile::substituted(QString text) const
{
    text.replace(ports.path(), QStringLiteral("@PORTS@"));
    text.replace(dir.path(), QStringLiteral("@PROJECT@"));
    text.replace(RecordingHost::stageDir(), QStringLiteral("@STAGE@"));
    text.replace(QDir::currentPath(), QStringLiteral("@CWD@"));
    return text.replace('\'' + QSysInfo::machineHostName() + '\'', QStringLiteral("'@HOST@'"));
}

void tst_EnvironmentFile::goldenFileLineByLine()
{
    QFile golden(QFINDTESTDATA("testdata/environment.golden"));
    QVERIFY(golden.open(QIODevice::ReadOnly | QIODevice::Text));
    const QStringList expected = QString::fromUtf8(golden.readAll()).split('\n');
    // A node of a group, with a few settings of its own besides the port's.
    QAStNode* node = QAStNode::toNode(build(QStringLiteral("node")));
    QAStConfiguration* own = node->currentConfiguration();
    own->setProperty(QStringLiteral("tcflags"), QStringLiteral("NDEBUG, LEVEL=2"));
    own->setProperty(QStringLiteral("ge_incdir"), QStringList {"include", "/usr/include/extra"});
    own->setProperty(QStringLiteral("exclude_dir"), QStringList {"generated"});
    own->setProperty(QStringLiteral("envVariables"), QVariantMap {{"LANG", "C"}});
    const QStringList actual = substituted(generated(node)).split('\n');
    for (qsizetype i = 0; i < qMin(expected.size(), actual.size()); ++i)
        QVERIFY2(actual.at(i) == expected.at(i), qPrintable(QStringLiteral("line %1: %2").arg(i + 1).arg(actual.at(i))));
    QCOMPARE(actual.size(), expected.size());
}

// Texts that each try to break a single-quoted string in their own way. The
// raw ones go only where no macro is expanded and no path cleaned, which
// would change a line end; none holds a carriage return before a line feed,
// which Perl reads as a line end.
void tst_EnvironmentFile::perlReadsBackHostileTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("raw");
    const auto row = [](const char* tag, const QString& text, const QString& raw = QString()) {
        QTest::newRow(tag) << text << (raw.isNull() ? text : raw);
    };
    row("quotes, and a statement behind one", "it's a \"quote\" ';$NO_SUCH_VARIABLE_X=1;#");
    row("backslashes, before a quote and at the end", "back\\slash \\' and a trailing one\\");
    row("dollar and at signs", "$ alone $NO_SUCH_VARIABLE_Y @x %h {} ()");
    row("line feeds and a carriage return where nothing expands", "plain", "line\nend\\ '\r'\\\\\n");
    row("non-ASCII", QString::fromUtf8("\u00e9\u00fc\u00df \u65e5\u672c \u20ac"));
}

// Every text and list of the node's configuration holds the text, so that a
// line that forgets its quoting breaks the file; a few places of each form
// are read back exactly.
void tst_EnvironmentFile::perlReadsBackHostileTexts()
{
    QFETCH(QString, text);
    QFETCH(QString, raw);
    QAStNode* node = QAStNode::toNode(build(QStringLiteral("node"), text));
    node->setName(text);
    host.cms = raw;
    host.user = raw;
    QAStConfiguration* own = node->currentConfiguration();
    static const QStringList kept {"name", "targetPath", "sourceLanguage"};
    for (const QString& key : QAStConfiguration::defaultKeys()) {
        const int type = own->property(key).typeId();
        if (type == QMetaType::QString && !kept.contains(key))
            own->setProperty(key, text);
        else if (type == QMetaType::QStringList)
            own->setProperty(key, QStringList {text, text});
    }
    own->setProperty(QStringLiteral("tsf_selective_file"), QStringList {raw});
    own->setProperty(QStringLiteral("envVariables"), QVariantMap {{raw, text}});
    const PerlView view = perlView(node);
    QVERIFY2(!view.contains(QStringLiteral("error")), qPrintable(view.value(QStringLiteral("error")).join('\n')));
    QVERIFY(!view.contains(QStringLiteral("$NO_SUCH_VARIABLE_X")));
    const PerlView expected {{"$PROJECT_NAME", {text}}, {"$NAME", {text}}, {"$CFLAGS", {text}},
                             {"$ZTG_COMPILER_VERSION", {text}}, {"@INCLUDE_DIR_LIST", {"2", text, text}},
                             {"@ZTG_EXCLUDED_DIRS", {"2", text, text}}, {"@ZTG_SELECTIVE_FILES", {"1", raw}},
                             {"%" + raw, {text}}, {"$CMSTOOL", {raw}}, {"$USERNAME", {raw}}};
    for (auto it = expected.constBegin(); it != expected.constEnd(); ++it)
        QCOMPARE(view.value(it.key()), it.value());
}

void tst_EnvironmentFile::linesFollowTheSettingsAndTheNode_data()
{
    QTest::addColumn<QStringList>("path");
    QTest::addColumn<QVariantMap>("settings");
    QTest::addColumn<QStringList>("present");
    QTest::addColumn<QStringList>("absent");
    const auto row = [](const char* tag, const QStringList& path, const QVariantMap& settings,
                        const QStringList& present, const QStringList& absent = {}) {
        QTest::newRow(tag) << path << settings << present << absent;
    };
    const QString error = QStringLiteral("Error: Unable to generate the Target Deployment Port path because "
                                         "the target package named [missing] cannot be found in the installation");
    const int analyses = 0x3F | 0x200 | 0x400 | 0x800 | 0x2000;
    const QStringList node {"node"};
    row("empty texts and lists: some lines go, the others stay empty", node, {},
        {"$ZTS_TRACE='';", "@INCLUDE_DIR_LIST=();"}, {"$ZTS_VAL_DISP=", "$USER_ALK_FILE=", "@ZTG_EXCLUDED_DIRS="});
    row("conditions split at unescaped commas, each stripped", node, {{"tcflags", " A, B\\,C ,D "}},
        {"@GENERATION_CONDITION=('A', 'B,C', 'D');"});
    row("a condition of one letter, and one ending in a backslash", node, {{"tcflags", "D,x\\"}},
        {"@GENERATION_CONDITION=('D', 'x\\\\');"});
    row("macros expand on the node, from its own configuration", node,
        {{"cflags", "-O2 -I$$PRJNAME"}, {"arguments", "$$CFLAGS it's"}, {"ldflags", "$$NOSUCH -L."}},
        {"$CFLAGS='-O2 -Iproj';", "$ARGUMENTS='-O2 -I$$PRJNAME it\\'s';", "$LDFLAGS=' -L.';"});
    row("macros of configuration values read the raw values", node,
        {{"cflags", "-O2"}, {"ldflags", "-L."}, {"additionnalObjects", "m.o"}, {"arguments", "x"},
         {"intdir", "obj"}, {"outdir", "rep"}, {"ge_incdir", QStringList {"a", "b"}},
         {"ztt_split_prefixe", "$$CFLAGS|$$LDFLAGS|$$LDLIBS|$$ARGS|$$OUTDIR|$$REPORTDIR|-I$$CPPINCLUDES|$$TARGETDIR"}},
        {"$ZTT_SPLIT_PREFIX='-O2|-L.|m.o|x|obj|rep|-Ia -Ib|@PORTS@/plain';"});
    row("environment variables in key order, keys and values escaped", node,
        {{"envVariables", QVariantMap {{"B'", "v\\"}, {"A", "1"}}}}, {"$ENV{'A'} = '1';\n$ENV{'B\\''} = 'v\\\\';"});
    row("without the print buffer its size is 0", node, {{"printbuffersize", 77}}, {"$ZTO_PRINT_BUFFER_SIZE=0;"});
    row("values that go only with their option", node,
        {{"fdc_name_opt", 2}, {"fdc_value", "v"}, {"st_thread_function", "f"}, {"st_trace_circular", true},
         {"st_bufsize", 0}, {"ztp_fmwl", false}},
        {"$ZTG_FDC_NAME_OPT=2;", "$ZTS_TRACE_CIRCULAR=1;"},
        {"$ZTG_FDC_VALUE=", "$ZTS_THREAD_FUNCTION=", "$ZTS_BUFSIZE=", "$ZTP_MAX_FREEQ_LENGTH="});
    row("the debugger and the steps", node, {{"executionFlag", 0x100 | 0x1 | 0x4 | 0x10}},
        {"$EXECMODE='DEBUG';", "$STAGE='cte';"});
    row("Ada keeps coverage alone", node, {{"sourceLanguage", "Ada95"}, {"executionFlag", analyses}},
        {"$ZTCMODE=1;", "$ZTTMODE=0;", "$ZTPMODE=0;", "$ZTKMODE=0;", "$TDP_LANGUAGE='ADA95';"});
    row("a port that refuses coverage turns it off", node, {{"targetPath", "nocoverage"}, {"executionFlag", analyses}},
        {"$ZTCMODE=0;", "$ZTTMODE=1;", "$TARGETDIR='@PORTS@/nocoverage';"});
    row("a port that is not installed gives its error as the directory", node,
        {{"targetPath", "missing"}, {"executionFlag", analyses}},
        {"$TARGETDIR='" + error + "';\n$LP_TARGETDIR='" + error + "';", "$ZTCMODE=0;"});
    row("a port kept in the project", node, {{"targetPathAsRelative", true}, {"targetPath", "own"}},
        {"$TARGETDIR='@PROJECT@/own';\n$LP_TARGETDIR='@PROJECT@/own';"});
    row("file names given are kept, a relative rule file is the project's", node,
        {{"sourceFile", "s.c"}, {"ztt_split_prefixe", "p"}, {"misraconf", "rules.xml"}},
        {"$SRCFILE='s.c';", "$ZTT_SPLIT_PREFIX='p';", "$MISRA_CONF='@PROJECT@/rules.xml';"});
    row("verbose tool output asked for", node, {{"preference verbose", true}},
        {"$MIME_NAME = 'UTF-8';\n$ENV{'ZENTASTUDIO_VERBOSE'} = '1';"});
    row("variables of the definition file", node, {{"generationFormat", "DLL"}, {"version", "v'2"}},
        {"$ZTL_GENERATION_FORMAT='DLL';", "$ZTG_COMPILER_VERSION='v\\'2';"});

    row("data that is no node has the frame alone", {"data"}, {}, {"$PROJECT_NAME='proj';", "$STUDIO_PORT=4711;"},
        {"$BATCH_MODE="});
    row("a node outside a project has no configuration", {"outside"}, {}, {"$PROJECT_NAME='';", "$BATCH_MODE=0;"},
        {"$CONFIGURATION="});
    row("a test node names its sources, its program and its trace file", {"QAStNodeTest x", "QAStNodeSource s.c", ""},
        {}, {"@SOURCES=('src/s.c');", "$ZTL_OUT_FILE='plain/x.spt';", "$TEST_NAME='x';", "$TESTPROGRAM='plain/x';",
             "$TESTPROGRAM_ABS='@PROJECT@/plain/x';", "$JAVA_JARFILENAME='@PROJECT@/plain/x';", "$FILENAME='';"},
        {"$TDF_CHANNEL="});
    row("a source below a test has the test's trace file", {"QAStNodeTest x", "QAStNodeSource s.c"}, {},
        {"$ZTL_OUT_FILE='plain/x.spt';", "$TEST_NAME='x';", "$FILENAME='@PROJECT@/src/s.c';",
         "$XRDFILE='plain/x.xrd';", "$TESTPROGRAM='';", "$JAVA_JARFILENAME='@PROJECT@/plain/x';"},
        {"@SOURCES="});
    row("a node below a unit test", {"QAStNodeUnitTesting u", "QAStNodeSource s.c"}, {},
        {"$ZTUMODE=1;", "$ZTOMODE=0;", "$ZTU_INTERMEDIATE_FILE='Tu';"});
    row("a test script of a system test has its channel", {"QAStNodeSystemTesting st", "QAStNodeTestScript t.pts"}, {},
        {"$TDF_CHANNEL=7;", "$ZTSMODE=1;", "$ZTUMODE=0;"});
}

// The path names the class and the name of each object of a chain below the
// project, an empty entry going back to the parent; the file is the last
// one's. The settings are that object's own, or the user's preferences.
void tst_EnvironmentFile::linesFollowTheSettingsAndTheNode()
{
    QFETCH(QStringList, path);
    QFETCH(QVariantMap, settings);
    QFETCH(QStringList, present);
    QFETCH(QStringList, absent);
    using Make = QAStData* (*)(const QString&, QAStData*);
    static const QMap<QString, Make> make {
        {"QAStNodeTest", &made<QAStNodeTest>}, {"QAStNodeUnitTesting", &made<QAStNodeUnitTesting>},
        {"QAStNodeSystemTesting", &made<QAStNodeSystemTesting>}, {"QAStNodeSource", &madeFile<QAStNodeSource>},
        {"QAStNodeTestScript", &madeFile<QAStNodeTestScript>}, {"data", &made<TestData>}};
    QAStData* data = build(path.first() == QLatin1String("node") ? path.first() : QStringLiteral("project"));
    std::unique_ptr<PlainNode> outside;
    for (const QString& entry : path) {
        if (entry == QLatin1String("outside"))
            data = (outside = std::make_unique<PlainNode>(entry, QPixmap())).get();
        else if (entry != QLatin1String("node"))
            data = entry.isEmpty() ? data->parent() : make.value(entry.section(' ', 0, 0))(entry.section(' ', -1), data);
    }
    auto preferences = qScopeGuard([] { QAStData::preferences()->setValue(QStringLiteral("verbose"), false); });
    for (auto it = settings.constBegin(); it != settings.constEnd(); ++it) {
        if (it.key().startsWith(QLatin1String("preference ")))
            QAStData::preferences()->setValue(it.key().section(' ', 1), it.value());
        else
            QAStNode::toNode(data)->currentConfiguration()->setProperty(it.key(), it.value());
    }
    const QString text = substituted(generated(data));
    for (const QString& line : present)
        QVERIFY2(text.contains('\n' + line + '\n'), qPrintable(line));
    for (const QString& start : absent)
        QVERIFY2(!text.contains('\n' + start), qPrintable(start));
}

QTEST_MAIN(tst_EnvironmentFile)
#include "tst_environmentfile.moc"
