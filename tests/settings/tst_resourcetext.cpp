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

#include "settingsfixture.h"

#include <memory>
#include <sstream>

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
        const auto row = [](const char* tag, const QByteArray& text, const QString& tree, const QStringList& errors = {},
                            bool crIsSeparator = false) { QTest::newRow(tag) << text << crIsSeparator << tree << errors; };
        const QString unexpected = QStringLiteral("unexpected input character");
        row("an empty file yields none", "", "<none>");
        row("a file of comments yields none", "# one\n// two\n   # three", "<none>");
        row("a comment keeps its line end", "a = 1; // x = 2;\n# y = 3;\nb = 2;", "a=i1 b=i2");
        row("positions count blanks and tabs but not carriage returns", "  a = 1;\n\r\r\tb = 2;\n", "a@1:3=i1 b@2:2=i2");
        row("a group needs neither = nor ;", "a { b = 1; } c = 2;", "a@1:1={b@1:5=i1} c@1:14=i2");
        row("a group may have both, and be empty", "a = { } ; b {}", "a={} b={}");
        row("keywords serve as tags", "rgb = 1; true = 2; false = 3; QT_TR_NOOP = 4; QT_TRANSLATE_NOOP = 5;",
            "rgb=i1 true=i2 false=i3 QT_TR_NOOP=i4 QT_TRANSLATE_NOOP=i5");
        row("a sign alone is the integer 0, a point alone the float 0", "a = +; b = -; c = .; d = -.;",
            "a=i0 b=i0 c=f0 d=f0");
        row("numbers with and without sign and digits", "a = ( -7, +3, 42, 1.5, -.25, 5. );",
            "a=(i-7 i3 i42 f1.5 f-0.25 f5)");
        row("identifiers, booleans and longer words than keywords", "a = ( x_1, _y, true, false, rgbx, trueish );",
            "a=(id:x_1 id:_y true false id:rgbx id:trueish)");
        row("lists hold lists and may be empty", "a = ( (), (1, (2)) );", "a=(() (i1 (i2)))");
        row("characters by byte and by code of two or four digits",
            "a = ( 'x', '&#41;', '&#0041;', '&#4e2D;', ''', '#', '\xe9' );", "a=(c78 c41 c41 c4e2d c27 c23 ce9)");
        row("strings decode escapes and take UTF-8",
            "a = \"&#41;&#42\"; b = \"\"; c = \"\xc3\xa9 &amp \"; d = \"q&#22;q\";",
            "a=\"AB\" b=\"\" c=\"\u00e9 amp \" d=\"q\"q\"");
        row("a broken escape loses what it took so far, a byte after the digits is kept",
            "a = \"&#41x &#4a;&#4A; &#x &#4x &&#41; ab&#4\";", "a=\"Ax JJ x x &#41; ab\"");
        row("a line end inside a string does not count", "a = \"x\ny\";\nb = 1;", "a@1:1=\"x\ny\" b@2:1=i1");
        row("translations take 8-bit text and no escapes",
            "a = QT_TRANSLATE_NOOP(\"ctx\", \"s&#41;\", \"cmt\"); b = QT_TR_NOOP(\"\xe9\");"
            " c = QT_TR_NOOP(\"s\", \"c\"); d = QT_TRANSLATE_NOOP(\"x\", \"y\");",
            "a=tr[ctx|s&#41;|cmt]\"s&#41;\" b=tr[Resources|\u00e9|-]\"\u00e9\" c=tr[Resources|s|c]\"s\" d=tr[x|y|-]\"y\"");
        row("rgb reports and clamps only the first channel above 255",
            "a = rgb( 300, 300, 0 );\nb = rgb(0, 256, 999); c = rgb(-1, 0, 255);",
            "a=rgb(255,300,0) b=rgb(0,255,999) c=rgb(-1,0,255)",
            {"1:10:rgb R value not in [0..255]\n", "2:12:rgb G value not in [0..255]\n"});
        row("a bad byte is skipped and the tree still built", "a = 1; @ b = 2;\nc = 3 / ;", "a=i1 b=i2 c=i3",
            {"1:8:" + unexpected, "2:7:" + unexpected});
        // Line-end mode: a line end after '=' stands for ';'.
        row("line-end mode: no semicolons, comments and CR LF", "NAME = \"x\" # c\r\nOBJEXT = \".o\"\nLIST = (1, 2)\n",
            "NAME=\"x\" OBJEXT=\".o\" LIST=(i1 i2)", {}, true);
        row("line-end mode: a group without = spans lines", "a {\nb = 1\n}\n", "a={b=i1}", {}, true);
        row("without line-end mode a line end is a blank", "a =\n1\n;", "a=i1");
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

    void erroneousFiles_data()
    {
        QTest::addColumn<QStringList>("errors");
        const QString syntax = QStringLiteral("syntax error");
        const QString unexpected = QStringLiteral("unexpected input character");
        const auto row = [](const char* file, const QStringList& errors) { QTest::newRow(file) << errors; };
        // The grammar's refusals: one report, and nothing after it but bad bytes.
        row("value-without-semicolon.res", {"1:5:" + syntax});
        row("second-syntax-error-unreported.res", {"1:5:" + syntax, "1:13:" + unexpected});
        row("trailing-comma-in-list.res", {"1:8:" + syntax});
        row("group-inside-list.res", {"1:6:" + syntax});
        row("pair-inside-list.res", {"1:8:" + syntax});
        row("bare-value-at-top.res", {"1:1:" + syntax});
        row("digits-then-letters.res", {"1:6:" + syntax});
        row("broken-character-code.res", {"1:5:" + unexpected, "1:6:" + unexpected, "1:7:" + syntax});
        // Read in line-end mode, as port descriptions are.
        row("no-line-end-at-the-end.ini", {"1:5:" + syntax});
        row("semicolon-at-line-end.ini", {"3:1:" + syntax});
        row("group-opened-on-its-line.ini", {"2:1:" + syntax});
        row("line-without-equal-sign.ini", {"3:1:" + syntax});
    }
    void erroneousFiles()
    {
        const QString file = QFINDTESTDATA("testdata/erroneous/") + QTest::currentDataTag();
        messages.clear();
        QARes::setErrorHandler(collect);
        const Tree tree(QARes::read(QFile::encodeName(file).constData(), file.endsWith(".ini")));
        QARes::setErrorHandler(nullptr);
        QVERIFY(!tree);
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
        // Names given one by one, each searched with the point.
        QTest::newRow("names one by one") << QByteArray("g|h|i") << '|' << "i=i7";
        QTest::newRow("a dotted name then a name") << QByteArray("g.h|i") << '|' << "i=i7";
        QTest::newRow("names through a value") << QByteArray("v|w") << '|' << "<none>";
    }
    void search()
    {
        QFETCH(QByteArray, path);
        QFETCH(char, separator);
        const Tree tree = readText("x = 1; g { h { i = 7; } x = 8; x = 9; } x = 2; x = 3; v = 4;");
        QVERIFY(tree);
        const QList<QByteArray> names = path.split('|');
        QList<const char*> array;
        for (const QByteArray& name : names)
            array << name.constData();
        array << nullptr;
        const QARes* hit = separator == '|' ? tree->search(array.data()) : tree->search(path.constData(), separator);
        QTEST(hit ? dump(hit, false) : QStringLiteral("<none>"), "found");
        QVERIFY(!tree->search(static_cast<const char*>(nullptr)));
    }

    // What each node writes; it reads back as the same tree, but for the two
    // forms that do not, kept as they stand.
    void writtenForms_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("written");
        QTest::addColumn<QString>("readBack");
        const auto row = [](const char* tag, const QByteArray& text, const QByteArray& written,
                            const QString& readBack = {}) { QTest::newRow(tag) << text << written << readBack; };
        row("values of each kind, groups indented by two blanks, no blank before a list's bracket",
            "a = -2147483648; b = -0.25; c { true = false; e = word; f { } } g = (1, (), 'x');",
            "a = -2147483648;\nb = -0.25;\nc = {\n  true = false;\n  e = word;\n  f = {\n  }\n}\ng = ( 1, ( ), 'x');\n");
        row("strings escape quotes, ampersands, control bytes and each byte of UTF-8",
            "a = \"q&#22; &#26; &#0A;\x7f\xc3\xa9\"; b = \"\";", "a = \"q&#22; &#26; &#0A;\x7f&#C3;&#A9;\";\nb = \"\";\n");
        row("characters by code: two digits for a one-digit code, four for two or three",
            "a = ('a', ''', '\x7f', '&#0A;', '&#001F;', '&#00E9;', '&#4142;', '&#00;');",
            "a = ( 'a', ''', '\x7f', '&#0A;', '&#001F;', '&#00E9;', '&#4142;', '&#00;');\n");
        row("rgb, negative values too", "a = rgb(-5,2,255);", "a = rgb( -5, 2, 255 );\n");
        row("a translatable string with a comment", "a = QT_TRANSLATE_NOOP(\"ctx\", \"s\xe9\", \"cmt\");",
            "a = QT_TRANSLATE_NOOP( \"ctx\", \"s\xe9\", \"cmt\" );\n");
        row("QT_TR_NOOP comes back as a translation in the Resources context", "a = QT_TR_NOOP(\"s\", \"c\");",
            "a = QT_TRANSLATE_NOOP( \"Resources\", \"s\", \"c\" );\n", "a=tr[Resources|s|c]\"s\"");
        row("no comment leaves a trailing comma that does not read back", "a = QT_TRANSLATE_NOOP(\"x\", \"s\");",
            "a = QT_TRANSLATE_NOOP( \"x\", \"s\",  );\n", "<none>");
    }
    void writtenForms()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, readBack);
        const Tree tree = readText(text);
        QVERIFY(tree && messages.isEmpty());
        const QByteArray actual = writeChain(tree.get());
        QTEST(actual, "written");
        const Tree back = readText(actual);
        QCOMPARE(dumpTree(back), readBack.isEmpty() ? dumpTree(tree) : readBack);
        QCOMPARE(messages.isEmpty(), readBack != "<none>");
    }

    // One record of a file's name serves every node read from the file, and
    // goes with the last of them.
    void fileNamesAreShared()
    {
        const auto records = [] {
            int found = 0;
            for (const QARes::File* file = QARes::File::list(); file; file = file->next)
                found += qstrcmp(file->name, "t.res") == 0;
            return found;
        };
        Tree first = readText("a = 1; b { c = 2; }");
        Tree second = readText("d = 3;");
        QVERIFY(first->search("b.c")->srcFileName() == second->srcFileName());
        QCOMPARE(records(), 1);
        first.reset();
        QCOMPARE(records(), 1);
        second.reset();
        QCOMPARE(records(), 0);
    }

    void escapesWithoutADestinationAllocateOne()
    {
        const std::unique_ptr<char[]> encoded(QAResString::encode(nullptr, "&"));
        const std::unique_ptr<char[]> decoded(QAResString::decode(nullptr, "&#41;"));
        QVERIFY(qstrcmp(encoded.get(), "&#26;") == 0 && qstrcmp(decoded.get(), "A") == 0);
        QVERIFY(!QAResString::encode(nullptr, nullptr) && !QAResString::decode(nullptr, nullptr));
    }

    void errorReports()
    {
        readText("a = ;");
        QVERIFY(!QARes::read("/nonexistent/file.res"));
        QCOMPARE(QARes::errorCount(), 1); // an unopenable file raises nothing

        // Without a handler, reports go to standard error; a 0 line or column is left out.
        const QByteArray written = standardErrorOf([] {
            QARes::error("f.res", 3, 0, QStringLiteral("m\u00e9"));
            QARes::error("f.res", 0, 7, QStringLiteral("n"));
        });
        QCOMPARE(written, "f.res:3:" + QStringLiteral("m\u00e9").toLocal8Bit() + "\nf.res:7:n\n");
    }
};

QTEST_GUILESS_MAIN(tst_ResourceText)
#include "tst_resourcetext.moc"
