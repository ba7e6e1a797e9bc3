#include "qailogmonitor.h"
#include "qapropertyint.h"
#include "qapropertymapgroup.h"
#include "qapropertymaploader.h"
#include "qapropertyserializer.h"
#include "qapropertystore.h"
#include "qares.h"
#include "qastsettingsloader.h"
#include "recordinghost.h"

#include <QDomDocument>
#include <QTemporaryDir>
#include <QTest>

namespace {

class Log : public QAILogMonitor
{
public:
    void log(const QString&) override {}
    void error(const QString& text) override { lines << text; }
    int errorCount() const override { return int(lines.size()); }
    void resetError() override { lines.clear(); }
    QStringList lines;
};

const QMap<QString, int> filters {{"C", 0x1},        {"C++", 0x2},     {"ADA", 0x4},
                                  {"JAVA", 0x8},     {"GROUP", 0x100}, {"TEST", 0x200},
                                  {"PROJECT", 0x80000}};
const QList<unsigned int> maskGroups {0xF, 0xFFFF00, 0x70000000};

QString entry(const QString& path, const QString& type, const QString& more = QString())
{
    return QStringLiteral("property { path = \"%1\"; type = \"%2\"; %3 }\n").arg(path, type, more);
}

// A small definition: a root, one subgroup and leaves of several kinds.
QString definition(const QString& extra = QString())
{
    return QStringLiteral("properties {\n") + entry("s", "Group") + entry("s/build", "Group")
           + entry("s/build/flags", "LineEdit", "perlVarName = \"FLAGS\";")
           + entry("s/count", "Int", "value = 3; min = 1; max = 9; suffix = \" KB\";")
           + entry("s/dirs", "ListBox") + entry("s/on", "YesNo", "value = true;") + extra
           + QStringLiteral("}\n");
}

QStringList keys(QAPropertyGroup* group)
{
    QStringList names;
    for (QAProperty* child : group->children()) {
        names << child->key();
        if (child->isGroup())
            names += keys(static_cast<QAPropertyGroup*>(child));
    }
    return names;
}

QString written(QAPropertyStore* store, QAPropertyGroup* group)
{
    QString text;
    QTextStream stream(&text);
    QAPropertySerializer::write(store, group, QStringLiteral("configuration"), stream, 0);
    stream.flush();
    return text;
}

} // namespace

class tst_DefinitionFiles : public QObject
{
    Q_OBJECT
private slots:
    void failuresAreOneLine_data();
    void failuresAreOneLine();
    void treeFollowsPathsWhateverTheOrder();
    void filtersNarrowTheMask_data();
    void filtersNarrowTheMask();
    void kindFieldsTakeOnlyTheirKind();
    void onlyOverridesAreWrittenAndReadBack();
    void olderResourceFormStopsAtAMissingValue();
    void shippedSettingsLoad();

private:
    QAPropertyMapGroup* load(const QString& text, Log& log, QAPropertyMapLoader&& loader = QAPropertyMapLoader());
    QTemporaryDir dir;
};

QAPropertyMapGroup* tst_DefinitionFiles::load(const QString& text, Log& log, QAPropertyMapLoader&& loader)
{
    const QString path = dir.filePath(QStringLiteral("def.properties"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return nullptr;
    file.write(text.toUtf8());
    file.close();
    return loader.load(path, filters, maskGroups, &log);
}

void tst_DefinitionFiles::failuresAreOneLine_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("message");
    const QString top = QStringLiteral("properties {\n");
    QTest::newRow("syntax") << "properties { a = 1 }"
                            << "def.properties:1:20:syntax error|1 Error(s) in property file def.properties";
    QTest::newRow("not properties") << "settings { }" << "def.properties is not property definition file";
    QTest::newRow("no path") << top + "property { type = \"Int\"; }\n}"
                             << "Property at line 2: the field path is required in property definition";
    QTest::newRow("no type") << top + "property { path = \"s/a\"; }\n}"
                             << "Property at line 2: the field type is required in property definition";
    QTest::newRow("unknown type") << top + entry("s", "Group") + entry("s/a", "Colour") + "}"
                                  << "Property at line 3: the type 'Colour' is not expected";
    QTest::newRow("no root") << top + entry("s/a", "Int") + "}" << "def.properties: no group defined in the file";
    QTest::newRow("group before its parent")
        << top + entry("s", "Group") + entry("s/a/b", "Group") + entry("s/a", "Group") + "}"
        << "def.properties: unable to find the group 's/a/b'";
    QTest::newRow("leaf in a missing group") << top + entry("a", "Group") + entry("a/b/c", "Int") + "}"
                                             << "def.properties: unable to find the path 'a/b/c'";
    QTest::newRow("leaf under another root") << top + entry("x", "Group") + entry("a/b", "Int") + "}"
                                             << "def.properties: unable to find the path 'a/b'";
}

void tst_DefinitionFiles::failuresAreOneLine()
{
    QFETCH(QString, text);
    QFETCH(QString, message);
    Log log;
    QAPropertyMapGroup* root = load(text, log);
    QVERIFY(!root);
    const QString lines = log.lines.join(QLatin1Char('|')).replace(dir.path() + QLatin1Char('/'), QString());
    QCOMPARE(lines, message);

    Log missing;
    QVERIFY(!QAPropertyMapLoader().load(dir.filePath("none"), filters, maskGroups, &missing));
    QCOMPARE(missing.lines, QStringList{dir.filePath("none") + ": not found"});
}

void tst_DefinitionFiles::treeFollowsPathsWhateverTheOrder()
{
    Log log;
    QScopedPointer<QAPropertyMapGroup> first(load(definition(), log));
    QVERIFY(first);
    const QString rootLast = QStringLiteral("properties {\n") + entry("s/build/flags", "LineEdit")
                             + entry("s/build", "Group") + entry("s/count", "Int") + entry("s/dirs", "ListBox")
                             + entry("s/on", "YesNo") + entry("old", "Group") + entry("s", "Group") + "}\n";
    QScopedPointer<QAPropertyMapGroup> second(load(rootLast, log));
    QVERIFY(second);
    // Groups go in before leaves; leaves keep their file order.
    const QStringList expected {"build", "flags", "count", "dirs", "on"};
    QCOMPARE(keys(first.data()), expected);
    QCOMPARE(keys(second.data()), expected);
    QCOMPARE(second->key(), QStringLiteral("s"));
    QVERIFY(log.lines.isEmpty());
}

void tst_DefinitionFiles::filtersNarrowTheMask_data()
{
    QTest::addColumn<QString>("fields");
    QTest::addColumn<uint>("mask");
    QTest::addColumn<int>("reports");
    QTest::newRow("one language") << "apply = (\"C\");" << ((0xFFFFFFFFu & ~0xFu) | 0x1u) << 0;
    QTest::newRow("a language and a node kind") << "apply = (\"C\", \"GROUP\");"
                                                 << ((0xFFFFFFFFu & ~0xFu & ~0xFFFF00u) | 0x101u) << 0;
    QTest::newRow("unapply toggles one bit") << "unapply = (\"GROUP\");" << (0xFFFFFFFFu & ~0x100u) << 0;
    QTest::newRow("unknown filter is reported and skipped") << "apply = (\"C\", \"COBOL\");"
                                                            << ((0xFFFFFFFFu & ~0xFu) | 0x1u) << 1;
    QTest::newRow("no list leaves the mask") << "apply = \"C\";" << 0xFFFFFFFFu << 0;
}

void tst_DefinitionFiles::filtersNarrowTheMask()
{
    QFETCH(QString, fields);
    QFETCH(uint, mask);
    QFETCH(int, reports);
    Log log;
    QScopedPointer<QAPropertyMapGroup> root(load(definition(entry("s/x", "Int", fields)), log));
    QVERIFY(root);
    QCOMPARE(root->property("x")->mask(), mask);
    QCOMPARE(log.lines.size(), reports);
    if (reports)
        QCOMPARE(log.lines.first(), QStringLiteral("The value for filter 'COBOL' does not exist in the loader"));
}

void tst_DefinitionFiles::kindFieldsTakeOnlyTheirKind()
{
    Log log;
    QScopedPointer<QAPropertyMapGroup> root(load(definition(entry("s/f", "Int", "min = 2.5; max = 4;")), log));
    QVERIFY(root);
    auto* count = static_cast<QAPropertyInt*>(root->property("count"));
    QCOMPARE(count->min(), 1);
    QCOMPARE(count->suffix(), QStringLiteral(" KB"));
    QCOMPARE(count->initialValue(), QVariant(3));
    auto* f = static_cast<QAPropertyInt*>(root->property("f"));
    QCOMPARE(f->min(), 0);
    QCOMPARE(f->max(), 4);
    QCOMPARE(f->step(), 1);
    QCOMPARE(root->property("on")->initialValue(), QVariant(true));
}

void tst_DefinitionFiles::onlyOverridesAreWrittenAndReadBack()
{
    Log log;
    QScopedPointer<QAPropertyMapGroup> root(load(definition(), log));
    QVERIFY(root);
    QAPropertyStore parent;
    QAPropertyStore store;
    parent.setProperty("count", 5);
    store.setProperty("flags", QStringLiteral("-O2 <x>,y"));
    store.setProperty("dirs", QStringList{"a,b", "c"});
    store.setProperty("on", false);
    store.setProperty("unknown", 1);
    const QString text = written(&store, root.data());
    QCOMPARE(text, QStringLiteral("<configuration>\n  <flags>-O2 &amp;lt;x&amp;gt;#comma#y</flags>\n"
                                  "  <dirs>a#comma#b,c</dirs>\n  <on>false</on>\n</configuration>\n"));

    QDomDocument document;
    QVERIFY(document.setContent(text + QString()));
    QAPropertyStore reread;
    QAPropertySerializer::read(&reread, root.data(), document.documentElement());
    QCOMPARE(reread.propertyNames(), (QStringList{"dirs", "flags", "on"}));
    QCOMPARE(reread.property("flags"), QVariant(QStringLiteral("-O2 <x>,y")));
    QCOMPARE(reread.property("dirs"), QVariant(QStringList{"a,b", "c"}));
    QCOMPARE(reread.property("on"), QVariant(false));

    // An empty element is a value too, and counts as an override.
    QVERIFY(document.setContent(QStringLiteral("<c><flags></flags><count>true</count></c>")));
    QAPropertyStore empty;
    QAPropertySerializer::read(&empty, root.data(), document.documentElement());
    QCOMPARE(empty.property("flags"), QVariant(QString()));
    QCOMPARE(empty.property("count"), QVariant(1));
}

void tst_DefinitionFiles::olderResourceFormStopsAtAMissingValue()
{
    Log log;
    QScopedPointer<QAPropertyMapGroup> root(load(definition(), log));
    QVERIFY(root);
    const QString path = dir.filePath(QStringLiteral("old.res"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    // "flags" sits in the subgroup and reads; "count" is missing, so the
    // values after it in the same group stay unread.
    file.write("config { flags = \"-g\"; dirs = (\"x\"); on = false; }\n");
    file.close();
    QScopedPointer<QARes> resources(QARes::read(QFile::encodeName(path).constData(), false));
    QVERIFY(resources);
    QAPropertyStore store;
    QAPropertySerializer::read(&store, root.data(), resources.data());
    QCOMPARE(store.propertyNames(), QStringList{"flags"});
}

void tst_DefinitionFiles::shippedSettingsLoad()
{
    const QString file = RecordingHost::stageDir() + QStringLiteral("/Common/lib/velmontprojectsettings.properties");
    const QMap<QString, int> all {{"C", 0x1},         {"C++", 0x2},          {"ADA", 0x4},
                                  {"JAVA", 0x8},      {"GROUP", 0x100},      {"TEST", 0x200},
                                  {"UNIT_TESTING", 0x400}, {"OBJECT_TESTING", 0x800},
                                  {"SYSTEM_TESTING", 0x1000}, {"USER", 0x2000}, {"SOURCE", 0x4000},
                                  {"TEST_SCRIPT", 0x8000}, {"UNIT_TESTSCRIPT", 0x10000},
                                  {"SYSTEM_TESTSCRIPT", 0x20000}, {"VIRTUAL_TESTER", 0x40000},
                                  {"PROJECT", 0x80000}, {"APPLICATION", 0x100000}, {"LIBRARY", 0x200000},
                                  {"JAVA_TESTING", 0x400000}, {"STUDIO", 0x10000000},
                                  {"ECLIPSE_VTA", 0x20000000}, {"ECLIPSE_TPTP", 0x40000000}};
    Log log;
    QScopedPointer<QAPropertyMapGroup> root(QAStSettingsLoader().load(file, all, maskGroups, &log));
    QVERIFY2(root, qPrintable(log.lines.join('\n')));
    QVERIFY2(log.lines.isEmpty(), qPrintable(log.lines.join('\n')));
    QStringList leaves;
    for (const QString& key : keys(root.data())) {
        if (!key.isEmpty())
            leaves << key;
    }
    for (const char* key : {"executionFlag", " st_dtrack", "envVariables", "ztc_instr_blocks", "misraconf"})
        QVERIFY2(leaves.contains(QString::fromLatin1(key)), key);
    QCOMPARE(QSet<QString>(leaves.begin(), leaves.end()).size(), leaves.size());
}

QTEST_MAIN(tst_DefinitionFiles)
#include "tst_definitionfiles.moc"
