#pragma once

#include "sdk_export.h"

#include <QList>
#include <QString>
#include <QStringList>

class QAProperty;
class QAStData;
class QAStNode;
class QTextStream;

/// Writes the variables of an environment file: the Perl source of plain
/// assignments that a tool chain script reads to learn what to do. The names,
/// order and forms of the variables are what the scripts rely on.
///
/// Every text written between single quotes is escaped so that Perl reads
/// back exactly the intended text: backslashes doubled, quotes preceded by
/// one. That holds for the raw forms too; "raw" only means that no project
/// macro is expanded in them.
class SDK_EXPORT QAStPerlGen
{
public:
    /// Writes every variable for \a data, usually a node, in the settings of
    /// its current configuration.
    static void generateEnv(QTextStream& out, QAStData* data);
    /// Writes the variables that the definition file binds to settings; the
    /// leaves of \a list must be bound to the configuration to write.
    static void generatePerlVariables(QTextStream& out, const QList<QAProperty*>* list, QAStNode* node);
    /// Writes the lines of each plug-in's block of settings for \a data, in
    /// the order of the blocks.
    static void generateBlockEnv(QTextStream& out, QAStData* data);

    /// \a text, with the project macros expanded for \a node when there is
    /// one, as it may stand between single quotes.
    static QString safeStr(const QString& text, QAStNode* node);
    /// The same for a path. The two filters are one since every quoted text
    /// has its backslashes doubled; both names stay for their callers.
    static QString safePath(const QString& text, QAStNode* node);

    /// \a text as it may stand between single quotes in Perl.
    static QString perlQuoted(const QString& text);

private:
    static QString expandMacros(const QString& text, QAStNode* node);
    /// The items of the generation conditions, each ready to stand between
    /// single quotes.
    static QStringList generationConditions(const QString& text, QAStNode* node);
};
