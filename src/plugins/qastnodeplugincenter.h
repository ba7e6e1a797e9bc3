#pragma once

#include "qunknowninterface.h"

#include <QList>
#include <QString>
#include <QStringList>

class QUuid;

/// The one place that finds the plug-ins of the node tree, keeps what each
/// offers, and hands out their interfaces by feature name. Plug-ins are
/// looked for once, on the first call of nodePluginCenter(): in the
/// installation's plugins directory and its sub-directories, in the
/// directories a host added before, and among the plug-ins linked into the
/// program. A plug-in added later is not seen. Qt's own library paths are
/// not searched: they hold the toolkit's plug-ins and the program's own
/// directory, where a library named like a plug-in is none of ours.
class SDK_EXPORT QAStNodePluginCenter
{
public:
    /// What was found in one file, or linked in: the plug-in's features
    /// with their prefixes, or why nothing could be taken from it.
    struct Plugin {
        /// Empty for a plug-in linked into the program.
        QString file;
        QString name;
        /// The features taken from it, with their prefixes.
        QStringList features;
        /// Features it offers that a plug-in found before serves already:
        /// the first one found keeps them.
        QStringList duplicates;
        /// Why nothing was taken from the file; empty for a plug-in taken.
        QString problem;
    };

    static QAStNodePluginCenter* nodePluginCenter();
    /// A further directory to search; it counts only before the first
    /// nodePluginCenter().
    static void addPluginDirectory(const QString& directory);

    /// The features of \a interface without their prefix; empty for an
    /// identity not served by the registry.
    QStringList featureList(const QUuid& interface) const;
    /// Sets \a result to the interface \a interface of the plug-in that
    /// serves \a feature (given without its prefix), with a reference the
    /// caller releases, or to null. QE_NOINTERFACE for an identity not served
    /// by the registry, QS_OK otherwise.
    QRESULT queryComponentInterface(const QString& feature, const QUuid& interface, QUnknownInterface** result);
    /// Every file looked at that holds, or claims to hold, a plug-in, in the
    /// order they were found.
    QList<Plugin> plugins() const;

private:
    friend class QAStNodePluginCenterPrivate;
    QAStNodePluginCenter() = default;
    void search();
    Q_DISABLE_COPY(QAStNodePluginCenter)
};
