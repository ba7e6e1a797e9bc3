#include "qastanalysemacro.h"

#include "qastmacroscanner_p.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QList>

namespace {

bool isProjectMacro(int token)
{
    return token >= QAStAnalyseMacro::NodeNameMacro && token <= QAStAnalyseMacro::ReportDirMacro;
}

// An argument of @@EDITOR and @@OPEN is written as a quoted string; whatever
// stands in its place loses its first and last character all the same.
QString withoutEnds(const QString& text)
{
    return text.size() < 2 ? QString(QLatin1String("")) : text.mid(1, text.size() - 2);
}

QString environmentValue(const QByteArray& name, bool* held)
{
    *held = qEnvironmentVariableIsSet(name.constData());
    return *held ? qEnvironmentVariable(name.constData()) : QString();
}

} // namespace

QAStAnalyseMacro::QAStAnalyseMacro() = default;

QAStAnalyseMacro::~QAStAnalyseMacro() = default;

// Outside analyse() there is no text, and a binding that calls interpret()
// there sees its end.
int QAStAnalyseMacro::nextToken()
{
    return _scanner ? _scanner->next() : int(EndOfText);
}

QString QAStAnalyseMacro::tokenText() const
{
    return _scanner ? QString::fromUtf8(_scanner->text()) : QString();
}

QString QAStAnalyseMacro::analyse(const QString& text, const QString& title, QStringList* items)
{
    if (text.isEmpty())
        return QString();
    // A function may run an event loop in which another text is expanded; the
    // scanner of this one is put back when that ends.
    QAStMacroScanner* outer = _scanner;
    QAStMacroScanner scanner(text.toUtf8());
    _scanner = &scanner;
    QString result;
    for (int token = nextToken(); token != EndOfText; token = nextToken())
        result += interpret(token, text, title, items);
    _scanner = outer;
    return result;
}

QString QAStAnalyseMacro::interpret(int& token, const QString& text, const QString& title,
                                    QStringList* items)
{
    if (token == NodePathMacro && items)
        return items->join(QLatin1Char(' '));
    if (isProjectMacro(token))
        return interpretMacro(token);

    switch (token) {
    case ClipboardMacro: {
        const auto* application = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
        return application ? QGuiApplication::clipboard()->text() : QString();
    }
    case PromptFunction:
        return interpretPrompt(token, text, title);
    case EditorFunction:
    case OpenFunction:
        return interpretArgumentFunction(token, text, title, items);
    case DollarToken:
        return interpretDollar(text);
    case UnknownMacro:
        //: %1 is a command, %2 is a macro
        errorHandle(tr("%1: Unknown macro %2").arg(text, tokenText()));
        return QString();
    default:
        // Words, strings with their quotes, parentheses, text, and the macros
        // that a later stage reads: each stands for its own text.
        return tokenText();
    }
}

QString QAStAnalyseMacro::interpretPrompt(int& token, const QString& text, const QString& title)
{
    if (nextToken() != OpenParenthesis || nextToken() != StringToken) {
        syntaxError(text, token);
        return QString();
    }
    const QString label = withoutEnds(tokenText());
    if (nextToken() != CloseParenthesis) {
        syntaxError(text, token);
        return QString();
    }
    return interpretFunction(token, QStringList{label}, title);
}

// Calls nest, as in @@OPEN(@@EDITOR('a') 'b'), and the open ones are kept on a
// list rather than on the stack, so that no text is too deep to expand.
QString QAStAnalyseMacro::interpretArgumentFunction(int& token, const QString& text,
                                                    const QString& title, QStringList* items)
{
    struct Call {
        int function;
        QStringList arguments;
    };
    if (nextToken() != OpenParenthesis) {
        syntaxError(text, token);
        return QString();
    }
    QList<Call> calls{{token, {}}};
    for (;;) {
        int next = nextToken();
        QString result;
        if (next == EndOfText) {
            syntaxError(text, calls.takeLast().function);
        } else if (next == CloseParenthesis) {
            Call call = calls.takeLast();
            result = interpretFunction(call.function, call.arguments, title);
        } else if (next == EditorFunction || next == OpenFunction) {
            if (nextToken() == OpenParenthesis) {
                calls.append(Call{next, {}});
                continue;
            }
            syntaxError(text, next);
        } else {
            result = interpret(next, text, title, items);
        }
        if (calls.isEmpty())
            return result;
        if (result != QLatin1String(" "))
            calls.last().arguments.append(withoutEnds(result));
    }
}

QString QAStAnalyseMacro::interpretDollar(const QString& text)
{
    const int next = nextToken();
    if (next == OpenParenthesis) {
        if (nextToken() != WordToken) {
            errorHandle(text + QLatin1String(" : ") + tr("Unknown macro"));
            return QString();
        }
        const QByteArray name = tokenText().toLatin1();
        if (nextToken() != CloseParenthesis) {
            errorHandle(text + QLatin1String(" : ") + tr("Unknown macro"));
            return QString();
        }
        bool held = false;
        const QString value = environmentValue(name, &held);
        return held ? value : QStringLiteral("${") + QString::fromLatin1(name) + QLatin1Char('}');
    }
    if (next == WordToken) {
        bool held = false;
        const QString value = environmentValue(tokenText().toLatin1(), &held);
        return held ? value : QLatin1Char('$') + tokenText();
    }
    return QLatin1Char('$') + tokenText();
}

void QAStAnalyseMacro::syntaxError(const QString& text, int function)
{
    QString message;
    switch (function) {
    case PromptFunction:
        message = tr("Syntax error in function macro @@PROMPT");
        break;
    case EditorFunction:
        message = tr("Syntax error in function macro @@EDITOR");
        break;
    default:
        message = tr("Syntax error in function macro @@OPEN");
        break;
    }
    errorHandle(text + QLatin1String(" : ") + message);
}
