#pragma once

#include <QStringList>

class QAStProject;
class QTextStream;

/// The commands of the batch host on the project's source files: "tag"
/// analyses files, "tags" shows what the analyses found.
namespace BatchTags {

/// Runs the tag pass on each of \a files, adding to the project those it
/// does not know, one after the other, and keeps the tags in the objects
/// file. One line per file: the number of tags, or the failure.
int tag(QAStProject* project, const QStringList& files, QTextStream& out);
/// The tag tree of \a file, or of every file of the project: one line per
/// tag, indented by depth: its kind, qualified name and signature, line,
/// and whether a test can be generated from it directly, through an
/// ancestor, or not at all.
int tags(QAStProject* project, const QString& file, QTextStream& out);

} // namespace BatchTags
