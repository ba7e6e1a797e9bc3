// Fuzzes the resource text reader in both line-end modes: the first byte
// chooses the mode (odd: a line end after '=' stands for ';'), the rest is the
// file. Whatever tree comes out is written, read back and written again, and
// from the second writing on the text must stay the same: a written tree
// always reads back, save for the forms the grammar refuses: a translatable
// string without a comment, and floats written with an exponent; colours with
// channels above 255 settle one channel a reading. The input is also searched
// as a path.

#include "qares.h"
#include "qaresfloat.h"
#include "qaresgroup.h"
#include "qareslist.h"
#include "qaresrgb.h"
#include "qaresstring.h"

#include <QByteArray>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

namespace {

int errors = 0;

void countError(const char*, int, int, const QString&)
{
    ++errors;
}

QARes* readBytes(const char* data, size_t size, bool crIsSeparator)
{
    if (size == 0)
        return QARes::read(static_cast<FILE*>(nullptr), "fuzz", crIsSeparator);
    FILE* file = fmemopen(const_cast<char*>(data), size, "r");
    QARes* tree = QARes::read(file, "fuzz", crIsSeparator);
    std::fclose(file);
    return tree;
}

std::string written(const QARes* node)
{
    std::ostringstream stream;
    for (; node; node = node->next())
        node->write(stream, "");
    return stream.str();
}

// A translatable string without a comment is written with a trailing comma,
// and a float that prints with an exponent or as infinite reads as other tokens.
bool writesUnreadably(const QARes* node)
{
    for (; node; node = node->next()) {
        if (const QAResFloat* number = node->toResFloat()) {
            std::ostringstream stream;
            stream << double(number->value());
            if (stream.str().find_first_of("einf") != std::string::npos)
                return true;
        }
        if (const QAResString* string = node->toResString())
            if (string->isTranslatable() && string->comment().isNull())
                return true;
        const QAResMultiple* multiple = node->toResGroup();
        if (!multiple)
            multiple = node->toResList();
        if (multiple && writesUnreadably(multiple->child()))
            return true;
    }
    return false;
}

// Each reading clamps only the first colour channel above 255, so such a
// colour changes again with every reading until all three are in range.
bool holdsWideColour(const QARes* node)
{
    for (; node; node = node->next()) {
        if (const QAResRGB* colour = node->toResRGB()) {
            const RGBValue value = colour->value();
            if (value.red > 255 || value.green > 255 || value.blue > 255)
                return true;
        }
        const QAResMultiple* multiple = node->toResGroup();
        if (!multiple)
            multiple = node->toResList();
        if (multiple && holdsWideColour(multiple->child()))
            return true;
    }
    return false;
}

void fail(const char* what, const std::string& text)
{
    std::fprintf(stderr, "property failed: %s\n%s\n", what, text.c_str());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    QARes::setErrorHandler(countError);
    errors = 0;
    const bool crIsSeparator = data[0] & 1;
    const char* text = reinterpret_cast<const char*>(data + 1);
    std::unique_ptr<QARes> tree(readBytes(text, size - 1, crIsSeparator));
    if (QARes::errorCount() != errors)
        fail("errorCount differs from the reports", std::string(text, size - 1));

    if (tree) {
        const std::string path(text, size - 1);
        (void)tree->search(path.c_str(), char(data[0]));
        const char* names[] = {path.c_str(), path.c_str(), nullptr};
        (void)tree->search(names);

        if (!writesUnreadably(tree.get())) {
            const std::string first = written(tree.get());
            std::unique_ptr<QARes> again(readBytes(first.data(), first.size(), false));
            if (!again)
                fail("a written tree does not read back", first);
            const std::string second = written(again.get());
            std::unique_ptr<QARes> third(readBytes(second.data(), second.size(), false));
            if (!third)
                fail("a written tree does not read back", second);
            if (!holdsWideColour(again.get()) && written(third.get()) != second)
                fail("writing is not stable", second);
        }
    }
    QARes::setErrorHandler(nullptr);
    return 0;
}
