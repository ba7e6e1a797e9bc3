#pragma once

#include <QString>

class BatchSession;
class QAStNode;
class QTextStream;

/// A run that starts no step: it writes the environment file of every step
/// that the command would run and of every source, and the compilation
/// database of the sources ("compile_commands.json"), in which each command
/// is the one the tool chain's compile step prints for its own environment
/// file, so that the database cannot drift from the real compile.
class BatchDryRun
{
public:
    BatchDryRun(BatchSession& session, QTextStream& out);

    /// Writes into \a directory, the project's directory when empty: the
    /// database at its top, the environment files in its sub-directory
    /// "environment", one per node named by its dotted path.
    int run(const QString& command, QAStNode* top, const QString& directory);

private:
    bool writeEnvironment(QAStNode* node, const QString& file);

    BatchSession& _session;
    QTextStream& _out;
};
