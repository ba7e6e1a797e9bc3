#pragma once

#include "sdk_export.h"

#include <QString>

class QMetElement;
class QMetTree;

/// Answers metrics by file and by source line, as text; "-" stands for no
/// value. A file is known by its name alone, in any case: the first file of
/// the tree with that name answers.
class SDK_EXPORT QMetQuery
{
public:
    explicit QMetQuery(QMetTree* tree = nullptr) : _tree(tree) {}

    void setTree(QMetTree* tree) { _tree = tree; }
    QMetTree* tree() const { return _tree; }

    QString getVgSumValue(const QString& file) const;
    QString getTotalStatementsValue(const QString& file) const;
    QString getDifficultyValue(const QString& file) const;
    QString getSizeValue(const QString& file) const;
    /// Lines of code and lines of comment together, as whole numbers.
    QString getSourceLinesValue(const QString& file) const;

    QString getVgValue(const QString& file, int line) const;
    QString getStatementsValue(const QString& file, int line) const;
    QString getNestedValue(const QString& file, int line) const;
    QString getExtVarUseValue(const QString& file, int line) const;
    QString getInCallValue(const QString& file, int line) const;
    QString getExtCompCallValue(const QString& file, int line) const;

    QString fileMetric(const QString& file, const QString& key) const;
    /// For a class, the cyclomatic number, statements and nesting are those
    /// of the complete class, its members defined elsewhere included.
    QString itemMetric(const QString& file, int line, const QString& key) const;

private:
    QMetElement* findFile(const QString& file) const;

    QMetTree* _tree;
};
