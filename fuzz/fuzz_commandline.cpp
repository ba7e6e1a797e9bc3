// Fuzzes the text parsers of the child process runner and the value decoders
// of the project file: QAProcess::commandLineToArgs, splitWithEscapeSequence
// and the QAStData::xmlValueTo* family, with round-trip properties through
// the XML parser.
//
// Input layout: the first byte modulo 4 is the length of the separator, which
// follows as bytes; the rest is the text (UTF-8). So the seed "1,a\,b" splits
// "a\,b" on ",". No QCoreApplication is needed: only QString and QRegExp run.

#include "qaprocess.h"
#include "qastdata.h"

#include <QDomDocument>
#include <QRegExp>
#include <QString>
#include <QStringList>
#include <QTextStream>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstdio>

namespace {

void check(bool condition, const char* what, const QString& input)
{
    if (condition)
        return;
    std::fprintf(stderr, "property failed: %s\ninput: %s\n", what, input.toUtf8().constData());
    std::abort();
}

// What a reader of the project file gets back: the encoded value written as
// an element, parsed, and the element's text.
QString throughXml(const QString& encoded, const QString& input)
{
    QString xml;
    QTextStream stream(&xml);
    QAStData::toStream(stream, "v", encoded, 0);
    stream.flush();
    QDomDocument document;
    QString error;
    if (!document.setContent(xml, &error))
        check(false, qPrintable(QStringLiteral("an encoded value does not parse: ") + error), input);
    return document.documentElement().text();
}

// The plain form of the tokeniser: all four expressions are
// searched again from every position. The library keeps earlier matches to
// stay linear on long lines; both must give the same tokens.
QStringList referenceArgs(const QString& line)
{
    static const QString word =
        QStringLiteral("[_A-Za-z0-9/\\\\:\\.\\+\\~\\#\\{\\}\\[\\]\\|\\@\\$\\%\\,\\;\\?\\!\\-\\*\\&\\=\\<\\>\\)\\(]");
    QRegExp expressions[4] = {
        QRegExp(word + QStringLiteral("+")),
        QRegExp(QStringLiteral("[\"]([^\"]|[^\"\\\\]|[\\\\][\"\\\\]|") + word + QStringLiteral(")*[\"]")),
        QRegExp(QStringLiteral("[']([^']|[^'\\\\]|[\\\\]['\\\\]|") + word + QStringLiteral(")*[']")),
        QRegExp(QStringLiteral("[\\&]")),
    };
    QStringList args;
    int position = 0;
    for (;;) {
        int best = -1, bestIndex = -1, bestLength = 0;
        for (int i = 0; i < 4; ++i) {
            const int index = expressions[i].indexIn(line, position);
            if (index < 0)
                continue;
            const int length = expressions[i].matchedLength();
            if (best < 0 || index < bestIndex || (index == bestIndex && length >= bestLength)) {
                best = i;
                bestIndex = index;
                bestLength = length;
            }
        }
        if (best < 0 || bestLength <= 0)
            break;
        const QString matched = line.mid(bestIndex, bestLength);
        args << (best == 1 || best == 2 ? matched.mid(1, matched.size() - 2) : matched);
        position = bestIndex + bestLength;
    }
    return args;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const size_t separatorBytes = std::min<size_t>(data[0] % 4, size - 1);
    const QString separator =
        QString::fromUtf8(reinterpret_cast<const char*>(data + 1), qsizetype(separatorBytes));
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data + 1 + separatorBytes),
                                           qsizetype(size - 1 - separatorBytes));

    // Command lines: every token is a piece of the line, so together they
    // cannot be longer than it.
    QStringList args;
    QAProcess::commandLineToArgs(text, args);
    qsizetype total = 0;
    for (const QString& arg : std::as_const(args))
        total += arg.size();
    check(total <= text.size(), "commandLineToArgs tokens longer than the line", text);
    // The reference is quadratic; short lines are enough to compare.
    if (text.size() <= 512)
        check(args == referenceArgs(text), "commandLineToArgs differs from the plain tokeniser", text);

    // Splitting only removes separators and escaping backslashes.
    const QStringList pieces = splitWithEscapeSequence(separator, text);
    total = 0;
    for (const QString& piece : pieces)
        total += piece.size();
    check(total <= text.size(), "splitWithEscapeSequence pieces longer than the text", text);
    if (!separator.isEmpty() && !text.contains(separator))
        check(pieces.size() <= 1 && (pieces.isEmpty() || pieces.first() == text),
              "splitWithEscapeSequence split a text without separator", text);

    // Decoders: anything goes in, nothing may crash.
    (void)QAStData::xmlValueToString(text);
    (void)QAStData::xmlValueToStringList(text);
    (void)QAStData::xmlValueToStringMap(text);
    (void)QAStData::xmlValueToBool(text);
    const int asInt = QAStData::xmlValueToInt(text);
    const unsigned int asUInt = QAStData::xmlValueToUInt(text);
    check(QAStData::xmlValueToInt(QAStData::intToXMLValue(asInt)) == asInt, "int round trip", text);
    check(QAStData::xmlValueToUInt(QAStData::uintToXMLValue(asUInt)) == asUInt, "uint round trip", text);
    check(QAStData::xmlValueToBool(QAStData::boolToXMLValue(true))
              && !QAStData::xmlValueToBool(QAStData::boolToXMLValue(false)),
          "bool round trip", text);

    // Encode, parse, decode: every text comes back as it was.
    const QString encoded = QAStData::stringToXMLValue(text);
    check(!encoded.contains(QLatin1Char(',')) && !encoded.contains(QLatin1Char('<'))
              && !encoded.contains(QLatin1Char('>')),
          "stringToXMLValue left a raw , < or >", text);
    check(QAStData::xmlValueToString(throughXml(encoded, text)) == text, "string round trip", text);

    // The same for a list of non-empty members (empty members are dropped by
    // design), and for a map, both made of the tokens of the command line.
    QStringList members;
    QMap<QString, QString> map;
    for (qsizetype i = 0; i < args.size(); ++i) {
        if (!args.at(i).isEmpty())
            members << args.at(i);
        if (i % 2)
            map.insert(args.at(i - 1), args.at(i));
    }
    const QString list = QAStData::stringListToXMLValue(members);
    check(QAStData::xmlValueToStringList(throughXml(list, text)) == members, "string list round trip", text);
    const QString written = QAStData::stringMapToXMLValue(map);
    check(QAStData::xmlValueToStringMap(throughXml(written, text)) == map, "string map round trip", text);
    return 0;
}
