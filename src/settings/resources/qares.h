#pragma once

#include "sdk_export.h"

#include <QString>

#include <cstdio>
#include <iosfwd>

class QAResBoolean;
class QAResChar;
class QAResFloat;
class QAResGroup;
class QAResIdentifier;
class QAResInt;
class QAResList;
class QAResRGB;
class QAResString;

/// One node of a resource text file: a tagged value, linked to the next
/// sibling. Reading a file gives the first top-level node; deleting it deletes
/// the whole tree, since a node owns the rest of its sibling chain.
///
/// The reader is not reentrant: its scanner and parser state, the error count
/// and the error handler are process-wide.
class SDK_EXPORT QARes
{
public:
    enum Type {
        Generic = 0,
        Group = 1,
        List = 2,
        Character = 3,
        Integer = 4,
        Float = 5,
        String = 6,
        Colour = 7,
        Identifier = 8,
        Boolean = 9
    };

    /// A source file name, shared by every node read from that file so that a
    /// large tree holds the name once. The records form one process-wide list;
    /// a record leaves it when its last node is destroyed.
    class SDK_EXPORT File
    {
    public:
        File(const char* name, File* next, File* back);
        ~File();

        /// The record of \a name with its count raised, or a new one at the head.
        static File* acquire(const char* name);
        /// Lowers the count; at zero the record leaves the list and is destroyed.
        static void release(File* file);
        /// Head of the process-wide list.
        static File* list() { return _first; }

        char* name;
        int count = 1;
        File* next;
        File* back;

    private:
        static File* _first;
        Q_DISABLE_COPY(File)
    };

    using ErrorHandler = void (*)(const char* file, int line, int column, const QString& message);

    explicit QARes(const char* tag = nullptr);
    virtual ~QARes();
    virtual void setTag(const char* tag);
    /// Links \a next behind this node; a former next node is not deleted.
    virtual void setNext(QARes* next);
    virtual void write(std::ostream& stream, const char* indent) const;

    Type type() const { return _type; }
    const char* tag() const { return _tag; }
    QARes* next() const { return _next; }
    int line() const { return _line; }
    int column() const { return _column; }
    void setSource(int line, int column, const char* fileName);
    const char* srcFileName() const;

    /// Walks to the last sibling and links \a res behind it.
    void append(QARes* res);
    bool isTag(const char* name) const;
    bool isTagType(const char* name, Type type) const;

    /// Finds a node among this one and its following siblings by a path of
    /// tags, such as "a.b[2].c"; an index counts occurrences from 0.
    QARes* search(const char* path, char separator = '.') const;
    /// Like search() over a null-terminated array of paths, each one inside
    /// the group found by the previous one.
    QARes* search(const char** names) const;

    QAResBoolean* toResBoolean() const;
    QAResChar* toResChar() const;
    QAResInt* toResInt() const;
    QAResFloat* toResFloat() const;
    QAResString* toResString() const;
    QAResIdentifier* toResIdentifier() const;
    QAResRGB* toResRGB() const;
    QAResGroup* toResGroup() const;
    QAResList* toResList() const;

    static const char* typeString(int type);

    /// Reads a file; a file that cannot be opened gives null and no error.
    static QARes* read(const char* fileName, bool crIsSeparator = false);
    /// Reads \a file, reporting errors against \a name. The result can be a
    /// tree even when errors were reported: test errorCount() as well.
    static QARes* read(FILE* file, const char* name, bool crIsSeparator = false);
    static int errorCount() { return _errorCount; }
    static bool isCRSeparator();
    /// A null handler restores the default, which writes to standard error.
    static void setErrorHandler(ErrorHandler handler) { _errorHandler = handler; }
    static void error(const char* file, int line, int column, const QString& message);

protected:
    QARes(Type type, const char* tag);

private:
    friend struct QAResReadState;
    void initTag(const char* tag);

    File* _file = nullptr;
    Type _type;
    char* _tag = nullptr;
    QARes* _next = nullptr;
    qint32 _line = 0;
    qint32 _column = 0;

    static int _errorCount;
    static ErrorHandler _errorHandler;

    Q_DISABLE_COPY(QARes)
};
