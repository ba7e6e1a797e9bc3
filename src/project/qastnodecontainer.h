#pragma once

#include "qastnode.h"

#include <QStringList>

class NodeTestInterface;
class QAction;

/// A node that holds other nodes and offers the commands that make them: the
/// base of the project, the group, the library and the test nodes.
class SDK_EXPORT QAStNodeContainer : public QAStNode
{
    Q_OBJECT
public:
    QAStNodeContainer(const QString& name, const QPixmap& icon, QAStData* parent = nullptr,
                      QAStData* after = nullptr);
    QAStNodeContainer(const QDomElement& element, int version, QAStData* parent = nullptr,
                      QAStData* after = nullptr);
    QAStNodeContainer(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    QMenu* popupMenu(QWidget* parent) override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    QMenu* addNextPopupMenu(QWidget* parent) override;
    QMenu* viewPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    QStringList vcsItems() override;
    void doubleClickAction() override;
    void write(QTextStream& stream, int indent) override;
    bool acceptDrop(QAStData* data) const override;
    QMimeData* dragObject(bool copy, QWidget* dragSource) override;
    QStringList disableViewerList() const override;

    /// Asks for the name of a new node until the user gives one that no node
    /// of this project has, or cancels: then the answer is a null string.
    QString getNodeName(const QString& title, const QString& label);
    /// One item for each test node kind of the plug-ins, whose identifier,
    /// from 10 on, goes to \a slot (a slot of this node taking an int). An
    /// item is off where its kind may not stand: as a child of this node, or
    /// behind it for the slot appendWithId(int).
    void addPluginTestNodeMenuItem(QMenu* menu, const char* slot);
    void addExtendedViewer(QMenu* menu);
    void setExtendedViewers(const QStringList& viewers) { extendedViewers = viewers; }

public slots:
    virtual void addGroupNode();
    virtual void addLibraryNode();
    virtual void addApplicationNode();
    virtual void addUnitTestingNode();
    virtual void addObjectTestingNode();
    virtual void addSystemTestingNode();
    virtual void appendGroupNode();
    virtual void appendLibraryNode();
    virtual void appendApplicationNode();
    virtual void appendUnitTestingNode();
    virtual void appendObjectTestingNode();
    virtual void appendSystemTestingNode();
    virtual void addTestNodePlugin(const QString& feature);
    virtual void appendTestNodePlugin(const QString& feature);
    virtual void addChildWithId(int id);
    virtual void appendWithId(int id);
    /// Links to libraries of the project that the user picks, as children.
    virtual void addLibraryReference();
    void copy() override;

protected:
    /// For a kind whose own element wraps the `node` element directly: the
    /// node is read from \a node, and the kind reads its children itself.
    struct NodeElement {
        const QDomElement& node;
    };
    QAStNodeContainer(NodeElement node, int version, QAStData* parent, QAStData* after);
    /// Reads the `group` element and the children it holds.
    void init(const QDomElement& element, int version);

    QStringList extendedViewers;

private:
    QAction* addAction(QMenu* menu, const QString& text, const char* slot,
                       const char* icon = nullptr);
    bool treeLocked();
    void makeNode(const char* className, bool append);
    void makePluginNode(const QString& feature, bool append);
    bool mayStand(NodeTestInterface* provider, const QString& feature, bool append);
    void switchFileKeys(bool absolute);
};
