#pragma once

#include "qastfolder.h"

class QAStProject;

/// The top of a project's file tree and the keeper of its objects file. It
/// stands outside the node tree: it has no parent there, yet answers the
/// project as its parent and its project. It keeps three standing folders,
/// for scripts, sources and the files the sources include.
class SDK_EXPORT QAStRootFolder : public QAStFolder
{
    Q_OBJECT
public:
    explicit QAStRootFolder(QAStProject* project);

    QAStData* parent() const override;
    QAStData* project() override;
    QAStData* rootProject() override;
    QAStData* root() override;
    QMenu* popupMenu(QWidget* parent) override;
    void write(QTextStream& stream, int indent) override;

    /// Reads the objects file \a path; true when it was read. A file that
    /// cannot be read leaves the standing folders alone, with a message.
    bool open(const QString& path);
    void close();
    /// Writes the objects file whole or not at all; false, with a message,
    /// when it could not be written.
    bool save(const QString& path);
    void init(const QDomElement& element);
    /// Rebuilds the file tree from the file references of the node tree.
    void normalize();
    bool isOpened() const { return opened; }

    QAStFolder* dependencyFolder();
    QAStFolder* sourceFolder();
    QAStFolder* scriptFolder();

public slots:
    void clearDependency();
    void rebuildFromProject();

private:
    void initGlobal();
    enum Place { AtHead, AtEnd, BehindScripts };
    QAStFolder* standingFolder(const char* title, const char* filters, Place place);

    QAStProject* _project;
    bool opened = false;
};
