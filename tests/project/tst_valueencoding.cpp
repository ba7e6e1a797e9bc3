#include "qares.h"
#include "qastdata.h"

#include <QDomDocument>
#include <QRandomGenerator>
#include <QTemporaryFile>
#include <QTest>
#include <QTextStream>

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

} // namespace

class tst_ValueEncoding : public QObject
{
    Q_OBJECT

private slots:
    void stringRoundTrip_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("expected");
        const QList<QPair<const char*, QString>> faithful{
            {"all four specials", "a,b<c>&d"}, {"empty", ""}, {"an entity as text", "&amp;"},
            {"a character reference as text", "&#65;"}, {"CDATA end", "]]>"}, {"a comment", "<!-- x -->"},
            {"a CDATA section", "<![CDATA[x]]>"}, {"quotes and =", "\"'="}, {"half a comma mark", "#comma"},
            {"# and ; apart", "a;b#c"}, {"blanks around text", "  padded  "},
            {"tab and newline inside text", "tab\tand\nnewline"}, {"non-ASCII", "é ß 中 😀"}};
        for (const auto& [tag, value] : faithful)
            QTest::newRow(tag) << value << value;
        // Lossy forms: _decode cannot tell them from what _encode made.
        QTest::newRow("literal #comma# comes back as a comma") << "x#comma#y" << "x,y";
        QTest::newRow("literal &lt; comes back as <") << "&lt;" << "<";
        QTest::newRow("literal &gt; comes back as >") << "a&gt;b" << "a>b";
        // The XML parser, not the encoding, changes these.
        QTest::newRow("whitespace only is dropped") << " \t\n " << "";
        QTest::newRow("CR becomes LF") << "a\rb" << "a\nb";
        QTest::newRow("CRLF becomes LF") << "a\r\nb" << "a\nb";

        // Fixed seed: a failing row is reproducible by its number.
        QRandomGenerator random(20240611);
        const QStringList alphabet{"a", "Z", "q", " ", ",", "<", ">", "&", "\"", "'", "=",
                                   "é", "ß", "中", "😀"};
        for (int row = 0; row < 300; ++row) {
            QString value;
            for (int n = random.bounded(1, 16); n > 0; --n)
                value += alphabet.at(random.bounded(int(alphabet.size())));
            if (value.trimmed().isEmpty())
                value += 'a';
            QTest::addRow("random %d", row) << value << value;
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
        QTEST(QAStData::xmlValueToString(read), "expected");
    }

    void encodedForms()
    {
        QCOMPARE(QAStData::stringToXMLValue("a,b<c>&d"), QString("a#comma#b&amp;lt;c&amp;gt;&amp;d"));
        const QMap<QString, QString> map{{"b", "2"}, {"a", "x,y"}};
        QCOMPARE(QAStData::stringMapToXMLValue(map), QString("a=x#comma#y,b=2")); // in key order
        QCOMPARE(QAStData::boolToXMLValue(true) + QAStData::boolToXMLValue(false), QString("truefalse"));
        QCOMPARE(QAStData::intToXMLValue(-42) + QAStData::uintToXMLValue(4294967295u), QString("-424294967295"));
    }

    void stringList_data()
    {
        QTest::addColumn<QStringList>("list");
        QTest::addColumn<QString>("encoded");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("plain") << QStringList{"a", "b"} << "a,b" << QStringList{"a", "b"};
        QTest::newRow("members holding commas")
            << QStringList{"a,b", "<c>"} << "a#comma#b,&amp;lt;c&amp;gt;" << QStringList{"a,b", "<c>"};
        QTest::newRow("empty member lost") << QStringList{"a", "", "b"} << "a,,b" << QStringList{"a", "b"};
        QTest::newRow("only an empty member") << QStringList{""} << "" << QStringList();
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
        using Map = QMap<QString, QString>;
        QTest::addColumn<QString>("value");
        QTest::addColumn<Map>("expected");
        const QString written = QAStData::stringMapToXMLValue(Map{{"k", "x,y"}, {"a<", "1"}});
        QString error;
        QTest::newRow("written map keeps the encoded forms")
            << throughXml(written, &error) << Map{{"k", "x#comma#y"}, {"a&lt;", "1"}};
        QTest::newRow("key without value") << "k=,j" << Map{{"k", ""}, {"j", ""}};
        QTest::newRow("third part ignored") << "a=b=c" << Map{{"a", "b"}};
        QTest::newRow("empty key part dropped") << "=v" << Map{{"v", ""}};
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
        QTest::newRow("map keeps the raw text") << "l2" << "map" << "k=v#comma#w|z=";
    }
    void resourceReaders()
    {
        QFETCH(QString, path);
        QFETCH(QString, kind);
        QFETCH(QString, read);
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write("top { n = 7; b = true; s = \"x,y\"; e = \"\"; g { inner = \"deep\"; }\n"
                   "l = (\"a\", \"b\"); m = (\"a\", 1); l2 = (\"k=v#comma#w\", \"z\"); }\n");
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
};

QTEST_MAIN(tst_ValueEncoding)
#include "tst_valueencoding.moc"
