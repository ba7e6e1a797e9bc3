#pragma once

#include "qastnodecontainer.h"

#include <QMap>
#include <QMessageBox>
#include <QPointer>

class QAPropertyGroup;
class QAStFile;
class QAStSubProject;
class QAStRootFolder;

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

    QAStProject();
    /// Opens the project file at \a path at once.
    explicit QAStProject(const QString& path);
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
    /// With \a recursive, the folders and tags of the file tree follow too.
    void setAlphabeticallySorted(bool sorted, bool recursive) override;
    /// The node's settings, and the file's name and directory, read-only.
    QAPropertyGroup* propertyGroup() override;

    /// Opens \a path, or makes a new project there when it does not exist;
    /// true when the project is usable.
    virtual bool open(const QString& path);
    virtual void setReadOnly(bool readOnly);
    /// Reads the file of path() into this unloaded project.
    virtual bool loadProjectFile();

    /// Makes a new project document at \a path; nothing is written until a
    /// save.
    void create(const QString& path);
    void close();
    /// Writes the project file and the objects file, each whole or not at
    /// all; false, with the project still modified, when one could not be
    /// written.
    bool saveProcess();
    /// Saves under a new path; the file references follow to stay valid.
    bool saveAs(const QString& path, const QString& extension);
    bool isLoaded() const { return _loaded; }
    bool isTemplate() const;
    QString path() const;
    QString filename() const { return _filename.get(); }
    /// The objects file's name, beside the project file.
    QString browseInformationFileName() const { return name() + QStringLiteral(".inf"); }
    void createObjectView();
    QAStRootFolder* rootFolder() const;

    QList<QAStFile*> files() const;
    /// The file of that key or path, or null.
    QAStFile* file(const QString& path);
    QAStFile* addFile(const QString& key);
    QList<QAStFile*> addFiles(const QStringList& keys);
    /// Puts the project file \a path in this project as a sub-project.
    QAStSubProject* addSubProject(const QString& path);
    /// Analyses the files of this project and of all its sub-projects.
    void taggingInformation();
    /// The monitor window, once it was asked for and while it lives.
    QWidget* testProcessMonitorWindow() const { return _testProcessMonitor; }

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
    /// Reads an older project or workspace in resource text; a fault makes
    /// the project invalid, with the reason in the load error text.
    void init(QARes* resources);
    /// Reads the `PROJECT` group of the older form: the project's own
    /// values, its configurations under `ROOT.configurations`, the file tree
    /// of a workspace beside it that names it, and the nodes.
    void initWithProject(QARes* project);
    /// Reads a `WORKSPACE` group: its file tree; opened by itself, first the
    /// project that it names, which the document then is.
    void initWithWorkspace(QARes* workspace);
    /// Makes the objects of the `node` groups of \a resources under \a parent,
    /// each by its `type`, and their own children in turn.
    void initChilds(QAStData* parent, QARes* resources);
    /// The resource file \a path is a workspace whose project is this one.
    bool isAWorkspaceForThisProject(const QString& path);

    Method sortMethod() const { return _sortMethod; }
    void setSortMethod(Method method) { _sortMethod = method; }

    static bool modeBatch() { return _modeBatch; }
    static void setModeBatch(bool batch) { _modeBatch = batch; }

signals:
    void loaded(QAStProject* project);
    void unloaded(QAStProject* project);

public slots:
    virtual void save();
    virtual void saveAs();
    virtual void saveAsTemplate();
    virtual void reload();
    virtual void prefUpdated();
    virtual void rebuildFileList();
    virtual void addNewProject();
    virtual void addExistingProject();
    virtual void importProject();
    void testProcessMonitor();
    void importCharReceived(const QString& text);

protected:
    virtual void initGlobal();
    /// Tells the user that \a path could not be written.
    virtual void reportWriteFailure(const QString& path);
    /// A box with the application's name as its title; none in batch mode.
    int box(QMessageBox::Icon icon, const QString& text,
            QMessageBox::StandardButtons buttons = QMessageBox::Ok,
            QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);
    void storePath(const QString& path);
    /// The sub-projects that stand in this project's own tree.
    QList<QAStSubProject*> subProjects() const;

    bool _loaded = false;

private:
    void readInitialConfigurations(const QDomElement& list, int version);
    void saveAsDialog(const QString& title, const QString& extension);
    void clearModifiedFlags();
    bool loadResourceFile();
    /// The end of every successful load: flags, configuration, signal.
    bool finishLoad();
    void initWithProject(QARes* project, bool withWorkspace);
    void readWorkspaceFiles(QARes* workspace);

    QMap<QString, QAStConfiguration*> rootConfigurations;
    QPointer<QAStRootFolder> _rootFolder;
    QAStAttribute<QString> _directory;
    QAStAttribute<QString> _filename;
    Method _sortMethod = 1;
    QPointer<QWidget> _testProcessMonitor;

    static bool _modeBatch;
};
