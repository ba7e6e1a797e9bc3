#pragma once

#include "sdk_export.h"

#include <QMap>
#include <QString>
#include <QStringList>

class QARes;

/// One Target Deployment Port: the description of a compiler and target that
/// gives a configuration its defaults. It is read from the port's description
/// files and read-only once built; configurations copy what they need.
class SDK_EXPORT QAStTargetPackage
{
public:
    QAStTargetPackage();

    /// Fills the port from the top-level items of a description file's tree,
    /// \a first, read from \a iniFile in the port \a directory. Values of a
    /// kind other than string are ignored.
    void read(QARes* first, const QString& directory, const QString& iniFile);
    /// Reads every "*.ini" of the port directory \a path in the directory's
    /// order, a later file overriding an earlier one key by key. Answers
    /// whether any file gave a tree.
    bool read(const QString& path);

    QString name;
    QString directory;
    QString fullPath;
    QString iniFile;
    QString language;
    QString objectExt;
    QString libExt;
    QString dllExt;
    QString exeExt;
    QString srcExt;
    QString cppFlags;
    QString cFlags;
    QString defines;
    QString ldFlags;
    QString libs;
    QStringList includePaths;
    QStringList libraryPaths;
    QStringList bootClassPath;
    bool j2meRestriction = false;
    /// Defaults of settings by key, from any other DEFAULT_<key> line.
    QMap<QString, QString> defaults;
    /// The analyses the port supports, as execution flag bits.
    quint32 flags = 0xE1E00;
};
