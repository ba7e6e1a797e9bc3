#include "qastfolder.h"

#include "qapropertyattrlineedit.h"
#include "qapropertygroup.h"
#include "qastconfiguration.h"
#include "qastfile.h"
#include "qastproject.h"
#include "qastfileanalyse.h"
#include "qastprojectpref.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QDomElement>
#include <QDropEvent>
#include <QFileDialog>
#include <QMenu>
#include <QMimeData>
#include <QRegExp>
#include <QTextStream>
#include <QTimerEvent>

namespace {

// How often a folder looks for files changed since their last analysis.
constexpr int taggingInterval = 5000;

} // namespace

QAStFolder::QAStFolder(const QString& name, const QPixmap& icon, QAStData* parent, QAStData* after)
    : QAStData(name, icon, parent, after)
{
    initGlobal();
}

QAStFolder::QAStFolder(const QString& name, QAStData* parent, QAStData* after)
    : QAStData(name, pixmap(QStringLiteral("folder_xpm")), parent, after)
{
    initGlobal();
}

QAStFolder::QAStFolder(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStData(element.firstChild().toElement(), version, parent, after)
{
    initGlobal();
    init(element, version);
}

QAStFolder::QAStFolder(QARes* resources, QAStData* parent, QAStData* after)
    : QAStData(resources, parent, after)
{
    setIcon(pixmap(QStringLiteral("folder_xpm")));
    initGlobal();
    readStrVal(resources, "filters", _filters);
}

QAStFolder::~QAStFolder() = default;

void QAStFolder::initGlobal()
{
    startTaggingTimer();
}

void QAStFolder::startTaggingTimer()
{
    if (!timerId)
        timerId = QObject::startTimer(taggingInterval);
}

void QAStFolder::init(const QDomElement& element, int version)
{
    if (!CHECK_TAG(element, "folder"))
        return;
    const QDomElement filters = element.firstChildElement(QStringLiteral("filters"));
    if (!filters.isNull())
        _filters = xmlValueToString(filters.text());
    initChildren(element.firstChildElement(QStringLiteral("folder_child")), version,
                 {QStringLiteral("QAStFile"), QStringLiteral("QAStFolder")});
}

void QAStFolder::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<folder>\n";
    QAStData::write(stream, indent + 1);
    toStream(stream, "filters", stringToXMLValue(_filters.get()), indent + 1);
    indentXML(stream, indent + 1);
    stream << "<folder_child>\n";
    for (QAStData* child = firstChild(); child; child = child->next())
        writeChild(child, stream, indent + 2);
    indentXML(stream, indent + 1);
    stream << "</folder_child>\n";
    indentXML(stream, indent);
    stream << "</folder>\n";
}

void QAStFolder::setFilters(const QString& filters)
{
    _filters = filters;
    modified = true;
}

// ---------------------------------------------------------------------------
// Placing files

QAStFolder* QAStFolder::accept(const QString& key)
{
    for (QAStFolder* folder : folders()) {
        if (QAStFolder* found = folder->accept(key))
            return found;
    }
    for (const QString& pattern : _filters.get().split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        QRegExp expression(pattern, Qt::CaseInsensitive, QRegExp::Wildcard);
        if (expression.indexIn(key, 0) == 0)
            return this;
    }
    return nullptr;
}

QAStFile* QAStFolder::isIn(const QString& key)
{
    if (!firstChild())
        return nullptr;
    for (QAStFile* file : files()) {
        if (QAStFile::isEqualKeys(file->fileKey(), key))
            return file;
    }
    return nullptr;
}

QList<QAStFile*> QAStFolder::files() const
{
    QList<QAStFile*> found;
    for (QAStData* data : childrenOfClass("QAStFile", true))
        found.append(static_cast<QAStFile*>(data));
    return found;
}

QList<QAStFolder*> QAStFolder::folders() const
{
    QList<QAStFolder*> found;
    for (QAStData* child = firstChild(); child; child = child->next()) {
        if (auto* folder = qobject_cast<QAStFolder*>(child))
            found.append(folder);
    }
    return found;
}

QAStData* QAStFolder::fileTreeRoot()
{
    // The root folder answers the project as its parent; its own tree is
    // reached through the project's root folder.
    QAStFolder* top = this;
    for (QAStData* up = QAStData::parent(); auto* folder = qobject_cast<QAStFolder*>(up);
         up = up->parent())
        top = folder;
    return top;
}

QList<QAStFile*> QAStFolder::addFiles(const QStringList& keys, bool quiet)
{
    auto* root = qobject_cast<QAStFolder*>(fileTreeRoot());
    QStringList known;
    QList<QAStFile*> existing;
    QList<QAStFile*> added;
    for (const QString& path : keys) {
        if (path.isEmpty())
            continue;
        const QString key = determineRelativePathFile(path);
        if (QAStFile* file = (root ? root : this)->isIn(key)) {
            known.append(key);
            if (!existing.contains(file))
                existing.append(file);
            continue;
        }
        QAStFolder* target = accept(key);
        if (!target)
            target = this;
        auto* file = new QAStFile(key, target, target->last());
        target->addChild(file, nullptr);
        added.append(file);
    }
    if (!quiet && !known.isEmpty()) {
        if (StudioInterface* studio = studioIFace())
            studio->messageBox(QMessageBox::Warning, studio->applicationName(),
                               tr("%1\nThese files already exist.\nThey cannot be added.")
                                   .arg(known.join(QLatin1Char('\n'))));
    }
    if (!added.isEmpty())
        modified = true;
    return existing + added;
}

QAStFile* QAStFolder::addFile(const QString& key, bool quiet)
{
    const QList<QAStFile*> files = addFiles(QStringList(key), quiet);
    return files.isEmpty() ? nullptr : files.first();
}

bool QAStFolder::addFolder(const QString& name, const QString& filters)
{
    if (name.isEmpty())
        return false;
    if (fileTreeRoot()->searchChildOfClass(name, "QAStFolder", true)) {
        if (StudioInterface* studio = studioIFace())
            studio->messageBox(QMessageBox::Warning, studio->applicationName(),
                               name + tr("\nThis folder already exists.\nIt cannot be added."));
        return false;
    }
    auto* folder = new QAStFolder(name, this, last());
    folder->setFilters(filters);
    modified = true;
    return true;
}

void QAStFolder::addFolder()
{
    StudioInterface* studio = studioIFace();
    if (!studio || !project())
        return;
    QString name;
    QString filters;
    if (studio->getFolder(&name, &filters))
        addFolder(name, filters);
}

void QAStFolder::addFiles()
{
    static QString lastDirectory;
    static QString lastFilter;
    auto* owner = qobject_cast<QAStProject*>(project());
    const QAStConfiguration* configuration = owner ? owner->currentConfiguration() : nullptr;
    const QStringList filters = QAStFile::addFilesFilters(configuration ? configuration->languageType() : 1);
    if (!filters.contains(lastFilter))
        lastFilter = filters.first();
    const QStringList chosen = QFileDialog::getOpenFileNames(
        mainWindow(), tr("Add files"), lastDirectory.isEmpty() ? directory() : lastDirectory,
        filters.join(QLatin1String(";;")), &lastFilter);
    if (chosen.isEmpty())
        return;
    lastDirectory = QFileInfo(chosen.first()).absolutePath();
    addFiles(chosen, false);
}

void QAStFolder::deleteAllFiles()
{
    const QList<QAStFile*> all = files();
    for (QAStFile* file : all)
        delete file;
}

// ---------------------------------------------------------------------------
// Keeping tags fresh

bool QAStFolder::automaticFileInformation() const
{
    QAStProjectPref* preferences = QAStData::preferences();
    return automaticRefresh && (!preferences || preferences->boolValue(QStringLiteral("autotag")));
}

void QAStFolder::timerEvent(QTimerEvent* event)
{
    if (taggingInProgress())
        return;
    if (event->timerId() != timerId || !automaticFileInformation())
        return;
    QList<QAStFile*> stale;
    for (QAStData* child = firstChild(); child; child = child->next()) {
        auto* file = qobject_cast<QAStFile*>(child);
        if (file && file->needUpdate())
            stale.append(file);
    }
    if (!stale.isEmpty())
        taggingInformationFileList(stale, false, true);
}

namespace {

// The one analysis that runs, whoever started it.
QPointer<QAStFileAnalyse>& analysor()
{
    static QPointer<QAStFileAnalyse> running;
    return running;
}

} // namespace

bool QAStFolder::taggingInProgress()
{
    return !analysor().isNull();
}

void QAStFolder::stopTaggingInformation()
{
    QAStFileAnalyse* running = analysor();
    if (!running)
        return;
    // Stopped files must not count as stale at the next tick.
    for (const QPointer<QAStFile>& file : running->files()) {
        if (file)
            file->setTimeStamp();
    }
    running->stop();
}

void QAStFolder::taggingInformationFileList(const QList<QAStFile*>& files, bool force, bool verbose)
{
    if (analysor())
        return;
    if (timerId) {
        killTimer(timerId);
        timerId = 0;
    }
    for (QAStFile* file : files)
        file->setQuiet(!verbose);
    auto* analyse = new QAStFileAnalyse(files, force);
    analyse->setAutoDelete(true);
    analysor() = analyse;
    connect(analyse, &QAStFileAnalyse::analyseFinished, this, &QAStFolder::taggingInformationTerminated);
    connect(analyse, &QAStFileAnalyse::analyseStart, this, &QAStFolder::taggingStarted);
    auto* rootFolder = qobject_cast<QAStFolder*>(fileTreeRoot());
    if (rootFolder && rootFolder != this && rootFolder->inherits("QAStRootFolder")) {
        connect(analyse, &QAStFileAnalyse::analyseFinished, rootFolder, &QAStFolder::taggingTerminated);
        connect(analyse, &QAStFileAnalyse::analyseStart, rootFolder, &QAStFolder::taggingStarted);
    }
    analyse->start();
}

void QAStFolder::taggingInformation()
{
    taggingInformationFileList(files(), true, true);
}

void QAStFolder::taggingInformationTerminated()
{
    emit taggingTerminated();
    startTaggingTimer();
}

// ---------------------------------------------------------------------------
// What the user sees

QAPropertyGroup* QAStFolder::propertyGroup()
{
    QAPropertyGroup* group = QAStData::propertyGroup();
    auto* filter = new QAPropertyAttrLineEdit(QStringLiteral("filter"), &_filters);
    filter->setName(tr("Filters"));
    group->addChild(filter);
    return group;
}

bool QAStFolder::acceptDrop(QAStData* data) const
{
    if (!data)
        return false;
    if (data->inherits("QAStFile"))
        return true;
    return data->inherits("QAStFolder") && data->metaObject()->className() != QByteArray("QAStRootFolder");
}

void QAStFolder::drop(QDropEvent* event)
{
    // Files move between folders; a copy would make a second file of one key.
    for (const QString& format : event->mimeData()->formats()) {
        if (format.contains(QLatin1String("item-copy-data")))
            return;
    }
    QAStData::drop(event);
}

QMenu* QAStFolder::popupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    localActionMenuItems(menu);
    connect(menu->addAction(tr("Sort Alphabetically")), &QAction::triggered, this, &QAStData::sortChildren);
    connect(menu->addAction(tr("Proper&ties")), &QAction::triggered, this, &QAStData::properties);
    return menu;
}

void QAStFolder::localActionMenuItems(QMenu* menu)
{
    connect(menu->addAction(tr("Ne&w Folder...")), &QAction::triggered, this,
            qOverload<>(&QAStFolder::addFolder));
    connect(menu->addAction(tr("Add &Files to Folder...")), &QAction::triggered, this,
            qOverload<>(&QAStFolder::addFiles));
    connect(menu->addAction(tr("&Refresh Information")), &QAction::triggered, this,
            &QAStFolder::taggingInformation);
}

QMenu* QAStFolder::addChildPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStFolder::addNextPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStFolder::viewPopupMenu(QWidget*)
{
    return nullptr;
}

QStringList QAStFolder::vcsItems()
{
    QStringList paths;
    for (QAStFile* file : files())
        paths << file->absolutePath();
    return paths;
}

void QAStFolder::doubleClickAction() {}
