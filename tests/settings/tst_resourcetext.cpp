#include "qares.h"
#include "qaresboolean.h"
#include "qareschar.h"
#include "qaresfloat.h"
#include "qaresgroup.h"
#include "qaresidentifier.h"
#include "qaresint.h"
#include "qareslist.h"
#include "qaresrgb.h"
#include "qaresstring.h"

#include <QRandomGenerator>
#include <QTemporaryFile>
#include <QTest>

#include <cstdio>
#include <memory>
#include <sstream>
#include <unistd.h>

namespace {

QStringList messages;

void collect(const char*, int line, int column, const QString& message)
{
    messages << QStringLiteral("%1:%2:%3").arg(line).arg(column).arg(message);
}

using Tree = std::unique_ptr<QARes>;

// Reads \a text as a file named "t.res", collecting the reported errors.
Tree readText(const QByteArray& text, bool crIsSeparator = false)
{
    messages.clear();
    FILE* file = std::tmpfile();
    std::fwrite(text.constData(), 1, size_t(text.size()), file);
    std::rewind(file);
    QARes::setErrorHandler(collect);
    Tree tree(QARes::read(file, "t.res", crIsSeparator));
    QARes::setErrorHandler(nullptr);
    std::fclose(file);
    return tree;
}

QString dumpChain(const QARes* node, bool positions);

// A compact form of a node that tells every type and value apart.
QString dump(const QARes* node, bool positions)
{
    QString text;
    if (node->tag()) {
        text += QString::fromLatin1(node->tag());
        if (positions)
            text += QStringLiteral("@%1:%2").arg(node->line()).arg(node->column());
        text += QLatin1Char('=');
    }
    if (auto* value = node->toResInt())
        return text + QStringLiteral("i%1").arg(value->value());
    if (auto* value = node->toResFloat())
        return text + QStringLiteral("f%1").arg(double(value->value()));
    if (auto* value = node->toResBoolean())
        return text + QString::fromLatin1(value->booleanString());
    if (auto* value = node->toResChar())
        return text + QStringLiteral("c%1").arg(value->value().unicode(), 0, 16);
    if (auto* value = node->toResIdentifier())
        return text + QStringLiteral("id:") + QString::fromLatin1(value->value());
    if (auto* value = node->toResRGB())
        return text + QStringLiteral("rgb(%1,%2,%3)").arg(value->value().red).arg(value->value().green).arg(value->value().blue);
    if (auto* value = node->toResString()) {
        if (value->isTranslatable())
            text += QStringLiteral("tr[%1|%2|%3]").arg(value->context(), value->source(),
                                                      value->comment().isNull() ? "-" : value->comment());
        return text + QLatin1Char('"') + value->value() + QLatin1Char('"');
    }
    if (auto* value = node->toResList())
        return text + QLatin1Char('(') + dumpChain(value->child(), false) + QLatin1Char(')');
    if (auto* value = node->toResGroup())
        return text + QLatin1Char('{') + dumpChain(value->child(), positions) + QLatin1Char('}');
    return text + QStringLiteral("?");
}

QString dumpChain(const QARes* node, bool positions)
{
    QStringList parts;
    for (; node; node = node->next())
        parts << dump(node, positions);
    return parts.join(QLatin1Char(' '));
}

QString dumpTree(const Tree& tree, bool positions = false)
{
    return tree ? dumpChain(tree.get(), positions) : QStringLiteral("<none>");
}

QByteArray writeChain(const QARes* node)
{
    std::ostringstream stream;
    for (; node; node = node->next())
        node->write(stream, "");
    return QByteArray::fromStdString(stream.str());
}

} // namespace

class tst_ResourceText : public QObject
{
    Q_OBJECT

private slots:
    void reading_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("crIsSeparator");
        QTest::addColumn<QString>("tree");
        QTest::addColumn<QStringList>("errors");
        const QStringList none;
        const QString syntax = QStringLiteral("syntax error");
        const QString unexpected = QStringLiteral("unexpected input character");

        QTest::newRow("an empty file yields none") << QByteArray() << false << "<none>" << none;
        QTest::newRow("a file of comments yields none")
            << QByteArray("# one\n// two\n   # three") << false << "<none>" << none;
        QTest::newRow("positions count blanks and tabs but not carriage returns")
            << QByteArray("  a = 1;\n\r\r\tb = 2;\n") << false << "a@1:3=i1 b@2:2=i2" << none;
        QTest::newRow("a group needs neither = nor ;")
            << QByteArray("a { b = 1; } c = 2;") << false << "a@1:1={b@1:5=i1} c@1:14=i2" << none;
        QTest::newRow("a group may have both, and be empty")
            << QByteArray("a = { } ; b {}") << false << "a={} b={}" << none;
        QTest::newRow("keywords serve as tags")
            << QByteArray("rgb = 1; true = 2; false = 3; QT_TR_NOOP = 4; QT_TRANSLATE_NOOP = 5;") << false
            << "rgb=i1 true=i2 false=i3 QT_TR_NOOP=i4 QT_TRANSLATE_NOOP=i5" << none;
        QTest::newRow("a sign alone is the integer 0, a point alone the float 0")
            << QByteArray("a = +; b = -; c = .; d = -.;") << false << "a=i0 b=i0 c=f0 d=f0" << none;
        QTest::newRow("numbers with and without sign and digits")
            << QByteArray("a = ( -7, +3, 42, 1.5, -.25, 5. );") << false << "a=(i-7 i3 i42 f1.5 f-0.25 f5)" << none;
        QTest::newRow("identifiers, booleans and longer words than keywords")
            << QByteArray("a = ( x_1, _y, true, false, rgbx, trueish );") << false
            << "a=(id:x_1 id:_y true false id:rgbx id:trueish)" << none;
        QTest::newRow("lists hold lists and may be empty")
            << QByteArray("a = ( (), (1, (2)) );") << false << "a=(() (i1 (i2)))" << none;
        QTest::newRow("characters by byte and by code of two or four digits")
            << QByteArray("a = ( 'x', '&#41;', '&#0041;', '&#4e2D;', ''', '#', '\xe9' );") << false
            << "a=(c78 c41 c41 c4e2d c27 c23 ce9)" << none;
        QTest::newRow("strings decode escapes and take UTF-8")
            << QByteArray("a = \"&#41;&#42\"; b = \"\"; c = \"\xc3\xa9 &amp \"; d = \"q&#22;q\";") << false
            << "a=\"AB\" b=\"\" c=\"\u00e9 amp \" d=\"q\"q\"" << none;
        QTest::newRow("a line end inside a string does not count")
            << QByteArray("a = \"x\ny\";\nb = 1;") << false << "a@1:1=\"x\ny\" b@2:1=i1" << none;
        QTest::newRow("translations take 8-bit text and no escapes")
            << QByteArray("a = QT_TRANSLATE_NOOP(\"ctx\", \"s&#41;\", \"cmt\"); b = QT_TR_NOOP(\"\xe9\");"
                          " c = QT_TR_NOOP(\"s\", \"c\"); d = QT_TRANSLATE_NOOP(\"x\", \"y\");")
            << false
            << "a=tr[ctx|s&#41;|cmt]\"s&#41;\" b=tr[Resources|\u00e9|-]\"\u00e9\" c=tr[Resources|s|c]\"s\" "
               "d=tr[x|y|-]\"y\""
            << none;
        QTest::newRow("rgb reports and clamps only the first channel above 255")
            << QByteArray("a = rgb( 300, 300, 0 );\nb = rgb(0, 256, 999); c = rgb(-1, 0, 255);") << false
            << "a=rgb(255,300,0) b=rgb(0,255,999) c=rgb(-1,0,255)"
            << QStringList{"1:10:rgb R value not in [0..255]\n", "2:12:rgb G value not in [0..255]\n"};
        QTest::newRow("a bad byte is skipped and the tree still built")
            << QByteArray("a = 1; @ b = 2;\nc = 3 / ;") << false << "a=i1 b=i2 c=i3"
            << QStringList{"1:8:" + unexpected, "2:7:" + unexpected};
        QTest::newRow("a broken character code is bad bytes and a comment")
            << QByteArray("a = '&#4;';") << false << "<none>"
            << QStringList{"1:5:" + unexpected, "1:6:" + unexpected, "1:7:" + syntax};

        // The grammar's refusals: one report, and nothing after it but bad bytes.
        QTest::newRow("a value needs its ;") << QByteArray("a = 1") << false << "<none>" << QStringList{"1:5:" + syntax};
        QTest::newRow("only the first syntax error is reported, bad bytes still are")
            << QByteArray("a = ; b = ; @ c = ;") << false << "<none>"
            << QStringList{"1:5:" + syntax, "1:13:" + unexpected};
        QTest::newRow("a trailing comma in a list") << QByteArray("a = (1,);") << false << "<none>" << QStringList{"1:8:" + syntax};
        QTest::newRow("a group inside a list") << QByteArray("a = ({});") << false << "<none>" << QStringList{"1:6:" + syntax};
        QTest::newRow("a pair inside a list") << QByteArray("a = (b = 1);") << false << "<none>" << QStringList{"1:8:" + syntax};
        QTest::newRow("a bare value at the top") << QByteArray("1;") << false << "<none>" << QStringList{"1:1:" + syntax};
        QTest::newRow("digits then letters are two tokens") << QByteArray("a = 1x;") << false << "<none>" << QStringList{"1:6:" + syntax};
        QTest::newRow("a comment keeps its line end")
            << QByteArray("a = 1; // x = 2;\n# y = 3;\nb = 2;") << false << "a=i1 b=i2" << none;

        // Line-end mode: a line end after '=' stands for ';'.
        QTest::newRow("line-end mode: no semicolons, comments and CR LF")
            << QByteArray("NAME = \"x\" # c\r\nOBJEXT = \".o\"\nLIST = (1, 2)\n") << true
            << "NAME=\"x\" OBJEXT=\".o\" LIST=(i1 i2)" << none;
        QTest::newRow("line-end mode: no line end at the end") << QByteArray("a = 1") << true << "<none>" << QStringList{"1:5:" + syntax};
        QTest::newRow("line-end mode: ; then line end is two ;")
            << QByteArray("a = 1;\nb = 2\n") << true << "<none>" << QStringList{"2:1:" + syntax};
        QTest::newRow("line-end mode: a group opened on its line")
            << QByteArray("a = {\nb = 1\n}\n") << true << "<none>" << QStringList{"2:1:" + syntax};
        QTest::newRow("line-end mode: a group without = spans lines")
            << QByteArray("a {\nb = 1\n}\n") << true << "a={b=i1}" << none;
        QTest::newRow("without line-end mode a line end is a blank")
            << QByteArray("a =\n1\n;") << false << "a=i1" << none;
    }
    void reading()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, crIsSeparator);
        const Tree read = readText(text, crIsSeparator);
        QFETCH(QString, tree);
        // Positions are compared where the expected tree shows them.
        QCOMPARE(dumpTree(read, tree.contains('@')), tree);
        QTEST(messages, "errors");
        QCOMPARE(QARes::errorCount(), messages.size());
    }

    void stackLimit_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("fits");
        QTest::newRow("495 nested lists fit") << "a = " + QByteArray(495, '(') + QByteArray(495, ')') + ";" << true;
        QTest::newRow("496 nested lists overflow") << "a = " + QByteArray(496, '(') + QByteArray(496, ')') + ";" << false;
        QTest::newRow("groups overflow at half the depth")
            << QByteArray("a {").repeated(250) + QByteArray(250, '}') << false;
        QTest::newRow("a long flat file needs no depth")
            << QByteArray("a = (1, 2); b { c = 1; }\n").repeated(5000) << true;
    }
    void stackLimit()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, fits);
        const Tree tree = readText(text);
        QCOMPARE(bool(tree), fits);
        QCOMPARE(messages.size(), fits ? 0 : 1);
        QVERIFY(fits || messages.constFirst().endsWith(QLatin1String(":yacc stack overflow")));
    }

    void search_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<char>("separator");
        QTest::addColumn<QString>("found");
        const QByteArray text = "x = 1; g { h { i = 7; } x = 8; x = 9; } x = 2; x = 3; v = 4;";
        QTest::newRow("the first occurrence") << QByteArray("x") << '.' << "x=i1";
        QTest::newRow("an index counts from 0") << QByteArray("x[1]") << '.' << "x=i2";
        QTest::newRow("an index past the last") << QByteArray("x[5]") << '.' << "<none>";
        QTest::newRow("a negative index") << QByteArray("x[-1]") << '.' << "<none>";
        QTest::newRow("a nested path") << QByteArray("g.h.i") << '.' << "i=i7";
        QTest::newRow("an index inside a group") << QByteArray("g.x[1]") << '.' << "x=i9";
        QTest::newRow("a prefix of a tag is no hit") << QByteArray("g.h.") << '.' << "<none>";
        QTest::newRow("a path through a value") << QByteArray("v.w") << '.' << "<none>";
        QTest::newRow("an index with no name") << QByteArray("[0]") << '.' << "<none>";
        QTest::newRow("an empty path") << QByteArray("") << '.' << "<none>";
        QTest::newRow("another separator serves only the first segment") << QByteArray("g/h.i") << '/' << "i=i7";
        QTest::newRow("the rest always uses the point") << QByteArray("g/h/i") << '/' << "<none>";
    }
    void search()
    {
        QFETCH(QByteArray, path);
        QFETCH(char, separator);
        const Tree tree = readText("x = 1; g { h { i = 7; } x = 8; x = 9; } x = 2; x = 3; v = 4;");
        QVERIFY(tree);
        const QARes* hit = tree->search(path.constData(), separator);
        QTEST(hit ? dump(hit, false) : QStringLiteral("<none>"), "found");
    }

    void searchByNames()
    {
        const Tree tree = readText("a { b { c = 1; } } d = 2;");
        const char* nested[] = {"a", "b", "c", nullptr};
        const char* dotted[] = {"a.b", "c", nullptr};
        const char* throughValue[] = {"d", "c", nullptr};
        const char* empty[] = {nullptr};
        QCOMPARE(dump(tree->search(nested), false), QStringLiteral("c=i1"));
        QCOMPARE(dump(tree->search(dotted), false), QStringLiteral("c=i1"));
        QVERIFY(!tree->search(throughValue));
        QVERIFY(!tree->search(empty));
        QVERIFY(!tree->search(static_cast<const char*>(nullptr)));
    }

    void decode_data()
    {
        QTest::addColumn<QByteArray>("encoded");
        QTest::addColumn<QByteArray>("decoded");
        QTest::newRow("a missing ; does no harm") << QByteArray("&#41;&#42") << QByteArray("AB");
        QTest::newRow("a byte after the digits is kept") << QByteArray("&#41x") << QByteArray("Ax");
        QTest::newRow("either case of digits") << QByteArray("&#4a;&#4A;") << QByteArray("JJ");
        QTest::newRow("& without # is lost") << QByteArray("a&b") << QByteArray("ab");
        QTest::newRow("&# without a digit is lost") << QByteArray("&#x") << QByteArray("x");
        QTest::newRow("one digit is lost") << QByteArray("&#4x") << QByteArray("x");
        QTest::newRow("a doubled & keeps the second as text") << QByteArray("&&#41;") << QByteArray("&#41;");
        QTest::newRow("a string that ends mid-escape") << QByteArray("ab&#4") << QByteArray("ab");
    }
    void decode()
    {
        QFETCH(QByteArray, encoded);
        std::unique_ptr<char[]> allocated(QAResString::decode(nullptr, encoded.constData()));
        QTEST(QByteArray(allocated.get()), "decoded");
        QByteArray inPlace = encoded;
        QAResString::decode(inPlace.data(), inPlace.constData());
        QTEST(QByteArray(inPlace.constData()), "decoded");
    }

    void encodeRoundTrip()
    {
        std::unique_ptr<char[]> encoded(QAResString::encode(nullptr, "a\"b&c\n\x7f\x80\xff"));
        QCOMPARE(QByteArray(encoded.get()), QByteArray("a&#22;b&#26;c&#0A;\x7f&#80;&#FF;"));
        QVERIFY(!QAResString::encode(nullptr, nullptr));
        QVERIFY(!QAResString::decode(nullptr, nullptr));
        QRandomGenerator random(31337);
        for (int round = 0; round < 500; ++round) {
            QByteArray bytes(random.bounded(1, 40), Qt::Uninitialized);
            for (char& byte : bytes)
                byte = char(random.bounded(1, 256));
            std::unique_ptr<char[]> there(QAResString::encode(nullptr, bytes.constData()));
            std::unique_ptr<char[]> back(QAResString::decode(nullptr, there.get()));
            QCOMPARE(QByteArray(back.get()), bytes);
        }
    }

    void roundTrip_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("integers") << QByteArray("a = 0; b = -2147483648; c = 2147483647;");
        QTest::newRow("floats without exponent") << QByteArray("a = 1.5; b = -0.25; c = 1234.5;");
        QTest::newRow("booleans and identifiers") << QByteArray("a = true; b = false; c = some_word;");
        QTest::newRow("colours, negative ones too") << QByteArray("a = rgb(1, 2, 3); b = rgb(-5, 255, 0);");
        QTest::newRow("strings with every escape")
            << QByteArray("a = \"q&#22; amp&#26; nl&#0A; tab&#09; \xc3\xa9 \xe4\xb8\xad \xf0\x9f\x98\x80\"; b = \"\";");
        QTest::newRow("characters of every written form")
            << QByteArray("a = ('a', ''', '&#0A;', '&#001F;', '&#00E9;', '&#4142;', '\x7f', '&#00;');");
        QTest::newRow("nested lists") << QByteArray("a = ((), (1, (2.5, x)), \"s\");");
        QTest::newRow("nested groups") << QByteArray("a { b { } c { d = 1; e = (1); } } f = 2;");
        QTest::newRow("a translatable string with a comment")
            << QByteArray("a = QT_TRANSLATE_NOOP(\"ctx\", \"s\xe9\", \"cmt\");");
        QTest::newRow("keywords as tags") << QByteArray("rgb { true = false; }");
    }
    void roundTrip()
    {
        QFETCH(QByteArray, text);
        const Tree tree = readText(text);
        QVERIFY(tree);
        QVERIFY(messages.isEmpty());
        const QByteArray written = writeChain(tree.get());
        const Tree back = readText(written);
        QVERIFY2(messages.isEmpty(), written.constData());
        QCOMPARE(dumpTree(back), dumpTree(tree));
        QCOMPARE(writeChain(back.get()), written);
    }

    void writtenForms_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("written");
        QTest::newRow("groups indent by two blanks")
            << QByteArray("a { b = 1; c { } }") << QByteArray("a = {\n  b = 1;\n  c = {\n  }\n}\n");
        QTest::newRow("lists have no blank before the bracket")
            << QByteArray("a = (1, (), 'x');") << QByteArray("a = ( 1, ( ), 'x');\n");
        QTest::newRow("QT_TR_NOOP comes back with its context")
            << QByteArray("a = QT_TR_NOOP(\"s\", \"c\");") << QByteArray("a = QT_TRANSLATE_NOOP( \"Resources\", \"s\", \"c\" );\n");
        QTest::newRow("no comment leaves a trailing comma")
            << QByteArray("a = QT_TRANSLATE_NOOP(\"x\", \"s\");") << QByteArray("a = QT_TRANSLATE_NOOP( \"x\", \"s\",  );\n");
        QTest::newRow("rgb and characters")
            << QByteArray("a = rgb(1,2,3); b = '&#0A;'; c = '&#0100;';")
            << QByteArray("a = rgb( 1, 2, 3 );\nb = '&#0A;';\nc = '&#0100;';\n");
    }
    void writtenForms()
    {
        QFETCH(QByteArray, text);
        const Tree tree = readText(text);
        QTEST(writeChain(tree.get()), "written");
    }

    void everyCharacterSurvives()
    {
        QAResList list("c");
        QARes* chain = nullptr;
        for (uint code = 0x10000; code-- > 0;) {
            QARes* node = new QAResChar(nullptr, QChar(char16_t(code)));
            node->setNext(chain);
            chain = node;
        }
        list.setChild(chain);
        std::ostringstream stream;
        list.write(stream, "");
        const Tree back = readText(QByteArray::fromStdString(stream.str()));
        QVERIFY(back && back->toResList() && messages.isEmpty());
        QCOMPARE(back->toResList()->count(), 0x10000);
        uint code = 0;
        for (const QARes* node = back->toResList()->child(); node; node = node->next(), ++code)
            QCOMPARE(node->toResChar()->value().unicode(), code);
    }

    void fileNamesAreShared()
    {
        const auto recordsOf = [](const char* name) {
            int records = 0, count = 0;
            for (const QARes::File* file = QARes::File::list(); file; file = file->next)
                if (qstrcmp(file->name, name) == 0)
                    ++records, count = file->count;
            return qMakePair(records, count);
        };
        Tree first = readText("a = 1; b { c = 2; }");
        Tree second = readText("d = 3;");
        QCOMPARE(first->srcFileName(), second->srcFileName());
        QCOMPARE(first->search("b.c")->srcFileName(), first->srcFileName());
        QVERIFY(!first->search("b")->toResGroup()->child()->next());
        QCOMPARE(recordsOf("t.res"), qMakePair(1, 4));
        first.reset();
        QCOMPARE(recordsOf("t.res"), qMakePair(1, 1));
        second.reset();
        QCOMPARE(recordsOf("t.res"), qMakePair(0, 0));
    }

    void readingFiles()
    {
        readText("a = ;");
        QCOMPARE(QARes::errorCount(), 1);
        QVERIFY(!QARes::read("/nonexistent/file.res"));
        QCOMPARE(QARes::errorCount(), 1); // an unopenable file raises nothing
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write("NAME = \"x\"\n");
        file.close();
        const Tree tree(QARes::read(file.fileName().toLocal8Bit().constData(), true));
        QCOMPARE(dumpTree(tree), QStringLiteral("NAME=\"x\""));
        QCOMPARE(QByteArray(tree->srcFileName()), file.fileName().toLocal8Bit());
        QCOMPARE(QARes::errorCount(), 0);
        QVERIFY(QARes::isCRSeparator());
    }

    void defaultErrorOutput()
    {
        fflush(stderr);
        const int saved = dup(2);
        FILE* capture = std::tmpfile();
        dup2(fileno(capture), 2);
        QARes::error("f.res", 3, 0, QStringLiteral("m\u00e9"));
        QARes::error("f.res", 0, 7, QStringLiteral("n"));
        fflush(stderr);
        dup2(saved, 2);
        ::close(saved);
        std::rewind(capture);
        char text[64] = {};
        std::fread(text, 1, sizeof text - 1, capture);
        std::fclose(capture);
        QCOMPARE(QByteArray(text), "f.res:3:" + QStringLiteral("m\u00e9").toLocal8Bit() + "\nf.res:7:n\n");
    }

    void listQueries()
    {
        const Tree tree = readText("l = (1, 2, 3); m = (1, x); e = ();");
        const QAResList* list = tree->toResList();
        QVERIFY(list && !tree->toResGroup() && list->isTagType("l", QARes::List));
        QCOMPARE(dump(list->at(2), false), QStringLiteral("i3"));
        QVERIFY(!list->at(3) && !(*list)[-1]);
        QVERIFY(list->isNtupleOf(3, QARes::Integer) && !list->isNtupleOf(2, QARes::Integer));
        QVERIFY(!tree->next()->toResList()->isListOf(QARes::Integer));
        QVERIFY(tree->search("e")->toResList()->isListOf(QARes::String)); // empty: true
    }
};

QTEST_GUILESS_MAIN(tst_ResourceText)
#include "tst_resourcetext.moc"
