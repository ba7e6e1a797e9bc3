#pragma once

#include "qastnode.h"

#include <QPointer>

/// A reference from one place of the tree to an application or a library
/// elsewhere in the project. It answers for the files of the node it names,
/// as far as its own build state lets them through: an included link gives
/// the target's library but not its objects, a link that provides report
/// files only gives neither, an excluded one nothing.
class SDK_EXPORT QAStNodeLink : public QAStNode
{
    Q_OBJECT
public:
    QAStNodeLink(QAStNode* target, QAStData* parent = nullptr, QAStData* after = nullptr);
    QAStNodeLink(const QDomElement& element, int version, QAStData* parent = nullptr,
                 QAStData* after = nullptr);
    QAStNodeLink(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    /// The node this link names, found again by its identifier when the
    /// tree was read or the node was made anew; null when it is gone.
    QAStNode* linkedNode();
    unsigned int linkedId() const { return _linkedId; }
    QString linkedClassName() const { return _className; }

    void write(QTextStream& stream, int indent) override;
    unsigned int settingsMask() const override;
    bool acceptDrop(QAStData* data) const override;
    QMenu* popupMenu(QWidget* parent) override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    QMenu* addNextPopupMenu(QWidget* parent) override;
    QMenu* viewPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    QStringList vcsItems() override;
    void doubleClickAction() override;

    QMap<QString, QStringList>& outFileNameMap() override;
    void outFileNameForViewer(const QString& viewer, QStringList& out, bool* found = nullptr) override;
    bool outFileNameContains(const QString& type) override;
    void listOutFileNames(QStringList& out) override;
    QString outFileName(const QString& type) override;
    void outFileNames(const QString& type, QStringList& out) override;
    /// The holder must link again when the target changed since: when the
    /// target must build, or what it made is newer than what the holder made.
    bool mustRebuilt() override;
    void buildAfterChildren() override;

private:
    void init(const QDomElement& element, int version);
    void initGlobal();
    QString holderProduct();

    unsigned int _linkedId = 0;
    QPointer<QAStNode> _linkedNode;
    QString _className;
};
