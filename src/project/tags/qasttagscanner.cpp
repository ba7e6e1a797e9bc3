#include "qasttagscanner.h"

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Character classes: bit 1 starts a word, bit 2 goes on in one.
enum : unsigned char { Start = 1, Goes = 2, Word = Start | Goes, Digit = 4 };

struct Classes {
    unsigned char of[256] = {};
    constexpr Classes()
    {
        for (int c = 'a'; c <= 'z'; ++c)
            of[c] = Word;
        for (int c = 'A'; c <= 'Z'; ++c)
            of[c] = Word;
        for (const char c : " #$%&'()*+-./<=>?@[\\]^_`{|}~")
            if (c)
                of[static_cast<unsigned char>(c)] = Word;
        for (int c = 0x7F; c <= 0xFF; ++c)
            of[c] = Word;
        for (int c = '0'; c <= '9'; ++c)
            of[c] = Goes | Digit;
        for (const char c : "!\";")
            if (c)
                of[static_cast<unsigned char>(c)] = Goes;
        for (int c = 0x10; c <= 0x1F; ++c)
            of[c] = Goes;
    }
};

constexpr Classes classes;

inline unsigned char classOf(char c)
{
    return classes.of[static_cast<unsigned char>(c)];
}

// Only control bytes below 0x10, the comma and the colon stop a word: the
// wide loop below tests for exactly these, sixteen bytes at a time.
constexpr bool stopsWord(int c)
{
    return c < 0x10 || c == ',' || c == ':';
}

constexpr bool stopsAgreeWithClasses()
{
    for (int c = 0; c < 256; ++c) {
        if (stopsWord(c) == bool(classes.of[c] & Goes))
            return false;
    }
    return true;
}
static_assert(stopsAgreeWithClasses(), "the wide scan of words must stop where the table does");

// The end of the run of word characters from p. Most bytes of a tag file
// stand in long words (paths, signatures), so the run is where the time of
// the scan goes.
const char* wordRunEnd(const char* p, const char* end)
{
#if defined(__SSE2__)
    const __m128i control = _mm_set1_epi8(0x0F);
    const __m128i comma = _mm_set1_epi8(',');
    const __m128i colon = _mm_set1_epi8(':');
    while (end - p >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        // min(b, 0x0F) == b exactly when b, unsigned, is at most 0x0F.
        const __m128i low = _mm_cmpeq_epi8(_mm_min_epu8(bytes, control), bytes);
        const __m128i marks = _mm_or_si128(_mm_cmpeq_epi8(bytes, comma), _mm_cmpeq_epi8(bytes, colon));
        const int stops = _mm_movemask_epi8(_mm_or_si128(low, marks));
        if (stops)
            return p + __builtin_ctz(unsigned(stops));
        p += 16;
    }
#endif
    while (p < end && (classOf(*p) & Goes))
        ++p;
    return p;
}

struct Keyword {
    const char* text;
    int length;
    int token;
};

// Field names, each ending in its colon.
constexpr Keyword keywords[] = {
    {"file:", 5, QAStTagScanner::TK_FILE},
    {"namespace:", 10, QAStTagScanner::TK_NAMESPACE},
    {"class:", 6, QAStTagScanner::TK_CLASS},
    {"struct:", 7, QAStTagScanner::TK_CLASS},
    {"union:", 6, QAStTagScanner::TK_CLASS},
    {"interface:", 10, QAStTagScanner::TK_INTERFACE},
    {"inherits:", 9, QAStTagScanner::TK_INHERITS},
    {"outer:", 6, QAStTagScanner::TK_OUTER},
    {"from:", 5, QAStTagScanner::TK_FROM},
    {"parent:", 7, QAStTagScanner::TK_PARENT},
    {"separate:", 9, QAStTagScanner::TK_SEPARATE},
    {"access:", 7, QAStTagScanner::TK_ACCESS},
    {"implementation:", 15, QAStTagScanner::TK_IMPLEMENTATION},
    {"signature:", 10, QAStTagScanner::TK_SIGNATURE},
};

const char* const tokenNames[] = {
    "TK_EOL", "TK_TAB", "TK_EXTSEP", "TK_FILE", "TK_NAMESPACE", "TK_CLASS", "TK_INTERFACE",
    "TK_INHERITS", "TK_OUTER", "TK_FROM", "TK_PARENT", "TK_SEPARATE", "TK_ACCESS",
    "TK_IMPLEMENTATION", "TK_IDENT", "TK_COMMA", "TK_NUMBER", "TK_SIGNATURE", "TK_UNKNOWN",
};

} // namespace

void QAStTagScanner::reset(const char* data, qsizetype size)
{
    _begin = _at = data;
    _end = data + size;
    _text = data;
    _length = 0;
    _line = 1;
    _lineStart = true;
}

const char* QAStTagScanner::tokenName(int token)
{
    if (token == TK_END)
        return "TK_END";
    if (token < TK_EOL || token > TK_UNKNOWN)
        return "?";
    return tokenNames[token - TK_EOL];
}

void QAStTagScanner::skipLine()
{
    const void* eol = std::memchr(_at, '\n', size_t(_end - _at));
    const char* stop = eol ? static_cast<const char*>(eol) : _end;
    // A carriage return before the line feed belongs to the end of the line.
    if (stop > _at && stop < _end && stop[-1] == '\r')
        --stop;
    _at = stop;
}

int QAStTagScanner::next()
{
    for (;;) {
        if (_at >= _end) {
            _text = _at;
            _length = 0;
            return TK_END;
        }
        const char* start = _at;
        const bool atLineStart = _lineStart;
        _lineStart = false;
        const char c = *_at;
        _text = start;
        if (c == '!' && atLineStart) {
            skipLine();
            continue;
        }
        switch (c) {
        case '\n':
            ++_at;
            _length = 1;
            ++_line;
            _lineStart = true;
            return TK_EOL;
        case '\r':
            if (_at + 1 < _end && _at[1] == '\n') {
                _at += 2;
                _length = 2;
                ++_line;
                _lineStart = true;
                return TK_EOL;
            }
            break;
        case '\t':
            ++_at;
            _length = 1;
            return TK_TAB;
        case ',':
            ++_at;
            _length = 1;
            return TK_COMMA;
        case ';':
            if (_at + 1 < _end && _at[1] == '"') {
                _at += 2;
                _length = 2;
                return TK_EXTSEP;
            }
            break;
        case '"': {
            const void* close = std::memchr(_at + 1, '"', size_t(_end - _at - 1));
            if (!close)
                break;
            const char* stop = static_cast<const char*>(close) + 1;
            for (const char* p = _at + 1; p < stop; ++p)
                _line += *p == '\n';
            _at = stop;
            _length = stop - start;
            return TK_IDENT;
        }
        default:
            if (classOf(c) & Start)
                return word(start);
            if (c >= '1' && c <= '9') {
                const char* p = _at + 1;
                while (p < _end && (classOf(*p) & Digit))
                    ++p;
                // "1abc" is a word; "12;\"" is a line number and its separator.
                if (p < _end && ((classOf(*p) & Start) || *p == ':'))
                    return word(start);
                _at = p;
                _length = p - start;
                return TK_NUMBER;
            }
            break;
        }
        // Anything else is one character of its own.
        _at = start + 1;
        _length = 1;
        return TK_UNKNOWN;
    }
}

int QAStTagScanner::word(const char* start)
{
    const char* p = start + 1;
    for (;;) {
        p = wordRunEnd(p, _end);
        if (p >= _end || *p != ':')
            break;
        if (p + 1 < _end && p[1] == ':') {
            p += 2;
            continue;
        }
        if (p - start == 1) {
            ++p;
            continue;
        }
        // A single colon closes the word and belongs to it.
        ++p;
        _at = p;
        _length = p - start;
        for (const Keyword& keyword : keywords) {
            if (keyword.length == _length && std::memcmp(keyword.text, start, size_t(_length)) == 0)
                return keyword.token;
        }
        return TK_IDENT;
    }
    _at = p;
    _length = p - start;
    return TK_IDENT;
}
