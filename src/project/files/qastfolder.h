#pragma once

#include "qastdata.h"

#include <QList>
#include <QPointer>

class QAStFile;

/// A named group of files in the project's file tree. Its wildcard filters
/// decide which new files it takes; its timer keeps the tags of its own files
/// fresh while the user works.
class SDK_EXPORT QAStFolder : public QAStData
{
    Q_OBJECT
public:
    QAStFolder(const QString& name, const QPixmap& icon, QAStData* parent = nullptr,
               QAStData* after = nullptr);
    QAStFolder(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStFolder(const QDomElement& element, int version, QAStData* parent = nullptr,
               QAStData* after = nullptr);
    QAStFolder(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);
    ~QAStFolder() override;

    QMenu* popupMenu(QWidget* parent) override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    QMenu* addNextPopupMenu(QWidget* parent) override;
    QMenu* viewPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    QStringList vcsItems() override;
    void doubleClickAction() override;
    void write(QTextStream& stream, int indent) override;
    QAPropertyGroup* propertyGroup() override;
    bool acceptDrop(QAStData* data) const override;
    void drop(QDropEvent* event) override;

    virtual void setFilters(const QString& filters);
    /// The folder that takes a file of this key: the first sub-folder that
    /// takes it, else this one when a filter matches, else none.
    virtual QAStFolder* accept(const QString& key);
    /// Adds the files not known yet, each to the folder that accepts it; the
    /// answer holds the known ones first, then the new ones.
    virtual QList<QAStFile*> addFiles(const QStringList& keys, bool quiet);
    virtual QAStFile* addFile(const QString& key, bool quiet);

    QString filters() const { return _filters.get(); }
    /// The file below with that key, or null.
    QAStFile* isIn(const QString& key);
    /// Every file below, in tree order.
    QList<QAStFile*> files() const;
    /// The direct sub-folders.
    QList<QAStFolder*> folders() const;
    void setAutomaticRefresh(bool on) { automaticRefresh = on; }
    bool automaticFileInformation() const;
    /// Starts the analysis of \a files, unless one runs already.
    void taggingInformationFileList(const QList<QAStFile*>& files, bool force, bool verbose);
    /// Makes a sub-folder; false, with a warning, when the name exists
    /// anywhere in the file tree.
    bool addFolder(const QString& name, const QString& filters);

    static bool taggingInProgress();
    static void stopTaggingInformation();

signals:
    void taggingStarted();
    void taggingTerminated();

public slots:
    void addFolder();
    void addFiles();
    void taggingInformation();
    void deleteAllFiles();
    void taggingInformationTerminated();

protected:
    void timerEvent(QTimerEvent* event) override;
    void init(const QDomElement& element, int version);
    void startTaggingTimer();
    /// The top of this folder's file tree.
    QAStData* fileTreeRoot();

    QAStAttribute<QString> _filters;
    bool automaticRefresh = true;
    int timerId = 0;

private:
    void initGlobal();
};
