#pragma once

#include "sdk_export.h"

#include <QList>
#include <QString>
#include <QStringList>

class QARes;
class QAStTargetPackage;
class StudioInterface;

/// The ports found in a list of directories, owned by the list. The process
/// keeps one, the installed list, from initialize() to terminate(); a reload
/// deletes it, so no pointer to a port may be kept across initialize().
class SDK_EXPORT QAStTargetPackageList : public QList<QAStTargetPackage*>
{
public:
    /// Scans \a directories, or the installation's target directory when
    /// there are none.
    explicit QAStTargetPackageList(const QStringList& directories = QStringList());
    ~QAStTargetPackageList();

    /// Empties the list and reads every port below \a directories. A broken
    /// description file costs only its own port, and nobody hears of it.
    void scan(const QStringList& directories);
    /// The first port of that directory name, or null.
    QAStTargetPackage* targetPackage(const QString& directory) const;

    /// Builds the installed list from the preferences' port directories;
    /// false, with a report on the host's log, when no port was found.
    static bool initialize(StudioInterface* studio, QARes* resources = nullptr);
    static void terminate(StudioInterface* studio = nullptr, QARes* resources = nullptr);
    static QAStTargetPackageList* installTargetPackages() { return _installed; }
    /// The host that initialize() was given, which hears the scan's reports.
    static StudioInterface* studio() { return _studio; }
    /// The first installed port of that directory name and language, or null.
    static QAStTargetPackage* searchAssociated(const QString& directory, const QString& language);
    /// The port directory that holds an entry \a name: the first of the
    /// preferences' directories that has one, else the installation's.
    static QString search(const QString& name);

private:
    static QStringList preferredDirectories();
    static QString defaultDirectory();

    static QAStTargetPackageList* _installed;
    static StudioInterface* _studio;

    Q_DISABLE_COPY(QAStTargetPackageList)
};
