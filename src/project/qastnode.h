#pragma once

#include "qastdata.h"

#include <QList>
#include <QMap>
#include <QPointer>
#include <QStringList>

class QAStConfiguration;
class QAStTargetPackage;

/// A tree object that can be built, executed, debugged, cleaned and stopped.
///
/// A run is a chain of events, not a loop: the node starts one child, goes
/// back to the event loop, and carries on when the child's
/// buildExecuteFinished() arrives. The child's end is delivered queued, so the
/// stack does not grow with the number of children a run walks through.
class SDK_EXPORT QAStNode : public QAStData
{
    Q_OBJECT
public:
    enum State { Included = 0, Excluded = 1, ReportOnly = 2 };
    Q_ENUM(State)
    /// The bits of executionFlag() that select the execution steps.
    static constexpr int ExecutionSteps = 0x30;

    QAStNode(const QString& name, const QPixmap& icon, QAStData* parent = nullptr,
             QAStData* after = nullptr);
    QAStNode(const QDomElement& element, int version, QAStData* parent = nullptr,
             QAStData* after = nullptr);
    QAStNode(QARes* resources, QAStData* parent = nullptr, QAStData* after = nullptr);
    ~QAStNode() override;

    void write(QTextStream& stream, int indent) override;

    QAPropertyGroup* propertyGroup() override;
    virtual void setState(QAStNode::State state);
    /// The store that \a config inherits from: the parent's store of the
    /// same name when \a config is this node's own; otherwise none.
    virtual QAStConfiguration* inheritConfiguration(const QAStConfiguration* config);
    virtual void outFileNames(const QString& type, QStringList& out);
    virtual QString outFileName(const QString& type);
    virtual bool outFileNameContains(const QString& type);
    virtual void outFileNamesOutOf(const QString& type, QStringList& out);
    virtual void listOutFileNames(QStringList& out);
    virtual QMap<QString, QStringList>& outFileNameMap();
    /// The files of this subtree that the viewer \a viewer shows: those of the
    /// first of its patterns that all find files. \a found tells whether the
    /// host has such a viewer.
    virtual void outFileNameForViewer(const QString& viewer, QStringList& out, bool* found = nullptr);
    virtual bool isNodeExecutable();
    virtual int executionFlag();
    virtual QString logFilename();
    virtual QString tdfFile();
    virtual QString tioFile();
    virtual QString tqfFile();
    virtual QString tzfFile();
    virtual QString tgfFile();
    virtual QString tpfFile();
    virtual unsigned int settingsMask() const;
    virtual void readLogFile();
    /// Whether a build runs the node. The answer leaves its reason in
    /// rebuildReason(), so that a report of what a build would do says it in
    /// the same words as the rule that decides.
    virtual bool mustRebuilt();
    /// A copy of the configuration \a from under the name \a to, on this
    /// node and every node below; null when \a from does not exist.
    virtual QAStConfiguration* dupConfiguration(const QString& from, const QString& to);

    virtual void buildNode();
    virtual void executeNode();
    virtual void buildFirstChild();
    virtual void buildCurrentChild();
    virtual bool abortBuildOnChildError(QAStNode* child);
    virtual void executeFirstChild();
    virtual void executeCurrentChild();
    virtual QList<QAStNode*> childrenToBuild();
    virtual void buildAfterChildren();
    virtual QList<QAStNode*> childrenToExecute();
    virtual void executeAfterChildren(bool debug);

    virtual void buildStartEvent();
    virtual void buildFinishEvent();
    virtual void buildChildStartEvent(QAStNode* child);
    virtual void buildChildFinishEvent(QAStNode* child);
    virtual void executeStartEvent();
    virtual void executeFinishEvent();
    virtual void executeChildStartEvent(QAStNode* child);
    virtual void executeChildFinishEvent(QAStNode* child);
    virtual void cleanStartEvent();
    virtual void cleanFinishEvent();
    virtual QStringList disableViewerList() const;
    virtual void deleteOutFileNames();
    virtual void buildProcess(bool debug);
    virtual void rebuildProcess(bool debug);

    void launchStopProcess(qint64 pid) override;

    // Non-virtual operations.
    void abortBuildExecute();
    QAStNode* buildExecuteChildNode() const;
    QList<QAStNode*> children() const;
    static QAStNode* toNode(QAStData* data);
    void setForceRebuild(bool force) { forceRebuild = force; }
    bool isForceRebuild() const { return forceRebuild; }
    /// Why the last mustRebuilt() answered as it did: "forced", "no output",
    /// "good.o older than header.h", "program missing", "no step selected",
    /// or a child's reason after its name. Empty when the answer was false
    /// for want of anything to do, or when a class gave no reason of its own.
    QString rebuildReason() const { return _rebuildReason; }
    /// What the script of a build step of the node reads: the environment
    /// file without the execution steps, which a build must not ask for.
    void generateBuildEnv(QTextStream& stream) { generateEnvWithout(stream, ExecutionSteps); }
    bool isDebug() const { return debugRun; }
    QAStNode::State effectiveState() const { return static_cast<State>(state.get()); }
    QAStAttribute<int>& stateAttribute() { return state; }
    QAStAttribute<bool>& backgroundAttribute() { return background; }
    QString currentConfigurationName() const { return _currentConfiguration; }

    /// This node's store of \a name, or null.
    QAStConfiguration* configuration(const QString& name) const;
    const QMap<QString, QAStConfiguration*>& configurations() const { return _configurations; }
    /// The names of the configurations, in order of name.
    QStringList configurationList() const;
    /// The store of the current name; the first one when that name is gone;
    /// null when the node has none.
    QAStConfiguration* currentConfiguration() const;
    /// The store \a name of this node, made here and on every node below
    /// when it does not exist yet.
    QAStConfiguration* addConfiguration(const QString& name);
    void removeConfiguration(const QString& name);
    void removeAllConfigurations();
    /// Gives this node and every node below the parent's current name and a
    /// store for each of the parent's configurations.
    void connectConfigurations();

    /// The installed port of that directory name, or of that name; null.
    static QAStTargetPackage* getTDP(const QString& name);
    /// The directory names of the installed ports.
    static QStringList getTDPnames();
    /// The port of the current configuration, or null.
    QAStTargetPackage* getcurrentTDP() const;
    /// Moves the current configuration of this node to \a port.
    void setTDP(const QAStTargetPackage& port);
    QString perlScriptAfterChild() const { return perlscriptAfterChild; }
    void setPerlScriptAfterChild(const QString& script) { perlscriptAfterChild = script; }
    QString perlScriptBeforeChild() const { return perlscriptBeforeChild; }
    void setPerlScriptBeforeChild(const QString& script) { perlscriptBeforeChild = script; }

    void addOutFileName(const QString& type, const QString& path);
    void addOutFileName(const QString& type, const QStringList& paths);
    void removeOutFileName(const QString& type, const QString& path);
    void clearOutFileNames();
    QString outFileNameKey(const QString& type) const;
    static QString _hashCode(const QString& text);

    /// True while a run is under way whose root listens for its end.
    static bool isRunConnected() { return _isConnected; }

signals:
    void nodeCleaned();
    void buildExecuteFinished();
    void buildExecuteStarted();
    void buildExecuteInvoked();
    void editSettings();
    void stateChanged(QAStNode::State state);
    void configurationAdded(const QString& name);
    void configurationChanged(const QString& name);
    void configurationRemoved(const QString& name);
    void configurationWillBeRemoved(const QString& name);

public slots:
    /// Makes \a name current here and on every node below; a name this node
    /// does not have is ignored.
    virtual void setCurrentConfiguration(const QString& name);
    void changeCurrentConfiguration(const QString& name);
    virtual void build();
    virtual void rebuild();
    virtual void execute();
    virtual void debug();
    virtual void clean();
    virtual void settings();
    /// Marks this node to be built again, and passes the call on to each
    /// node below through its own settingsCommited(); an external command
    /// is passed by, the nodes below it are not.
    virtual void settingsCommited();
    /// The build state goes through setState(); others as for any object.
    void propertyModified(QAProperty* property) override;
    virtual void openReportById(int id);
    virtual void openReportById(int id, bool showError);
    virtual void openReportByName(const QString& name);
    /// Shows this subtree's files of the viewer \a name, or of every viewer
    /// for "All_Report", in a window of the host's.
    virtual void openReportByName(const QString& name, bool showError);
    virtual void addUserNode();
    virtual void appendUserNode();
    virtual void moveUp();
    virtual void moveDown();
    virtual void buildScriptTerminated();
    virtual void executeNextChild();
    virtual void buildNextChild();
    virtual void done();
    virtual void executeOrDebug(bool debug);
    virtual void stopProcessTerminated(bool normalExit, int status);

protected:
    /// Reads the `node` element; the project document reads its own too.
    void init(const QDomElement& element, int version);
    /// Reads the node's values of the older resource form.
    void init(QARes* resources);
    bool nextChildToBuild();
    bool nextChildToExecute();
    bool isSkipped(QAStNode* node) const;
    QString reportFile(const char* key, const char* extension, const char* fallback, bool nearestTest);
    void enterDirectory();
    /// generateEnv() with the bits \a steps taken out of executionFlag() of
    /// the current configuration for the time of the call.
    void generateEnvWithout(QTextStream& stream, int steps);
    void setRebuildReason(const QString& reason) { _rebuildReason = reason; }

    /// Takes the bits \a steps out of executionFlag() of the node's current
    /// configuration while it lives. The configuration is then left as it was
    /// found: a value of its own again, or the inherited one showing through.
    class ExecutionFlagMask
    {
    public:
        ExecutionFlagMask(QAStNode* node, int steps);
        ~ExecutionFlagMask();
        Q_DISABLE_COPY(ExecutionFlagMask)

    private:
        QAStConfiguration* configuration;
        int flag;
        bool held;
    };

    QAStAttribute<int> state {Included, true};
    QAStAttribute<bool> background {false, true};
    bool forceRebuild = false;
    bool debugRun = false;
    QString savedDirectory;
    /// The children of the run under way and the position in it; only between
    /// the first child and the last. Guarded: a child may be deleted meanwhile.
    QList<QPointer<QAStNode>>* childIterator = nullptr;
    qsizetype childPosition = 0;
    QMap<QString, QStringList> outFileNamesMap;
    /// The open report window of each viewer; a window the user closed is gone.
    QMap<QString, QPointer<QWidget>> viewers;
    QString perlscriptBeforeChild;
    QString perlscriptAfterChild;
    QString _currentConfiguration;
    QMap<QString, QAStConfiguration*> _configurations;

private:
    QString _rebuildReason;
    void listenForChildEnd(QAStNode* child, void (QAStNode::*slot)());
    void startChildWalk(const QList<QAStNode*>& nodes);
    void goOnWithChildren(bool execution);
    void finishChildWalk(bool execution);
    void killAfterStop();
    void readOutFileNames(const QDomElement& list);
    void readConfigurations(const QDomElement& list, int version);
    QAStConfiguration* addOwnConfiguration(const QString& name);
    bool removeOwnConfiguration(const QString& name);
    void writeOutFileNames(QTextStream& stream, int indent) const;

    static bool _isConnected;
    static QAStNode* _runRoot;
};
