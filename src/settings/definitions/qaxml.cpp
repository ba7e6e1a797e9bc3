#include "qaxml.h"

#include "qastdata.h"

#include <QBuffer>
#include <QByteArray>
#include <QDomDocument>

QString QAXML::fromString(const QString& value)
{
    return QAStData::stringToXMLValue(value);
}

QString QAXML::toString(const QString& text)
{
    return QAStData::xmlValueToString(text);
}

QString QAXML::fromStringList(const QStringList& list)
{
    return QAStData::stringListToXMLValue(list);
}

QStringList QAXML::toStringList(const QString& text)
{
    return QAStData::xmlValueToStringList(text);
}

QString QAXML::fromMap(const QMap<QString, QString>& map)
{
    return QAStData::stringMapToXMLValue(map);
}

QMap<QString, QString> QAXML::toMap(const QString& text)
{
    return QAStData::xmlValueToStringMap(text);
}

int QAXML::toInt(const QString& text)
{
    bool ok = false;
    const int value = text.toInt(&ok, 10);
    if (ok)
        return value;
    // Older files wrote some integer settings as booleans.
    return text == QLatin1String("true") ? 1 : 0;
}

unsigned int QAXML::toUInt(const QString& text)
{
    return QAStData::xmlValueToUInt(text);
}

bool QAXML::toBool(const QString& text)
{
    return text == QLatin1String("true") || text == QLatin1String("1");
}

namespace {

bool isNameStart(QChar c)
{
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'_';
}

bool isNameChar(QChar c)
{
    return isNameStart(c) || (c >= u'0' && c <= u'9') || c == u'.' || c == u'-';
}

// One past the end of the markup at \a at whose content holds no element: a
// comment, a CDATA section, a processing instruction, the document type with
// its quoted parts. \a at itself for any other markup.
qsizetype endOfOpaqueMarkup(const QByteArray& text, qsizetype at)
{
    const QByteArrayView rest = QByteArrayView(text).sliced(at);
    const auto through = [&](const char* end) {
        const qsizetype found = text.indexOf(end, at + 2);
        return found < 0 ? text.size() : found + qsizetype(qstrlen(end));
    };
    if (rest.startsWith("<!--"))
        return through("-->");
    if (rest.startsWith("<![CDATA["))
        return through("]]>");
    if (rest.startsWith("<?"))
        return through("?>");
    if (!rest.startsWith("<!"))
        return at;
    char quote = 0;
    for (qsizetype i = at + 2; i < text.size(); ++i) {
        const char c = text.at(i);
        if (quote)
            quote = c == quote ? 0 : quote;
        else if (c == '"' || c == '\'')
            quote = c;
        else if (c == '>')
            return i + 1;
    }
    return text.size();
}

// The length of a tag of an older file at \a at, "<" or "</", blanks, a name
// and ">", or 0; \a tag gets the tag as it is written today.
qsizetype legacyTagAt(const QByteArray& text, qsizetype at, QByteArray* tag)
{
    qsizetype i = at + 1;
    const bool closing = i < text.size() && text.at(i) == '/';
    const qsizetype key = closing ? ++i : i;
    while (i < text.size() && text.at(i) == ' ')
        ++i;
    if (i == key || i == text.size() || !isNameStart(QLatin1Char(text.at(i))))
        return 0;
    while (i < text.size() && isNameChar(QLatin1Char(text.at(i))))
        ++i;
    if (i == text.size() || text.at(i) != '>')
        return 0;
    *tag = (closing ? QByteArray("</") : QByteArray("<"))
        + QAXML::elementName(QString::fromLatin1(text.mid(key, i - key))).toLatin1() + '>';
    return i + 1 - at;
}

// Only markup is renamed: a text or an attribute value never holds a bare
// "<", and the markup that may is passed over whole.
QByteArray withLegacyTagsRenamed(const QByteArray& text)
{
    if (!text.contains("< ") && !text.contains("</ "))
        return text;
    QByteArray result;
    result.reserve(text.size() + 64);
    qsizetype from = 0;
    for (qsizetype at = text.indexOf('<'); at >= 0; at = text.indexOf('<', at)) {
        QByteArray tag;
        if (const qsizetype end = endOfOpaqueMarkup(text, at); end > at) {
            at = end;
        } else if (const qsizetype length = legacyTagAt(text, at, &tag)) {
            result.append(text.constData() + from, at - from).append(tag);
            from = at += length;
        } else {
            ++at;
        }
    }
    return result.append(text.constData() + from, text.size() - from);
}

} // namespace

QString QAXML::elementName(const QString& key)
{
    QString name;
    name.reserve(key.size());
    for (qsizetype i = 0; i < key.size(); ++i) {
        const QChar c = key.at(i);
        if (i == 0 ? isNameStart(c) : isNameChar(c))
            name += c;
        else
            name += QStringLiteral("_x%1_").arg(QString::number(c.unicode(), 16).toUpper().rightJustified(4, u'0'));
    }
    return name;
}

bool QAXML::parse(QDomDocument& document, const QByteArray& text, QString* message, int* line, int* column)
{
    QBuffer buffer;
    buffer.setData(withLegacyTagsRenamed(text));
    buffer.open(QIODevice::ReadOnly);
    return QAStData::parseDocument(&buffer, document, message, line, column);
}
