%code requires {
#include "token.h"
class QARes;
}

%code {
// Parser of the resource text: a table-driven LALR automaton whose stacks
// hold 500 entries. The only recovery point is the error alternative of the
// whole file, so the first bad token ends the result and later ones pass in
// silence.

#include "qares.h"
#include "qaresboolean.h"
#include "qareschar.h"
#include "qaresfloat.h"
#include "qaresgroup.h"
#include "qaresidentifier.h"
#include "qaresint.h"
#include "qareslist.h"
#include "qaresreader_p.h"
#include "qaresrgb.h"
#include "qaresstring.h"

#include <QCoreApplication>
#include <QString>

#include <cstring>

#define YYINITDEPTH 500
#define YYMAXDEPTH 500

int qareslex();
void qareserror(const char* message);

namespace {

// Siblings are chained head-first while they are read; this puts them back
// in the order of the file.
QARes* reversed(QARes* chain)
{
    QARes* done = nullptr;
    while (chain) {
        QARes* after = chain->next();
        chain->setNext(done);
        done = chain;
        chain = after;
    }
    return done;
}

const char* tokenText(const Token& token)
{
    const Token::String* string = token.typeString();
    return string ? string->text : token.text;
}

QString latin1(const Token& token)
{
    const Token::String* string = token.typeString();
    return string && string->text ? QString::fromLatin1(string->text, string->length) : QString();
}

void reportColour(const Token& token, const char* message)
{
    QARes::error(qaresReadState.fileName, token.line, token.column,
                 QCoreApplication::translate("QARes", message));
}

} // namespace
}

%define api.prefix {qares}
%define api.token.prefix {TOK_}

%union {
    Token token;
    QARes* node;
}

%token <token> IDENTIFIER INT FLOAT CHAR STRING RGB TRUE FALSE TRANSLATE TR
%type <token> tag
%type <node> items item body group value list elements rgb translation

%destructor { delete $$.value; } <token>
%destructor { delete $$; } <node>

%%

file
    : %empty            { qaresReadState.result = nullptr; }
    | items             { qaresReadState.result = reversed($1); }
    | error
        {
            // The items may already have become the file by a default
            // reduction before the bad token was seen.
            delete qaresReadState.result;
            qaresReadState.result = nullptr;
        }
    ;

items
    : item
    | items item        { $2->setNext($1); $$ = $2; }
    ;

item
    : tag body
        {
            $$ = $2;
            if (Token::String* word = $1.typeString()) {
                QAResReadState::adoptTag($$, word->text);
                word->text = nullptr;
            } else {
                $$->setTag($1.text);
            }
            $$->setSource($1.line, $1.column, qaresReadState.fileName);
            delete $1.value;
        }
    ;

tag
    : IDENTIFIER
    | RGB               { $$ = $1; $$.text = "rgb"; }
    | TRUE              { $$ = $1; $$.text = "true"; }
    | FALSE             { $$ = $1; $$.text = "false"; }
    | TRANSLATE         { $$ = $1; $$.text = "QT_TRANSLATE_NOOP"; }
    | TR                { $$ = $1; $$.text = "QT_TR_NOOP"; }
    ;

body
    : group semicolon       { $$ = $1; }
    | '=' group semicolon   { $$ = $2; }
    | '=' value ';'         { $$ = $2; }
    ;

semicolon
    : %empty
    | ';'
    ;

group
    : '{' '}'           { $$ = new QAResGroup(); }
    | '{' items '}'     { $$ = new QAResGroup(nullptr, reversed($2)); }
    ;

value
    : list
    | INT               { $$ = new QAResInt(nullptr, $1.typeInt()->value); delete $1.value; }
    | FLOAT             { $$ = new QAResFloat(nullptr, $1.typeFloat()->value); delete $1.value; }
    | CHAR              { $$ = new QAResChar(nullptr, QChar($1.typeChar()->value)); delete $1.value; }
    | STRING
        {
            QString text;
            if (Token::String* string = $1.typeString()) {
                QAResString::decode(string->text, string->text);
                text = QString::fromUtf8(string->text);
            }
            $$ = new QAResString(nullptr, text);
            delete $1.value;
        }
    | IDENTIFIER        { $$ = new QAResIdentifier(nullptr, tokenText($1)); delete $1.value; }
    | TRUE              { $$ = new QAResBoolean(nullptr, true); (void)$1; }
    | FALSE             { $$ = new QAResBoolean(nullptr, false); (void)$1; }
    | rgb
    | translation
    ;

list
    : '(' ')'           { $$ = new QAResList(); }
    | '(' elements ')'  { $$ = new QAResList(nullptr, reversed($2)); }
    ;

elements
    : value
    | elements ',' value    { $3->setNext($1); $$ = $3; }
    ;

rgb
    : RGB '(' INT ',' INT ',' INT ')'
        {
            int red = $3.typeInt()->value;
            int green = $5.typeInt()->value;
            int blue = $7.typeInt()->value;
            // Only the first channel out of range is reported and clamped.
            if (red > 255) {
                reportColour($3, QT_TRANSLATE_NOOP("QARes", "rgb R value not in [0..255]\n"));
                red = 255;
            } else if (green > 255) {
                reportColour($5, QT_TRANSLATE_NOOP("QARes", "rgb G value not in [0..255]\n"));
                green = 255;
            } else if (blue > 255) {
                reportColour($7, QT_TRANSLATE_NOOP("QARes", "rgb B value not in [0..255]\n"));
                blue = 255;
            }
            $$ = new QAResRGB(nullptr, red, green, blue);
            (void)$1;
            delete $3.value;
            delete $5.value;
            delete $7.value;
        }
    ;

translation
    : TRANSLATE '(' STRING ',' STRING ')'
        {
            $$ = new QAResString(nullptr, latin1($3), latin1($5), QString());
            (void)$1;
            delete $3.value;
            delete $5.value;
        }
    | TRANSLATE '(' STRING ',' STRING ',' STRING ')'
        {
            $$ = new QAResString(nullptr, latin1($3), latin1($5), latin1($7));
            (void)$1;
            delete $3.value;
            delete $5.value;
            delete $7.value;
        }
    | TR '(' STRING ')'
        {
            $$ = new QAResString(nullptr, QStringLiteral("Resources"), latin1($3), QString());
            (void)$1;
            delete $3.value;
        }
    | TR '(' STRING ',' STRING ')'
        {
            $$ = new QAResString(nullptr, QStringLiteral("Resources"), latin1($3), latin1($5));
            (void)$1;
            delete $3.value;
            delete $5.value;
        }
    ;

%%

void qareserror(const char* message)
{
    // The stack limit is reported in the words this reader has always used.
    const char* text = std::strcmp(message, "memory exhausted") == 0 ? "yacc stack overflow" : message;
    QARes::error(qaresReadState.fileName, qaresReadState.line, qaresReadState.column,
                 QString::fromLatin1(text));
}
