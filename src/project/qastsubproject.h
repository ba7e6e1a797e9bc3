#pragma once

#include "qastproject.h"

/// A project that stands as a node in another project. Its tree lives in its
/// own project file; the holding project's file names that file, relative to
/// its own directory, and whether it is to stay closed. Its settings come from
/// the node that holds it, not from initial configurations of its own.
class SDK_EXPORT QAStSubProject : public QAStProject
{
    Q_OBJECT
public:
    /// Opens the project file \a path, or makes a new project there.
    QAStSubProject(const QString& path, QAStData* parent, QAStData* after);
    QAStSubProject(const QDomElement& element, int version, QAStData* parent = nullptr,
                   QAStData* after = nullptr);

    QAStConfiguration* inheritConfiguration(const QAStConfiguration* config) override;
    void buildNode() override;
    void executeNode() override;
    void write(QTextStream& stream, int indent) override;
    void doubleClickAction() override;
    bool acceptDrop(QAStData* data) const override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    /// Refuses, with a message, a file that a project above already has.
    bool loadProjectFile() override;

    /// The document is to stay closed when its holder opens.
    bool isUnloaded() const { return _unload; }

public slots:
    void load();
    void unload();
    void save() override;
    void del() override;

protected:
    void initGlobal() override;
    void reportWriteFailure(const QString& path) override;

private:
    void init(const QDomElement& element, int version);
    QString holderDirectory() const;
    /// True, with the message, when a project above has this file: loading
    /// it here would load the same projects again without end.
    bool refusedAsCycle();

    bool _unload = true;
};
