#pragma once

#include "sdk_export.h"

#include <QByteArray>
#include <QByteArrayView>

/// The scanner of tag files: it cuts a text held in memory into the tokens
/// of one line of tags, in place, without copying. It is table-driven: one
/// class of character for each byte decides where a word starts, goes on
/// and ends.
///
/// Words are wide: a space, most punctuation and every byte above 0x7E may
/// stand in them, so that a name, a path or a signature is one word. A
/// colon ends a word ("key:") unless another follows ("A::B") or it is the
/// word's second character ("C:/dir"). A field name is a keyword only as a
/// whole word ("class:" but not "class::x"). Text between double quotes is
/// one word, tabs and line feeds included.
class SDK_EXPORT QAStTagScanner
{
public:
    enum Token {
        TK_END = 0,
        TK_EOL = 257,
        TK_TAB,
        TK_EXTSEP,
        TK_FILE,
        TK_NAMESPACE,
        TK_CLASS,
        TK_INTERFACE,
        TK_INHERITS,
        TK_OUTER,
        TK_FROM,
        TK_PARENT,
        TK_SEPARATE,
        TK_ACCESS,
        TK_IMPLEMENTATION,
        TK_IDENT,
        TK_COMMA,
        TK_NUMBER,
        TK_SIGNATURE,
        TK_UNKNOWN
    };

    QAStTagScanner() = default;
    /// Scans \a size bytes at \a data, which must outlive the scanner.
    QAStTagScanner(const char* data, qsizetype size) { reset(data, size); }
    void reset(const char* data, qsizetype size);

    /// The next token; TK_END at the end of the text.
    int next();
    /// The text of the last token, in place.
    QByteArrayView text() const { return QByteArrayView(_text, _length); }
    /// The line of the text the scanner stands in, from 1.
    int line() const { return _line; }
    /// How far the scanner has read, in bytes.
    qsizetype position() const { return _at - _begin; }
    /// The size of the whole text, in bytes.
    qsizetype size() const { return _end - _begin; }
    /// Passes over the rest of the line, up to and not including its end.
    void skipLine();

    /// The name of a token for messages and traces.
    static const char* tokenName(int token);

private:
    int word(const char* start);

    const char* _begin = nullptr;
    const char* _at = nullptr;
    const char* _end = nullptr;
    const char* _text = nullptr;
    qsizetype _length = 0;
    int _line = 1;
    bool _lineStart = true;
};
