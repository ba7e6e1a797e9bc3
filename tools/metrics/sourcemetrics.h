#pragma once

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

#include <memory>

/// One measured item of a source: the file, a class, or a function or
/// method; its values in the order they are written.
struct MetricItem {
    QString type;
    QString name;
    QString className;
    int line = 0;
    QList<QPair<QString, double>> values;
    QList<MetricItem> items;
    /// The function measured for this item, while the file is measured.
    int function = -1;
};

/// Reads C and C++ sources through libclang, with the include paths and
/// defines a compiler would get, and measures each function of the source
/// itself (not of its headers).
class SourceMetrics
{
public:
    /// \a arguments are the compiler's: -I, -D, -U, -std= and the like.
    explicit SourceMetrics(const QStringList& arguments);
    ~SourceMetrics();
    SourceMetrics(const SourceMetrics&) = delete;
    SourceMetrics& operator=(const SourceMetrics&) = delete;

    /// Measures \a source; false, with a message in \a error, when libclang
    /// could not read it at all. Diagnostics of a source that was read go to
    /// \a diagnostics, one line each.
    bool measure(const QString& source, MetricItem& file, QString* error, QStringList* diagnostics);

    /// The metrics file of \a file, in \a directory.
    static QByteArray toXml(const MetricItem& file, const QString& directory);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
