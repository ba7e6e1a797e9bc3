#include "qares.h"
#include "qastconfiguration.h"
#include "qastfolder.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "recordinghost.h"

#include <QDomDocument>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>
#include <QTextStream>

#include <algorithm>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

using Map = QMap<QString, QString>;

namespace {

// What a reader of the project file sees: the encoded value written as an
// element, parsed back, and the element's text.
QString throughXml(const QString& encoded, QString* error)
{
    QString xml;
    QTextStream stream(&xml);
    QAStData::toStream(stream, "v", encoded, 0);
    stream.flush();
    QDomDocument doc;
    if (!doc.setContent(xml, error))
        return QString();
    return doc.documentElement().text();
}

// Root creates files in any directory through CAP_DAC_OVERRIDE; without it
// the directory's own permissions hold, as for any user. Per thread.
template <class Run>
void withoutDacOverride(Run run)
{
    __user_cap_header_struct header {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved[2] {}, reduced[2] {};
    const bool known = syscall(SYS_capget, &header, saved) == 0;
    std::copy(saved, saved + 2, reduced);
    reduced[0].effective &= ~(1u << CAP_DAC_OVERRIDE);
    const bool dropped = known && syscall(SYS_capset, &header, reduced) == 0;
    run();
    if (dropped)
        syscall(SYS_capset, &header, saved);
}

} // namespace

class tst_ValueEncoding : public QObject
{
    Q_OBJECT

    RecordingHost host;
    QTemporaryDir dir;

    QString projectPath() const { return dir.filePath(QStringLiteral("p.vmp")); }
    // A saved project with one group "g" holding a configuration "Debug".
    std::unique_ptr<QAStProject> savedProject()
    {
        QFile::remove(projectPath());
        QFile::remove(dir.filePath(QStringLiteral("p.inf")));
        auto project = std::make_unique<QAStProject>(projectPath());
        project->addConfiguration(QStringLiteral("Debug"));
        new QAStNodeGroup(QStringLiteral("g"), project.get());
        return project->saveProcess() ? std::move(project) : nullptr;
    }
    static QByteArray read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private slots:
    void initTestCase() { QVERIFY(host.initializeLibrary()); }

    // Every text comes back from the file as it was given; where the form in
    // the file is given, files of ordinary values stay as they always were.
    void stringRoundTrip_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("encoded");
        const QList<std::tuple<const char*, QString, QString>> rows{
            {"all four specials", "a,b<c>&d", "a#comma#b&amp;lt;c&amp;gt;&amp;d"}, {"empty", "", ""},
            {"an entity as text", "&amp;", "&amp;amp;"}, {"a character reference as text", "&#65;", {}},
            {"CDATA end", "]]>", {}}, {"a comment", "<!-- x -->", {}}, {"quotes and =", "\"'=", "\"'="},
            {"hashes that begin no escape", "C# ## #x20 #comma", "C# ## #x20 #comma"},
            {"literal #comma#", "x#comma#y", "x#x23#comma#y"}, {"literal &lt; and &gt;", "&lt;a&gt;", "#x26#lt;a#x26#gt;"},
            {"literal escapes of a unit", "#x0D##x23#&#x26#", {}}, {"a hash before a comma", "#comma,", {}},
            {"a hash before an escaped ampersand", "#comma&lt;", {}}, {"blanks around text", "  padded  ", "  padded  "},
            {"blanks alone", "   ", "#x20#  "}, {"a tab alone", "\t", "#x09#"}, {"a no-break space alone", QString(QChar(0xA0)), {}},
            {"CR, CRLF and controls", "a\rb\r\nc\x01\x1f\x7f", "a#x0D#b#x0D#\nc#x01##x1F#\x7f"},
            {"what XML cannot hold", QString(QChar(0xFFFE)) + QChar(0xFFFF) + QChar(0xD800) + "x" + QChar(0xDC00), {}},
            {"non-ASCII", "é ß 中 😀", "é ß 中 😀"}};
        for (const auto& [tag, value, encoded] : rows)
            QTest::newRow(tag) << value << encoded;

        // Fixed seed: a failing row is reproducible by its number.
        QRandomGenerator random(20240611);
        const QStringList alphabet{"a", " ", ",", "<", ">", "&", "#", "comma", "x23", "x0D", "lt;", "=",
                                   "\t", "\n", "\r", "\x01", "é", "😀", QString(QChar(0xD800))};
        for (int row = 0; row < 300; ++row) {
            QString value;
            for (int n = random.bounded(1, 16); n > 0; --n)
                value += alphabet.at(random.bounded(int(alphabet.size())));
            QTest::addRow("random %d", row) << value << QString();
        }
    }
    void stringRoundTrip()
    {
        QFETCH(QString, value);
        QFETCH(QString, encoded);
        const QString written = QAStData::stringToXMLValue(value);
        QVERIFY(!written.contains(',') && !written.contains('<') && !written.contains('>'));
        if (!encoded.isNull())
            QCOMPARE(written, encoded);
        QString error;
        const QString read = throughXml(written, &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QCOMPARE(QAStData::xmlValueToString(read), value);
        QCOMPARE(QAStData::xmlValueToStringList(throughXml(QAStData::stringListToXMLValue({value}), &error)),
                 value.isEmpty() ? QStringList() : QStringList(value));
    }

    void stringList_data()
    {
        QTest::addColumn<QStringList>("list");
        QTest::addColumn<QString>("encoded");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("plain") << QStringList{"a", "b"} << "a,b" << QStringList{"a", "b"};
        QTest::newRow("members holding commas")
            << QStringList{"a,b", "<c>"} << "a#comma#b,&amp;lt;c&amp;gt;" << QStringList{"a,b", "<c>"};
        QTest::newRow("a blank member beside another") << QStringList{" ", "a"} << " ,a" << QStringList{" ", "a"};
        QTest::newRow("empty member lost") << QStringList{"a", "", "b"} << "a,,b" << QStringList{"a", "b"};
        QTest::newRow("empty list") << QStringList() << "" << QStringList();
    }
    void stringList()
    {
        QFETCH(QStringList, list);
        QString error;
        const QString encoded = QAStData::stringListToXMLValue(list);
        QTEST(encoded, "encoded");
        QTEST(QAStData::xmlValueToStringList(throughXml(encoded, &error)), "expected");
    }

    void stringMap_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<Map>("expected");
        const Map written{{"k", "x,y"}, {"a<", "<in>"}, {"K=Y", "-DLEVEL=2"}, {"", " "}, {"#comma#", "&gt;"}};
        QString error;
        QTest::newRow("a written map comes back") << throughXml(QAStData::stringMapToXMLValue(written), &error)
                                                  << written;
        QTest::newRow("an older map decodes its encoded forms") << "k=x#comma#y,a&lt;=1" << Map{{"k", "x,y"}, {"a<", "1"}};
        QTest::newRow("key without value") << "k=,j" << Map{{"k", ""}, {"j", ""}};
        QTest::newRow("the first = ends the key") << "a=b=c" << Map{{"a", "b=c"}};
        QTest::newRow("empty entries dropped") << ",a=1,,b=2," << Map{{"a", "1"}, {"b", "2"}};
    }
    void stringMap()
    {
        // Written in key order, as always.
        QCOMPARE(QAStData::stringMapToXMLValue(Map{{"b", "2"}, {"a", "x,y"}}), QString("a=x#comma#y,b=2"));
        QFETCH(QString, value);
        QTEST((QAStData::xmlValueToStringMap(value)), "expected");
    }

    void scalars_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("boolean");
        QTest::addColumn<int>("integer");
        QTest::addColumn<uint>("unsignedInteger");
        QTest::newRow("true") << "true" << true << 0 << 0u;
        QTest::newRow("TRUE is false") << "TRUE" << false << 0 << 0u;
        QTest::newRow("1 is no boolean") << "1" << false << 1 << 1u;
        QTest::newRow("negative") << "-7" << false << -7 << 0u;
        QTest::newRow("int overflow") << "2147483648" << false << 0 << 2147483648u;
        QTest::newRow("uint maximum") << "4294967295" << false << 0 << 4294967295u;
        QTest::newRow("uint overflow") << "4294967296" << false << 0 << 0u;
        QTest::newRow("trailing garbage") << "12abc" << false << 0 << 0u;
        QTest::newRow("hexadecimal is not base 10") << "0x10" << false << 0 << 0u;
        QTest::newRow("empty") << "" << false << 0 << 0u;
    }
    void scalars()
    {
        QFETCH(QString, text);
        QTEST(QAStData::xmlValueToBool(text), "boolean");
        QTEST(QAStData::xmlValueToInt(text), "integer");
        QTEST(QAStData::xmlValueToUInt(text), "unsignedInteger");
    }

    void indentation_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("expected");
        QTest::newRow("negative writes nothing") << -2 << "<t>v</t>\n";
        QTest::newRow("zero writes nothing") << 0 << "<t>v</t>\n";
        QTest::newRow("two blanks a level") << 3 << "      <t>v</t>\n";
    }
    void indentation()
    {
        QFETCH(int, level);
        QString text;
        QTextStream stream(&text);
        QAStData::toStream(stream, "t", "v", level);
        stream.flush();
        QTEST(text, "expected");
    }

    // The older resource form: a value is taken only at its path and of its
    // kind; anything else leaves the attribute unset.
    void resourceReaders_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("read");
        QTest::newRow("int") << "n" << "int" << "7";
        QTest::newRow("int of a string") << "s" << "int" << "unset";
        QTest::newRow("bool") << "b" << "bool" << "true";
        QTest::newRow("string") << "s" << "string" << "x,y";
        QTest::newRow("empty string is set") << "e" << "string" << "";
        QTest::newRow("nested path") << "g.inner" << "string" << "deep";
        QTest::newRow("missing path") << "nothing" << "string" << "unset";
        QTest::newRow("string list") << "l" << "list" << "a|b";
        QTest::newRow("mixed list refused") << "m" << "list" << "unset";
        QTest::newRow("map keeps the raw text after the first =") << "l2" << "map" << "k=v#comma#w=2|z=";
    }
    void resourceReaders()
    {
        QFETCH(QString, path);
        QFETCH(QString, kind);
        QFETCH(QString, read);
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write("top { n = 7; b = true; s = \"x,y\"; e = \"\"; g { inner = \"deep\"; }\n"
                   "l = (\"a\", \"b\"); m = (\"a\", 1); l2 = (\"k=v#comma#w=2\", \"z\"); }\n");
        file.close();
        QScopedPointer<QARes> resources(QARes::read(QFile::encodeName(file.fileName()).constData(), false));
        QVERIFY(resources);
        const QByteArray at = path.toLatin1();
        const auto as = [&](auto attribute, auto reader, auto shown) {
            reader(resources.data(), at.constData(), attribute);
            return attribute.isSet ? shown(attribute.get()) : QStringLiteral("unset");
        };
        QString got;
        if (kind == QLatin1String("int"))
            got = as(QAStAttribute<int>(), &QAStData::readIntVal, [](int value) { return QString::number(value); });
        else if (kind == QLatin1String("bool"))
            got = as(QAStAttribute<bool>(), &QAStData::readBoolVal, &QAStData::boolToXMLValue);
        else if (kind == QLatin1String("string"))
            got = as(QAStAttribute<QString>(), &QAStData::readStrVal, [](const QString& value) { return value; });
        else if (kind == QLatin1String("list"))
            got = as(QAStAttribute<QStringList>(), &QAStData::readStrListVal, [](const QStringList& value) { return value.join('|'); });
        else
            got = as(QAStAttribute<Map>(), &QAStData::readStrMapVal, [](const Map& map) {
                QStringList entries;
                for (auto it = map.constBegin(); it != map.constEnd(); ++it)
                    entries << it.key() + QLatin1Char('=') + it.value();
                return entries.join('|');
            });
        QCOMPARE(got, read);
    }

    // What a user enters on a node, saved and opened again in a new project
    // or pasted; "name" is the node's name, "folder" a folder's in the
    // objects file. An older version wrote " st_dtrack" as a bare tag. The
    // user environment reaches the environment file as it was entered. In a
    // directory that takes no new file, a writable project file is rewritten
    // in place, and without its objects file the project still counts as
    // saved.
    void userValuesSurviveSaveAndLoad_data()
    {
        QTest::addColumn<QString>("route");
        QTest::addColumn<QVariantMap>("values");
        QTest::newRow("texts holding controls, carriage returns and escapes as text") << "file"
            << QVariantMap{{"cflags", "-DA=\x01\x1b[0m\x7f"}, {"ldflags", "one\r\ntwo\r"},
                           {"arguments", "#comma# &lt; #x20#"}, {"name", "g\x02\r\n#comma#"}, {"folder", "f\x03 "}};
        QTest::newRow("blanks alone, a tab as the CSV separator, lists of odd names") << "file"
            << QVariantMap{{"cppFlags", "   "}, {"csvSeparator", "\t"}, {"ge_incdir", QStringList{" ", "a,b", "\r"}},
                           {"ge_libdir", QStringList{"\t"}}};
        QTest::newRow("a user environment holding , = and <>") << "file"
            << QVariantMap{{"envVariables", QVariantMap{{"CFLAGS", "-DLEVEL=2"}, {"PATHS", "a,b"}, {"IN", "<in>"},
                                                        {"K=", "#comma#"}}}};
        const QVariantMap blankKey{{" st_dtrack", true}, {"cflags", "< st_dtrack>x</ st_dtrack> <!-- < st_dtrack> -->"}};
        for (const char* route : {"file", "older file", "clipboard", "older clipboard"})
            QTest::addRow("the key with a leading blank, from the %s", route) << route << blankKey;
        for (const char* route : {"locked directory", "locked directory without objects file"})
            QTest::addRow("a file saved in a %s", route) << route << QVariantMap{{"cflags", "-O3"}};
    }
    void userValuesSurviveSaveAndLoad()
    {
        QFETCH(QString, route);
        QFETCH(QVariantMap, values);
        auto saved = savedProject();
        QVERIFY(saved);
        auto* group = static_cast<QAStNode*>(saved->findNode(QStringLiteral("g")));
        for (auto it = values.constBegin(); it != values.constEnd(); ++it) {
            if (it.key() == QLatin1String("name"))
                group->setName(it.value().toString());
            else if (it.key() == QLatin1String("folder"))
                new QAStFolder(it.value().toString(), saved->rootFolder());
            else
                group->configuration(QStringLiteral("Debug"))->setProperty(it.key(), it.value());
        }
        const QString objects = dir.filePath(QStringLiteral("p.inf"));
        QVERIFY(!route.endsWith("objects file") || QFile::remove(objects));
        bool refused = true, written = false;
        host.messages.clear();
        if (route.startsWith("locked")) {
            QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::ExeOwner));
            withoutDacOverride([&] {
                refused = !QFile(dir.filePath(QStringLiteral("probe"))).open(QIODevice::WriteOnly);
                written = saved->saveProcess();
            });
            QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        } else {
            written = saved->saveProcess();
        }
        QVERIFY2(refused, "the directory still takes new files");
        QCOMPARE(written, !route.endsWith("objects file"));
        QVERIFY(!saved->isModified());
        QCOMPARE(QFile::exists(objects), written);
        QCOMPARE(host.consoleText(QAStData::MessageConsole).contains("Unable to write file information"), !written);
        QByteArray text = route.endsWith("clipboard") ? group->toString().toUtf8() : read(projectPath());
        if (route.startsWith("older")) {
            text.replace("_x0020_st_dtrack>", " st_dtrack>");
            QFile file(projectPath());
            QVERIFY(route.endsWith("clipboard") || (file.open(QIODevice::WriteOnly) && file.write(text) == text.size()));
        }
        std::unique_ptr<QAStData> pasted;
        QAStProject loaded;
        if (route.endsWith("clipboard"))
            pasted.reset(QAStData::stringContentToData(QString::fromUtf8(text)));
        else
            QVERIFY(loaded.open(projectPath()) && loaded.isValid());
        QAStNode* node = pasted ? QAStNode::toNode(pasted.get()) : loaded.children().value(0);
        QVERIFY(node);
        QString generated;
        QTextStream stream(&generated);
        node->generateEnv(stream);
        stream.flush();
        for (auto it = values.constBegin(); it != values.constEnd(); ++it) {
            if (it.key() == QLatin1String("name"))
                QCOMPARE(node->name(), it.value().toString());
            else if (it.key() == QLatin1String("folder"))
                QVERIFY(loaded.rootFolder()->searchChildOfClass(it.value().toString(), "QAStFolder", false));
            else
                QCOMPARE(node->configuration(QStringLiteral("Debug"))->property(it.key()), it.value());
            const QVariantMap environment = it.key() == QLatin1String("envVariables") ? it.value().toMap() : QVariantMap();
            for (auto entry = environment.constBegin(); entry != environment.constEnd(); ++entry) {
                const QString line = QStringLiteral("\n$ENV{'%1'} = '%2';\n").arg(entry.key(), entry.value().toString());
                QVERIFY2(generated.contains(line), qPrintable(line));
            }
        }
    }
};

QTEST_MAIN(tst_ValueEncoding)
#include "tst_valueencoding.moc"
