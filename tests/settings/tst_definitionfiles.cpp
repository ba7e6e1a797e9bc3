#include "qailogmonitor.h"
#include "qapropertycomboint.h"
#include "qapropertycombostring.h"
#include "qapropertyint.h"
#include "qapropertymapgroup.h"
#include "qapropertymaploader.h"
#include "qapropertypathbox.h"
#include "qapropertypathitem.h"
#include "qapropertyserializer.h"
#include "qapropertystore.h"
#include "qares.h"
#include "settingsfixture.h"

#include <QDomDocument>
#include <QTemporaryDir>

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

const QMap<QString, int> filters {{"C", 0x1}, {"C++", 0x2}, {"ADA", 0x4}, {"JAVA", 0x8},
                                  {"GROUP", 0x100}, {"TEST", 0x200}, {"PROJECT", 0x80000}};
const QList<unsigned int> maskGroups {0xF, 0xFFFF00, 0x70000000};

QString entry(const QString& path, const QString& type, const QString& more = QString())
{
    return QStringLiteral("property { path = \"%1\"; type = \"%2\"; %3 }\n").arg(path, type, more);
}

// A small definition: a root, one subgroup and leaves of several kinds.
QString definition(const QString& extra = QString())
{
    return QStringLiteral("properties {\n") + entry("s", "Group") + entry("s/build", "Group")
           + entry("s/build/flags", "LineEdit") + entry("s/count", "Int", "value = 3;") + entry("s/dirs", "ListBox")
           + entry("s/on", "YesNo", "value = true;") + extra + QStringLiteral("}\n");
}

QStringList leafKeys(QAProperty* root)
{
    QStringList keys;
    for (QAProperty* leaf : leaves(root))
        keys << leaf->key();
    return keys;
}

// The fields that a definition gives a leaf beyond the common ones.
QString kindFields(QAProperty* leaf)
{
    QStringList parts;
    for (const QString& common : {leaf->name(), leaf->whatThis(), leaf->perlVarName()})
        if (!common.isEmpty())
            parts << common;
    if (leaf->isReadOnly())
        parts << QStringLiteral("read-only");
    if (leaf->mask() != 0xFFFFFFFFu)
        parts << QStringLiteral("mask %1").arg(leaf->mask(), 0, 16);
    if (leaf->initialValue().isValid())
        parts << "value " + QDebug::toString(leaf->initialValue());
    if (auto* number = dynamic_cast<QAPropertyInt*>(leaf))
        parts << QStringLiteral("%1..%2 by %3%4").arg(number->min()).arg(number->max()).arg(number->step()).arg(number->suffix());
    if (auto* combo = dynamic_cast<QAPropertyComboInt*>(leaf))
        for (const QString& label : combo->originalList())
            parts << label + '=' + QString::number(combo->content().value(label));
    if (auto* combo = dynamic_cast<QAPropertyComboString*>(leaf))
        for (const QString& label : combo->originalList())
            parts << label + '=' + (combo->content().value(label).isNull() ? "null" : combo->content().value(label));
    if (auto* path = dynamic_cast<QAPropertyPathItem*>(leaf))
        parts << QStringLiteral("mode %1").arg(path->mode()) << path->fileExtensions();
    if (auto* paths = dynamic_cast<QAPropertyPathBox*>(leaf))
        parts << QStringLiteral("mode %1 buttons %2").arg(paths->mode()).arg(paths->buttons()) << paths->fileExtensions();
    return parts.join(QLatin1String("; "));
}

} // namespace

class tst_DefinitionFiles : public QObject
{
    Q_OBJECT
private slots:
    void failuresAreOneLine_data()
    {
        QTest::addColumn<QString>("message");
        const auto row = [](const char* file, const QString& message) { QTest::newRow(file) << message; };
        row("syntax-error.properties",
            "syntax-error.properties:1:20:syntax error|1 Error(s) in property file syntax-error.properties");
        row("not-properties.properties", "not-properties.properties is not property definition file");
        row("entry-without-path.properties", "Property at line 2: the field path is required in property definition");
        row("entry-without-type.properties", "Property at line 2: the field type is required in property definition");
        row("unknown-type.properties", "Property at line 3: the type 'Colour' is not expected");
        row("no-root-group.properties", "no-root-group.properties: no group defined in the file");
        row("group-before-its-parent.properties", "group-before-its-parent.properties: unable to find the group 's/a/b'");
        row("leaf-in-a-missing-group.properties", "leaf-in-a-missing-group.properties: unable to find the path 'a/b/c'");
        row("leaf-under-another-root.properties", "leaf-under-another-root.properties: unable to find the path 'a/b'");
        row("no-such-file.properties", "no-such-file.properties: not found");
    }

    void failuresAreOneLine()
    {
        const QString erroneous = QFINDTESTDATA("testdata/erroneous") + QLatin1Char('/');
        Log log;
        QVERIFY(!QAPropertyMapLoader().load(erroneous + QTest::currentDataTag(), filters, maskGroups, &log));
        QTEST(log.lines.join(QLatin1Char('|')).replace(erroneous, QString()), "message");
    }

    void treeFollowsPathsWhateverTheOrder()
    {
        Log log;
        QScopedPointer<QAPropertyMapGroup> first(load(definition(), log));
        QVERIFY(first);
        // The root last, after a first one-piece group that it replaces.
        const QString rootLast = QStringLiteral("properties {\n") + entry("s/build/flags", "LineEdit")
                                 + entry("s/build", "Group") + entry("s/count", "Int") + entry("s/dirs", "ListBox")
                                 + entry("s/on", "YesNo") + entry("old", "Group") + entry("s", "Group") + "}\n";
        QScopedPointer<QAPropertyMapGroup> second(load(rootLast, log));
        QVERIFY(second);
        // Groups go in before leaves; leaves keep their file order.
        const QStringList expected {"flags", "count", "dirs", "on"};
        QCOMPARE(leafKeys(first.data()), expected);
        QCOMPARE(leafKeys(second.data()), expected);
        QCOMPARE(second->key(), QStringLiteral("s"));
        QVERIFY(log.lines.isEmpty());
    }

    // What an entry's fields give its property, and the reports they cause.
    void fieldsTakeOnlyTheirKind_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("fields");
        QTest::addColumn<QString>("loaded");
        QTest::addColumn<QString>("report");
        const auto row = [](const char* tag, const char* type, const char* fields, const char* loaded,
                            const char* report = "") { QTest::newRow(tag) << type << fields << loaded << report; };
        row("common fields apply to any kind", "LineEdit",
            "name = QT_TRANSLATE_NOOP(\"S\", \"Title\"); whatThis = \"Help\"; perlVarName = \"FLAGS\"; readonly = true;",
            "Title; Help; FLAGS; read-only");
        row("common fields of a wrong kind are left out", "LineEdit", "name = 1; perlVarName = (\"x\"); readonly = \"yes\";",
            "");
        // Naming one filter of a family narrows the mask within that family alone.
        row("one language", "LineEdit", "apply = (\"C\");", "mask fffffff1");
        row("a language and a node kind", "LineEdit", "apply = (\"C\", \"GROUP\");", "mask ff0001f1");
        row("unapply toggles one bit", "LineEdit", "unapply = (\"GROUP\");", "mask fffffeff");
        row("an unknown filter is reported and skipped", "LineEdit", "apply = (\"C\", \"COBOL\");", "mask fffffff1",
            "The value for filter 'COBOL' does not exist in the loader");
        row("no list leaves the mask", "LineEdit", "apply = \"C\";", "");
        row("Int limits, step, suffix and value", "Int", "min = 1; max = 9; step = 2; suffix = \" KB\"; value = 3;",
            "value QVariant(int, 3); 1..9 by 2 KB");
        row("an Int limit given as a float keeps its default", "Int", "min = 2.5; max = 4;", "0..4 by 1");
        row("a float value stays a float", "Int", "value = 2.5;", "value QVariant(double, 2.5); 0..-1 by 1");
        row("ComboInt pairs in order, a value that is no integer is -1", "ComboInt",
            "content = (\"Low\", 1, \"High\", \"x\", \"Odd\");", "Low=1; High=-1; Odd=-1");
        row("ComboString pairs, a value that is no string is null", "ComboString",
            "content = (\"Debug\", \"-g\", \"Fast\", 3);", "Debug=-g; Fast=null");
        row("an empty list is an empty string list value", "ListBox", "value = ();", "value QVariant(QStringList, QList())");
        row("a list of strings is a string list value", "ListBox", "value = (\"a\", \"b\");",
            "value QVariant(QStringList, QList(\"a\", \"b\"))");
        row("a PathItem with a mode word and extensions", "PathItem",
            "mode = \"Directory\"; extension = (\"*.c\", \"*.h\");", "mode 2; *.c; *.h");
        row("a PathItem without a mode opens existing files", "PathItem", "", "mode 1");
        row("a PathBox with its words", "PathBox", "mode = \"DirectoryOnly\"; button = \"MultiWithMoves\";",
            "mode 4 buttons 7");
        row("a PathBox with unknown words keeps its defaults", "PathBox", "mode = \"Folder\"; button = \"All\";",
            "mode 1 buttons 6");
    }
    void fieldsTakeOnlyTheirKind()
    {
        QFETCH(QString, type);
        QFETCH(QString, fields);
        QFETCH(QString, report);
        Log log;
        QScopedPointer<QAPropertyMapGroup> root(load(definition(entry("s/f", type, fields)), log));
        QVERIFY(root);
        QTEST(kindFields(root->property("f")), "loaded");
        QCOMPARE(log.lines, report.isEmpty() ? QStringList() : QStringList(report));
    }

    void onlyOverridesAreWrittenAndReadBack()
    {
        Log log;
        QScopedPointer<QAPropertyMapGroup> root(load(definition(), log));
        QVERIFY(root);
        QAPropertyStore store;
        store.setProperty("flags", QStringLiteral("-O2 <x>,y"));
        store.setProperty("dirs", QStringList{"a,b", "c"});
        store.setProperty("on", false);
        store.setProperty("unknown", 1);
        QString text;
        QTextStream stream(&text);
        QAPropertySerializer::write(&store, root.data(), QStringLiteral("configuration"), stream, 0);
        stream.flush();
        // The subgroup does not show, and a key the tree does not know stays out.
        QCOMPARE(text, QStringLiteral("<configuration>\n  <flags>-O2 &amp;lt;x&amp;gt;#comma#y</flags>\n"
                                      "  <dirs>a#comma#b,c</dirs>\n  <on>false</on>\n</configuration>\n"));

        // Read back by the leaves' kinds. An empty element is a value too, and
        // counts as an override; a word where a number belongs reads as a boolean.
        QDomDocument document;
        QVERIFY(document.setContent(text.replace("-O2 &amp;lt;x&amp;gt;#comma#y", "").replace("<on>", "<count>true</count><on>")));
        QAPropertyStore reread;
        QAPropertySerializer::read(&reread, root.data(), document.documentElement());
        QCOMPARE(reread.propertyNames(), (QStringList{"count", "dirs", "flags", "on"}));
        QCOMPARE(reread.property("flags"), QVariant(QString()));
        QCOMPARE(reread.property("dirs"), QVariant(QStringList{"a,b", "c"}));
        QCOMPARE(reread.property("on"), QVariant(false));
        QCOMPARE(reread.property("count"), QVariant(1));
    }

    void olderResourceFormStopsAtAMissingValue()
    {
        Log log;
        QScopedPointer<QAPropertyMapGroup> root(load(definition(), log));
        QVERIFY(root);
        const QString path = dir.filePath(QStringLiteral("old.res"));
        // "flags" sits in the subgroup and reads; "count" is missing, so the
        // values after it in the same group stay unread.
        QVERIFY(writeFile(path, "config { flags = \"-g\"; dirs = (\"x\"); on = false; }\n"));
        QScopedPointer<QARes> resources(QARes::read(QFile::encodeName(path).constData(), false));
        QVERIFY(resources);
        QAPropertyStore store;
        QAPropertySerializer::read(&store, root.data(), resources.data());
        QCOMPARE(store.propertyNames(), QStringList{"flags"});
    }

private:
    QAPropertyMapGroup* load(const QString& text, Log& log)
    {
        if (!writeFile(dir.filePath("def.properties"), text.toUtf8()))
            return nullptr;
        return QAPropertyMapLoader().load(dir.filePath("def.properties"), filters, maskGroups, &log);
    }

    QTemporaryDir dir;
};

QTEST_MAIN(tst_DefinitionFiles)
#include "tst_definitionfiles.moc"
