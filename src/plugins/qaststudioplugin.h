#pragma once

#include "qastplugin.h"

#include <QStringList>

class QARes;
class QWidget;

/// The part that the plug-ins of the studio's windows (viewers, editors, the
/// project window) share: they are given the studio once, read files of
/// some patterns, answer the user's acceptance, and may bring a page of the
/// preferences dialog.
class SDK_EXPORT QAStStudioPlugin : public QAStPlugin
{
    Q_OBJECT
public:
    using QAStPlugin::QAStPlugin;

    /// \a studio is the host's QUnknownInterface; it stays valid while the
    /// plug-in lives.
    virtual void initialize(QUnknownInterface* studio, QARes* resources);
    virtual void accept();
    virtual QStringList filters();
    virtual bool connectAccepted(QObject* receiver, const char* member);
    virtual bool connectRejected(QObject* receiver, const char* member);
    /// A new page of the preferences dialog, owned by the host; none by default.
    virtual QWidget* preferenceSettings();
};
