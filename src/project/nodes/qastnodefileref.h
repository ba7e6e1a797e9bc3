#pragma once

#include "qastfile.h"
#include "qastnode.h"


/// One file of the project in the build tree: a tree position joined to a
/// QAStFile by its key.
///
/// The key stays relative to the project while the node is in a tree, and
/// becomes absolute while it is not (detached, copied, dragged), so that the
/// same file is found again wherever the node lands. The full path is the one
/// thing that never changes on the way.
class SDK_EXPORT QAStNodeFileRef : public QAStNode
{
    Q_OBJECT
public:
    QAStNodeFileRef(const QString& key, const QPixmap& icon, QAStData* parent = nullptr,
                    QAStData* after = nullptr);
    QAStNodeFileRef(QAStFile* file, const QPixmap& icon, QAStData* parent = nullptr,
                    QAStData* after = nullptr);
    QAStNodeFileRef(const QDomElement& element, int version, QAStData* parent = nullptr,
                    QAStData* after = nullptr);
    QAStNodeFileRef(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);

    virtual void setFileKey(const QString& key);
    virtual void changeFileKey(const QString& key);
    virtual void addedInto();
    virtual void parentRemoved(QAStData* removed);
    virtual void parentAdded(QAStData* added);

    void addChild(QAStData* child, QAStData* after = nullptr) override;
    QAPropertyGroup* propertyGroup() override;
    bool acceptDrop(QAStData* data) const override;
    QMimeData* dragObject(bool copy, QWidget* dragSource) override;
    QMenu* popupMenu(QWidget* parent) override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    QMenu* addNextPopupMenu(QWidget* parent) override;
    QMenu* viewPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    QStringList vcsItems() override;
    void doubleClickAction() override;
    void write(QTextStream& stream, int indent) override;
    bool isNodeExecutable() override;
    bool mustRebuilt() override;

    void addEvent() override;
    void removeEvent() override;
    void parentAddEvent(QAStData* added) override;
    void parentRemoveEvent(QAStData* removed) override;

    /// The project's file of this key, or null.
    QAStFile* file();
    Q_INVOKABLE QString fileKey() const { return _fileKey.get(); }
    /// The key's complete extension, upper case: "C", "OTC".
    QString fileType() const;
    int languageType() const;
    Q_INVOKABLE QString relativePath();
    Q_INVOKABLE QString absolutePath();
    QString fullPath() const { return _fullPath; }
    QAStAttribute<QString>& fileKeyAttribute() { return _fileKey; }
    Q_INVOKABLE void referencedFileKeyChanged(QAStFile* file);
    Q_INVOKABLE void changeKeyToAbsoluteFilePath();
    Q_INVOKABLE void changeKeyToRelativeFilePath();

public slots:
    virtual void edit();
    void copy() override;
    void propertyModified(QAProperty* property) override;

protected:
    void init(QARes* resources);
    void init(const QDomElement& element, int version);
    void initGlobal();
    /// The files whose change makes the node's products old: the file itself,
    /// then what it includes.
    QStringList rebuildInputs();

    QAStAttribute<QString> _fileKey;
    QString _fullPath;
    QString _lastFileKey;

private:
    void takeKey(const QString& key);
    void makeKeyRelative();
    QString expandedKey();
};
