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

#include <QByteArray>

#include <cstdlib>
#include <cstring>
#include <ostream>

QAResReadState qaresReadState;

QARes::File* QARes::File::_first = nullptr;
int QARes::_errorCount = 0;
QARes::ErrorHandler QARes::_errorHandler = nullptr;

namespace {

char* copyText(const char* text)
{
    if (!text || !*text)
        return nullptr;
    const size_t size = std::strlen(text) + 1;
    char* copy = new char[size];
    std::memcpy(copy, text, size);
    return copy;
}

} // namespace

// ---------------------------------------------------------------------------
// File

QARes::File::File(const char* name, File* next, File* back)
    : name(copyText(name)), next(next), back(back)
{
}

QARes::File::~File()
{
    delete[] name;
}

QARes::File* QARes::File::acquire(const char* name)
{
    for (File* file = _first; file; file = file->next) {
        if (file->name && std::strcmp(file->name, name) == 0) {
            ++file->count;
            return file;
        }
    }
    _first = new File(name, _first, nullptr);
    return _first;
}

void QARes::File::release(File* file)
{
    if (!file || --file->count > 0)
        return;
    for (File** link = &_first; *link; link = &(*link)->next) {
        if (*link == file) {
            *link = file->next;
            break;
        }
    }
    delete file;
}

// ---------------------------------------------------------------------------
// Node

QARes::QARes(const char* tag) : _type(Generic)
{
    initTag(tag);
}

QARes::QARes(Type type, const char* tag) : _type(type)
{
    initTag(tag);
}

void QARes::initTag(const char* tag)
{
    _tag = copyText(tag);
}

QARes::~QARes()
{
    // Siblings are deleted here in a loop rather than by each other, so that a
    // chain of any length costs no stack.
    QARes* sibling = _next;
    _next = nullptr;
    while (sibling) {
        QARes* after = sibling->_next;
        sibling->_next = nullptr;
        delete sibling;
        sibling = after;
    }
    delete[] _tag;
    File::release(_file);
}

void QAResReadState::adoptTag(QARes* node, char* tag)
{
    delete[] node->_tag;
    node->_tag = tag;
}

void QARes::setTag(const char* tag)
{
    delete[] _tag;
    _tag = copyText(tag);
}

void QARes::setNext(QARes* next)
{
    _next = next;
}

void QARes::write(std::ostream& stream, const char* indent) const
{
    if (_tag)
        stream << (indent ? indent : "") << _tag << " = ";
}

void QARes::setSource(int line, int column, const char* fileName)
{
    _line = line;
    _column = column;
    if (fileName) {
        File* previous = _file;
        _file = File::acquire(fileName);
        File::release(previous);
    }
}

const char* QARes::srcFileName() const
{
    return _file ? _file->name : nullptr;
}

void QARes::append(QARes* res)
{
    QARes* last = this;
    while (last->_next)
        last = last->_next;
    last->setNext(res);
}

bool QARes::isTag(const char* name) const
{
    return name && _tag && std::strcmp(name, _tag) == 0;
}

bool QARes::isTagType(const char* name, Type type) const
{
    return _type == type && isTag(name);
}

QARes* QARes::search(const char* path, char separator) const
{
    if (!path)
        return nullptr;
    const char* end = path;
    while (*end && *end != separator)
        ++end;
    if (end == path)
        return nullptr;

    size_t nameLength = size_t(end - path);
    long index = 0;
    if (end[-1] == ']') {
        const char* bracket = end - 1;
        while (bracket > path && *bracket != '[')
            --bracket;
        if (*bracket == '[') {
            if (bracket == path)
                return nullptr;
            index = std::strtol(bracket + 1, nullptr, 10);
            if (index < 0)
                return nullptr;
            nameLength = size_t(bracket - path);
        }
    }

    QARes* hit = nullptr;
    for (const QARes* node = this; node; node = node->_next) {
        if (node->_tag && std::strlen(node->_tag) == nameLength
            && std::memcmp(node->_tag, path, nameLength) == 0 && index-- == 0) {
            hit = const_cast<QARes*>(node);
            break;
        }
    }
    if (!hit || !*end)
        return hit;
    const QAResGroup* group = hit->toResGroup();
    if (!group || !group->child())
        return nullptr;
    return group->child()->search(end + 1, '.');
}

QARes* QARes::search(const char** names) const
{
    if (!names)
        return nullptr;
    const QARes* scope = this;
    QARes* hit = nullptr;
    for (int i = 0; names[i]; ++i) {
        if (i > 0) {
            const QAResGroup* group = hit->toResGroup();
            scope = group ? group->child() : nullptr;
            if (!scope)
                return nullptr;
        }
        hit = scope->search(names[i], '.');
        if (!hit)
            return nullptr;
    }
    return hit;
}

QAResBoolean* QARes::toResBoolean() const
{
    return _type == Boolean ? static_cast<QAResBoolean*>(const_cast<QARes*>(this)) : nullptr;
}

QAResChar* QARes::toResChar() const
{
    return _type == Character ? static_cast<QAResChar*>(const_cast<QARes*>(this)) : nullptr;
}

QAResInt* QARes::toResInt() const
{
    return _type == Integer ? static_cast<QAResInt*>(const_cast<QARes*>(this)) : nullptr;
}

QAResFloat* QARes::toResFloat() const
{
    return _type == Float ? static_cast<QAResFloat*>(const_cast<QARes*>(this)) : nullptr;
}

QAResString* QARes::toResString() const
{
    return _type == String ? static_cast<QAResString*>(const_cast<QARes*>(this)) : nullptr;
}

QAResIdentifier* QARes::toResIdentifier() const
{
    return _type == Identifier ? static_cast<QAResIdentifier*>(const_cast<QARes*>(this)) : nullptr;
}

QAResRGB* QARes::toResRGB() const
{
    return _type == Colour ? static_cast<QAResRGB*>(const_cast<QARes*>(this)) : nullptr;
}

QAResGroup* QARes::toResGroup() const
{
    return _type == Group ? static_cast<QAResGroup*>(const_cast<QARes*>(this)) : nullptr;
}

QAResList* QARes::toResList() const
{
    return _type == List ? static_cast<QAResList*>(const_cast<QARes*>(this)) : nullptr;
}

const char* QARes::typeString(int type)
{
    switch (type) {
    case Generic:
        return "Generic";
    case Group:
        return "Group";
    case List:
        return "List";
    case Integer:
        return "Int";
    case Float:
        return "Float";
    case String:
        return "String";
    case Colour:
        return "RGB";
    case Identifier:
        return "Identifier";
    case Boolean:
        return "Boolean";
    default:
        // The character type has never had a word of its own here.
        return "<unknown QARes::Type>";
    }
}

// ---------------------------------------------------------------------------
// Reading

QARes* QARes::read(const char* fileName, bool crIsSeparator)
{
    if (!fileName)
        return nullptr;
    FILE* file = std::fopen(fileName, "r");
    if (!file)
        return nullptr;
    QARes* result = read(file, fileName, crIsSeparator);
    std::fclose(file);
    return result;
}

QARes* QARes::read(FILE* file, const char* name, bool crIsSeparator)
{
    QAResReadState& state = qaresReadState;
    state = QAResReadState();
    state.fileName = name;
    state.crIsSeparator = crIsSeparator;
    _errorCount = 0;
    if (!file)
        return nullptr;
    qaresScanBegin(file);
    qaresparse();
    qaresScanEnd();
    QARes* result = state.result;
    state.result = nullptr;
    state.fileName = nullptr;
    return result;
}

bool QARes::isCRSeparator()
{
    return qaresReadState.crIsSeparator;
}

void QARes::error(const char* file, int line, int column, const QString& message)
{
    ++_errorCount;
    if (_errorHandler) {
        _errorHandler(file, line, column, message);
        return;
    }
    std::fprintf(stderr, "%s:", file ? file : "");
    if (line)
        std::fprintf(stderr, "%d:", line);
    if (column)
        std::fprintf(stderr, "%d:", column);
    std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
}
