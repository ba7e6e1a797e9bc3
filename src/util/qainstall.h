#pragma once

#include "sdk_export.h"

#include <QString>
#include <QStringList>

/// Where things are on disk, from the environment and the program's own path
/// (\a argv0, as the program was started). An installation holds doc, plugins,
/// targets, lib/locale and lib/perl at its top, and the binaries three levels
/// below it.
class SDK_EXPORT QAInstall
{
public:
    static QString temporaryDir();
    static QString binaryDir(const QString& argv0);
    static QString installDir(const QString& argv0);
    static QString binarySubDir(const QString& argv0);
    static QString helpDir(const QString& argv0);
    static QString pluginsDir(const QString& argv0);
    static QStringList pluginsDirList(const QString& argv0);
    static QString targetDir(const QString& argv0);
    static QString localeDir(const QString& argv0);
    static QString applicationData(const QString& argv0);
    static QStringList perlCommand(const QString& argv0);

    /// The version text of the user's directory below $HOME/.Velmont.
    static QString versionText();
};
