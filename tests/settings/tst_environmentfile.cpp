#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastperlgen.h"
#include "qastprojectpref.h"
#include "qastproject.h"
#include "qasttargetpackagelist.h"
#include "recordinghost.h"
#include "testdata.h"
#include "withoutmenus.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSysInfo>
#include <QTemporaryDir>
#include <QTest>

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
class QAStNodeUnitTesting : public QAStNodeTest
{
    Q_OBJECT
public:
    using QAStNodeTest::QAStNodeTest;
};
class QAStNodeSystemTesting : public QAStNodeTest
{
    Q_OBJECT
public:
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
class QAStNodeSource : public QAStNodeFileRef
{
    Q_OBJECT
public:
    using QAStNodeFileRef::QAStNodeFileRef;
};
class QAStNodeTestScript : public QAStNodeFileRef
{
    Q_OBJECT
public:
    using QAStNodeFileRef::QAStNodeFileRef;
};
using PlainNode = WithoutMenus<QAStNode>;

class EnvironmentHost : public RecordingHost
{
public:
    QString cmsTool() override { return cms; }
    QString userName() override { return user; }
    QString cms;
    QString user = QStringLiteral("tester");
};

// Prints every variable that the environment file gives Perl, and every
// entry it changes in %ENV, each value hex-encoded: the comparison is on
// the bytes Perl holds.
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

// Texts that each try to break a single-quoted string in its own way; none
// holds a macro, a line feed or a slash, which expansion or paths would change.
QString hostile(int i)
{
    static const QStringList texts {
        QStringLiteral("it's a \"quote\""),
        QStringLiteral("back\\slash, and a trailing one\\"),
        QStringLiteral("\\'"),
        QStringLiteral("';$NO_SUCH_VARIABLE_X=1;#"),
        QStringLiteral("$ alone, $NO_SUCH_VARIABLE_Y @x %h {} ()"),
        QString::fromUtf8("non-ASCII \u00e9\u00fc\u00df \u65e5\u672c \u20ac"),
        QStringLiteral("ab'\\c$ d@e").repeated(2000),
    };
    return texts.at(i % texts.size());
}

// Raw texts are written without expansion, so they may hold line ends too;
// not a carriage return before a line feed, which Perl reads as a line end.
QString hostileRaw(int i)
{
    return i % 2 ? QStringLiteral("line\nend\\") : QStringLiteral("'\r'\\\\\n");
}

} // namespace

class tst_EnvironmentFile : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();
    void goldenFileLineByLine();
    void perlReadsBackTheIntendedValues_data();
    void perlReadsBackTheIntendedValues();
    void settingsShapeTheLines_data();
    void settingsShapeTheLines();
    void nodeKindsShapeTheLines_data();
    void nodeKindsShapeTheLines();

private:
    /// The tree of \a kind in a fresh project: the node to generate for.
    QAStData* build(const QString& kind, const QString& configuration = QStringLiteral("Debug"),
                    const std::function<QString(int)>& text = nullptr);
    PerlView perlView(QAStData* data);
    QString substituted(QString text) const;

    EnvironmentHost host;
    QTemporaryDir ports;
    QTemporaryDir dir;
    QString driver;
    QAStProject* project = nullptr;
};

void tst_EnvironmentFile::initTestCase()
{
    installProcessLeakGuard();
    QAStData::initialize(&host);
    const auto writePort = [this](const QString& name, const QByteArray& text) {
        QDir().mkpath(ports.filePath(name));
        QFile file(ports.filePath(name + QStringLiteral("/tp.ini")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(text);
    };
    writePort(QStringLiteral("plain"), "NAME = \"Plain\"\nLANGUAGE = \"CPP\"\nSRCEXT = \"cpp\"\n");
    writePort(QStringLiteral("nocoverage"), "NAME = \"No coverage\"\nLANGUAGE = \"C\"\nZTCMODE = \"0\"\n");
    QAStData::preferences()->setValue(QStringLiteral("tdpDirectories"), QStringList(ports.path()));
    QVERIFY(QAStTargetPackageList::initialize(&host));
    QVERIFY(QAStConfiguration::initialize(&host));
    driver = dir.filePath(QStringLiteral("dump.pl"));
    QFile file(driver);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(dumpScript);
}

void tst_EnvironmentFile::cleanupTestCase()
{
    QAStConfiguration::terminate();
    QAStTargetPackageList::terminate();
}

void tst_EnvironmentFile::init()
{
    host.messages.clear();
    host.cms.clear();
    host.user = QStringLiteral("tester");
}

void tst_EnvironmentFile::cleanup()
{
    delete project;
    project = nullptr;
    QAStData::preferences()->reset();
    QAStData::preferences()->setValue(QStringLiteral("tdpDirectories"), QStringList(ports.path()));
}

QAStData* tst_EnvironmentFile::build(const QString& kind, const QString& configuration,
                                     const std::function<QString(int)>& text)
{
    delete project;
    project = new QAStProject(QPixmap());
    project->create(dir.filePath(QStringLiteral("proj.vmp")));
    project->setName(text ? text(0) : QStringLiteral("proj"));
    project->setQuid(100);
    project->addConfiguration(configuration);
    QAStConfiguration* initial = project->initialConfiguration(configuration);
    initial->init(*QAStTargetPackageList::installTargetPackages()->targetPackage(QStringLiteral("plain")));
    QAStData* data = project;
    if (kind == QLatin1String("no node")) {
        data = new TestData(QStringLiteral("data"), project);
    } else if (kind != QLatin1String("project")) {
        // A group holding the node, a sibling with a result, and a subgroup.
        auto* group = new QAStNodeGroup(text ? text(1) : QStringLiteral("G"), project);
        auto* node = new PlainNode(text ? text(2) : QStringLiteral("n"), QPixmap(), group);
        new QAStNodeGroup(QStringLiteral("sub"), group, node);
        node->addOutFileName(QStringLiteral("FDC"), QStringLiteral("/r/") + (text ? text(3) : QStringLiteral("n.fdc")));
        node->addOutFileName(QStringLiteral("ROD"), QStringLiteral("/r/n.rod"));
        data = kind == QLatin1String("group") ? static_cast<QAStNode*>(group) : node;
        for (int level = 0; kind == QLatin1String("node 10 levels deep") && level < 8; ++level)
            data = new PlainNode(QStringLiteral("level%1").arg(level), QPixmap(), data);
    }
    int quid = 101;
    for (QAStData* each : project->childrenOfClass("QAStData", true))
        each->setQuid(quid++);
    if (!text)
        return data;

    // Every text setting, list and map of the configuration.
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
    initial->setProperty(QStringLiteral("executionFlag"), 0x3F | 0x200);
    host.cms = text(2000 + i + 2);
    host.user = text(2000 + i + 3);
    return data;
}

PerlView tst_EnvironmentFile::perlView(QAStData* data)
{
    host.messages.clear();
    QTextStream stream;
    if (!data->createEnvironmentFile(stream))
        return {{QStringLiteral("error"), {QStringLiteral("cannot write the file")}}};
    data->generateEnv(stream);
    QSignalSpy terminated(data, &QAStData::perlScriptTerminated);
    data->executePerlScript(driver, dir.path(), &stream, true);
    if (!terminated.wait(20000) || data->executionStatus() != 0)
        return {{QStringLiteral("error"), {host.consoleText(QAStData::BuildConsole)}}};
    PerlView view;
    const QStringList lines = host.consoleText(QAStData::BuildConsole).split('\n', Qt::SkipEmptyParts);
    for (const QString& line : lines) {
        QString name = line.section('=', 0, 0);
        QStringList values = line.section('=', 1).split(',');
        // An array's line begins with its number of items.
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
    text.replace(QDir(ports.path()).canonicalPath(), QStringLiteral("@PORTS@"));
    text.replace(ports.path(), QStringLiteral("@PORTS@"));
    text.replace(dir.path(), QStringLiteral("@PROJECT@"));
    text.replace(RecordingHost::stageDir(), QStringLiteral("@STAGE@"));
    text.replace(QDir::currentPath(), QStringLiteral("@CWD@"));
    text.replace(QLatin1Char('\'') + QSysInfo::machineHostName() + QLatin1Char('\''), QStringLiteral("'@HOST@'"));
    return text;
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
    QTest::addColumn<bool>("hostile");
    for (const char* kind : {"no node", "project", "group", "node", "node 10 levels deep"}) {
        QTest::addRow("%s with default settings", kind) << kind << false;
        QTest::addRow("%s with hostile texts", kind) << kind << true;
    }
}

// With defaults, Perl must read each value as its line shows it. With hostile
// texts, a first file is made with a plain token in place of each text, and
// Perl must read the second as the first with each token replaced by its text.
void tst_EnvironmentFile::perlReadsBackTheIntendedValues()
{
    QFETCH(QString, kind);
    QFETCH(bool, hostile);
    const auto token = [](int i) { return QStringLiteral("tk%1q").arg(i, 4, 10, QLatin1Char('0')); };
    const auto text = [](int i) { return i >= 2000 ? hostileRaw(i) : ::hostile(i); };
    PerlView expected;
    QAStData* data = nullptr;
    if (hostile) {
        const PerlView probe = perlView(build(kind, token(2000), token));
        static const QRegularExpression tokens(QStringLiteral("tk(\\d{4})q"));
        const auto untokened = [&](QString value) {
            for (QRegularExpressionMatch m; (m = tokens.match(value)).hasMatch();)
                value.replace(m.capturedStart(), m.capturedLength(), text(m.captured(1).toInt()));
            return value;
        };
        for (auto it = probe.constBegin(); it != probe.constEnd(); ++it) {
            QStringList values;
            for (const QString& value : it.value())
                values << untokened(value);
            expected.insert(untokened(it.key()), values);
        }
        data = build(kind, text(2000), text);
    } else {
        data = build(kind);
        const QString written = generated(data);
        static const QRegularExpression scalar(QStringLiteral("^\\$(\\w+) ?= ?'?((?:[^'\\\\]|\\\\.)*?)'?;$"),
                                               QRegularExpression::MultilineOption);
        for (auto match = scalar.globalMatch(written); match.hasNext();) {
            const QRegularExpressionMatch m = match.next();
            QString value = m.captured(2);
            value.replace(QStringLiteral("\\'"), QStringLiteral("'")).replace(QStringLiteral("\\\\"), QStringLiteral("\\"));
            expected.insert('$' + m.captured(1), {value});
        }
        static const QRegularExpression array(QStringLiteral("^@(\\w+)=\\((.*)\\);$"),
                                              QRegularExpression::MultilineOption);
        for (auto match = array.globalMatch(written); match.hasNext();) {
            const QRegularExpressionMatch m = match.next();
            const QStringList items = m.captured(2).split(QRegularExpression(QStringLiteral(", ?")), Qt::SkipEmptyParts);
            QStringList values {QString::number(items.size())};
            for (const QString& item : items)
                values << item.mid(1, item.size() - 2);
            expected.insert('@' + m.captured(1), values);
        }
    }
    const PerlView view = perlView(data);
    QVERIFY2(!view.contains(QStringLiteral("error")), qPrintable(view.value(QStringLiteral("error")).join('\n')));
    QVERIFY(!view.contains(QStringLiteral("$NO_SUCH_VARIABLE_X")));
    QCOMPARE(view.keys(), expected.keys());
    for (auto it = view.constBegin(); it != view.constEnd(); ++it)
        QVERIFY2(it.value() == expected.value(it.key()),
                 qPrintable(it.key() + ": " + it.value().join('|').left(300) + " instead of "
                            + expected.value(it.key()).join('|').left(300)));
}

void tst_EnvironmentFile::settingsShapeTheLines_data()
{
    QTest::addColumn<QVariantMap>("settings");
    QTest::addColumn<QStringList>("present");
    QTest::addColumn<QStringList>("absent");
    const QString error = QStringLiteral("Error: Unable to generate the Target Deployment Port path because "
                                         "the target package named [missing] cannot be found in the installation");
    QTest::newRow("an empty value list writes nothing, an empty trace an empty text")
        << QVariantMap() << QStringList {"$ZTS_TRACE='';"} << QStringList {"$ZTS_VAL_DISP=", "$USER_ALK_FILE="};
    QTest::newRow("an empty compact list writes nothing, an empty list an empty one")
        << QVariantMap() << QStringList {"@INCLUDE_DIR_LIST=();"} << QStringList {"@ZTG_EXCLUDED_DIRS="};
    QTest::newRow("a list takes a blank after its commas, a compact list none")
        << QVariantMap {{"ge_incdir", QStringList {"a", "b"}}, {"exclude_dir", QStringList {"x", "y"}}}
        << QStringList {"@INCLUDE_DIR_LIST=('a', 'b');", "@ZTG_EXCLUDED_DIRS=('x','y');"} << QStringList();
    QTest::newRow("conditions split at unescaped commas, each stripped")
        << QVariantMap {{"tcflags", " A, B\\,C ,D "}} << QStringList {"@GENERATION_CONDITION=('A', 'B,C', 'D');"}
        << QStringList();
    QTest::newRow("a condition of one letter, and one ending in a backslash")
        << QVariantMap {{"tcflags", "D,x\\"}} << QStringList {"@GENERATION_CONDITION=('D', 'x\\\\');"} << QStringList();
    QTest::newRow("a quote arrives escaped, a backslash doubled")
        << QVariantMap {{"cflags", "it's"}, {"intdir", "a\\b"}, {"tsf_selective_file", QStringList {"c'\\"}}}
        << QStringList {"$CFLAGS='it\\'s';", "$INTDIR='a\\\\b';", "@ZTG_SELECTIVE_FILES=('c\\'\\\\');"} << QStringList();
    QTest::newRow("environment variables in key order, keys and values escaped")
        << QVariantMap {{"envVariables", QVariantMap {{"B'", "v\\"}, {"A", "1"}}}}
        << QStringList {"$ENV{'A'} = '1';\n$ENV{'B\\''} = 'v\\\\';"} << QStringList();
    QTest::newRow("without the print buffer its size is 0")
        << QVariantMap {{"printbuffersize", 77}} << QStringList {"$ZTO_PRINT_BUFFER_SIZE=0;"} << QStringList();
    QTest::newRow("with the print buffer its size")
        << QVariantMap {{"printbuffer", true}, {"printbuffersize", 77}} << QStringList {"$ZTO_PRINT_BUFFER_SIZE=77;"}
        << QStringList();
    QTest::newRow("values that only go with their option")
        << QVariantMap {{"fdc_name_opt", 2}, {"fdc_value", "v"}, {"st_thread_function", "f"},
                        {"st_trace_circular", true}, {"st_bufsize", 0}, {"ztp_fmwl", false}}
        << QStringList {"$ZTG_FDC_NAME_OPT=2;", "$ZTS_TRACE_CIRCULAR=1;"}
        << QStringList {"$ZTG_FDC_VALUE=", "$ZTS_THREAD_FUNCTION=", "$ZTS_BUFSIZE=", "$ZTP_MAX_FREEQ_LENGTH="};
    QTest::newRow("the options given, their values follow")
        << QVariantMap {{"st_thread", true}, {"st_thread_function", "f"}, {"st_trace_circular", true}, {"st_bufsize", 3}}
        << QStringList {"$ZTS_THREAD_FUNCTION='f';", "$ZTS_BUFSIZE=3;", "$ZTP_MAX_FREEQ_LENGTH=100;"} << QStringList();
    QTest::newRow("the debugger and the steps")
        << QVariantMap {{"executionFlag", 0x100 | 0x1 | 0x4 | 0x10}} << QStringList {"$EXECMODE='DEBUG';", "$STAGE='cte';"}
        << QStringList();
    QTest::newRow("C++ keeps the analyses")
        << QVariantMap {{"executionFlag", 0x3F | 0x200 | 0x400 | 0x800 | 0x2000}}
        << QStringList {"$ZTCMODE=1;", "$ZTTMODE=1;", "$ZTPMODE=1;", "$ZTKMODE=1;"} << QStringList();
    QTest::newRow("Ada keeps coverage alone")
        << QVariantMap {{"sourceLanguage", "Ada95"}, {"executionFlag", 0x3F | 0x200 | 0x400 | 0x800 | 0x2000}}
        << QStringList {"$ZTCMODE=1;", "$ZTTMODE=0;", "$ZTPMODE=0;", "$ZTKMODE=0;", "$TDP_LANGUAGE='ADA95';"}
        << QStringList();
    QTest::newRow("a port that refuses coverage turns it off")
        << QVariantMap {{"targetPath", "nocoverage"}, {"executionFlag", 0x3F | 0x200}}
        << QStringList {"$ZTCMODE=0;", "$TARGETDIR='@PORTS@/nocoverage';"} << QStringList();
    QTest::newRow("a port that is not installed gives its error as the directory")
        << QVariantMap {{"targetPath", "missing"}, {"executionFlag", 0x3F | 0x200}}
        << QStringList {"$TARGETDIR='" + error + "';\n$LP_TARGETDIR='" + error + "';", "$ZTCMODE=0;"} << QStringList();
    QTest::newRow("a port kept in the project")
        << QVariantMap {{"targetPathAsRelative", true}, {"targetPath", "own"}}
        << QStringList {"$TARGETDIR='@PROJECT@/own';\n$LP_TARGETDIR='@PROJECT@/own';"} << QStringList();
    QTest::newRow("file names derived where the setting says so")
        << QVariantMap()
        << QStringList {"$SRCFILE='n.cpp';", "$OTIFILE='plain/n.oti';", "$XRDFILE='plain/n.xrd';",
                        "$ZTU_INTERMEDIATE_FILE='Tn';", "$ZTT_SPLIT_PREFIX='ztt';", "$ZTL_OUT_FILE='plain/ztlout.spt';",
                        "$TEST_NAME='ztlout';", "$MISRA_CONF='@STAGE@/Common/lib/confrule.xml';"}
        << QStringList();
    QTest::newRow("file names given are kept, a relative rule file is the project's")
        << QVariantMap {{"sourceFile", "s.c"}, {"ztt_split_prefixe", "p"}, {"misraconf", "rules.xml"}}
        << QStringList {"$SRCFILE='s.c';", "$ZTT_SPLIT_PREFIX='p';", "$MISRA_CONF='@PROJECT@/rules.xml';"}
        << QStringList();
    QTest::newRow("an absolute rule file as it is")
        << QVariantMap {{"misraconf", "/etc/rules.xml"}} << QStringList {"$MISRA_CONF='/etc/rules.xml';"} << QStringList();
    QTest::newRow("a variable of the definition file")
        << QVariantMap {{"generationFormat", "DLL"}, {"version", "v'2"}}
        << QStringList {"$ZTL_GENERATION_FORMAT='DLL';", "$ZTG_COMPILER_VERSION='v\\'2';"} << QStringList();
}

void tst_EnvironmentFile::settingsShapeTheLines()
{
    QFETCH(QVariantMap, settings);
    QFETCH(QStringList, present);
    QFETCH(QStringList, absent);
    QAStNode* node = QAStNode::toNode(build(QStringLiteral("node")));
    QDir().mkpath(dir.filePath(QStringLiteral("own")));
    QFile port(dir.filePath(QStringLiteral("own/tp.ini")));
    QVERIFY(port.open(QIODevice::WriteOnly));
    port.write("NAME = \"Own\"\n");
    port.close();
    for (auto it = settings.constBegin(); it != settings.constEnd(); ++it)
        node->currentConfiguration()->setProperty(it.key(), it.value());
    const QString text = substituted(generated(node));
    for (const QString& line : present)
        QVERIFY2(text.contains('\n' + line + '\n'), qPrintable(line));
    for (const QString& start : absent)
        QVERIFY2(!text.contains('\n' + start), qPrintable(start));
}

void tst_EnvironmentFile::nodeKindsShapeTheLines_data()
{
    QTest::addColumn<QStringList>("path");
    QTest::addColumn<QStringList>("present");
    QTest::addColumn<QString>("end");
    QTest::newRow("data that is no node has the frame alone")
        << QStringList {"data"} << QStringList {"$PROJECT_NAME='proj';"} << "$STUDIO_PORT=4711;\n";
    QTest::newRow("a node outside a project has no configuration")
        << QStringList {"outside"} << QStringList {"$PROJECT_NAME='';"} << "$BATCH_MODE=0;\n";
    QTest::newRow("a test node names its sources, its program and its trace file")
        << QStringList {"QAStNodeTest x", "QAStNodeSource s.c", ""}
        << QStringList {"@SOURCES=('src/s.c');", "$ZTL_OUT_FILE='plain/x.spt';", "$TEST_NAME='x';",
                        "$TESTPROGRAM='bin/x';", "$TESTPROGRAM_ABS='@PROJECT@/bin/x';",
                        "$JAVA_JARFILENAME='@PROJECT@/bin/x';", "$FILENAME='';", "$ZTUMODE=0;"}
        << QString();
    QTest::newRow("a source below a test has the test's trace file")
        << QStringList {"QAStNodeTest x", "QAStNodeSource s.c"}
        << QStringList {"$ZTL_OUT_FILE='plain/x.spt';", "$TEST_NAME='x';", "$FILENAME='@PROJECT@/src/s.c';",
                        "$XRDFILE='plain/x.xrd';", "$TESTPROGRAM='';", "$JAVA_JARFILENAME='@PROJECT@/bin/x';"}
        << QString();
    QTest::newRow("a node below a unit test")
        << QStringList {"QAStNodeUnitTesting u", "QAStNodeSource s.c"}
        << QStringList {"$ZTUMODE=1;", "$ZTOMODE=0;", "$ZTU_INTERMEDIATE_FILE='Tu';"} << QString();
    QTest::newRow("a test script of a system test has its channel")
        << QStringList {"QAStNodeSystemTesting st", "QAStNodeTestScript t.pts"}
        << QStringList {"$TDF_CHANNEL=7;", "$ZTSMODE=1;", "$ZTUMODE=0;"} << QString();
}

// The path names the class and the name of each node of a chain below the
// project; an empty entry goes back to the parent. The file is the last
// node's.
void tst_EnvironmentFile::nodeKindsShapeTheLines()
{
    QFETCH(QStringList, path);
    QFETCH(QStringList, present);
    QFETCH(QString, end);
    QAStData* data = build(QStringLiteral("project"));
    std::unique_ptr<PlainNode> outside;
    for (const QString& entry : path) {
        const QString name = entry.section(' ', 1);
        if (entry == QLatin1String("data"))
            data = new TestData(entry, data);
        else if (entry == QLatin1String("outside"))
            data = (outside = std::make_unique<PlainNode>(entry, QPixmap())).get();
        else if (entry.startsWith(QLatin1String("QAStNodeTest ")))
            data = new QAStNodeTest(name, data);
        else if (entry.startsWith(QLatin1String("QAStNodeUnitTesting ")))
            data = new QAStNodeUnitTesting(name, data);
        else if (entry.startsWith(QLatin1String("QAStNodeSystemTesting ")))
            data = new QAStNodeSystemTesting(name, data);
        else if (entry.startsWith(QLatin1String("QAStNodeSource ")))
            data = new QAStNodeSource(name, data);
        else if (entry.startsWith(QLatin1String("QAStNodeTestScript ")))
            data = new QAStNodeTestScript(name, data);
        else if (entry.isEmpty())
            data = data->parent();
    }
    const QString text = substituted(generated(data));
    for (const QString& line : present)
        QVERIFY2(text.contains(line + '\n'), qPrintable(line));
    if (!end.isEmpty())
        QVERIFY2(text.endsWith('\n' + end), qPrintable(text.right(200)));
}

QTEST_MAIN(tst_EnvironmentFile)
#include "tst_environmentfile.moc"
