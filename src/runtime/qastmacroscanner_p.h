#pragma once

#include <QByteArray>

/// The scanner of the macro language over one text. Each expansion has a
/// scanner of its own, so that expansions can nest.
class QAStMacroScanner
{
public:
    explicit QAStMacroScanner(const QByteArray& text);
    ~QAStMacroScanner();
    QAStMacroScanner(const QAStMacroScanner&) = delete;
    QAStMacroScanner& operator=(const QAStMacroScanner&) = delete;

    /// The next token, a QAStAnalyseMacro::Token; EndOfText from the end on.
    int next();
    /// The bytes of the token last read; empty at the end.
    QByteArray text() const;

private:
    void* _scanner = nullptr;
    bool _ended = false;
};
