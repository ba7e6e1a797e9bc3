#include "projectfiles.h"
#include "qares.h"
#include "qastconfiguration.h"
#include "qastfolder.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "recordinghost.h"
#include "testdata.h"

#include <QBuffer>
#include <QDomDocument>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>
#include <QTextStream>
#include <QThread>

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

// A project as an older studio may have written it: an icon, a node with an
// older element and output files, a nested tree, and white space everywhere.
QString projectText()
{
    return QString::fromUtf8(readFile(QStringLiteral(SDK_TESTDATA_DIR "/older-studio.vmp")));
}

QDomElement parse(QDomDocument& document, const QString& text)
{
    const bool parsed = bool(document.setContent(text));
    return parsed ? document.documentElement() : QDomElement();
}

// A project whose groups stand each in the one before, \a depth deep.
QString nestedGroups(int depth)
{
    QString text = QStringLiteral("<project>");
    for (int i = 0; i < depth; ++i)
        text += QStringLiteral("<group><node><data><name>g%1</name><sorted>false</sorted><executionResult>5"
                               "</executionResult></data></node><group_child>").arg(i);
    for (int i = 0; i < depth; ++i)
        text += QStringLiteral("</group_child></group>");
    return text + QStringLiteral("<object_file>p.inf</object_file><root_configuration_list/>"
                                 "<version_file>1</version_file></project>");
}

} // namespace

class tst_ProjectFile : public QObject
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

private slots:
    void initTestCase() { QVERIFY(host.initializeLibrary()); }
    void init()
    {
        QAStData::clearLastErrorString();
        host.messages.clear();
        host.boxes.clear();
    }

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

    // The older resource form: a value is taken only of its kind, else the
    // attribute stays unset; an empty text is a text, and a map keeps what
    // follows its first "=" undecoded.
    void resourceReaders()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write("top { n = 7; b = true; s = \"x,y\"; e = \"\";\n"
                   "l = (\"a\", \"b\"); m = (\"a\", 1); l2 = (\"k=v#comma#w=2\", \"z\"); }\n");
        file.close();
        QScopedPointer<QARes> resources(QARes::read(QFile::encodeName(file.fileName()).constData(), false));
        QVERIFY(resources);
        QAStAttribute<int> number, notANumber;
        QAStData::readIntVal(resources.data(), "n", number);
        QAStData::readIntVal(resources.data(), "s", notANumber);
        QVERIFY(number.isSet && number.get() == 7 && !notANumber.isSet);
        QAStAttribute<bool> flag;
        QAStData::readBoolVal(resources.data(), "b", flag);
        QVERIFY(flag.isSet && flag.get());
        QAStAttribute<QString> empty;
        QAStData::readStrVal(resources.data(), "e", empty);
        QVERIFY(empty.isSet && !empty.get().isNull() && empty.get().isEmpty());
        QAStAttribute<QStringList> list, mixed;
        QAStData::readStrListVal(resources.data(), "l", list);
        QAStData::readStrListVal(resources.data(), "m", mixed);
        QVERIFY(list.isSet && list.get() == QStringList({"a", "b"}) && !mixed.isSet);
        QAStAttribute<Map> map;
        QAStData::readStrMapVal(resources.data(), "l2", map);
        QCOMPARE(map.get(), (Map{{"k", "v#comma#w=2"}, {"z", ""}}));
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
        QByteArray text = route.endsWith("clipboard") ? group->toString().toUtf8() : readFile(projectPath());
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
    // A project as an older studio wrote it is read in file order, and
    // written back in today's form, which reads back the same.
    void readsAndWritesBackAnOlderStudiosFile()
    {
        QDomDocument document;
        QAStProject project(QStringLiteral("proj"), QPixmap());
        project.init(parse(document, projectText()));

        QCOMPARE(childNames(&project), (QStringList {"first", "second"}));
        QVERIFY(project.isValid());
        QCOMPARE(project.getQuid(), 77u);
        QCOMPARE(project.sortMethod(), 3);
        QVERIFY(!project.isRenameable());
        auto* first = qobject_cast<QAStNodeGroup*>(project.findNode(QStringLiteral("first")));
        QVERIFY(first);
        QCOMPARE(first->executionStatus(), 0);
        // The older "checked" means the reverse of its word, and counts as set.
        QCOMPARE(first->effectiveState(), QAStNode::Excluded);
        QVERIFY(first->stateAttribute().isSet);
        QVERIFY(first->backgroundAttribute().get());
        QCOMPARE(first->perlScriptAfterChild(), QStringLiteral("after.pl"));
        QCOMPARE(first->outFileNameMap().keys(), QStringList {"1234_ROD"});
        QCOMPARE(first->outFileNameMap().value(QStringLiteral("1234_ROD")), (QStringList {"a.rod", "sub,dir/b.rod"}));
        QCOMPARE(childNames(first), QStringList {"inner"});
        auto* second = qobject_cast<QAStNode*>(project.findNode(QStringLiteral("second")));
        QCOMPARE(second->effectiveState(), QAStNode::ReportOnly);
        QVERIFY(second->isAlphabeticallySorted());

        // The older selection of steps is not a node element of today.
        QCOMPARE(host.consoleText(QAStData::MessageConsole), QStringLiteral("Element unknown in node : execution_flag"));
        QCOMPARE(QAStData::lastErrorString(), QString());
        QVERIFY(host.boxes.isEmpty());

        const QString text = project.toString();

        QVERIFY(text.startsWith(QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE project SYSTEM \"")
                                + RecordingHost::stageDir() + QStringLiteral("/lib/project.dtd\" >\n<project>\n")));
        QVERIFY(text.endsWith(QLatin1String("  <object_file>proj.inf</object_file>\n  <sort_method>3</sort_method>\n"
                                            "  <root_configuration_list>\n  </root_configuration_list>\n"
                                            "  <version_file>1</version_file>\n</project>\n")));
        // Output files only where there are some; the configuration list always.
        QCOMPARE(text.count(QLatin1String("<outfilename_list>")), 1);
        QCOMPARE(text.count(QLatin1String("<configuration_list>")), 4);
        QVERIFY(text.contains(QLatin1String("<filetype>1234_ROD</filetype>")));
        QVERIFY(text.contains(QLatin1String("<filepath>a.rod,sub#comma#dir/b.rod</filepath>")));
        QVERIFY(!text.contains(QLatin1String("checked")) && !text.contains(QLatin1String("execution_flag")));

        QDomDocument again;
        QAStProject reread(QStringLiteral("proj"), QPixmap());
        reread.init(parse(again, text));
        QCOMPARE(reread.toString(), text);
    }

    void parsesAsTheDocumentDoes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("a whole project") << projectText();
        QTest::newRow("blank values, blanks around a value")
            << "<a>\n <b> </b>\t<c> x </c><d/>\n</a>";
        QTest::newRow("comments, instructions, character data")
            << "<?xml version=\"1.0\"?><!-- before --><a><!--in--><?pi data?><b><![CDATA[ <x>&amp; ]]></b></a>";
        QTest::newRow("a prefix nobody declared") << "<a><x:b y:c=\"1\"/></a>";
        QTest::newRow("attributes and entities") << "<a x=\"1\" y=\"&amp;&lt;\"><b z='&quot;'>&amp;&#65;</b></a>";
        QTest::newRow("a truncated file") << projectText().left(700);
        QTest::newRow("text after the root") << "<a/>tail";
        QTest::newRow("a DOCTYPE inside the root") << "<a><!DOCTYPE b></a>";
        QTest::newRow("a blank CDATA section") << "<a><![CDATA[ ]]></a>";
        QTest::newRow("binary garbage") << QString::fromLatin1("\x01\xff<\x00>&&\x7f", 9);
        QTest::newRow("nothing") << "";
    }
    void parsesAsTheDocumentDoes()
    {
        QFETCH(QString, text);
        QDomDocument expected;
        QString expectedMessage;
        int expectedLine = 0, expectedColumn = 0;
        const bool parses = bool(expected.setContent(text, &expectedMessage, &expectedLine, &expectedColumn));

        QBuffer buffer;
        buffer.setData(text.toUtf8());
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        QDomDocument document;
        QString message;
        int line = 0, column = 0;
        QCOMPARE(QAStData::parseDocument(&buffer, document, &message, &line, &column), parses);
        if (parses)
            QCOMPARE(documentBody(document), documentBody(expected));
        else
            QCOMPARE(QStringList({message, QString::number(line), QString::number(column)}),
                     QStringList({expectedMessage, QString::number(expectedLine), QString::number(expectedColumn)}));
    }

    // Reading, writing and deleting a deep tree must not take a stack frame
    // a level: on a thread with a small stack, a recursion would overflow it.
    void deepTreesNeedNoStack()
    {
        const int depth = 300;
        QDomDocument document;
        QVERIFY(QAStData::parseDocument(nestedGroups(depth + 1), document));
        int groups = 0;
        qsizetype length = 0;
        QThread* thread = QThread::create([&] {
            auto* project = new QAStProject(QStringLiteral("p"), QPixmap());
            project->init(document.documentElement());
            groups = int(project->childrenOfClass("QAStNodeGroup", true).size());
            length = project->toString().size();
            delete project;
        });
        thread->setStackSize(256 * 1024);
        thread->start();
        QVERIFY(thread->wait(QDeadlineTimer(8000)));
        delete thread;
        QCOMPARE(groups, depth);
        // Two blanks a level, however deep.
        QVERIFY(length > qsizetype(depth) * depth * 4);
    }

    // A missing element stops the reading of the project's own elements, but,
    // as a misplaced one does, not its validity. A misplaced child is dropped, one that nothing
    // knows is kept in its place; the messages come in the order of the file. Whatever was read
    // is written again and read back alike.
    void incompleteFilesLoadWithoutHarm_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("children");
        QTest::addColumn<int>("sortMethod");
        QTest::addColumn<QString>("error"); // the whole error text when empty, else a part of it
        QTest::addColumn<QString>("ignored"); // the tags ignored, in the order of the messages
        QTest::addColumn<bool>("valid");
        const QStringList both {"first", "second"};
        for (const char* missing : {"version_file", "object_file", "sort_method", "root_configuration_list", "execution_flag"}) {
            QDomDocument document;
            parse(document, projectText());
            QDomElement doomed = document.elementsByTagName(missing).item(0).toElement();
            doomed.parentNode().removeChild(doomed);
            const bool optional = QByteArray(missing) == "sort_method";
            const bool stops = QByteArray(missing).endsWith("_file");
            QTest::addRow("without %s", missing)
                << document.toString() << (QByteArray(missing) == "version_file" ? QStringList() : both)
                << (stops || optional ? 1 : 3)
                << (optional ? QString() : QStringLiteral("Unable to find tag %1\n").arg(QLatin1String(missing))) << ""
                << true;
        }
        const auto project = [](const QString& children) {
            const QString data = QStringLiteral("<data><name>%1</name><sorted>false</sorted><executionResult>5"
                                                "</executionResult></data>");
            return QStringLiteral("<project><group><node>%1</node><group_child>%2<group><node>%3</node></group>"
                                  "</group_child></group><object_file/><root_configuration_list/><execution_flag/>"
                                  "<version_file>1</version_file></project>")
                .arg(data.arg("p"), children, data.arg("kept"));
        };
        QTest::newRow("an element nobody knows") << project("<x/>") << QStringList{"x", "kept"} << 1
                                                 << "No plugin found for feature \"x\"\n" << "x" << false;
        QTest::newRow("a known element in the wrong place") << project("<file/>") << QStringList{"kept"} << 1
                                                            << "file bad place\n" << "file" << false;
        QTest::newRow("a child's subtree speaks before its next sibling")
            << project("<group><node><data><name>g</name><sorted/><executionResult/></data></node>"
                       "<group_child><x/></group_child></group><y/>")
            << QStringList{"g", "y", "kept"} << 1 << "No plugin found for feature \"x\"\nNo plugin found for feature \"y\"\n"
            << "x,y" << false;
        QTest::newRow("a node where the group should be")
            << "<project><node><data><name>x</name></data></node><object_file/>"
               "<root_configuration_list/><version_file>1</version_file></project>"
            << QStringList() << 1 << "Wait for tag name and read data\n" << "" << true;
        QTest::newRow("a group holding data directly: kept without its name")
            << "<project><group><node><data><name>p</name><sorted/><executionResult/></data></node>"
               "<group_child><group><data><name>x</name></data></group></group_child></group>"
               "<object_file/><root_configuration_list/><execution_flag/><version_file>1</version_file></project>"
            << QStringList{""} << 1 << "Wait for tag name and read data\n" << "" << true;
    }
    void incompleteFilesLoadWithoutHarm()
    {
        QFETCH(QString, text);
        QFETCH(QString, error);
        QFETCH(QString, ignored);
        QDomDocument document;
        QAStProject project(QStringLiteral("p"), QPixmap());
        project.init(parse(document, text));
        QTEST(childNames(&project), "children");
        QTEST(project.sortMethod(), "sortMethod");
        if (error.isEmpty())
            QCOMPARE(QAStData::lastErrorString(), error);
        QVERIFY2(QAStData::lastErrorString().contains(error), qPrintable(QAStData::lastErrorString()));
        QString console;
        for (const QString& tag : ignored.split(QLatin1Char(','), Qt::SkipEmptyParts))
            console += QStringLiteral("Tag ignored in the group: ") + tag;
        if (!ignored.isEmpty())
            QCOMPARE(host.consoleText(QAStData::MessageConsole), console);
        QTEST(project.isValid(), "valid");
        QVERIFY(host.boxes.isEmpty());
        QDomDocument again;
        QAStProject reread(QStringLiteral("p"), QPixmap());
        reread.init(parse(again, project.toString()));
        QCOMPARE(reread.toString(), project.toString());
    }
};

QTEST_MAIN(tst_ProjectFile)
#include "tst_projectfile.moc"
