#include "token.h"

#include <cstring>

Token::Type::~Type() = default;

int Token::Type::type() const
{
    return 0;
}

int Token::Int::type() const
{
    return 2;
}

int Token::Float::type() const
{
    return 3;
}

int Token::Char::type() const
{
    return 4;
}

Token::String::String(const char* source, int size, bool unescape)
{
    if (!source)
        return;
    if (size < 0)
        size = int(std::strlen(source));
    text = new char[size_t(size) + 1];
    if (!unescape) {
        std::memcpy(text, source, size_t(size));
        length = size;
    } else {
        char* out = text;
        for (int i = 0; i < size; ++i) {
            if (source[i] == '\\') {
                if (i + 1 < size && source[i + 1] == '\\')
                    *out++ = source[++i];
                continue;
            }
            *out++ = source[i];
        }
        length = int(out - text);
    }
    text[length] = '\0';
}

Token::String::~String()
{
    delete[] text;
}

int Token::String::type() const
{
    return 5;
}
