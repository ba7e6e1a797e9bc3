#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class QAStData;
class QAStNode;
class QTextStream;

/// What the application and the library nodes share: the preparation that
/// may run over their sources before their children build, the lists of
/// files their steps get, and the file kinds their dialogs offer.
namespace ProgramNode {

/// The script that prepares the sources of \a node before its children
/// build, and the languages of the sources it is given; an empty script when
/// the node builds its children straight away.
struct Preparation {
    QString script;
    QList<int> languages;
    bool listsSources = false;
};
Preparation preparationOf(QAStNode* node);

/// Writes the environment of the preparation and starts its script; false
/// when the environment file could not be written.
bool startPreparation(QAStNode* node, const Preparation& preparation);

/// After the preparation script: false when it failed or was stopped.
/// Otherwise everything below must build again, since the script may have
/// rewritten the sources.
bool preparationSucceeded(QAStNode* node);

/// Always true for Java: the compiler decides what is out of date.
bool alwaysRebuilt(const QAStNode* node);

/// The coverage, trace and object-test lists of a program's steps.
void writeProgramLists(QAStNode* node, QTextStream& stream);

/// The filters of a file dialog that adds sources to \a node: those of its
/// language first.
QStringList fileFilters(const QAStNode* node);

/// "@OTIFILES=(...)": the object-test information files that \a holders
/// (test scripts, links) record, relative to \a node.
void writeObjectTestList(QAStNode* node, const QList<QAStData*>& holders, QTextStream& stream);

/// "@NAME=(" the quoted paths joined by \a separator ");\n".
void writePerlList(QTextStream& stream, const char* name, const QStringList& paths,
                   const QString& separator = QStringLiteral(","));

} // namespace ProgramNode
