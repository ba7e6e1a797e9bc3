#pragma once

#include "qaststudioplugin.h"

class PDataInterface;
class QTextStream;

/// The class a plug-in of the project window derives from: the studio's
/// project as its menus and its batch mode see it. Every operation does
/// nothing by default and answers false, null or empty.
class SDK_EXPORT QAStProjectPlugin : public QAStStudioPlugin
{
    Q_OBJECT
public:
    using QAStStudioPlugin::QAStStudioPlugin;

    QUnknownInterface* component() override;

    virtual QString projectName() const;
    virtual bool create(const QStringList& files, QWidget* parent, const char* name);
    virtual bool createnew(QWidget* parent, const char* name);
    virtual void setBatchMode(bool batch);
    virtual bool close();
    virtual bool isOpen() const;
    virtual bool build(const QString& node, QObject* receiver, const char* member);
    virtual bool rebuild(const QString& node, QObject* receiver, const char* member);
    virtual bool execute(const QString& node, QObject* receiver, const char* member);
    virtual bool clean(const QString& node, QObject* receiver, const char* member);
    virtual void view(const QString& node);
    virtual bool exportHTML(const QString& node, const QString& target);
    virtual bool setCurrentConfiguration(const QString& name);
    virtual QString currentConfiguration();
    virtual QString directory() const;
    virtual QString absFilePath() const;
    virtual bool save();
    virtual bool saveAs();
    virtual bool saveAsTemplate();
    virtual bool modified() const;
    virtual QWidget* projectWindow();
    virtual bool getSelectedNode(QTextStream& stream);
    virtual QObject* projectObject();
    virtual PDataInterface* focusObject();
    virtual bool addNewProject();
    virtual bool addExistingProject();
    virtual bool importProject();
    virtual bool isRunning() const;
    virtual QStringList tdpDirList() const;
    virtual bool addFiles(const QStringList& files, PDataInterface* target);
};
