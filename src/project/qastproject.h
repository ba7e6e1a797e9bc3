#pragma once

#include "qastnodecontainer.h"

/// The root node of a tree, and the document that holds it.
///
/// Its file is one `project` element: the container form of the project
/// node with the whole node tree, then the name of the objects file, the sort
/// method, the initial configurations and the file's version.
class SDK_EXPORT QAStProject : public QAStNodeContainer
{
    Q_OBJECT
public:
    /// How the explorer orders the children; 1 unless the file says otherwise.
    using Method = int;

    explicit QAStProject(const QPixmap& icon, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStProject(const QString& name, const QPixmap& icon, QAStData* parent = nullptr,
                QAStData* after = nullptr);

    QMenu* addNextPopupMenu(QWidget* parent) override;
    void write(QTextStream& stream, int indent) override;
    bool abortBuildOnChildError(QAStNode* child) override;
    QStringList disableViewerList() const override;
    unsigned int settingsMask() const override;

    /// Reads a `project` element into this project. A step that finds its
    /// element missing stops the reading and leaves what was read; the reason
    /// is in the load error text.
    void init(const QDomElement& projectElement);

    Method sortMethod() const { return _sortMethod; }
    void setSortMethod(Method method) { _sortMethod = method; }

    static bool modeBatch() { return _modeBatch; }
    static void setModeBatch(bool batch) { _modeBatch = batch; }

private:
    void initGlobal();

    Method _sortMethod = 1;

    static bool _modeBatch;
};
