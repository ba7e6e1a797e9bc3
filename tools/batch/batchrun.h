#pragma once

#include "batchreport.h"

#include <QDateTime>
#include <QFile>
#include <QHash>
#include <QList>
#include <QObject>
#include <QStringList>

class BatchProgress;
class BatchSession;
class QAStNode;
class QTextStream;

/// The options of a build, rebuild or execution that a CI server or a person
/// at a terminal asks for.
struct BatchRunOptions {
    QString junitFile, jsonFile;
    /// Several configurations: the command runs in each in turn.
    QStringList configurations;
    /// The shard \a shard (from 1) of \a shards; none when 0.
    int shard = 0, shards = 0;
    bool dryRun = false;
    QString dryRunDirectory;
    /// The project is written back after the run, with what each step made.
    bool save = true;

    /// Takes the option at \a i of \a arguments, and its value, moving \a i
    /// past what it took; false when the option is none of these. A bad
    /// value leaves its message in \a error.
    bool take(const QStringList& arguments, qsizetype& i, QString& error);
    /// Keeps the list that "--config A,B" names; \a configuration becomes its
    /// first name, the one the project opens in.
    void takeConfigurations(QString& configuration);
};

/// A build, rebuild or execution run through the session, with the reports
/// that its options ask for, written as each node ends: a run that is
/// stopped or killed leaves what had ended.
class BatchRun : public QObject
{
    Q_OBJECT
public:
    BatchRun(BatchSession& session, QTextStream& out, const BatchRunOptions& options);
    ~BatchRun() override;

    int run(const QString& command, QAStNode* node);
    /// The nodes whose run has ended, in the order they ended.
    const QList<BatchNodeRecord>& records() const { return _records; }
    /// "explain [NODE]", on the shard of the options when they name one.
    int explain(QAStNode* node);

    /// The stable share, from 0, of the node \a path among \a shards.
    static int shardOf(const QString& path, int shards);

private:
    void selectShard(QAStNode* top);
    void watch(QAStNode* top);
    void started(QAStNode* node);
    void ended(QAStNode* node);
    BatchNodeRecord recordOf(QAStNode* node) const;

    BatchSession& _session;
    QTextStream& _out;
    BatchRunOptions _options;
    BatchProgress* _progress = nullptr;
    QFile _json;
    QList<BatchNodeRecord> _records;
    QHash<QAStNode*, QDateTime> _started;
    QList<QMetaObject::Connection> _connections;
    /// The test nodes that the shard left out, taken back in at the end.
    QList<QAStNode*> _leftOut;
    bool _severalConfigurations = false;
};
