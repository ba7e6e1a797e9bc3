#include "qastproject.h"

#include "qapropertyattrlineedit.h"
#include "qapropertygroup.h"
#include "qares.h"
#include "qaresgroup.h"
#include "qaresstring.h"
#include "qastconfiguration.h"
#include "qastdatafactory.h"
#include "qastfile.h"
#include "qastrootfolder.h"
#include "qastsubproject.h"
#include "qatrace.h"
#include "qaxml.h"
#include "studiointerface.h"

#include <QApplication>
#include <QDir>
#include <QDomDocument>
#include <QFileDialog>
#include <QFileInfo>
#include <QSaveFile>
#include <QDomElement>
#include <QMenu>
#include <QTextStream>

#include <memory>

bool QAStProject::_modeBatch = false;

namespace {

// A wait cursor for as long as the object lives, where there is a screen.
class WaitCursor
{
public:
    WaitCursor()
    {
        if (qobject_cast<QApplication*>(QCoreApplication::instance()))
            QApplication::setOverrideCursor(Qt::WaitCursor);
    }
    ~WaitCursor()
    {
        if (qobject_cast<QApplication*>(QCoreApplication::instance()))
            QApplication::restoreOverrideCursor();
    }
    Q_DISABLE_COPY(WaitCursor)
};

// The lines of the resource reader's complaints while readResourceFile runs;
// the reader itself is not reentrant, so one list at a time is enough.
QStringList* resourceErrors = nullptr;

void collectResourceError(const char* file, int line, int column, const QString& message)
{
    if (resourceErrors)
        resourceErrors->append(QStringLiteral("%1:%2:%3:%4")
                                   .arg(QString::fromLocal8Bit(file))
                                   .arg(line)
                                   .arg(column)
                                   .arg(message.trimmed()));
}

// A resource text file, or null; each complaint of the reader is one line of
// \a errors, and a tree read with complaints is not to be trusted.
QARes* readResourceFile(const QString& path, QStringList* errors)
{
    resourceErrors = errors;
    QARes::setErrorHandler(collectResourceError);
    QARes* tree = QARes::read(QFile::encodeName(path).constData());
    QARes::setErrorHandler(nullptr);
    resourceErrors = nullptr;
    return tree;
}

QARes* groupNamed(QARes* first, const char* tag)
{
    QARes* found = first ? first->search(tag) : nullptr;
    return found && found->toResGroup() ? found : nullptr;
}

QString stringIn(QARes* group, const char* tag)
{
    QARes* first = group && group->toResGroup() ? group->toResGroup()->child() : nullptr;
    QARes* found = first ? first->search(tag) : nullptr;
    return found && found->toResString() ? found->toResString()->value() : QString();
}

// How a file tells what it holds, seen in its first lines.
enum class ProjectFormat { Unreadable, Xml, Resource, Unknown };

ProjectFormat projectFormat(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return ProjectFormat::Unreadable;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        if (line.contains("<!DOCTYPE project"))
            return ProjectFormat::Xml;
        if (line.contains("PROJECT = ") || line.contains("WORKSPACE = "))
            return ProjectFormat::Resource;
    }
    return ProjectFormat::Unknown;
}

} // namespace

QAStProject::QAStProject() : QAStProject(QPixmap()) {}

QAStProject::QAStProject(const QString& path) : QAStProject(QPixmap())
{
    open(path);
}

QAStProject::QAStProject(const QPixmap& icon, QAStData* parent, QAStData* after)
    : QAStNodeContainer(QString(), icon, parent, after)
{
    initGlobal();
}

QAStProject::QAStProject(const QString& name, const QPixmap& icon, QAStData* parent,
                         QAStData* after)
    : QAStNodeContainer(name, icon, parent, after)
{
    initGlobal();
}

QAStProject::~QAStProject()
{
    delete _rootFolder;
    qDeleteAll(rootConfigurations);
}

void QAStProject::initGlobal()
{
    // The name is the file's; the user neither renames nor deletes a project.
    renameable = false;
    deletable = false;
}

bool QAStProject::abortBuildOnChildError(QAStNode* child)
{
    return child && child->executionStatus() == ExecutionStopped;
}

QStringList QAStProject::disableViewerList() const
{
    return QAStNodeContainer::disableViewerList() << QStringLiteral("Rtx") << QStringLiteral("Tracer");
}

unsigned int QAStProject::settingsMask() const
{
    return 0x80000;
}

QString QAStProject::directory()
{
    return _directory.get().isEmpty() ? QAStNodeContainer::directory() : _directory.get();
}

QString QAStProject::path() const
{
    return _directory.get() + QDir::separator() + _filename.get();
}

void QAStProject::storePath(const QString& path)
{
    const QFileInfo info(path);
    _filename = info.fileName();
    _directory = QDir::cleanPath(info.absolutePath());
    // The name is the file's: the user may not rename a project, the file may.
    renameable = true;
    setName(info.completeBaseName());
    renameable = false;
}

void QAStProject::create(const QString& path)
{
    storePath(path);
    createObjectView();
    _loaded = true;
    modified = true;
}

int QAStProject::box(QMessageBox::Icon icon, const QString& text, QMessageBox::StandardButtons buttons,
                     QMessageBox::StandardButton defaultButton)
{
    StudioInterface* studio = studioIFace();
    if (_modeBatch || !studio) {
        // Nobody to ask: the text still reaches the console, the answer is
        // the one that needs no user.
        displayMessage(MessageConsole, text + QLatin1Char('\n'), ErrorStream);
        return defaultButton == QMessageBox::NoButton ? int(QMessageBox::Ok) : int(defaultButton);
    }
    return studio->messageBox(icon, studio->applicationName(), text, buttons, defaultButton);
}

// ---------------------------------------------------------------------------
// Opening and closing

bool QAStProject::open(const QString& path)
{
    if (_loaded)
        close();
    if (!QFileInfo::exists(path)) {
        create(path);
        return true;
    }
    storePath(path);
    _loaded = false;
    modified = false;
    return loadProjectFile();
}

bool QAStProject::loadProjectFile()
{
    if (_loaded)
        return false;
    if (!QFileInfo::exists(path())) {
        box(QMessageBox::Critical, tr("%1\n\nThe project file don't exist.").arg(path()));
        return false;
    }
    switch (projectFormat(path())) {
    case ProjectFormat::Unreadable:
        box(QMessageBox::Critical, tr("%1\n\nYou don't have the read access right").arg(path()));
        return false;
    case ProjectFormat::Unknown:
        box(QMessageBox::Critical, tr("%1\n\nThis file content is not a valid project file").arg(path()));
        return false;
    case ProjectFormat::Resource:
        return loadResourceFile();
    case ProjectFormat::Xml:
        break;
    }
    QFile file(path());
    if (!file.open(QIODevice::ReadOnly)) {
        box(QMessageBox::Critical, tr("%1\n\nUnable to read the project.\n").arg(path()));
        return false;
    }
    QDomDocument document;
    QString message;
    int line = 0;
    int column = 0;
    const bool parsed = QAXML::parse(document, file.readAll(), &message, &line, &column);
    warning("Read XML file = %s", qPrintable(path()));
    if (!parsed) {
        box(QMessageBox::Critical, tr("%1\n\nUnable to read the project :%2 at line #%3 column #%4")
                                       .arg(_filename.get(), message)
                                       .arg(line)
                                       .arg(column));
        return false;
    }
    {
        const QSignalBlocker blocker(this);
        clearLastErrorString();
        _loaded = true;
        init(document.documentElement());
        file.close();
        // The name is the file's, whatever the file says inside.
        storePath(path());
    }
    if (!isValid()) {
        box(QMessageBox::Critical,
            tr("%1\n\nIt is a bad project file.\nThe reason is:\n%2").arg(path(), lastErrorString()));
        if (StudioInterface* studio = studioIFace())
            studio->raiseConsole();
        return false;
    }
    {
        const QSignalBlocker blocker(this);
        for (QAStSubProject* sub : subProjects()) {
            if (!sub->isUnloaded())
                sub->load();
        }
        warning("Project rebuilt %s", qPrintable(name()));
        if (!isValid()) {
            close();
            return false;
        }
        createObjectView();
        const QString objects = _directory.get() + QDir::separator() + browseInformationFileName();
        warning("Read info file = %s", qPrintable(objects));
        const bool read = _rootFolder->open(objects);
        warning("Info file read");
        if (!read && !_modeBatch
            && box(QMessageBox::Question,
                   tr("%1\n\nUnable to open the project Object Information File\n"
                      "Do you want to create it automatically?")
                       .arg(_filename.get()),
                   QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes)
                == QMessageBox::Yes)
            _rootFolder->normalize();
        setCurrentConfiguration(_currentConfiguration);
    }
    return finishLoad();
}

bool QAStProject::loadResourceFile()
{
    {
        const QSignalBlocker blocker(this);
        clearLastErrorString();
        valid = true;
        QStringList errors;
        std::unique_ptr<QARes> resources(readResourceFile(path(), &errors));
        createObjectView();
        _loaded = true;
        if (errors.isEmpty()) {
            init(resources.get());
        } else {
            valid = false;
            _lastErrorString += errors.join(QLatin1Char('\n')) + QLatin1Char('\n');
        }
    }
    if (!isValid()) {
        box(QMessageBox::Critical, tr("%1\n\nIt is a bad project file\n%2").arg(_filename.get(), lastErrorString()));
        close();
        return false;
    }
    return finishLoad();
}

bool QAStProject::finishLoad()
{
    {
        const QSignalBlocker blocker(this);
        _loaded = true;
        clearModifiedFlags();
        const QList<QAStSubProject*> subs = subProjects();
        for (QAStSubProject* sub : subs) {
            if (sub->QAStData::parent() == this) {
                setCurrentConfiguration(sub->currentConfigurationName());
                break;
            }
        }
    }
    if (auto* top = qobject_cast<QAStProject*>(rootProject()))
        emit top->loaded(this);
    return true;
}

QList<QAStSubProject*> QAStProject::subProjects() const
{
    QList<QAStSubProject*> subs;
    for (QAStData* data : childrenOfClass("QAStSubProject", true)) {
        QAStData* holder = data->QAStData::parent();
        if (holder && holder->project() == this)
            subs.append(static_cast<QAStSubProject*>(data));
    }
    return subs;
}

void QAStProject::close()
{
    if (!_loaded)
        return;
    {
        const QSignalBlocker blocker(this);
        for (QAStSubProject* sub : subProjects()) {
            sub->close();
            if (sub->isLoaded())
                return;
        }
    }
    if (auto* top = qobject_cast<QAStProject*>(rootProject()))
        emit top->unloaded(this);
    const QSignalBlocker blocker(this);
    delete _rootFolder;
    removeAllConfigurations();
    deleteChildren();
    qDeleteAll(rootConfigurations);
    rootConfigurations.clear();
    _loaded = false;
}

void QAStProject::reload()
{
    if (isModified())
        save();
    const QString current = path();
    close();
    open(current);
}

QAStRootFolder* QAStProject::rootFolder() const
{
    return _rootFolder;
}

void QAStProject::createObjectView()
{
    if (!_rootFolder)
        _rootFolder = new QAStRootFolder(this);
}

// ---------------------------------------------------------------------------
// Saving

bool QAStProject::isTemplate() const
{
    return _loaded && QFileInfo(path()).suffix() == QLatin1String("vmpl");
}

void QAStProject::save()
{
    if (!_loaded)
        return;
    if (isTemplate()) {
        saveAs();
        return;
    }
    saveProcess();
}

void QAStProject::reportWriteFailure(const QString& path)
{
    box(QMessageBox::Warning, tr("%1: unable to open the file in write mode").arg(path));
}

// Both files are written beside their targets and take their places only
// when complete: a full disk or a lost right leaves the former files whole.
// A directory that takes no new file still lets a writable file be rewritten
// in place. Once the project file is written the project counts as saved:
// the objects file can be rebuilt from the tree, and a sub-project keeps its
// own changes when its file fails. The answer is whether every file was
// written.
bool QAStProject::saveProcess()
{
    QSaveFile file(path());
    file.setDirectWriteFallback(true);
    bool saved = file.open(QIODevice::WriteOnly);
    if (saved) {
        WaitCursor wait;
        QTextStream stream(&file);
        stream.setEncoding(QStringConverter::Utf8);
        QAStProject::write(stream, 0);
        stream.flush();
        saved = stream.status() == QTextStream::Ok && file.commit();
    }
    if (!saved) {
        file.cancelWriting();
        reportWriteFailure(path());
        return false;
    }
    if (_rootFolder && !_rootFolder->save(_directory.get() + QDir::separator() + browseInformationFileName()))
        saved = false;
    // A closed sub-project holds no tree: its file stays as it is.
    for (QAStSubProject* sub : subProjects()) {
        if (sub->isLoaded())
            saved = sub->saveProcess() && saved;
    }
    clearModifiedFlags();
    return saved;
}

void QAStProject::clearModifiedFlags()
{
    // This project's own tree, and the node of each sub-project but not the
    // tree under it: a sub-project's save clears that. One walk, since asking
    // each object for its project would cost the depth of the tree each time.
    QAStData* data = firstChild();
    while (data) {
        data->setModified(false);
        if (data->firstChild() && !qobject_cast<QAStProject*>(data)) {
            data = data->firstChild();
            continue;
        }
        while (data != this && !data->next())
            data = data->QAStData::parent();
        data = data == this ? nullptr : data->next();
    }
    if (_rootFolder) {
        _rootFolder->setModified(false);
        for (QAStData* data : _rootFolder->childrenOfClass("QAStData", true))
            data->setModified(false);
    }
    modified = false;
}

bool QAStProject::saveAs(const QString& newPath, const QString& extension)
{
    if (!_loaded)
        return false;
    WaitCursor wait;
    const QFileInfo info(newPath);
    const QString target = info.suffix() == extension ? info.filePath() : info.filePath() + QLatin1Char('.') + extension;
    // File keys are relative to the project's directory: they follow it and
    // keep naming the same files.
    const QList<QAStFile*> known = files();
    QStringList absolute;
    for (const QAStFile* file : known)
        absolute << file->absolutePath();
    storePath(target);
    for (int i = 0; i < known.size(); ++i)
        known.at(i)->changeFileKey(QDir(_directory.get()).relativeFilePath(absolute.at(i)));
    if (_rootFolder) {
        _rootFolder->setRenameable(true);
        _rootFolder->setName(name());
        _rootFolder->setRenameable(false);
    }
    const bool saved = saveProcess();
    QDir::setCurrent(_directory.get());
    return saved;
}

void QAStProject::saveAsDialog(const QString& title, const QString& extension)
{
    if (!_loaded)
        return;
    const QString start = QFileInfo(_directory.get()).isWritable() ? _directory.get() : QDir::homePath();
    QFileDialog dialog(mainWindow(), title, start, tr("Project") + QStringLiteral(" (*.%1)").arg(extension));
    dialog.setObjectName(QStringLiteral("save file dialog"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const QString chosen = dialog.selectedFiles().first();
    if (!chosen.isEmpty())
        saveAs(chosen, extension);
}

void QAStProject::saveAs()
{
    saveAsDialog(tr("Save project As"), QStringLiteral("vmp"));
}

void QAStProject::saveAsTemplate()
{
    saveAsDialog(tr("Save project template As"), QStringLiteral("vmpl"));
}

// ---------------------------------------------------------------------------
// Files and sub-projects

QList<QAStFile*> QAStProject::files() const
{
    return _rootFolder ? _rootFolder->files() : QList<QAStFile*>();
}

QAStFile* QAStProject::file(const QString& filePath)
{
    return _rootFolder ? _rootFolder->isIn(determineRelativePathFile(filePath)) : nullptr;
}

QAStFile* QAStProject::addFile(const QString& key)
{
    return _rootFolder ? _rootFolder->addFile(key, false) : nullptr;
}

QList<QAStFile*> QAStProject::addFiles(const QStringList& keys)
{
    return _rootFolder ? _rootFolder->addFiles(keys, false) : QList<QAStFile*>();
}

QAStSubProject* QAStProject::addSubProject(const QString& subPath)
{
    auto* sub = new QAStSubProject(subPath, this, nullptr);
    modified = true;
    return sub;
}

// ---------------------------------------------------------------------------
// Configurations

QAStConfiguration* QAStProject::initialConfiguration(const QString& name) const
{
    return rootConfigurations.value(name);
}

QAStConfiguration* QAStProject::inheritConfiguration(const QAStConfiguration* config)
{
    if (!config)
        return nullptr;
    const QString name = config->name();
    QAStConfiguration* initial = rootConfigurations.value(name);
    if (initial == config)
        return nullptr;
    return configuration(name) == config ? initial : nullptr;
}

QAStConfiguration* QAStProject::addConfiguration(const QString& name)
{
    if (!_loaded)
        return nullptr;
    if (QAStConfiguration* existing = configuration(name)) {
        warning("CONFIGURATION %s already exists", qPrintable(name));
        return existing;
    }
    const bool blocked = blockSignals(true);
    QAStConfiguration* added = QAStNode::addConfiguration(name);
    if (!rootConfigurations.contains(name)) {
        auto* initial = new QAStConfiguration(name, this);
        initial->init();
        rootConfigurations.insert(name, initial);
    }
    blockSignals(blocked);
    emit configurationAdded(name);
    return added;
}

QAStConfiguration* QAStProject::dupConfiguration(const QString& from, const QString& to)
{
    if (!_loaded)
        return nullptr;
    if (!configuration(from)) {
        warning("CONFIGURATION %s not exists", qPrintable(from));
        return nullptr;
    }
    if (QAStConfiguration* existing = configuration(to)) {
        warning("CONFIGURATION %s already exists", qPrintable(to));
        return existing;
    }
    const bool blocked = blockSignals(true);
    QAStConfiguration* copy = QAStNode::dupConfiguration(from, to);
    if (const QAStConfiguration* source = rootConfigurations.value(from)) {
        auto* initial = new QAStConfiguration(to, this);
        *initial = *source;
        initial->setName(to);
        delete rootConfigurations.value(to);
        rootConfigurations.insert(to, initial);
    }
    blockSignals(blocked);
    emit configurationAdded(to);
    return copy;
}

void QAStProject::removeConfiguration(const QString& name)
{
    if (!_loaded)
        return;
    emit configurationWillBeRemoved(name);
    const bool blocked = blockSignals(true);
    QAStNode::removeConfiguration(name);
    if (!configuration(name))
        delete rootConfigurations.take(name);
    blockSignals(blocked);
    emit configurationRemoved(name);
}

QMenu* QAStProject::addNextPopupMenu(QWidget* parent)
{
    // Nothing stands beside a project.
    return new QMenu(parent);
}

void QAStProject::init(const QDomElement& projectElement)
{
    const QDomElement versionElement = projectElement.firstChildElement(QStringLiteral("version_file"));
    if (!CHECK_TAG(versionElement, "version_file"))
        return;
    const int version = xmlValueToInt(versionElement.text());
    _loaded = true;
    // "plugin_list" of older files names nothing that is needed now.

    const QDomElement group = projectElement.firstChild().toElement();
    const QDomElement node = group.firstChild().toElement();
    // The reading order is fixed: the data and the node of the project before
    // the tree under it. The project's name stays the file's, so the renaming
    // switch read from the data is put back afterwards.
    QAStData::init(node.firstChild().toElement(), version);
    QAStNode::init(node, version);
    QAStNodeContainer::init(group, version);
    initGlobal();

    if (!CHECK_TAG(projectElement.firstChildElement(QStringLiteral("object_file")), "object_file"))
        return;
    const QDomElement sortElement = projectElement.firstChildElement(QStringLiteral("sort_method"));
    if (!sortElement.isNull())
        _sortMethod = xmlValueToInt(sortElement.text());
    const QDomElement initial = projectElement.firstChildElement(QStringLiteral("root_configuration_list"));
    if (!CHECK_TAG(initial, "root_configuration_list"))
        return;
    readInitialConfigurations(initial, version);
    // Older files keep the selected steps in the project's node; a file
    // without them still loads, with a line in the error text.
    const QDomElement flag = node.firstChildElement(QStringLiteral("execution_flag"));
    if (!CHECK_TAG(flag, "execution_flag"))
        return;
    const int steps = xmlValueToInt(flag.text());
    for (QAStConfiguration* configuration : configurations())
        configuration->setProperty(QStringLiteral("executionFlag"), steps);
}

void QAStProject::readInitialConfigurations(const QDomElement& list, int version)
{
    for (QDomElement element = list.firstChildElement(QStringLiteral("configuration")); !element.isNull();
         element = element.nextSiblingElement(QStringLiteral("configuration"))) {
        auto* initial = new QAStConfiguration(QAStConfiguration::nameOf(element), this);
        initial->init();
        initial->init(element, version);
        delete rootConfigurations.value(initial->name());
        rootConfigurations.insert(initial->name(), initial);
    }
}

void QAStProject::write(QTextStream& stream, int indent)
{
    stream << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
    stream << "<!DOCTYPE project SYSTEM \"" << installDir() << QDir::separator() << "lib"
           << QDir::separator() << "project.dtd\" >\n";
    indentXML(stream, indent);
    stream << "<project>\n";
    QAStNodeContainer::write(stream, indent + 1);
    toStream(stream, "object_file", stringToXMLValue(name() + QStringLiteral(".inf")), indent + 1);
    toStream(stream, "sort_method", intToXMLValue(_sortMethod), indent + 1);
    indentXML(stream, indent + 1);
    stream << "<root_configuration_list>\n";
    for (QAStConfiguration* initial : std::as_const(rootConfigurations))
        initial->write(stream, indent + 2);
    indentXML(stream, indent + 1);
    stream << "</root_configuration_list>\n";
    toStream(stream, "version_file", intToXMLValue(1), indent + 1);
    indentXML(stream, indent);
    stream << "</project>\n";
}

// ---------------------------------------------------------------------------
// The older resource form
//
// An older project file holds one group PROJECT: the project's own values,
// ROOT.configurations with one group per initial configuration, and a
// `node` group per child, each naming its kind in `type` and holding its
// own `node` groups. Its files stood in a workspace beside it, a ".vmw" file
// with one group WORKSPACE that names the project in `project` and holds the
// folders and files as `node` groups. Either file opens as a project.

void QAStProject::init(QARes* resources)
{
    _loaded = true;
    if (QARes* project = groupNamed(resources, "PROJECT")) {
        initWithProject(project);
    } else if (QARes* workspace = groupNamed(resources, "WORKSPACE")) {
        initWithWorkspace(workspace);
    } else {
        valid = false;
        _lastErrorString += QAStData::tr("Unable to find tag %1\n").arg(QStringLiteral("PROJECT"));
    }
    // The name is the file's, whatever the file says inside.
    storePath(path());
}

void QAStProject::initWithProject(QARes* project)
{
    initWithProject(project, true);
}

void QAStProject::initWithProject(QARes* project, bool withWorkspace)
{
    QAStData::init(project);
    QAStNode::init(project);
    initGlobal();
    QARes* first = project->toResGroup()->child();
    const char* path[] = {"ROOT", "configurations", nullptr};
    QARes* list = first ? first->search(path) : nullptr;
    QString firstName;
    for (QARes* item = list && list->toResGroup() ? list->toResGroup()->child() : nullptr; item;
         item = item->next()) {
        const QString name = stringIn(item, "name");
        if (name.isEmpty())
            continue;
        auto* initial = new QAStConfiguration(name, this);
        initial->init();
        initial->init(item);
        delete rootConfigurations.take(name);
        rootConfigurations.insert(name, initial);
        QAStNode::addConfiguration(name);
        if (firstName.isEmpty())
            firstName = name;
    }
    if (!firstName.isEmpty())
        setCurrentConfiguration(firstName);
    if (withWorkspace) {
        const QDir dir(_directory.get());
        for (const QString& entry : dir.entryList({QStringLiteral("*.vmw")}, QDir::Files, QDir::Name)) {
            const QString candidate = dir.filePath(entry);
            if (!isAWorkspaceForThisProject(candidate))
                continue;
            QStringList errors;
            std::unique_ptr<QARes> tree(readResourceFile(candidate, &errors));
            readWorkspaceFiles(groupNamed(tree.get(), "WORKSPACE"));
            break;
        }
    }
    initChilds(this, project);
}

void QAStProject::initWithWorkspace(QARes* workspace)
{
    QString projectFile = stringIn(workspace, "project");
    projectFile.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (projectFile.isEmpty()) {
        valid = false;
        _lastErrorString += QAStData::tr("Unable to find tag %1\n").arg(QStringLiteral("project"));
        return;
    }
    if (QFileInfo(projectFile).isRelative())
        projectFile = _directory.get() + QLatin1Char('/') + projectFile;
    QStringList errors;
    std::unique_ptr<QARes> tree(readResourceFile(projectFile, &errors));
    QARes* project = errors.isEmpty() ? groupNamed(tree.get(), "PROJECT") : nullptr;
    if (!project) {
        valid = false;
        _lastErrorString += tr("Unable to read the project\n%1").arg(projectFile) + QLatin1Char('\n');
        for (const QString& error : std::as_const(errors))
            _lastErrorString += error + QLatin1Char('\n');
        return;
    }
    // The document is the project that the workspace names: a save writes
    // that one, and the workspace stays as it was.
    storePath(projectFile);
    initWithProject(project, false);
    readWorkspaceFiles(workspace);
}

void QAStProject::readWorkspaceFiles(QARes* workspace)
{
    if (workspace && _rootFolder)
        initChilds(_rootFolder, workspace);
}

void QAStProject::initChilds(QAStData* parent, QARes* resources)
{
    QAResGroup* group = resources ? resources->toResGroup() : nullptr;
    if (!parent || !group)
        return;
    for (QARes* item = group->child(); item; item = item->next()) {
        if (!item->isTag("node") || !item->toResGroup())
            continue;
        const QString type = stringIn(item, "type");
        const QString className = QAStDataFactory::resourceClassName(type);
        QAStData* built = nullptr;
        bool standing = true;
        // The standing folders exist already: their files go into them.
        if (className == QLatin1String("QAStGlobalFolder"))
            built = _rootFolder;
        else if (className == QLatin1String("QAStSourceFolder") && _rootFolder)
            built = _rootFolder->sourceFolder();
        else if (className == QLatin1String("QAStScriptFolder") && _rootFolder)
            built = _rootFolder->scriptFolder();
        else if (className == QLatin1String("QAStDependenciesFolder") && _rootFolder)
            built = _rootFolder->dependencyFolder();
        else if (!className.isEmpty()) {
            standing = false;
            built = QAStDataFactory::create(className, item, parent, parent->last());
        }
        if (!built) {
            parent->setValid(false);
            _lastErrorString += QAStData::tr("No plugin found for feature \"%1\"\n").arg(type);
            displayMessage(MessageConsole, QAStData::tr("Tag ignored in the group: %1").arg(type));
            continue;
        }
        // Nodes stand in the node tree, folders and files in the file tree.
        const bool fileTree = qobject_cast<QAStFolder*>(parent) != nullptr;
        const bool placed = standing ? fileTree || parent == this
                                     : (fileTree ? built->inherits("QAStFolder") || built->inherits("QAStFile")
                                                 : built->inherits("QAStNode"));
        if (!placed) {
            if (!standing)
                delete built;
            parent->setValid(false);
            _lastErrorString += QAStData::tr("%1 bad place\n").arg(type);
            displayMessage(MessageConsole, QAStData::tr("Tag ignored in the group: %1").arg(type));
            continue;
        }
        initChilds(built, item);
    }
}

bool QAStProject::isAWorkspaceForThisProject(const QString& workspacePath)
{
    QStringList errors;
    std::unique_ptr<QARes> tree(readResourceFile(workspacePath, &errors));
    QString project = stringIn(groupNamed(tree.get(), "WORKSPACE"), "project");
    if (project.isEmpty())
        return false;
    project.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return QFileInfo(project).fileName() == filename();
}

// ---------------------------------------------------------------------------
// Commands

void QAStProject::setReadOnly(bool) {}

void QAStProject::prefUpdated() {}

void QAStProject::rebuildFileList()
{
    if (_rootFolder)
        _rootFolder->rebuildFromProject();
}

void QAStProject::addNewProject()
{
    StudioInterface* studio = studioIFace();
    if (!studio)
        return;
    QString name;
    QString location;
    if (!studio->getProjectLocation(tr("Add New Project"), tr("Project Name and Location"), &name, &location))
        return;
    if (name.isEmpty() || location.isEmpty()) {
        box(QMessageBox::Warning, tr("You must enter a name and a location for the project."));
        return;
    }
    addSubProject(QDir(location).filePath(name + QStringLiteral(".vmp")));
}

void QAStProject::addExistingProject()
{
    StudioInterface* studio = studioIFace();
    if (!studio)
        return;
    const QString chosen = studio->getOpenFileName(tr("Select A Project File"), _directory.get(),
                                                   tr("Project") + QStringLiteral(" (*.vmp)"));
    if (!chosen.isEmpty())
        addSubProject(chosen);
}

// Import of foreign project files belongs to the import scripts of the
// installation; nothing here runs one yet.
void QAStProject::importProject()
{
    warning("QAStProject::importProject %s: no import script", qPrintable(name()));
}

void QAStProject::importCharReceived(const QString& text)
{
    displayMessage(MessageConsole, text);
}

void QAStProject::testProcessMonitor()
{
    if (!_testProcessMonitor) {
        StudioInterface* studio = studioIFace();
        // The window is the host's, as every viewer window is.
        _testProcessMonitor = studio ? studio->openViewer(QStringLiteral("Tpm"), QStringList(), nullptr) : nullptr;
        if (!_testProcessMonitor) {
            box(QMessageBox::Critical, tr("Unable to load the Test Process Monitor"));
            return;
        }
    }
    studioIFace()->showViewer(_testProcessMonitor);
}

void QAStProject::taggingInformation()
{
    if (!_rootFolder)
        return;
    QList<QAStFile*> all = files();
    for (QAStSubProject* sub : subProjects())
        all += sub->files();
    _rootFolder->taggingInformationFileList(all, true, true);
}

void QAStProject::setAlphabeticallySorted(bool sorted, bool recursive)
{
    QAStData::setAlphabeticallySorted(sorted, false);
    if (!recursive || !_rootFolder)
        return;
    for (QAStData* data : _rootFolder->childrenOfClass(nullptr, true)) {
        if (data->metaObject() == &QAStFolder::staticMetaObject || data->inherits("QAStATag"))
            data->setAlphabeticallySorted(sorted, false);
    }
}

QAPropertyGroup* QAStProject::propertyGroup()
{
    QAPropertyGroup* group = QAStNodeContainer::propertyGroup();
    auto* file = new QAPropertyAttrLineEdit(QStringLiteral("filename"), &_filename);
    file->setName(tr("File name"));
    file->setReadOnly(true);
    group->addChild(file);
    auto* where = new QAPropertyAttrLineEdit(QStringLiteral("directory"), &_directory);
    where->setName(tr("Directory"));
    where->setReadOnly(true);
    group->addChild(where);
    return group;
}
