#include "qastprojectplugin.h"

#include "projectinterface.h"
#include "qastpluginfaces_p.h"

namespace {

class QAStProjectPluginPrivate
    : public QAStComponent<QAStProjectPlugin, QAStWindowFace<ProjectInterface>, QAStComponentInformationFace,
                           QAStPreferenceFace, QAStInformationFace, QAStLibraryFace>
{
public:
    using QAStComponent::QAStComponent;

    QString projectName() const override { return plugin ? plugin->projectName() : QString(); }
    bool create(const QStringList& files, QWidget* parent, const char* name) override
    {
        return plugin && plugin->create(files, parent, name);
    }
    bool createnew(QWidget* parent, const char* name) override
    {
        return plugin && plugin->createnew(parent, name);
    }
    void setBatchMode(bool batch) override
    {
        if (plugin)
            plugin->setBatchMode(batch);
    }
    bool close() override { return plugin && plugin->close(); }
    bool isOpen() const override { return plugin && plugin->isOpen(); }
    bool build(const QString& node, QObject* receiver, const char* member) override
    {
        return plugin && plugin->build(node, receiver, member);
    }
    bool rebuild(const QString& node, QObject* receiver, const char* member) override
    {
        return plugin && plugin->rebuild(node, receiver, member);
    }
    bool execute(const QString& node, QObject* receiver, const char* member) override
    {
        return plugin && plugin->execute(node, receiver, member);
    }
    bool clean(const QString& node, QObject* receiver, const char* member) override
    {
        return plugin && plugin->clean(node, receiver, member);
    }
    void view(const QString& node) override
    {
        if (plugin)
            plugin->view(node);
    }
    bool exportHTML(const QString& node, const QString& target) override
    {
        return plugin && plugin->exportHTML(node, target);
    }
    bool setCurrentConfiguration(const QString& name) override
    {
        return plugin && plugin->setCurrentConfiguration(name);
    }
    QString currentConfiguration() override { return plugin ? plugin->currentConfiguration() : QString(); }
    QString directory() const override { return plugin ? plugin->directory() : QString(); }
    QString absFilePath() const override { return plugin ? plugin->absFilePath() : QString(); }
    bool save() override { return plugin && plugin->save(); }
    bool saveAs() override { return plugin && plugin->saveAs(); }
    bool saveAsTemplate() override { return plugin && plugin->saveAsTemplate(); }
    bool modified() const override { return plugin && plugin->modified(); }
    QWidget* projectWindow() override { return plugin ? plugin->projectWindow() : nullptr; }
    bool getSelectedNode(QTextStream& stream) override { return plugin && plugin->getSelectedNode(stream); }
    QObject* projectObject() override { return plugin ? plugin->projectObject() : nullptr; }
    PDataInterface* focusObject() override { return plugin ? plugin->focusObject() : nullptr; }
    bool addNewProject() override { return plugin && plugin->addNewProject(); }
    bool addExistingProject() override { return plugin && plugin->addExistingProject(); }
    bool importProject() override { return plugin && plugin->importProject(); }
    bool isRunning() const override { return plugin && plugin->isRunning(); }
    QStringList tdpDirList() const override { return plugin ? plugin->tdpDirList() : QStringList(); }
    bool addFiles(const QStringList& files, PDataInterface* target) override
    {
        return plugin && plugin->addFiles(files, target);
    }

protected:
    QUnknownInterface* face(const QUuid& id) override
    {
        if (id == IID_QUnknown || id == IID_ViewerComponent || id == IID_Project)
            return static_cast<ProjectInterface*>(this);
        return nullptr;
    }
};

} // namespace

QUnknownInterface* QAStProjectPlugin::component()
{
    return static_cast<ProjectInterface*>(new QAStProjectPluginPrivate(this));
}

QString QAStProjectPlugin::projectName() const { return QString(); }
bool QAStProjectPlugin::create(const QStringList&, QWidget*, const char*) { return false; }
bool QAStProjectPlugin::createnew(QWidget*, const char*) { return false; }
void QAStProjectPlugin::setBatchMode(bool) {}
bool QAStProjectPlugin::close() { return false; }
bool QAStProjectPlugin::isOpen() const { return false; }
bool QAStProjectPlugin::build(const QString&, QObject*, const char*) { return false; }
bool QAStProjectPlugin::rebuild(const QString&, QObject*, const char*) { return false; }
bool QAStProjectPlugin::execute(const QString&, QObject*, const char*) { return false; }
bool QAStProjectPlugin::clean(const QString&, QObject*, const char*) { return false; }
void QAStProjectPlugin::view(const QString&) {}
bool QAStProjectPlugin::exportHTML(const QString&, const QString&) { return false; }
bool QAStProjectPlugin::setCurrentConfiguration(const QString&) { return false; }
QString QAStProjectPlugin::currentConfiguration() { return QString(); }
QString QAStProjectPlugin::directory() const { return QString(); }
QString QAStProjectPlugin::absFilePath() const { return QString(); }
bool QAStProjectPlugin::save() { return false; }
bool QAStProjectPlugin::saveAs() { return false; }
bool QAStProjectPlugin::saveAsTemplate() { return false; }
bool QAStProjectPlugin::modified() const { return false; }
QWidget* QAStProjectPlugin::projectWindow() { return nullptr; }
bool QAStProjectPlugin::getSelectedNode(QTextStream&) { return false; }
QObject* QAStProjectPlugin::projectObject() { return nullptr; }
PDataInterface* QAStProjectPlugin::focusObject() { return nullptr; }
bool QAStProjectPlugin::addNewProject() { return false; }
bool QAStProjectPlugin::addExistingProject() { return false; }
bool QAStProjectPlugin::importProject() { return false; }
bool QAStProjectPlugin::isRunning() const { return false; }
QStringList QAStProjectPlugin::tdpDirList() const { return QStringList(); }
bool QAStProjectPlugin::addFiles(const QStringList&, PDataInterface*) { return false; }
