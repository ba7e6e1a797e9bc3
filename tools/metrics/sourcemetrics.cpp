#include "sourcemetrics.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QXmlStreamWriter>

#include <clang-c/Index.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

namespace {

QString text(CXString string)
{
    const QString result = QString::fromUtf8(clang_getCString(string));
    clang_disposeString(string);
    return result;
}

unsigned offsetOf(CXSourceLocation location, CXFile* file = nullptr, unsigned* line = nullptr)
{
    unsigned offset = 0;
    clang_getExpansionLocation(location, file, line, nullptr, &offset);
    return offset;
}

template <typename Visit>
void forEachChild(CXCursor cursor, Visit visit)
{
    clang_visitChildren(
        cursor,
        [](CXCursor child, CXCursor, CXClientData data) {
            (*static_cast<Visit*>(data))(child);
            return CXChildVisit_Continue;
        },
        &visit);
}

std::vector<CXCursor> childrenOf(CXCursor cursor)
{
    std::vector<CXCursor> children;
    forEachChild(cursor, [&](CXCursor child) { children.push_back(child); });
    return children;
}

bool isClassKind(CXCursorKind kind)
{
    return kind == CXCursor_ClassDecl || kind == CXCursor_StructDecl || kind == CXCursor_ClassTemplate
        || kind == CXCursor_ClassTemplatePartialSpecialization || kind == CXCursor_UnionDecl;
}

bool isScopeKind(CXCursorKind kind)
{
    return isClassKind(kind) || kind == CXCursor_Namespace;
}

bool isFunctionKind(CXCursorKind kind)
{
    return kind == CXCursor_FunctionDecl || kind == CXCursor_CXXMethod || kind == CXCursor_Constructor
        || kind == CXCursor_Destructor || kind == CXCursor_ConversionFunction || kind == CXCursor_FunctionTemplate;
}

// "ns::Outer::Inner" for a class, from its semantic parents.
QString qualifiedName(CXCursor cursor)
{
    QStringList parts;
    for (CXCursor scope = cursor; isScopeKind(clang_getCursorKind(scope));
         scope = clang_getCursorSemanticParent(scope)) {
        const QString name = text(clang_getCursorSpelling(scope));
        if (!name.isEmpty())
            parts.prepend(name);
    }
    return parts.join(QLatin1String("::"));
}

// Tokens of the source as written, each with whether the preprocessor keeps
// it: a directive's words and a branch of #if left out are no code.
struct Token {
    unsigned offset;
    unsigned line;
    CXTokenKind kind;
    QByteArray spelling;
    bool code;
};

bool isDecision(const Token& token)
{
    if (token.kind == CXToken_Keyword)
        return token.spelling == "if" || token.spelling == "for" || token.spelling == "while"
            || token.spelling == "case";
    if (token.kind == CXToken_Punctuation)
        return token.spelling == "&&" || token.spelling == "||" || token.spelling == "?";
    return false;
}

struct Function {
    MetricItem item;
    CXCursor cursor;
    QString usr;
    unsigned begin = 0;
    unsigned end = 0;
    int statements = 0;
    int nesting = 0;
    QSet<QString> externalVariables;
    QSet<QString> callees;
    QSet<QString> externalCallees;
};

} // namespace

struct SourceMetrics::Private {
    QList<QByteArray> arguments;
    CXIndex index = nullptr;
    CXTranslationUnit unit = nullptr;
    CXFile mainFile = nullptr;
    QList<Function> functions;

    void collect(CXCursor scope, MetricItem& container);
    void addFunction(CXCursor cursor, MetricItem& container);
    void walk(CXCursor cursor, Function& function, int depth, bool isStatement);
    QList<Token> tokens(const QByteArray& source);
};

SourceMetrics::SourceMetrics(const QStringList& arguments) : d(new Private)
{
    for (const QString& argument : arguments)
        d->arguments.append(argument.toLocal8Bit());
    d->index = clang_createIndex(0, 0);
}

SourceMetrics::~SourceMetrics()
{
    clang_disposeIndex(d->index);
}

void SourceMetrics::Private::collect(CXCursor scope, MetricItem& container)
{
    forEachChild(scope, [&](CXCursor cursor) {
        if (!clang_Location_isFromMainFile(clang_getCursorLocation(cursor)))
            return;
        const CXCursorKind kind = clang_getCursorKind(cursor);
        if (kind == CXCursor_Namespace || kind == CXCursor_LinkageSpec || kind == CXCursor_UnexposedDecl) {
            collect(cursor, container);
        } else if (isClassKind(kind)) {
            if (!clang_isCursorDefinition(cursor) || clang_getCursorLanguage(cursor) != CXLanguage_CPlusPlus)
                return;
            MetricItem item;
            item.type = QStringLiteral("CLASS");
            item.name = qualifiedName(cursor);
            clang_getExpansionLocation(clang_getCursorLocation(cursor), nullptr,
                                       reinterpret_cast<unsigned*>(&item.line), nullptr, nullptr);
            collect(cursor, item);
            container.items.append(item);
        } else if (isFunctionKind(kind) && clang_isCursorDefinition(cursor)) {
            addFunction(cursor, container);
        }
    });
}

void SourceMetrics::Private::addFunction(CXCursor cursor, MetricItem& container)
{
    Function function;
    function.cursor = cursor;
    function.usr = text(clang_getCursorUSR(cursor));
    CXCursorKind kind = clang_getCursorKind(cursor);
    if (kind == CXCursor_FunctionTemplate)
        kind = clang_getTemplateCursorKind(cursor);
    MetricItem& item = function.item;
    const CXCursor parent = clang_getCursorSemanticParent(cursor);
    const bool member = isClassKind(clang_getCursorKind(parent));
    switch (kind) {
    case CXCursor_Constructor: item.type = QStringLiteral("CONSTRUCTOR"); break;
    case CXCursor_Destructor: item.type = QStringLiteral("DESTRUCTOR"); break;
    default: item.type = member ? QStringLiteral("METHOD") : QStringLiteral("FUNCTION"); break;
    }
    item.name = text(clang_getCursorSpelling(cursor));
    if (member)
        item.className = qualifiedName(parent);
    unsigned line = 0;
    clang_getExpansionLocation(clang_getCursorLocation(cursor), nullptr, &line, nullptr, nullptr);
    item.line = int(line);
    const CXSourceRange extent = clang_getCursorExtent(cursor);
    function.begin = offsetOf(clang_getRangeStart(extent));
    function.end = offsetOf(clang_getRangeEnd(extent));
    for (const CXCursor& child : childrenOf(cursor))
        walk(child, function, 0, false);
    // The item is placed now and filled in once every function is known.
    item.function = int(functions.size());
    container.items.append(item);
    functions.append(function);
}

void SourceMetrics::Private::walk(CXCursor cursor, Function& function, int depth, bool isStatement)
{
    const CXCursorKind kind = clang_getCursorKind(cursor);
    if (clang_isStatement(kind)) {
        if (kind != CXCursor_CompoundStmt && kind != CXCursor_NullStmt && kind != CXCursor_CaseStmt
            && kind != CXCursor_DefaultStmt && kind != CXCursor_LabelStmt)
            ++function.statements;
    } else if (clang_isExpression(kind) && isStatement) {
        ++function.statements;
    }

    if (kind == CXCursor_DeclRefExpr || kind == CXCursor_MemberRefExpr) {
        const CXCursor referenced = clang_getCursorReferenced(cursor);
        if (clang_getCursorKind(referenced) == CXCursor_VarDecl) {
            const CXCursorKind owner = clang_getCursorKind(clang_getCursorSemanticParent(referenced));
            if (owner == CXCursor_TranslationUnit || isScopeKind(owner) || owner == CXCursor_LinkageSpec)
                function.externalVariables.insert(text(clang_getCursorUSR(referenced)));
        }
    } else if (kind == CXCursor_CallExpr) {
        const CXCursor callee = clang_getCursorReferenced(cursor);
        if (isFunctionKind(clang_getCursorKind(callee))) {
            const QString usr = text(clang_getCursorUSR(callee));
            function.callees.insert(usr);
            const CXCursor definition = clang_getCursorDefinition(callee);
            if (clang_Cursor_isNull(definition)
                || !clang_Location_isFromMainFile(clang_getCursorLocation(definition)))
                function.externalCallees.insert(usr);
        }
    }

    const bool control = kind == CXCursor_IfStmt || kind == CXCursor_ForStmt || kind == CXCursor_WhileStmt
        || kind == CXCursor_DoStmt || kind == CXCursor_SwitchStmt || kind == CXCursor_CXXForRangeStmt
        || kind == CXCursor_CXXTryStmt;
    const int inner = control ? depth + 1 : depth;
    function.nesting = std::max(function.nesting, inner);

    const std::vector<CXCursor> children = childrenOf(cursor);
    const int count = int(children.size());
    for (int i = 0; i < count; ++i) {
        const CXCursorKind childKind = clang_getCursorKind(children[size_t(i)]);
        bool body = false;
        switch (kind) {
        case CXCursor_CompoundStmt: body = true; break;
        case CXCursor_CaseStmt: body = i >= 1; break;
        case CXCursor_DefaultStmt:
        case CXCursor_LabelStmt: body = true; break;
        case CXCursor_IfStmt: body = i >= 1; break;
        case CXCursor_WhileStmt:
        case CXCursor_ForStmt:
        case CXCursor_CXXForRangeStmt:
        case CXCursor_SwitchStmt: body = i == count - 1; break;
        case CXCursor_DoStmt: body = i == 0; break;
        default: break;
        }
        // An "else if" goes on the chain of its "if": it is no deeper.
        const bool elseIf = kind == CXCursor_IfStmt && i == 2 && childKind == CXCursor_IfStmt;
        walk(children[size_t(i)], function, elseIf ? depth : inner, body);
    }
}

QList<Token> SourceMetrics::Private::tokens(const QByteArray& source)
{
    QList<Token> result;
    // Lines of directives, with their continuations.
    QSet<unsigned> directiveLines;
    {
        unsigned line = 1;
        bool directive = false;
        bool lineStart = true;
        for (qsizetype i = 0; i < source.size(); ++i) {
            const char c = source.at(i);
            if (c == '\n') {
                const bool continued = i > 0 && source.at(i - 1) == '\\';
                if (directive)
                    directiveLines.insert(line);
                directive = directive && continued;
                ++line;
                lineStart = true;
                continue;
            }
            if (lineStart && c == '#')
                directive = true;
            if (c != ' ' && c != '\t')
                lineStart = false;
        }
    }
    QList<QPair<unsigned, unsigned>> skipped;
    if (CXSourceRangeList* ranges = clang_getSkippedRanges(unit, mainFile)) {
        for (unsigned i = 0; i < ranges->count; ++i)
            skipped.append({offsetOf(clang_getRangeStart(ranges->ranges[i])),
                            offsetOf(clang_getRangeEnd(ranges->ranges[i]))});
        clang_disposeSourceRangeList(ranges);
    }
    const CXSourceRange whole = clang_getRange(clang_getLocationForOffset(unit, mainFile, 0),
                                               clang_getLocationForOffset(unit, mainFile, unsigned(source.size())));
    CXToken* raw = nullptr;
    unsigned count = 0;
    clang_tokenize(unit, whole, &raw, &count);
    result.reserve(count);
    qsizetype range = 0;
    for (unsigned i = 0; i < count; ++i) {
        Token token;
        token.kind = clang_getTokenKind(raw[i]);
        if (token.kind == CXToken_Comment)
            continue;
        clang_getSpellingLocation(clang_getTokenLocation(unit, raw[i]), nullptr, &token.line, nullptr,
                                  &token.offset);
        CXString spelling = clang_getTokenSpelling(unit, raw[i]);
        token.spelling = clang_getCString(spelling);
        clang_disposeString(spelling);
        while (range < skipped.size() && skipped.at(range).second < token.offset)
            ++range;
        const bool inSkipped = range < skipped.size() && skipped.at(range).first <= token.offset;
        token.code = !inSkipped && !directiveLines.contains(token.line);
        result.append(token);
    }
    clang_disposeTokens(unit, raw, count);
    return result;
}

namespace {

// Lines that hold a comment, found on the text itself: the lexer gives no
// comments, and a comment in a branch the preprocessor leaves out is still
// one a person reads.
QSet<unsigned> commentLines(const QByteArray& source)
{
    QSet<unsigned> lines;
    enum { Code, Line, Block, String, Character } state = Code;
    unsigned line = 1;
    for (qsizetype i = 0; i < source.size(); ++i) {
        const char c = source.at(i);
        const char next = i + 1 < source.size() ? source.at(i + 1) : '\0';
        if (state == Line || state == Block)
            lines.insert(line);
        if (c == '\n') {
            ++line;
            if (state == Line && (i == 0 || source.at(i - 1) != '\\'))
                state = Code;
            continue;
        }
        switch (state) {
        case Code:
            if (c == '/' && next == '/') {
                state = Line;
                lines.insert(line);
                ++i;
            } else if (c == '/' && next == '*') {
                state = Block;
                lines.insert(line);
                ++i;
            } else if (c == '"') {
                state = String;
            } else if (c == '\'') {
                state = Character;
            }
            break;
        case Block:
            if (c == '*' && next == '/') {
                state = Code;
                ++i;
            }
            break;
        case String:
        case Character:
            if (c == '\\')
                ++i;
            else if (c == (state == String ? '"' : '\''))
                state = Code;
            break;
        case Line:
            break;
        }
    }
    return lines;
}

// Operators are keywords and punctuation, a closing bracket going with its
// opening one; operands are names and literals.
void halstead(const QList<Token>& tokens, MetricItem& file)
{
    double operators = 0;
    double operands = 0;
    QSet<QByteArray> distinctOperators;
    QSet<QByteArray> distinctOperands;
    for (const Token& token : tokens) {
        if (!token.code)
            continue;
        if (token.kind == CXToken_Keyword || token.kind == CXToken_Punctuation) {
            if (token.spelling == ")" || token.spelling == "]" || token.spelling == "}")
                continue;
            ++operators;
            distinctOperators.insert(token.spelling);
        } else {
            ++operands;
            distinctOperands.insert(token.spelling);
        }
    }
    const double n1 = distinctOperators.size();
    const double n2 = distinctOperands.size();
    const double length = operators + operands;
    const double volume = n1 + n2 > 0 ? length * std::log2(n1 + n2) : 0;
    const double difficulty = n2 > 0 ? n1 / 2 * operands / n2 : 0;
    file.values.append({QStringLiteral("N1"), operators});
    file.values.append({QStringLiteral("N2"), operands});
    file.values.append({QStringLiteral("N1_N2"), length});
    file.values.append({QStringLiteral("Volume"), volume});
    file.values.append({QStringLiteral("Difficulty"), difficulty});
    file.values.append({QStringLiteral("Effort"), difficulty * volume});
}

void fill(MetricItem& item, const QList<QPair<QString, double>>* values, int count)
{
    if (item.function >= 0 && item.function < count)
        item.values = values[item.function];
    for (MetricItem& child : item.items)
        fill(child, values, count);
}

} // namespace

bool SourceMetrics::measure(const QString& source, MetricItem& file, QString* error, QStringList* diagnostics)
{
    QFile input(source);
    if (!input.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("%1: cannot be read: %2").arg(source, input.errorString());
        return false;
    }
    const QByteArray content = input.readAll();
    const QFileInfo info(source);
    QList<QByteArray> arguments = d->arguments;
    static const QStringList cplusplus {"cpp", "cc", "cxx", "c++", "hpp", "hh", "hxx", "h++", "C"};
    const bool isCplusplus = arguments.contains("-x") ? arguments.contains("c++") : cplusplus.contains(info.suffix());
    if (isCplusplus && !arguments.contains("-x"))
        arguments.prepend("c++"), arguments.prepend("-x");
    // A configuration's flags are written for one language, and a metrics
    // run may see sources of both: a standard of the other one is left out.
    arguments.removeIf([&](const QByteArray& argument) {
        return argument.startsWith("-std=") && argument.contains("++") != isCplusplus;
    });
    std::vector<const char*> argv;
    for (const QByteArray& argument : std::as_const(arguments))
        argv.push_back(argument.constData());
    const QByteArray path = info.absoluteFilePath().toLocal8Bit();
    d->functions.clear();
    const CXErrorCode code = clang_parseTranslationUnit2(
        d->index, path.constData(), argv.data(), int(argv.size()), nullptr, 0,
        CXTranslationUnit_DetailedPreprocessingRecord | CXTranslationUnit_KeepGoing, &d->unit);
    if (code != CXError_Success || !d->unit) {
        if (error)
            *error = QStringLiteral("%1: libclang could not read it (error %2)").arg(source).arg(int(code));
        return false;
    }
    d->mainFile = clang_getFile(d->unit, path.constData());
    if (diagnostics) {
        const unsigned count = clang_getNumDiagnostics(d->unit);
        for (unsigned i = 0; i < count; ++i) {
            CXDiagnostic diagnostic = clang_getDiagnostic(d->unit, i);
            if (clang_getDiagnosticSeverity(diagnostic) >= CXDiagnostic_Error)
                diagnostics->append(text(clang_formatDiagnostic(diagnostic, CXDiagnostic_DisplaySourceLocation
                                                                                | CXDiagnostic_DisplayColumn)));
            clang_disposeDiagnostic(diagnostic);
        }
    }

    file = MetricItem();
    file.type = QStringLiteral("FILE");
    file.name = info.fileName();
    d->collect(clang_getTranslationUnitCursor(d->unit), file);
    const QList<Token> tokens = d->tokens(content);

    QSet<unsigned> codeLines;
    for (const Token& token : tokens)
        codeLines.insert(token.line);
    const QSet<unsigned> comments = commentLines(content);
    int commentOnly = 0;
    for (unsigned line : comments)
        commentOnly += codeLines.contains(line) ? 0 : 1;
    file.values.append({QStringLiteral("Src1"), double(codeLines.size())});
    file.values.append({QStringLiteral("Src2"), double(commentOnly)});
    halstead(tokens, file);

    // Callers are counted once every function of the file is known.
    QHash<QString, int> callers;
    for (const Function& function : std::as_const(d->functions)) {
        for (const QString& callee : function.callees) {
            if (callee != function.usr)
                ++callers[callee];
        }
    }
    QList<QList<QPair<QString, double>>> values;
    for (const Function& function : std::as_const(d->functions)) {
        const auto first = std::lower_bound(tokens.cbegin(), tokens.cend(), function.begin,
                                            [](const Token& token, unsigned offset) { return token.offset < offset; });
        int decisions = 0;
        for (auto it = first; it != tokens.cend() && it->offset < function.end; ++it) {
            if (it->code && isDecision(*it))
                ++decisions;
        }
        values.append({{QStringLiteral("VG"), double(decisions + 1)},
                       {QStringLiteral("Statements"), double(function.statements)},
                       {QStringLiteral("NestedLevel"), double(function.nesting)},
                       {QStringLiteral("EXTVARUSE"), double(function.externalVariables.size())},
                       {QStringLiteral("FAN_IN"), double(callers.value(function.usr))},
                       {QStringLiteral("EXTCOMPCALL"), double(function.externalCallees.size())}});
    }
    fill(file, values.constData(), int(values.size()));
    clang_disposeTranslationUnit(d->unit);
    d->unit = nullptr;
    d->functions.clear();
    return true;
}

QByteArray SourceMetrics::toXml(const MetricItem& file, const QString& directory)
{
    QByteArray out;
    QXmlStreamWriter writer(&out);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(1);
    writer.writeStartDocument();
    const std::function<void(const MetricItem&, bool)> write = [&](const MetricItem& item, bool top) {
        writer.writeStartElement(item.type);
        writer.writeAttribute(QStringLiteral("Name"), item.name);
        if (item.line > 0)
            writer.writeAttribute(QStringLiteral("Line"), QString::number(item.line));
        if (top)
            writer.writeAttribute(QStringLiteral("Dir"), directory);
        if (!item.className.isEmpty())
            writer.writeAttribute(QStringLiteral("Class"), item.className);
        if (!item.values.isEmpty()) {
            writer.writeStartElement(QStringLiteral("METRICS"));
            for (const auto& value : item.values) {
                writer.writeEmptyElement(QStringLiteral("METRIC"));
                writer.writeAttribute(QStringLiteral("Key"), value.first);
                writer.writeAttribute(QStringLiteral("Value"), QString::number(value.second, 'g', 10));
            }
            writer.writeEndElement();
        }
        if (!item.items.isEmpty()) {
            writer.writeStartElement(QStringLiteral("ITEMS"));
            for (const MetricItem& child : item.items)
                write(child, false);
            writer.writeEndElement();
        }
        writer.writeEndElement();
    };
    write(file, true);
    writer.writeEndDocument();
    return out;
}
