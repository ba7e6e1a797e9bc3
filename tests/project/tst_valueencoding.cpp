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

// Root creates files in any directory through this capability; without it
// the directory's own permissions hold, as for any user. Per thread.
class WithoutDacOverride
{
public:
    WithoutDacOverride()
    {
        if (syscall(SYS_capget, &header, saved) != 0)
            return;
        __user_cap_data_struct reduced[2] = {saved[0], saved[1]};
        reduced[0].effective &= ~(1u << CAP_DAC_OVERRIDE);
        dropped = syscall(SYS_capset, &header, reduced) == 0;
    }
    ~WithoutDacOverride()
    {
        if (dropped)
            syscall(SYS_capset, &header, saved);
    }

private:
    __user_cap_header_struct header {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved[2] {};
    bool dropped = false;
};

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

    // Every text comes back from the file as it was given.
    void stringRoundTrip_data()
    {
        QTest::addColumn<QString>("value");
        const QList<QPair<const char*, QString>> rows{
            {"all four specials", "a,b<c>&d"}, {"empty", ""}, {"an entity as text", "&amp;"},
            {"a character reference as text", "&#65;"}, {"CDATA end", "]]>"}, {"a comment", "<!-- x -->"},
            {"quotes and =", "\"'="}, {"half a comma mark", "#comma"}, {"literal #comma#", "x#comma#y"},
            {"literal &lt; and &gt;", "&lt;a&gt;"}, {"literal escapes of a unit", "#x0D##x23#&#x26#"},
            {"a hash before a comma", "#comma,"}, {"a hash before an escaped ampersand", "#comma&lt;"},
            {"blanks around text", "  padded  "}, {"blanks alone", "   "}, {"a tab alone", "\t"},
            {"a no-break space alone", QString(QChar(0xA0))}, {"CR, CRLF and controls", "a\rb\r\nc\x01\x1f\x7f"},
            {"what XML cannot hold", QString(QChar(0xFFFE)) + QChar(0xFFFF) + QChar(0xD800) + "x" + QChar(0xDC00)},
            {"non-ASCII", "é ß 中 😀"}};
        for (const auto& [tag, value] : rows)
            QTest::newRow(tag) << value;

        // Fixed seed: a failing row is reproducible by its number.
        QRandomGenerator random(20240611);
        const QStringList alphabet{"a", " ", ",", "<", ">", "&", "#", "comma", "x23", "x0D", "lt;", "=",
                                   "\t", "\n", "\r", "\x01", "é", "😀", QString(QChar(0xD800))};
        for (int row = 0; row < 300; ++row) {
            QString value;
            for (int n = random.bounded(1, 16); n > 0; --n)
                value += alphabet.at(random.bounded(int(alphabet.size())));
            QTest::addRow("random %d", row) << value;
        }
    }
    void stringRoundTrip()
    {
        QFETCH(QString, value);
        const QString encoded = QAStData::stringToXMLValue(value);
        QVERIFY(!encoded.contains(',') && !encoded.contains('<') && !encoded.contains('>'));
        QString error;
        const QString read = throughXml(encoded, &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QCOMPARE(QAStData::xmlValueToString(read), value);
        QCOMPARE(QAStData::xmlValueToStringList(throughXml(QAStData::stringListToXMLValue({value}), &error)),
                 value.isEmpty() ? QStringList() : QStringList(value));
    }

    // The forms in files: those of older files stay, escapes only where needed.
    void encodedForms_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("encoded");
        QTest::newRow("the four specials as always") << "a,b<c>&d" << "a#comma#b&amp;lt;c&amp;gt;&amp;d";
        QTest::newRow("a hash that begins no escape") << "C# ## #x20 #comma" << "C# ## #x20 #comma";
        QTest::newRow("a hash that would") << "#comma#x" << "#x23#comma#x";
        QTest::newRow("a typed entity") << "&lt;" << "#x26#lt;";
        QTest::newRow("a carriage return") << "a\r" << "a#x0D#";
        QTest::newRow("blanks alone") << "  " << "#x20# ";
    }
    void encodedForms()
    {
        QFETCH(QString, value);
        QTEST(QAStData::stringToXMLValue(value), "encoded");
        QCOMPARE(QAStData::stringMapToXMLValue(Map{{"b", "2"}, {"a", "x,y"}}), QString("a=x#comma#y,b=2"));
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
        QString got = QStringLiteral("unset");
        if (kind == QLatin1String("int")) {
            QAStAttribute<int> a;
            QAStData::readIntVal(resources.data(), at.constData(), a);
            if (a.isSet)
                got = QString::number(a.get());
        } else if (kind == QLatin1String("bool")) {
            QAStAttribute<bool> a;
            QAStData::readBoolVal(resources.data(), at.constData(), a);
            if (a.isSet)
                got = QAStData::boolToXMLValue(a.get());
        } else if (kind == QLatin1String("string")) {
            QAStAttribute<QString> a;
            QAStData::readStrVal(resources.data(), at.constData(), a);
            if (a.isSet)
                got = a.get();
        } else if (kind == QLatin1String("list")) {
            QAStAttribute<QStringList> a;
            QAStData::readStrListVal(resources.data(), at.constData(), a);
            if (a.isSet)
                got = a.get().join(QLatin1Char('|'));
        } else {
            QAStAttribute<QMap<QString, QString>> a;
            QAStData::readStrMapVal(resources.data(), at.constData(), a);
            QStringList entries;
            for (auto it = a.get().constBegin(); it != a.get().constEnd(); ++it)
                entries << it.key() + QLatin1Char('=') + it.value();
            if (a.isSet)
                got = entries.join(QLatin1Char('|'));
        }
        QCOMPARE(got, read);
    }

    // What a user enters on a node, saved and opened again in a new project.
    void userValuesSurviveSaveAndLoad_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QStringList>("environment");
        QTest::newRow("cflags holding control characters") << "cflags" << QVariant("-DA=\x01\x1b[0m\x7f") << QStringList();
        QTest::newRow("cflags with carriage returns") << "cflags" << QVariant("one\r\ntwo\r") << QStringList();
        QTest::newRow("cflags holding escapes as text") << "cflags" << QVariant("#comma# &lt; #x20#") << QStringList();
        QTest::newRow("cflags of blanks alone") << "cflags" << QVariant("   ") << QStringList();
        QTest::newRow("a tab as the CSV separator") << "csvSeparator" << QVariant("\t") << QStringList();
        QTest::newRow("include directories of odd names") << "ge_incdir" << QVariant(QStringList{" ", "a,b", "\r"})
                                                         << QStringList();
        QTest::newRow("the key with a leading blank") << " st_dtrack" << QVariant(true) << QStringList();
        QTest::newRow("the node's name") << "name" << QVariant("g\x02\r\n#comma#") << QStringList();
        QTest::newRow("a folder's name in the objects file") << "folder" << QVariant("f\x03 ") << QStringList();
        QTest::newRow("user environment with , = and <>")
            << "envVariables"
            << QVariant(QVariantMap{{"CFLAGS", "-DLEVEL=2"}, {"PATHS", "a,b"}, {"IN", "<in>"}, {"K=", "#comma#"}})
            << QStringList{"$ENV{'CFLAGS'} = '-DLEVEL=2';", "$ENV{'IN'} = '<in>';", "$ENV{'K='} = '#comma#';",
                           "$ENV{'PATHS'} = 'a,b';"};
    }
    void userValuesSurviveSaveAndLoad()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        QFETCH(QStringList, environment);
        auto saved = savedProject();
        QVERIFY(saved);
        auto* group = static_cast<QAStNode*>(saved->findNode(QStringLiteral("g")));
        if (key == QLatin1String("name"))
            group->setName(value.toString());
        else if (key == QLatin1String("folder"))
            new QAStFolder(value.toString(), saved->rootFolder());
        else
            group->configuration(QStringLiteral("Debug"))->setProperty(key, value);
        QVERIFY(saved->saveProcess());

        QAStProject loaded(projectPath());
        QVERIFY(loaded.isLoaded() && loaded.isValid());
        QAStNode* node = loaded.children().value(0);
        QVERIFY(node);
        if (key == QLatin1String("name"))
            QCOMPARE(node->name(), value.toString());
        else if (key == QLatin1String("folder"))
            QVERIFY(loaded.rootFolder()->searchChildOfClass(value.toString(), "QAStFolder", false));
        else
            QCOMPARE(node->configuration(QStringLiteral("Debug"))->property(key), value);
        QString text;
        QTextStream stream(&text);
        node->generateEnv(stream);
        stream.flush();
        for (const QString& line : environment)
            QVERIFY2(text.contains('\n' + line + '\n'), qPrintable(line));
    }

    // Older files wrote that key as a tag no XML reader accepts.
    void olderBlankKeyTagsAreRead_data()
    {
        QTest::addColumn<bool>("clipboard");
        QTest::newRow("from the project file") << false;
        QTest::newRow("from the clipboard") << true;
    }
    void olderBlankKeyTagsAreRead()
    {
        QFETCH(bool, clipboard);
        auto saved = savedProject();
        QVERIFY(saved);
        QAStData* group = saved->findNode(QStringLiteral("g"));
        const QString text = QStringLiteral("< st_dtrack>x</ st_dtrack> <!-- < st_dtrack> -->");
        static_cast<QAStNode*>(group)->configuration(QStringLiteral("Debug"))->setProperty(QStringLiteral("cflags"), text);
        QVERIFY(saved->saveProcess());
        QByteArray older = clipboard ? group->toString().toUtf8() : read(projectPath());
        const qsizetype at = older.indexOf("</cflags>\n") + 10;
        QVERIFY(at > 10);
        older.insert(at, "          < st_dtrack>true</ st_dtrack>\n");

        std::unique_ptr<QAStData> copy;
        QAStProject loaded;
        if (clipboard) {
            copy.reset(QAStData::stringContentToData(QString::fromUtf8(older)));
        } else {
            QFile file(projectPath());
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(older) == older.size());
            file.close();
            QVERIFY(loaded.open(projectPath()));
        }
        auto* node = static_cast<QAStNode*>(clipboard ? copy.get() : loaded.children().value(0));
        QVERIFY(node);
        QAStConfiguration* debug = node->configuration(QStringLiteral("Debug"));
        QCOMPARE(debug->property(QStringLiteral(" st_dtrack")), QVariant(true));
        QCOMPARE(debug->property(QStringLiteral("cflags")).toString(), text);
    }

    // A directory that takes no new file, and a project file that may be
    // written: the files are rewritten in place. Without its objects file the
    // project still counts as saved.
    void saveWritesInPlaceWhereNoFileCanBeMade_data()
    {
        QTest::addColumn<bool>("objectsFile");
        QTest::newRow("both files exist") << true;
        QTest::newRow("the objects file cannot be made") << false;
    }
    void saveWritesInPlaceWhereNoFileCanBeMade()
    {
        QFETCH(bool, objectsFile);
        auto saved = savedProject();
        QVERIFY(saved);
        const QString objects = dir.filePath(QStringLiteral("p.inf"));
        if (!objectsFile)
            QVERIFY(QFile::remove(objects));
        auto* group = static_cast<QAStNode*>(saved->findNode(QStringLiteral("g")));
        group->configuration(QStringLiteral("Debug"))->setProperty(QStringLiteral("cflags"), QStringLiteral("-O3"));
        host.messages.clear();
        bool written = false;
        QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::ExeOwner));
        {
            WithoutDacOverride asAnyUser;
            QVERIFY2(!QFile(dir.filePath(QStringLiteral("probe"))).open(QIODevice::WriteOnly),
                     "the directory still takes new files");
            written = saved->saveProcess();
        }
        QVERIFY(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(written, objectsFile);
        QVERIFY(!saved->isModified());
        QVERIFY(read(projectPath()).contains("<cflags>-O3</cflags>"));
        QCOMPARE(QFile::exists(objects), objectsFile);
        QCOMPARE(host.consoleText(QAStData::MessageConsole).contains("Unable to write file information"), !objectsFile);
    }
};

QTEST_MAIN(tst_ValueEncoding)
#include "tst_valueencoding.moc"
