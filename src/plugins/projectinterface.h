#pragma once

#include "viewercomponentinterface.h"

#include <QString>
#include <QStringList>

class PDataInterface;
class QTextStream;
class QWidget;

/// The project as the studio sees it: the window that shows the node tree,
/// its document, and the commands the studio's menus and its batch mode run
/// on a node named by its dotted path. A command that runs is told to end
/// through \a member of \a receiver.
class SDK_EXPORT ProjectInterface : public ViewerComponentInterface
{
public:
    virtual QString projectName() const = 0;
    /// Opens the project files \a files; false when none opened.
    virtual bool create(const QStringList& files, QWidget* parent, const char* name) = 0;
    /// Asks for a new project and opens it; false when the user cancelled.
    virtual bool createnew(QWidget* parent, const char* name) = 0;
    virtual void setBatchMode(bool batch) = 0;
    virtual bool close() = 0;
    virtual bool isOpen() const = 0;
    virtual bool build(const QString& node, QObject* receiver, const char* member) = 0;
    virtual bool rebuild(const QString& node, QObject* receiver, const char* member) = 0;
    virtual bool execute(const QString& node, QObject* receiver, const char* member) = 0;
    virtual bool clean(const QString& node, QObject* receiver, const char* member) = 0;
    virtual void view(const QString& node) = 0;
    virtual bool exportHTML(const QString& node, const QString& target) = 0;
    virtual bool setCurrentConfiguration(const QString& name) = 0;
    virtual QString currentConfiguration() = 0;
    virtual QString directory() const = 0;
    virtual QString absFilePath() const = 0;
    virtual bool save() = 0;
    virtual bool saveAs() = 0;
    virtual bool saveAsTemplate() = 0;
    virtual bool modified() const = 0;
    virtual QWidget* projectWindow() = 0;
    /// Writes the selected node's description to \a stream; false with none.
    virtual bool getSelectedNode(QTextStream& stream) = 0;
    virtual QObject* projectObject() = 0;
    /// The tree object that has the focus, or null.
    virtual PDataInterface* focusObject() = 0;
    virtual bool addNewProject() = 0;
    virtual bool addExistingProject() = 0;
    virtual bool importProject() = 0;
    virtual bool isRunning() const = 0;
    virtual QStringList tdpDirList() const = 0;
    /// Adds \a files below \a target, or below the project with none.
    virtual bool addFiles(const QStringList& files, PDataInterface* target) = 0;
};
