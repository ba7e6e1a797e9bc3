#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
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

/// One project opened in batch mode and the commands run on it. A command
/// that only reads the project leaves it on disk as it was; a build is
/// written back with saveBuildState().
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
    /// Writes the project back after a build, rebuild, execution or clean:
    /// it records the files that each step made, by which the next run
    /// knows what is up to date. The configuration that the run was given
    /// is not the document's and is undone first. A failed write is
    /// reported and changes nothing else: the run's own outcome stands.
    void saveBuildState();
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

    /// Reads what the node's run-time stream still holds into its files,
    /// and stops following it. Whether the stream of the node's run was
    /// followed, also when an earlier call finished it.
    bool finishFollowing(QAStNodeTest* test);

private:
    void watch(QAStNode* top);
    void nodeStarted();
    void nodeFinished();
    QString originOf(const QAStNode* node, const QString& key) const;

    BatchHost& _host;
    QTextStream& _out;
    std::unique_ptr<QAStProject> _project;
    /// The configuration the project was saved in.
    QString _documentConfiguration;
    QPointer<QAStNode> _running;
    QHash<const QAStNode*, QElapsedTimer> _started;
    bool _stopping = false;
    /// Nodes of the run under way that ended failed, or with failed tests.
    int _failedNodes = 0;
    int _failedTests = 0;
    /// Test nodes of the run under way whose stream was followed.
    QSet<const QAStNodeTest*> _followed;
    /// Nodes of the run under way that ended, whatever their status.
    int _endedNodes = 0;
};
