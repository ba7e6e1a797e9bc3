#pragma once

#include "sdk_export.h"

#include <QString>

class QAILogMonitor;

/// Copies the examples of the installed ports into the user's directory, so
/// that the user works on copies and the installation stays untouched.
class SDK_EXPORT QAUserLibrary
{
public:
    /// Fills every port's example directory that the user's copy lacks;
    /// answers the number of directories copied.
    static int checkAndInstall(const QString& argv0, QAILogMonitor* log);
};

/// Copies one directory tree, reporting each file to a log.
class SDK_EXPORT InstallUserLibraryJob
{
public:
    InstallUserLibraryJob(const QString& from, const QString& to, QAILogMonitor* log);
    bool run();

private:
    bool copyTree(const QString& from, const QString& to);

    QString source;
    QString destination;
    QAILogMonitor* log;
};
