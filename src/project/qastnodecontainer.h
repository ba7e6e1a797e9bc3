#pragma once

#include "qastnode.h"

#include <QStringList>

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
    QStringList disableViewerList() const override;

    /// Asks for the name of a new node until the user gives one that no node
    /// of this project has, or cancels: then the answer is a null string.
    QString getNodeName(const QString& title, const QString& label);
    void addExtendedViewer(QMenu* menu);
    void setExtendedViewers(const QStringList& viewers) { extendedViewers = viewers; }

public slots:
    virtual void addGroupNode();
    virtual void appendGroupNode();

protected:
    /// Reads the `group` element and the children it holds.
    void init(const QDomElement& element, int version);

    QStringList extendedViewers;

private:
    QAction* addAction(QMenu* menu, const QString& text, const char* slot,
                       const char* icon = nullptr);
    bool treeLocked();
};
