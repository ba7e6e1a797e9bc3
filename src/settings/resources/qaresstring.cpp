#include "qaresstring.h"

#include <QByteArray>
#include <QCoreApplication>

#include <cstring>
#include <ostream>

template class QAResSingle<QString>;

namespace {

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

// 8-bit text as it was read, NUL bytes included.
void writeQuoted(std::ostream& stream, const QString& text)
{
    const QByteArray bytes = text.toLatin1();
    stream << '"';
    stream.write(bytes.constData(), bytes.size());
    stream << '"';
}

} // namespace

QAResString::QAResString(const char* tag, const QString& value) : QAResSingle(String, tag, value) {}

QAResString::QAResString(const char* tag, const QString& context, const QString& source,
                         const QString& comment)
    : QAResSingle(String, tag, source), _context(context), _source(source), _comment(comment)
{
    if (context.isNull())
        return;
    const QByteArray sourceBytes = source.toLatin1();
    const QString translated = QCoreApplication::translate(
        context.toLatin1().constData(), sourceBytes.constData(),
        comment.isNull() ? nullptr : comment.toLatin1().constData());
    // Without a translation the answer is the source as UTF-8, which is not
    // what an 8-bit source says; keep the source then.
    if (translated != QString::fromUtf8(sourceBytes))
        _value = translated;
}

void QAResString::write(std::ostream& stream, const char* indent) const
{
    QARes::write(stream, indent);
    if (isTranslatable()) {
        stream << "QT_TRANSLATE_NOOP( ";
        writeQuoted(stream, _context);
        stream << ", ";
        writeQuoted(stream, _source);
        stream << ", ";
        // Without a comment this leaves a trailing comma the reader refuses;
        // kept, as files written this way exist.
        if (!_comment.isNull())
            writeQuoted(stream, _comment);
        stream << " )";
    } else {
        const QByteArray bytes = _value.toUtf8();
        char fixed[256];
        const size_t needed = size_t(bytes.size()) * 5 + 1;
        char* buffer = needed <= sizeof fixed ? fixed : new char[needed];
        stream << '"' << encode(buffer, bytes.constData()) << '"';
        if (buffer != fixed)
            delete[] buffer;
    }
    if (tag())
        stream << ";\n";
}

char* QAResString::encode(char* dst, const char* src)
{
    if (!src)
        return nullptr;
    if (!dst)
        dst = new char[std::strlen(src) * 5 + 1];
    static const char digits[] = "0123456789ABCDEF";
    char* out = dst;
    for (const char* in = src; *in; ++in) {
        const signed char c = static_cast<signed char>(*in);
        if (c < 32 || c == '"' || c == '&') {
            const unsigned char byte = static_cast<unsigned char>(c);
            *out++ = '&';
            *out++ = '#';
            *out++ = digits[byte >> 4];
            *out++ = digits[byte & 15];
            *out++ = ';';
        } else {
            *out++ = *in;
        }
    }
    *out = '\0';
    return dst;
}

char* QAResString::decode(char* dst, const char* src)
{
    if (!src)
        return nullptr;
    if (!dst)
        dst = new char[std::strlen(src) + 1];
    enum { Copying, Ampersand, FirstDigit, SecondDigit, AfterDigits } state = Copying;
    int high = 0;
    char* out = dst;
    for (const char* in = src; *in; ++in) {
        const char c = *in;
        switch (state) {
        case Copying:
            if (c == '&')
                state = Ampersand;
            else
                *out++ = c;
            break;
        case Ampersand:
            if (c == '#') {
                state = FirstDigit;
            } else {
                *out++ = c;
                state = Copying;
            }
            break;
        case FirstDigit:
            high = hexValue(c);
            if (high >= 0) {
                state = SecondDigit;
            } else {
                *out++ = c;
                state = Copying;
            }
            break;
        case SecondDigit: {
            const int low = hexValue(c);
            if (low >= 0) {
                *out++ = char(high * 16 + low);
                state = AfterDigits;
            } else {
                *out++ = c;
                state = Copying;
            }
            break;
        }
        case AfterDigits:
            if (c != ';')
                *out++ = c;
            state = Copying;
            break;
        }
    }
    *out = '\0';
    return dst;
}
