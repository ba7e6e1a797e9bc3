#pragma once

#include "qaressingle.h"

extern template class SDK_EXPORT QAResSingle<QString>;

/// A string value: plain, or translatable, in which case the value is the
/// translation of its source text and the writer gives the source back.
class SDK_EXPORT QAResString : public QAResSingle<QString>
{
public:
    explicit QAResString(const char* tag = nullptr, const QString& value = QString());
    QAResString(const char* tag, const QString& context, const QString& source, const QString& comment);
    void write(std::ostream& stream, const char* indent) const override;

    QString context() const { return _context; }
    QString source() const { return _source; }
    QString comment() const { return _comment; }
    bool isTranslatable() const { return !_context.isNull(); }

    /// Writes \a src into \a dst with control bytes, bytes from 0x80 up, '"'
    /// and '&' as "&#XX;". A null \a dst is allocated with new[] (five times
    /// the length, and the terminator); a null \a src gives null.
    static char* encode(char* dst, const char* src);
    /// The reverse of encode(), lenient with broken escapes. The output is
    /// never longer than the input, so \a dst may be \a src itself; a null
    /// \a dst is allocated with new[].
    static char* decode(char* dst, const char* src);

private:
    QString _context;
    QString _source;
    QString _comment;
};
