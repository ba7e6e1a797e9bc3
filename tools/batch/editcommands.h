#pragma once

#include <QStringList>

class BatchSession;
class QTextStream;

/// The commands of the batch host that make or change a project: "new"
/// makes an empty project with a configuration per port; "add", "set",
/// "unset", "remove", "rename" and "move" change one project through the
/// library's own operations and save it once. A refused change leaves the
/// file as it was, byte for byte.
namespace EditCommands {

/// True for a call of one of these commands, given the positional arguments:
/// "new PROJECT ..." or "PROJECT COMMAND ...".
bool handles(const QStringList& positional);
/// True for an argument that these commands take as it stands, option-like
/// or not, behind the positional arguments \a before: their own options
/// ("--port", "--after"), and the value of "set", which may well begin with
/// a dash ("-O2").
bool keepsArgument(const QStringList& before, const QString& argument);
/// Runs the command that \a positional names; \a configuration is the one
/// that --config named, for "set" and "unset".
int run(BatchSession& session, QTextStream& out, const QStringList& positional, const QString& configuration);

} // namespace EditCommands
