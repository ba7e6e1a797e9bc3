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
/// program. A plug-in added later is not seen.
class SDK_EXPORT QAStNodePluginCenter
{
public:
    /// What was found in one file, or linked in: the plug-in's features
    /// with their prefixes, or why nothing could be taken from it.
    struct Plugin {
        QString file;
        QString name;
        QStringList features;
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
    QAStNodePluginCenter();
    Q_DISABLE_COPY(QAStNodePluginCenter)
};
