#pragma once

#include <QDateTime>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

class QTextStream;

/// One test of a test node's result file, as the report formats need it.
struct BatchTestCase {
    /// A check that failed, or a stub called a wrong number of times.
    struct Problem {
        bool stub = false;
        QString what, expected, obtained, file, line;
        QString text() const;
    };
    QString service, name, verdict, signal;
    double seconds = 0;
    QList<Problem> problems;
    bool passed() const { return verdict == QLatin1String("ok"); }
};

/// What the reports keep of a node whose run has ended.
struct BatchNodeRecord {
    QString path, kind, configuration;
    int status = 5;
    bool test = false;
    QDateTime start, end;
    /// The produced files of the node's log: type and absolute path.
    QList<QPair<QString, QString>> files;
    /// The tests of the node's result file; empty when it has none.
    QList<BatchTestCase> tests;
    /// The share of functions reached, in percent; negative when unknown.
    double functionCoverage = -1;

    double seconds() const { return start.msecsTo(end) / 1000.0; }
    /// "passed", "failed" (a test verdict), "error", "stopped" or "not run".
    QString verdict() const;
    int passed() const;
    int failed() const;
};

namespace BatchReport {

/// The tests of the result file \a path; empty when it cannot be read.
QList<BatchTestCase> readResultFile(const QString& path);
/// The share in percent of the functions that ran at least once, by the
/// "DC" records of the coverage file \a path (one for each function of the
/// program's instrumented sources); negative when it has none.
double readFunctionCoverage(const QString& path);

/// The whole JUnit document for the ended test nodes among \a records: a
/// suite per node, named by its path, and by its configuration too when
/// \a withConfiguration (a run in several configurations).
QByteArray junit(const QList<BatchNodeRecord>& records, bool withConfiguration);
/// Replaces \a path with the JUnit document at once, so that a reader, or a
/// run killed meanwhile, finds the old file or the new one, never a part.
bool writeJUnit(const QString& path, const QList<BatchNodeRecord>& records, bool withConfiguration);

/// The record as one line of JSON, without its end of line.
QByteArray jsonLine(const BatchNodeRecord& record);

/// The table of the test nodes among \a records: each with its verdict,
/// tests passed and failed, function coverage when known, and time.
void summary(const QList<BatchNodeRecord>& records, QTextStream& out);
/// A row per test node and a column per configuration of \a configurations,
/// each cell the node's verdict there.
void matrix(const QList<BatchNodeRecord>& records, const QStringList& configurations, QTextStream& out);

} // namespace BatchReport
