#pragma once

#include "qastnametable.h"
#include "qasttagscanner.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <unordered_map>
#include <vector>

class QAStATag;
class QAStAClassTag;
class QAStAPackageTag;
class QAStData;
class QAStFile;
class QAStFolder;
class QAStProject;

/// Reads the tag file of one analysis into the file tree. Each line names
/// a symbol, the file it stands in, its line and kind, and fields; the
/// reader makes it a map of named values and a tag under its file. Files
/// other than the analysed one are the files it includes: they become its
/// dependencies, and their tags are renewed in the same pass unless they are
/// up to date.
///
/// A bad line never stops the pass: it is reported with its line number and
/// the rest of it is passed over.
class SDK_EXPORT QAStTagReader
{
public:
    using Values = QMap<QString, QVariant>;

    explicit QAStTagReader(QAStFile* file);

    /// Reads the tag file \a path; false when it cannot be opened, and then
    /// nothing changed.
    bool read(const QString& path);
    /// Reads a tag file already in memory.
    void read(const char* data, qsizetype size);
    /// Makes the tag that \a values describe under \a parent, in \a file;
    /// null for a kind that nothing makes.
    QAStData* createTag(Values& values, QAStFile* file, QAStData* parent);

    /// Whether characters that start no token are written to standard
    /// error, as they are unless told otherwise.
    void setReportUnknownTokens(bool report) { _reportUnknown = report; }

    /// The syntax errors met, as the console showed them.
    const QStringList& errors() const { return _errors; }

private:
    // One line of the tag file. The built-in kinds read these fields as
    // they are; the map of named values that a plug-in receives is made
    // only for a kind that goes to a plug-in.
    struct Line {
        QString name;
        QByteArrayView kind;
        QByteArray ownKind;
        QString file;
        int line = 0;
        int qualifier = 0;
        QString complete;
        bool separate = false;
        QString signature;
        // Named values no built-in kind reads, for the plug-ins.
        Values others;

        void set(const QString& key, const QString& text);
        Values values() const;
    };

    void advance();
    bool readLine();
    bool readFields(Line& values, QAStData*& parent);
    QAStData* createTag(Line& values, QAStFile* file, QAStData* parent);
    QAStFile* fileOfLine(const QByteArrayView& text);
    QAStFile* currentFile();
    void startFile(QAStFile* file);
    void error(const char* text);
    void skipRest();
    QAStData* findBelow(const QString& qualified, const char* className, bool last);
    void remember(QAStATag* tag, QAStFile* file, const QString& qualified, size_t hash);
    void addDependency(const QString& key, const QString& cleaned);
    bool joinDeclaration(QAStATag* method, const QString& name, const QString& qualified, size_t hash);
    void indexFiles();
    QAStFile* knownFile(const QString& cleaned);
    QAStFile* addDependencyFile(const QString& key);
    void indexFunctions();
    void indexFunction(QAStATag* function, QAStFile* file, const QString& qualified, size_t hash);
    void forgetTagsOf(QAStFile* file);
    bool isStale(QAStFile* file);
    QAStData* lastChild(QAStData* parent);
    void keepLastChild(QAStData* parent, QAStData* child);
    QAStData* offerToPlugins(const Line& line, QAStData* parent);

    QAStFile* _file;
    QAStProject* _project;
    QAStTagScanner _scanner;
    int _token = QAStTagScanner::TK_END;
    QAStFile* _current = nullptr;
    // The keys of the current and of the analysed file, cleaned.
    QString _currentKey;
    QString _fileKey;
    QList<QAStFile*> _done;
    QSet<QAStFile*> _doneSet;
    QString _package;
    QStringList _errors;
    QStringList _pluginKinds;
    bool _pluginKindsRead = false;
    bool _reportUnknown = true;
    // The last file named by a line, as written and as found: lines of one
    // file come in runs.
    QByteArray _lastFileText;
    QString _lastFileKey;
    bool _lastFileKnown = false;
    QAStFile* _lastFile = nullptr;
    QHash<QAStFile*, bool> _stale;
    // Qualified names of the declarations and bodies of the project. The
    // tags of a file renewed in the pass are deleted under their entries:
    // an entry counts while it is younger than the last renewal of its
    // file. Plain pointers and numbers, where a guarded pointer to each of
    // a hundred thousand tags would cost an allocation for each.
    // The entries of a name are chained, in the order they came, through
    // one array for all three indexes: no list is allocated for each name.
    // Small: a large pass indexes a hundred thousand of them, and every
    // page of memory it touches costs a fault.
    struct Indexed {
        QAStATag* tag;
        QAStFile* file;
        int serial;
        int next;
    };
    struct Chain {
        int first = -1;
        int last = -1;
    };
    using Index = QAStNameTable<Chain>;
    bool isAlive(const Indexed& entry) const { return entry.serial >= _renewedAt.value(entry.file, 0); }
    bool anyLeft(const Index& index, const QString& name, size_t hash) const;
    void append(Index& index, const QString& name, size_t hash, const Indexed& entry);
    std::vector<Indexed> _entries;
    Index _declarations;
    Index _bodies;
    Index _prototypes;
    QHash<QAStFile*, int> _renewedAt;
    int _serial = 0;
    QHash<QString, QAStFile*> _files;
    bool _filesIndexed = false;
    QAStFolder* _dependencies = nullptr;
    bool _dependenciesSorted = false;
    QHash<QAStFile*, int> _dependencyOrder;
    QSet<QString> _dependencyKeys;
    qsizetype _dependencyOrderOf = 0;
    // Forgotten with the tags of their file, and at the start of a pass.
    QHash<QAStData*, QAStData*> _lastChild;
    QAStData* _lastParent = nullptr;
    QAStData* _lastParentChild = nullptr;
    bool _functionsIndexed = false;
    // Tags of each file by qualified name, as the lines made them: the
    // scopes of later lines are found here instead of in the whole file.
    // They are forgotten with the tags of their file.
    struct Scope {
        QAStATag* first = nullptr;
        QAStATag* last = nullptr;
    };
    using Scopes = QAStNameTable<Scope>;
    // Most files of a large pass, C sources and headers, never name a scope:
    // their tags are only listed in the order they came, and a file's table
    // is made from that list when one of its lines first names a scope.
    struct FileTags {
        std::vector<QAStATag*> made;
        Scopes scopes;
        bool indexed = false;
    };
    // By node, so that the tags of the current file stay where they are
    // while other files come and go.
    std::unordered_map<QAStFile*, FileTags> _fileTags;
    // The methods this pass made under each class it made, by name, in
    // place of a walk of the class for each definition: a class of the pass
    // lives through the pass. Any other class, or any class once a plug-in
    // made a tag (it may be a method), is asked.
    QSet<std::pair<const QAStData*, QString>> _methods;
    QSet<const QAStData*> _classes;
    bool _pluginMade = false;
    bool hasMethod(const QAStAClassTag* owner, const QString& name) const;
    FileTags* _currentTags = nullptr;
    FileTags& tagsOf(QAStFile* file);
    static void addScope(Scopes& scopes, QAStATag* tag, const QString& qualified, size_t hash);
};
