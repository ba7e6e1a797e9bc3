#pragma once

#include "sdk_export.h"

#include <QMessageBox>
#include <QPixmap>
#include <QString>
#include <QStringList>

class QAILogMonitor;
class QAStProjectPref;
class QWidget;

/// The host application as the library sees it. Every operation has a
/// harmless answer here, so that a host implements only what it offers; the
/// library reaches it through the static accessors of QAStData.
class SDK_EXPORT StudioInterface
{
public:
    virtual ~StudioInterface();

    /// Parent widget of dialogs.
    virtual QWidget* mainWindow();

    virtual QString installDir();
    virtual QString scriptsDir();
    virtual QString binaryDir();
    virtual QString helpDir();
    virtual QString targetDir();
    virtual QString userName();
    /// Name of the configuration management tool, empty when there is none.
    virtual QString cmsTool();
    /// The directory below which the shared settings data lie ("Common/lib"
    /// and its definition file); the installation directory unless the host
    /// keeps them elsewhere.
    virtual QString dataDir();
    /// The separators of the tables that tools export, as the user set them;
    /// new configurations start with them.
    virtual QString csvSeparator();
    virtual QString csvDecimalSeparator();
    virtual QString csvThousandSeparator();

    /// The interpreter: the program first, then its fixed options.
    virtual QStringList perlCommand();
    /// Port of the host's listening socket, -1 when it has none.
    virtual int port();
    virtual QPixmap pixmap(const QString& name);

    /// The console end for QAStData::Console \a console (0 build, 1 message),
    /// or null when the host has none.
    virtual QAILogMonitor* console(int console);
    virtual void clearConsole(int console);
    virtual void raiseConsole();

    /// Names of the installed viewer plug-ins, in the host's order.
    virtual QStringList viewerFeatureList();
    virtual void registerPreferencePage(QAStProjectPref* preferences);

    /// Opens \a pathAndLine ("path:line") in an editor.
    virtual void openEditor(const QString& pathAndLine, bool readOnly);
    /// Caption of every message box.
    virtual QString applicationName();
    /// Called first thing in every build and execution; the answer is ignored.
    virtual bool prepareRun();

    /// Shows a message box and answers the button pressed. A host that runs
    /// without a user answers without showing anything, usually the default.
    virtual int messageBox(QMessageBox::Icon icon, const QString& caption, const QString& text,
                           QMessageBox::StandardButtons buttons = QMessageBox::Ok,
                           QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);
    /// Asks the user for a line of text. \a ok is false when the user
    /// cancelled; a host that runs without a user cancels.
    virtual QString getText(const QString& caption, const QString& label, const QString& text,
                            bool* ok);
    /// Asks the user to tick any of \a items in a list labelled \a label and
    /// answers the ticked ones, in the order of \a items. \a ok is false when
    /// the user cancelled; a host that runs without a user cancels.
    virtual QStringList getCheckedItems(const QString& caption, const QString& label,
                                        const QStringList& items, bool* ok);

    /// The file patterns of the viewer \a viewer: each one a ";"-separated set
    /// of wildcards that must all find files. \a found is false when the host
    /// has no such viewer.
    virtual QStringList viewerFilters(const QString& viewer, bool* found);
    /// Shows \a files in a window of the viewer \a viewer: in \a window when
    /// the viewer made it before, else in a new one. Answers the window, or
    /// null when the viewer could not open one.
    virtual QWidget* openViewer(const QString& viewer, const QStringList& files, QWidget* window);
    /// Takes a viewer window among the host's windows and raises it.
    virtual void showViewer(QWidget* window);
    /// Holds back the host's repainting while many windows open at once.
    virtual void setUpdatesEnabled(bool enabled);

    /// Asks for one existing file; an empty answer is a cancel.
    virtual QString getOpenFileName(const QString& caption, const QString& directory,
                                    const QString& filter);
    /// Asks for the name and the directory of a new project on one wizard
    /// page; false when the user cancelled.
    virtual bool getProjectLocation(const QString& caption, const QString& pageTitle, QString* name,
                                    QString* location);
    /// Asks for the name and the filters of a new folder; false when the
    /// user cancelled.
    virtual bool getFolder(QString* name, QString* filters);

    /// A long task of the library shows its progress: \a total steps, a
    /// caption and the text of the button that would stop it; \a owner is
    /// the object the task works on. Then steps, then the end.
    virtual void progressStart(qint64 total, const QString& caption, const QString& button, QObject* owner);
    virtual void progressStep(qint64 position);
    virtual void progressEnd();
};
