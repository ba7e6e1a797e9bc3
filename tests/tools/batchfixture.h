#pragma once

#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>

/// velmont-batch run as a child process, on copies of the first example, with
/// installations that are the staged one but for the scripts a test gives.
class BatchFixture
{
public:
    struct Run {
        int status = -1;
        QString out;
        QString err;
    };

    /// Copies the first example into \a name below the work directory, and
    /// answers the copy's project file.
    QString copyExample(const QString& name);
    /// An installation named \a name that links the staged one, with
    /// \a scripts (a file name and its text) in place of the staged scripts,
    /// and without ports when \a ports is false.
    QString installationWith(const QString& name, const QMap<QString, QByteArray>& scripts, bool ports = true);
    /// Starts the program in a process group of its own, in the work
    /// directory; the variable BATCH_TEST_FILE names a file that the
    /// scripts may write.
    std::unique_ptr<QProcess> start(const QStringList& arguments, const QString& installation = QString());
    Run run(const QStringList& arguments, const QString& installation = QString());

    QString path(const QString& name) const { return work.filePath(name); }
    QString scriptFile() const { return path(QStringLiteral("batch-test-file")); }

    QTemporaryDir work;
};
