#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>

class BatchHost;
class QAStData;
class QAStNode;
class QAStNodeTest;
class QAStProject;
class QTextStream;

/// What the program answers its caller, one value per kind of end.
enum BatchExit {
    ExitSuccess = 0,
    ExitBuildFailed = 1,
    ExitTestFailed = 2,
    ExitStopped = 3,
    ExitUsage = 4,
    ExitLoad = 5
};

/// One project opened in batch mode and the commands run on it. The session
/// never saves: a project that a command only reads or builds stays on disk
/// as it was.
class BatchSession : public QObject
{
    Q_OBJECT
public:
    BatchSession(BatchHost& host, QTextStream& out);
    ~BatchSession() override;

    /// Opens the project file and selects \a configuration when one is
    /// named; an exit status other than success after a one-line message.
    int open(const QString& path, const QString& configuration);
    /// Deletes the project, and with it the processes of its steps.
    void close();
    /// The node that \a path names: the names from the project down, joined
    /// by dots; an empty path, or the project's own name, is the project.
    QAStNode* resolve(const QString& path) const;
    /// The dotted path of \a node below the project.
    QString pathOf(const QAStData* node) const;
    /// The node's kind in a word: "group", "source", "project"...
    static QString kindOf(const QAStNode* node);

    int tree();
    int configs();
    int settings(QAStNode* node);
    int env(QAStNode* node);
    int clean(QAStNode* node);
    /// Builds, rebuilds or executes \a node and waits for the end of the run.
    int run(const QString& command, QAStNode* node);
    static int ports(QTextStream& out);
    /// One line for each plug-in file found, or linked in: its name and
    /// features, or why it was refused.
    static int plugins(QTextStream& out);

    /// "tag FILE..." and "tags [FILE]" on the project's source files.
    int tagCommand(const QString& command, const QStringList& arguments);

    /// Ends the run under way through the stop mechanism: the stop script
    /// runs for each running step, and then its process is killed.
    void stop();

private:
    void watch(QAStNode* top);
    void nodeStarted();
    void nodeFinished();
    void finishFollowing(QAStNodeTest* test);
    QString originOf(const QAStNode* node, const QString& key) const;

    BatchHost& _host;
    QTextStream& _out;
    std::unique_ptr<QAStProject> _project;
    QPointer<QAStNode> _running;
    QHash<const QAStNode*, QElapsedTimer> _started;
    bool _stopping = false;
    /// Nodes of the run under way that ended failed, or with failed tests.
    int _failedNodes = 0;
    int _failedTests = 0;
};
