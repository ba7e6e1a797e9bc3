#pragma once

#include "qastdata.h"

#include <QDateTime>
#include <QStringList>

/// One source, header or test file known to a project. It stands in the
/// project's file tree, under a folder, and the build tree's file references
/// point at it by its key: its path, relative to the project where possible.
///
/// What a file is follows from its name alone. The tags that an analysis
/// finds in it will be its children; its element keeps the wrappers of a
/// tag for them.
class SDK_EXPORT QAStFile : public QAStData
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

    QMenu* popupMenu(QWidget* parent) override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    QMenu* addNextPopupMenu(QWidget* parent) override;
    QMenu* viewPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    QStringList vcsItems() override;
    void doubleClickAction() override;
    void write(QTextStream& stream, int indent) override;

    QString fileKey() const { return _fileKey.get(); }
    QString absolutePath() const { return _fullPath; }
    /// The kind of this file by its name.
    int fileType() const { return fileType(_fileKey.get()); }
    /// Gives the file a new key and takes its name from it; the file counts
    /// as never analysed since.
    void changeFileKey(const QString& key);
    /// The file changed since its last analysis, or was never analysed.
    bool needUpdate() const;
    void setTimeStamp();
    QDateTime timeStamp() const { return _timeStamp; }
    const QStringList& dependencies() const { return _dependencies; }
    void addDependency(const QString& path);
    void clearDependencies() { _dependencies.clear(); }
    int qualifier() const { return _qualifier; }
    void setQualifier(int qualifier) { _qualifier = qualifier; }

    /// The kind of a file name, without its directory: the first set of
    /// patterns that matches the whole name, in a fixed order.
    static int fileType(const QString& name);
    /// 1 C, 2 C++, 4 Ada, 8 Java by the file's kind; 0 for the others.
    static int languageType(const QString& name);
    static bool isEqualKeys(const QString& a, const QString& b);

private:
    void initGlobal();
    void init(const QDomElement& element, int version);
    void init(QARes* resources);

    QAStAttribute<QString> _fileKey;
    QString _fullPath;
    QStringList _dependencies;
    QDateTime _timeStamp;
    QString _lastFileKey;
    int _qualifier = 0;
};
