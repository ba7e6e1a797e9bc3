#pragma once

#include "qasttestedtag.h"

#include <QDateTime>
#include <QSet>
#include <QStringList>

class QAStAClassTag;
class QAStAFunctionTag;
class QAStAPackageTag;
class QAStAStructTag;

/// One source, header or test file known to a project. It stands in the
/// project's file tree, under a folder, and the build tree's file references
/// point at it by its key: its path, relative to the project where possible.
///
/// What a file is follows from its name alone. The tags that an analysis
/// finds in it are its children. The analysis runs the tool chain's tag
/// script on the file; the script's tag file also names the files this one
/// includes, and their tags are renewed in the same pass.
class SDK_EXPORT QAStFile : public QAStTestedTag
{
    Q_OBJECT
public:
    /// File kinds by name; the numbers are those of the file dialogs' filters.
    enum FileType {
        Project = 0,
        VisualStudioProject = 1,
        Workspace = 2,
        AllTestScripts = 3,
        TestReports = 4,
        CAdaTestScripts = 5,
        SystemTestingScripts = 6,
        SupervisionScripts = 7,
        CppTestScripts = 8,
        HeaderFiles = 9,
        CFiles = 10,
        CAndHeaderFiles = 11,
        CppFiles = 12,
        CppAndHeaderFiles = 13,
        AdaFiles = 14,
        JavaFiles = 15,
        MatlabFiles = 16,
        Makefiles = 17,
        SupervisionScripts2 = 18,
        TraceResults = 19,
        CoverageResults = 20,
        MemoryResults = 21,
        PerformanceResults = 22,
        GraphicFiles = 23,
        RuntimeResults = 24,
        DataFiles = 25,
        UserFiles = 26,
        AllFiles = 27
    };

    QAStFile(const QString& key, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStFile(const QDomElement& element, int version, QAStData* parent = nullptr,
             QAStData* after = nullptr);
    QAStFile(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);
    ~QAStFile() override;

    QMenu* popupMenu(QWidget* parent) override;
    QStringList vcsItems() override;
    void doubleClickAction() override;
    void write(QTextStream& stream, int indent) override;
    QAPropertyGroup* propertyGroup() override;

    QString fileKey() const override { return _fileKey.get(); }
    QString absolutePath() const override { return _fullPath; }
    QStringList stubbableFiles() override;
    bool isTestable() const override { return true; }
    bool isDirectlyTestable() const override { return true; }
    bool isInstrumentable() const override { return true; }
    bool isARootItem() const override { return false; }

    /// Gives the file a new key and tells every file reference of the
    /// project; the file counts as never analysed since.
    virtual void setFileKey(const QString& key);
    /// The log of produced files of the file's own steps.
    virtual QString logFilename();
    /// The file has just been placed in a tree: its path follows its key.
    virtual void addedInto();

    /// The kind of this file by its name.
    int fileType() const { return fileType(_fileKey.get()); }
    /// The language of this file by its name, as languageType() gives it.
    int fileLanguage() const { return _language; }
    /// Sets the key and the path, renames the file after it and forgets the
    /// last analysis; the references are not told.
    void changeFileKey(const QString& key);
    /// Called by a reference whose key the user changed: the file and its
    /// other references follow.
    void referenceFileKeyChanged(QAStData* reference);
    /// Every file reference below the project that names this file.
    QList<QAStData*> references() const;

    /// The file changed since its last analysis, or was never analysed.
    bool needUpdate() const;
    void setTimeStamp();
    void resetTimeStamp() { _timeStamp = QDateTime(); }
    QDateTime timeStamp() const { return _timeStamp; }
    const QStringList& dependencies() const { return _dependencies; }
    void addDependency(const QString& path);
    void clearDependencies()
    {
        _dependencies.clear();
        _dependencySet.clear();
    }
    void setQuiet(bool quiet) { _quiet = quiet; }
    bool isTagging() const { return _tagging; }

    QList<QAStTestedTag*> components(bool recursive) const;
    QList<QAStAPackageTag*> namespaces(bool recursive) const;
    QList<QAStAClassTag*> classes(bool recursive, bool throughNamespaces = true) const;
    QList<QAStAPackageTag*> packages(bool recursive) const;
    QList<QAStAFunctionTag*> functions(bool recursive) const;
    QList<QAStAStructTag*> structures(bool recursive) const;
    /// For a header or an Ada file: the files holding the bodies of the
    /// functions it declares.
    QStringList sourceFiles() const;
    /// The headers holding the declarations of the functions this file
    /// defines.
    QStringList headerFiles() const;

    /// Runs the tag pass unless it is running; unless \a force, only when
    /// the file changed since the last one.
    void parse(bool force);
    static void stopFileInformationProcess() { _tagStopped = true; }
    static bool isFileInformationProcessing() { return !_tagStopped; }
    static bool isTagStopped() { return _tagStopped; }
    /// Reads the tag file \a path of a pass over this file, as the end of the
    /// tag script does: the tags of this file and of the files it includes
    /// are renewed. False when the file could not be read.
    bool readTagFile(const QString& path);

    /// The kind of a file name, without its directory: the first set of
    /// patterns that matches the whole name, in a fixed order.
    static int fileType(const QString& name);
    /// 1 C, 2 C++, 4 Ada, 8 Java by the file's kind; 0 for the others.
    static int languageType(const QString& name);
    static bool isEqualKeys(const QString& a, const QString& b);
    /// "Label (patterns)" of a kind; one text per user kind for UserFiles.
    static QStringList fileTypeFilter(int type);
    /// The filters that a dialog adding source files offers: those of
    /// \a language first.
    static QStringList addFilesFilters(int language);
    static QStringList filesToAbsPathStringList(const QList<QAStFile*>& files);
    static QStringList filesToRelPathStringList(const QList<QAStFile*>& files);

signals:
    void taggingStarted();
    void taggingTerminated();

public slots:
    void taggingInformationTerminated();
    void taggingInformation(bool force = true);
    void del() override;

private:
    void initGlobal();
    void init(const QDomElement& element, int version);
    void init(QARes* resources);
    void takeKey(QString key);
    void endTagging();

    QAStAttribute<QString> _fileKey;
    QString _fullPath;
    QStringList _dependencies;
    // The same keys, asked for each new one: a pass may name thousands.
    QSet<QString> _dependencySet;
    QDateTime _timeStamp;
    QString _lastFileKey;
    bool _quiet = false;
    bool _tagging = false;
    // Kept with the key: every qualified name of the file's tags asks it.
    int _language = 0;
    QAStAttribute<QString> _fullPathShown;

    static bool _tagStopped;
};
