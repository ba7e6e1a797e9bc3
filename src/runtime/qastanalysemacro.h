#pragma once

#include "sdk_export.h"

#include <QCoreApplication>
#include <QString>
#include <QStringList>

class QAStMacroScanner;

/// The macro language of user text: `$$NAME` for a fact about the selected
/// item, `$NAME` and `$(NAME)` for environment variables, and the functions
/// `@@PROMPT('label')`, `@@EDITOR('a' 'b')` and `@@OPEN('a' 'b')`.
///
/// This class expands everything that does not depend on a project; a binding
/// gives the project macros and the functions their meaning. A failed part is
/// reported through errorHandle() and expands to nothing; the rest of the text
/// is expanded as usual. Expansion may nest: a function may open a dialog
/// whose event loop expands another text, with this object or another.
class SDK_EXPORT QAStAnalyseMacro
{
    Q_DECLARE_TR_FUNCTIONS(AnalyseMacro)
public:
    enum Token {
        EndOfText = 0,
        // The project macros, expanded by interpretMacro().
        NodeNameMacro = 256,
        NodePathMacro,
        VcsItemsMacro,
        PrjNameMacro,
        PrjDirMacro,
        PrjPathMacro,
        VcsDirMacro,
        TargetDirMacro,
        BinDirMacro,
        CppIncludesMacro,
        PerlMacro,
        FdcMacro,
        TioMacro,
        TsfMacro,
        TdfMacro,
        RodMacro,
        TesterMacro,
        CFlagsMacro,
        LdLibsMacro,
        LdFlagsMacro,
        ArgsMacro,
        ObjectsMacro,
        OutDirMacro,
        ReportDirMacro,
        ClipboardMacro,
        // Macros that stay in the text as written, for a later stage to read.
        WspNameMacro,
        WspDirMacro,
        WspPathMacro,
        AdditionnalOptionsMacro,
        PreproOptionsMacro,
        PostproOptionsMacro,
        CoverageOptionsMacro,
        TracerOptionsMacro,
        EnvironmentFileMacro,
        LogFileMacro,
        PromptFunction,
        EditorFunction,
        OpenFunction,
        OpenParenthesis,
        CloseParenthesis,
        StringToken,
        UnknownMacro,
        DollarToken,
        WordToken,
        HighBytesText,
        ByteText
    };

    QAStAnalyseMacro();
    virtual ~QAStAnalyseMacro();

    /// The value of project macro \a token.
    virtual QString interpretMacro(int& token) = 0;
    /// The value of function \a token called with \a arguments; \a title is
    /// the caption of a dialog, null when none may be shown.
    virtual QString interpretFunction(int& token, QStringList arguments, QString title) = 0;
    virtual void errorHandle(const QString& message) = 0;

    /// Expands \a text; a null string when it is empty. \a title is the
    /// caption of the input dialog of `@@PROMPT`, \a items what `$$NODEPATH`
    /// stands for when given.
    QString analyse(const QString& text, const QString& title = QString(),
                    QStringList* items = nullptr);
    /// Expands \a token, the last one read, reading further tokens for a
    /// function or a dollar.
    QString interpret(int& token, const QString& text, const QString& title, QStringList* items);

private:
    int nextToken();
    QString tokenText() const;
    QString interpretDollar(const QString& text);
    QString interpretPrompt(int& token, const QString& text, const QString& title);
    QString interpretArgumentFunction(int& token, const QString& text, const QString& title,
                                      QStringList* items);
    void syntaxError(const QString& text, int function);

    QAStMacroScanner* _scanner = nullptr;
};
