#pragma once

#include "qastnodecontainer.h"

#include <QMap>

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
    ~QAStProject() override;

    QMenu* addNextPopupMenu(QWidget* parent) override;
    void write(QTextStream& stream, int indent) override;
    bool abortBuildOnChildError(QAStNode* child) override;
    QStringList disableViewerList() const override;
    unsigned int settingsMask() const override;
    QString directory() override;
    /// The chain of a node configuration ends here, at the initial
    /// configuration of its name, which has nothing above it.
    QAStConfiguration* inheritConfiguration(const QAStConfiguration* config) override;
    QAStConfiguration* dupConfiguration(const QString& from, const QString& to) override;

    /// Makes a new project document at \a path; nothing is written until a
    /// save.
    void create(const QString& path);
    bool isLoaded() const { return loaded; }
    QString path() const;
    QString filename() const { return _filename; }

    /// The complete configuration of \a name that node configurations
    /// inherit from, or null.
    QAStConfiguration* initialConfiguration(const QString& name) const;
    const QMap<QString, QAStConfiguration*>& initialConfigurations() const { return rootConfigurations; }
    /// The configuration \a name on the whole tree, with an initial one of
    /// built-in defaults when there is none yet; null unless loaded.
    QAStConfiguration* addConfiguration(const QString& name);
    void removeConfiguration(const QString& name);

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
    void readInitialConfigurations(const QDomElement& list, int version);
    void storePath(const QString& path);

    QMap<QString, QAStConfiguration*> rootConfigurations;
    QString _directory;
    QString _filename;
    bool loaded = false;
    Method _sortMethod = 1;

    static bool _modeBatch;
};
