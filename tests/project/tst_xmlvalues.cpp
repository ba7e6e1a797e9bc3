#include "qastdata.h"

#include <QDomDocument>
#include <QRandomGenerator>
#include <QTest>
#include <QTextStream>

// The value encodings of the project file, checked through a real XML parser.
class tst_XmlValues : public QObject
{
    Q_OBJECT
private slots:
    void textSurvivesTheParser_data();
    void textSurvivesTheParser();
    void randomTextSurvivesTheParser();
    void listsAndMaps();
    void scalars_data();
    void scalars();
    void indentation();

private:
    static QString parsed(const QString& encoded);
    static QString throughParser(const QString& text)
    {
        return QAStData::xmlValueToString(parsed(QAStData::stringToXMLValue(text)));
    }
};

// The element text that a reader gets back for an encoded value.
QString tst_XmlValues::parsed(const QString& encoded)
{
    QString xml;
    QTextStream stream(&xml);
    QAStData::toStream(stream, "name", encoded, 0);
    stream.flush();
    QDomDocument document;
    if (!document.setContent(xml))
        return QStringLiteral("<parse error>");
    return document.documentElement().text();
}

void tst_XmlValues::textSurvivesTheParser_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    const auto same = [](const char* tag, const QString& text) { QTest::newRow(tag) << text << text; };
    same("every special character at once", QStringLiteral("a,b<c>&d"));
    same("entities spelt out stay text", QStringLiteral("&amp; &quot;"));
    same("quotes and apostrophes", QStringLiteral("say \"it's\""));
    same("non-ASCII", QStringLiteral("é ß 中 \U0001F600"));
    same("a comma alone", QStringLiteral(","));
    same("the empty text", QString());
    // The documented lossy forms: the marks of the encoding itself decode.
    QTest::newRow("a literal comma mark becomes a comma") << QStringLiteral("x#comma#y") << QStringLiteral("x,y");
    QTest::newRow("a literal entity becomes its character") << QStringLiteral("&lt;b&gt;") << QStringLiteral("<b>");
    // The XML parser's own normalisations.
    QTest::newRow("a carriage return becomes a line feed") << QStringLiteral("a\r\nb") << QStringLiteral("a\nb");
    QTest::newRow("text of blanks only is dropped") << QStringLiteral("   ") << QString();
}

void tst_XmlValues::textSurvivesTheParser()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(throughParser(text), expected);
}

void tst_XmlValues::randomTextSurvivesTheParser()
{
    // '#' and ';' are left out: with them a random text may spell an encoding mark.
    const QString alphabet = QStringLiteral("abcXYZ019 ,<>&\"'=é中\t\n/\\");
    QRandomGenerator random(20261122);
    for (int round = 0; round < 500; ++round) {
        QString text = QStringLiteral("x");
        const int length = random.bounded(40);
        for (int i = 0; i < length; ++i)
            text += alphabet.at(random.bounded(int(alphabet.size())));
        QCOMPARE(throughParser(text), text);
    }
}

void tst_XmlValues::listsAndMaps()
{
    const QStringList list{"a,b", "<c>", "d&e"};
    QCOMPARE(QAStData::xmlValueToStringList(parsed(QAStData::stringListToXMLValue(list))), list);
    QCOMPARE(QAStData::xmlValueToStringList(QStringLiteral("a,,b")), QStringList({"a", "b"}));
    QCOMPARE(QAStData::xmlValueToStringList(QAStData::stringListToXMLValue({"a", "", "b"})),
             QStringList({"a", "b"}));

    QMap<QString, QString> map{{"k", "x,y"}, {"a", "1"}};
    QCOMPARE(QAStData::stringMapToXMLValue(map), QStringLiteral("a=1,k=x#comma#y"));
    // Maps are read back without decoding, as older files expect.
    const auto read = QAStData::xmlValueToStringMap(QAStData::stringMapToXMLValue(map));
    QCOMPARE(read.value("k"), QStringLiteral("x#comma#y"));
    const auto odd = QAStData::xmlValueToStringMap(QStringLiteral("novalue,a=b=c,,=x"));
    QCOMPARE(odd.value("novalue"), QStringLiteral(""));
    QVERIFY(!odd.value("novalue").isNull());
    QCOMPARE(odd.value("a"), QStringLiteral("b"));
    QCOMPARE(odd.value("x"), QStringLiteral(""));
}

void tst_XmlValues::scalars_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("asBool");
    QTest::addColumn<int>("asInt");
    QTest::addColumn<uint>("asUInt");
    QTest::newRow("true") << "true" << true << 0 << 0u;
    QTest::newRow("TRUE is not true") << "TRUE" << false << 0 << 0u;
    QTest::newRow("a number") << "42" << false << 42 << 42u;
    QTest::newRow("a negative number") << "-7" << false << -7 << 0u;
    QTest::newRow("beyond 32 bits") << "99999999999" << false << 0 << 0u;
    QTest::newRow("the largest unsigned") << "4294967295" << false << 0 << 4294967295u;
    QTest::newRow("not a number") << "12ab" << false << 0 << 0u;
}

void tst_XmlValues::scalars()
{
    QFETCH(QString, text);
    QFETCH(bool, asBool);
    QFETCH(int, asInt);
    QFETCH(uint, asUInt);
    QCOMPARE(QAStData::xmlValueToBool(text), asBool);
    QCOMPARE(QAStData::xmlValueToInt(text), asInt);
    QCOMPARE(QAStData::xmlValueToUInt(text), asUInt);
    QCOMPARE(QAStData::xmlValueToInt(QAStData::intToXMLValue(asInt)), asInt);
    QCOMPARE(QAStData::xmlValueToBool(QAStData::boolToXMLValue(asBool)), asBool);
}

void tst_XmlValues::indentation()
{
    QString text;
    QTextStream stream(&text);
    QAStData::indentXML(stream, -1);
    QAStData::indentXML(stream, 0);
    QAStData::toStream(stream, "v", QStringLiteral("1"), 2);
    stream.flush();
    QCOMPARE(text, QStringLiteral("    <v>1</v>\n"));
}

QTEST_GUILESS_MAIN(tst_XmlValues)
#include "tst_xmlvalues.moc"
