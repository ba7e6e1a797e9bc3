#pragma once

/// What the resource text scanner hands to the parser for one token. It is a
/// plain aggregate so that it can live in the parser's value stack; the value,
/// when there is one, is owned by whoever takes the token off the stack.
class Token
{
public:
    class Type
    {
    public:
        virtual ~Type();
        virtual int type() const;
    };

    class Int : public Type
    {
    public:
        explicit Int(int value) : value(value) {}
        int type() const override;
        int value;
    };

    class Float : public Type
    {
    public:
        explicit Float(float value) : value(value) {}
        int type() const override;
        float value;
    };

    class Char : public Type
    {
    public:
        explicit Char(unsigned short value) : value(value) {}
        int type() const override;
        unsigned short value;
    };

    class String : public Type
    {
    public:
        /// Copies \a length bytes of \a text, or up to its terminator when
        /// \a length is negative. With \a unescape a single backslash is
        /// dropped and a doubled one kept once.
        String(const char* text, int length, bool unescape);
        ~String() override;
        int type() const override;
        char* text = nullptr;
        int length = 0;

    private:
        String(const String&) = delete;
        String& operator=(const String&) = delete;
    };

    Type* typeVoid() const { return value && value->type() == 0 ? value : nullptr; }
    Int* typeInt() const { return value && value->type() == 2 ? static_cast<Int*>(value) : nullptr; }
    Float* typeFloat() const { return value && value->type() == 3 ? static_cast<Float*>(value) : nullptr; }
    Char* typeChar() const { return value && value->type() == 4 ? static_cast<Char*>(value) : nullptr; }
    String* typeString() const { return value && value->type() == 5 ? static_cast<String*>(value) : nullptr; }

    int code;
    int line;
    int column;
    const char* text;
    int length;
    Type* value;
};
