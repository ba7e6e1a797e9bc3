// Fuzzes the escapes of resource text strings. Any bytes decode without
// growing, in place as well as into a new buffer; encoding gives only
// printable ASCII without '"', and decoding it gives the bytes back.

#include "qaresstring.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

void fail(const char* what, const std::string& text)
{
    std::fprintf(stderr, "property failed: %s\n%s\n", what, text.c_str());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The escapes work on C strings: the input ends at its first NUL.
    const std::string input(reinterpret_cast<const char*>(data), size);
    const char* text = input.c_str();
    const size_t length = std::strlen(text);

    std::unique_ptr<char[]> decoded(QAResString::decode(nullptr, text));
    if (std::strlen(decoded.get()) > length)
        fail("decode grew the text", input);
    std::string inPlace = input;
    QAResString::decode(&inPlace[0], inPlace.c_str());
    if (std::strcmp(inPlace.c_str(), decoded.get()) != 0)
        fail("decode in place differs", input);

    std::unique_ptr<char[]> encoded(QAResString::encode(nullptr, text));
    if (std::strlen(encoded.get()) > 5 * length)
        fail("encode wrote more than five bytes a byte", input);
    for (const char* p = encoded.get(); *p; ++p)
        if (static_cast<signed char>(*p) < 32 || *p == '"')
            fail("encode left a byte that a string cannot hold", input);
    std::unique_ptr<char[]> back(QAResString::decode(nullptr, encoded.get()));
    if (std::strcmp(back.get(), text) != 0)
        fail("decode(encode(x)) is not x", input);
    return 0;
}
