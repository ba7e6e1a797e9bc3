#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastprojectpref.h"
#include "qastproject.h"
#include "qasttargetpackagelist.h"
#include "recordinghost.h"
#include "settingsfixture.h"
#include "testdata.h"
#include "withoutmenus.h"

#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QSysInfo>
#include <QTemporaryDir>

#include <functional>

namespace {

// Node kinds built on this library; the generator knows them by class name
// and reaches their operations through the meta-object.
class QAStNodeTest : public QAStNodeContainer
{
    Q_OBJECT
public:
    QAStNodeTest(const QString& name, QAStData* parent) : QAStNodeContainer(name, QPixmap(), parent) {}
    Q_INVOKABLE QString binaryTester() { return directory() + QStringLiteral("/bin/") + name(); }
};
class QAStNodeUnitTesting : public QAStNodeTest { Q_OBJECT using QAStNodeTest::QAStNodeTest; };
class QAStNodeSystemTesting : public QAStNodeTest
{
    Q_OBJECT
    using QAStNodeTest::QAStNodeTest;
    Q_INVOKABLE int connectedTDFChannel() { return 7; }
};
class QAStNodeFileRef : public WithoutMenus<QAStNode>
{
    Q_OBJECT
public:
    QAStNodeFileRef(const QString& name, QAStData* parent) : WithoutMenus(name, QPixmap(), parent) {}
    Q_INVOKABLE QString fileKey() { return QStringLiteral("src/") + name(); }
    Q_INVOKABLE QString absolutePath() { return determineAbsolutePathFile(fileKey()); }
};
class QAStNodeSource : public QAStNodeFileRef { Q_OBJECT using QAStNodeFileRef::QAStNodeFileRef; };
class QAStNodeTestScript : public QAStNodeFileRef { Q_OBJECT using QAStNodeFileRef::QAStNodeFileRef; };
using PlainNode = WithoutMenus<QAStNode>;

template <class Kind>
QAStData* made(const QString& name, QAStData* parent)
{
    return new Kind(name, parent);
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

// Texts that each try to break a single-quoted string in their own way, from
// 2000 on raw ones. The others hold no macro, line end or slash, which
// expansion or path cleaning would change. No raw one holds a carriage
// return before a line feed, which Perl reads as a line end.
QString hostile(int i)
{
    static const QStringList texts {
        QStringLiteral("it's a \"quote\""), QStringLiteral("back\\slash, and a trailing one\\"),
        QStringLiteral("\\'"), QStringLiteral("';$NO_SUCH_VARIABLE_X=1;#"),
        QStringLiteral("$ alone, $NO_SUCH_VARIABLE_Y @x %h {} ()"),
        QString::fromUtf8("non-ASCII \u00e9\u00fc\u00df \u65e5\u672c \u20ac"),
        QStringLiteral("ab'\\c$ d@e").repeated(2000)};
    if (i >= 2000)
        return i % 2 ? QStringLiteral("line\nend\\") : QStringLiteral("'\r'\\\\\n");
    return texts.at(i % texts.size());
}

} // namespace

class tst_EnvironmentFile : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void goldenFileLineByLine();
    void perlReadsBackTheIntendedValues_data();
    void perlReadsBackTheIntendedValues();
    void linesFollowTheSettingsAndTheNode_data();
    void linesFollowTheSettingsAndTheNode();

private:
    /// A fresh project and the object of \a kind to generate for. With
    /// \a text, the texts of the tree and every text of the configuration
    /// are text(i), each i standing for one place.
    QAStData* build(const QString& kind, const std::function<QString(int)>& text = nullptr);
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
    writeFile(ports.filePath("plain/tp.ini"), "NAME = \"Plain\"\nLANGUAGE = \"CPP\"\nSRCEXT = \"cpp\"\n");
    writeFile(ports.filePath("nocoverage/tp.ini"), "NAME = \"No coverage\"\nLANGUAGE = \"C\"\nZTCMODE = \"0\"\n");
    writeFile(dir.filePath("own/tp.ini"), "NAME = \"Own\"\n");
    writeFile(dir.filePath("dump.pl"), dumpScript);
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

QAStData* tst_EnvironmentFile::build(const QString& kind, const std::function<QString(int)>& text)
{
    const auto name = [&](int i, const char* plain) { return text ? text(i) : QString::fromLatin1(plain); };
    project = std::make_unique<QAStProject>(QPixmap());
    project->create(dir.filePath(QStringLiteral("proj.vmp")));
    project->setName(name(0, "proj"));
    project->addConfiguration(name(2000, "Debug"));
    QAStConfiguration* initial = project->initialConfiguration(name(2000, "Debug"));
    initial->init(*QAStTargetPackageList::installTargetPackages()->targetPackage(QStringLiteral("plain")));
    host.cms = name(2001, "");
    host.user = name(2002, "tester");
    QAStData* data = project.get();
    if (kind == QLatin1String("no node")) {
        data = new TestData(QStringLiteral("data"), data);
    } else if (kind != QLatin1String("project")) {
        // A group holding the node, which has a result, and a subgroup.
        auto* group = new QAStNodeGroup(name(1, "G"), data);
        auto* node = new PlainNode(name(2, "n"), QPixmap(), group);
        new QAStNodeGroup(QStringLiteral("sub"), group, node);
        node->addOutFileName(QStringLiteral("FDC"), QStringLiteral("/r/") + name(3, "n.fdc"));
        data = kind == QLatin1String("group") ? static_cast<QAStNode*>(group) : node;
        for (int level = 2; kind == QLatin1String("node 10 levels deep") && level < 10; ++level)
            data = new PlainNode(QStringLiteral("level%1").arg(level), QPixmap(), data);
    }
    int quid = 100;
    project->setQuid(quid++);
    for (QAStData* each : project->childrenOfClass("QAStData", true))
        each->setQuid(quid++);
    if (!text)
        return data;

    static const QStringList kept {"name", "targetPath", "sourceLanguage"};
    static const QStringList raw {"tsf_selective_file", "tsf_selective_class", "dump_incoming_list",
                                  "dump_returning_list", "dump_calling_list", "ztc_selective_functions_list"};
    int i = 10;
    for (const QString& key : QAStConfiguration::defaultKeys()) {
        const int type = initial->property(key).typeId();
        if (key == QLatin1String("tcflags"))
            initial->setProperty(key, text(1000)); // a text of one item
        else if (type == QMetaType::QString && !kept.contains(key))
            initial->setProperty(key, text(i++));
        else if (type == QMetaType::QStringList)
            initial->setProperty(key, QStringList {text(i++ + (raw.contains(key) ? 2000 : 0)), text(i++)});
    }
    initial->setProperty(QStringLiteral("envVariables"), QVariantMap {{text(2000 + i), text(i + 1)}});
    initial->setProperty(QStringLiteral("executionFlag"), 0x3F | 0x200); // the group lists its coverage files
    return data;
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

void tst_EnvironmentFile::perlReadsBackTheIntendedValues_data()
{
    QTest::addColumn<QString>("kind");
    for (const char* kind : {"no node", "project", "group", "node", "node 10 levels deep"})
        QTest::addRow("%s with hostile texts", kind) << kind;
}

// A first file is made with a plain token in place of each text, and Perl must
// read the second, made with the texts, as the first with each token replaced
// by its text. The golden file pins down the text itself.
void tst_EnvironmentFile::perlReadsBackTheIntendedValues()
{
    QFETCH(QString, kind);
    const auto token = [](int i) { return QStringLiteral("tk%1q").arg(i, 4, 10, QLatin1Char('0')); };
    const PerlView probe = perlView(build(kind, token));
    static const QRegularExpression tokens(QStringLiteral("tk(\\d{4})q"));
    const auto untokened = [](QString value) {
        for (QRegularExpressionMatch m; (m = tokens.match(value)).hasMatch();)
            value.replace(m.capturedStart(), m.capturedLength(), ::hostile(m.captured(1).toInt()));
        return value;
    };
    PerlView expected;
    for (auto it = probe.constBegin(); it != probe.constEnd(); ++it) {
        QStringList& values = expected[untokened(it.key())];
        for (const QString& value : it.value())
            values << untokened(value);
    }
    const PerlView view = perlView(build(kind, ::hostile));
    QVERIFY2(!view.contains(QStringLiteral("error")), qPrintable(view.value(QStringLiteral("error")).join('\n')));
    QVERIFY(!view.contains(QStringLiteral("$NO_SUCH_VARIABLE_X")));
    QCOMPARE(view.keys(), expected.keys());
    for (auto it = view.constBegin(); it != view.constEnd(); ++it)
        QVERIFY2(it.value() == expected.value(it.key()),
                 qPrintable(it.key() + ": " + it.value().join('|').left(300) + " instead of "
                            + expected.value(it.key()).join('|').left(300)));
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
    row("a quote arrives escaped, a backslash doubled, raw or not", node,
        {{"cflags", "it's"}, {"intdir", "a\\b"}, {"tsf_selective_file", QStringList {"c'\\"}}},
        {"$CFLAGS='it\\'s';", "$INTDIR='a\\\\b';", "@ZTG_SELECTIVE_FILES=('c\\'\\\\');"});
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
        {}, {"@SOURCES=('src/s.c');", "$ZTL_OUT_FILE='plain/x.spt';", "$TEST_NAME='x';", "$TESTPROGRAM='bin/x';",
             "$TESTPROGRAM_ABS='@PROJECT@/bin/x';", "$JAVA_JARFILENAME='@PROJECT@/bin/x';", "$FILENAME='';"},
        {"$TDF_CHANNEL="});
    row("a source below a test has the test's trace file", {"QAStNodeTest x", "QAStNodeSource s.c"}, {},
        {"$ZTL_OUT_FILE='plain/x.spt';", "$TEST_NAME='x';", "$FILENAME='@PROJECT@/src/s.c';",
         "$XRDFILE='plain/x.xrd';", "$TESTPROGRAM='';", "$JAVA_JARFILENAME='@PROJECT@/bin/x';"},
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
        {"QAStNodeSystemTesting", &made<QAStNodeSystemTesting>}, {"QAStNodeSource", &made<QAStNodeSource>},
        {"QAStNodeTestScript", &made<QAStNodeTestScript>}, {"data", &made<TestData>}};
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
