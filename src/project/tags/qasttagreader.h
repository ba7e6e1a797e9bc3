#pragma once

#include "qasttagscanner.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>

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
    void advance();
    bool readLine();
    bool readFields(Values& values, QAStData*& parent);
    QAStFile* fileOfLine(const QByteArrayView& text);
    void startFile(QAStFile* file);
    void error(const char* text);
    void skipRest();
    QAStData* findBelow(const QString& qualified, const char* className, bool last);
    void remember(QAStATag* tag, QAStFile* file);
    void addDependency(const QString& key);
    void joinDeclaration(QAStATag* method, const QString& name);
    void indexFiles();
    QAStFile* knownFile(const QString& key);
    QAStFile* addDependencyFile(const QString& key);
    void indexFunctions();
    void indexFunction(QAStATag* function);
    bool isStale(QAStFile* file);
    QAStData* lastChild(QAStData* parent);
    QAStData* offerToPlugins(const QString& kind, Values& values, QAStData* parent);

    QAStFile* _file;
    QAStProject* _project;
    QAStTagScanner _scanner;
    int _token = QAStTagScanner::TK_END;
    QAStFile* _current = nullptr;
    QList<QAStFile*> _done;
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
    QHash<QAStFile*, bool> _stale;
    // Qualified names of the declarations and bodies of the project.
    QHash<QString, QList<QPointer<QAStATag>>> _declarations;
    QHash<QString, QList<QPointer<QAStATag>>> _bodies;
    QHash<QString, QList<QPointer<QAStATag>>> _prototypes;
    QHash<QString, QAStFile*> _files;
    bool _filesIndexed = false;
    QAStFolder* _dependencies = nullptr;
    bool _dependenciesSorted = false;
    QHash<QAStFile*, int> _dependencyOrder;
    QSet<QString> _dependencyKeys;
    qsizetype _dependencyOrderOf = -1;
    QHash<QAStData*, QPointer<QAStData>> _lastChild;
    bool _functionsIndexed = false;
    // Tags of each file by qualified name, as the lines made them: the
    // scopes of later lines are found here instead of in the whole file.
    // They are forgotten with the tags of their file.
    struct Scopes {
        QHash<QString, QAStATag*> first;
        QHash<QString, QAStATag*> last;
    };
    QHash<QAStFile*, Scopes> _scopes;
};
