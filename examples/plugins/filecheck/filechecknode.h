#pragma once

#include <qastnode.h>

#include <QStringList>

/// A test node that checks, at each build, that the files it lists exist and
/// are large enough. The check is the script "FileCheck.pl" of the
/// installation's scripts; what it reads comes from the environment file:
/// the node's list, the settings of the "file_check_options" block, and the
/// directory the block computes.
///
/// Its element in a project file:
/// \code
/// <file_check>
///   <node>...</node>
///   <file_list>src/main.c#comma#README</file_list>
/// </file_check>
/// \endcode
class FileCheckNode : public QAStNode
{
    Q_OBJECT
    // A host or a wizard knows the node through its meta-object alone.
    Q_PROPERTY(QStringList files READ files WRITE setFiles)
public:
    FileCheckNode(const QString& name, QAStData* parent = nullptr, QAStData* after = nullptr);
    FileCheckNode(const QDomElement& element, int version, QAStData* parent = nullptr, QAStData* after = nullptr);

    QStringList files() const { return _files; }
    void setFiles(const QStringList& files);

    void write(QTextStream& stream, int indent) override;
    void generateEnv(QTextStream& stream) override;
    bool mustRebuilt() override;
    bool isNodeExecutable() override;
    void buildAfterChildren() override;
    unsigned int settingsMask() const override;

    QMenu* popupMenu(QWidget* parent) override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    QMenu* addNextPopupMenu(QWidget* parent) override;
    QMenu* viewPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    QStringList vcsItems() override;
    void doubleClickAction() override;

private slots:
    void checkTerminated();

private:
    QStringList _files;
};
