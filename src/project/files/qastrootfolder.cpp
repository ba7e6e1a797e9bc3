#include "qastrootfolder.h"

#include "qastfile.h"
#include "qastproject.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QMenu>
#include <QSaveFile>
#include <QTextStream>

QAStRootFolder::QAStRootFolder(QAStProject* project)
    : QAStFolder(project ? project->name() : QString(), pixmap(QStringLiteral("project_xpm"))),
      _project(project)
{
    initGlobal();
}

QAStData* QAStRootFolder::parent() const
{
    return _project;
}

QAStData* QAStRootFolder::project()
{
    return _project;
}

QAStData* QAStRootFolder::rootProject()
{
    return _project ? _project->rootProject() : nullptr;
}

QAStData* QAStRootFolder::root()
{
    return _project ? _project->root() : this;
}

// The standing folders are looked for by title anywhere below: one the user
// moved stays where it is; one the user renamed is made again.
QAStFolder* QAStRootFolder::standingFolder(const char* title, const char* filters, Place place)
{
    const QString research = tr(title, "Research Title");
    if (QAStData* found = searchChildOfClass(research, "QAStFolder", true))
        return static_cast<QAStFolder*>(found);
    QAStData* after = nullptr;
    if (place == AtEnd)
        after = last();
    else if (place == BehindScripts)
        after = scriptFolder();
    auto* folder = new QAStFolder(tr(title, "Folder Title"), this, after);
    if (filters)
        folder->setFilters(QString::fromLatin1(filters));
    return folder;
}

QAStFolder* QAStRootFolder::dependencyFolder()
{
    QAStFolder* folder = standingFolder("Dependencies", nullptr, AtEnd);
    // The tag pass fills it; the user may neither drop nor rename it.
    folder->setDeletable(false);
    folder->setRenameable(false);
    return folder;
}

QAStFolder* QAStRootFolder::scriptFolder()
{
    return standingFolder("Scripts", "*.ptu;*.pts;*.otd;*.otc;*.dcl;*.stb;*.spv", AtHead);
}

// Directly behind the scripts: a file that fits both is a script.
QAStFolder* QAStRootFolder::sourceFolder()
{
    return standingFolder("Sources", "*.h;*.hxx;*.c;*.cpp;*.cxx;*.cc;*.java;*.ada;*.adb;*.ads;*.spv;*.mat;*.mdl;*.rc;*",
                          BehindScripts);
}

void QAStRootFolder::initGlobal()
{
    dependencyFolder();
    sourceFolder();
    scriptFolder();
    opened = false;
    // Made, not changed by the user.
    modified = false;
    const QList<QAStData*> folders = childrenOfClass("QAStFolder", true);
    for (QAStData* folder : folders)
        folder->setModified(false);
}

bool QAStRootFolder::open(const QString& path)
{
    deleteChildren();
    opened = false;
    QFile file(path);
    QDomDocument document(path);
    const bool read = file.open(QIODevice::ReadOnly) && bool(document.setContent(&file));
    file.close();
    if (!read) {
        displayMessage(MessageConsole, tr("Unable to read the project\n%1").arg(path));
        initGlobal();
        return false;
    }
    init(document.documentElement());
    opened = true;
    return true;
}

void QAStRootFolder::init(const QDomElement& element)
{
    if (!CHECK_TAG(element, "objects"))
        return;
    const QDomElement version = element.firstChildElement(QStringLiteral("version_file"));
    if (!CHECK_TAG(version, "version_file"))
        return;
    const QDomElement folder = element.firstChild().toElement();
    if (!CHECK_TAG(folder, "folder"))
        return;
    // The root's own data are kept too, all but its name: that is the
    // project's, whatever the file says.
    QAStData::init(folder.firstChild().toElement(), xmlValueToInt(version.text()));
    renameable = true;
    setName(_project ? _project->name() : name());
    QAStFolder::init(folder, xmlValueToInt(version.text()));
    modified = false;
}

void QAStRootFolder::close()
{
    if (!opened)
        return;
    stopTaggingInformation();
    deleteChildren();
    initGlobal();
    opened = false;
}

bool QAStRootFolder::save(const QString& path)
{
    QSaveFile file(path);
    // As the project file: rewritten in place where the directory takes no
    // new file.
    file.setDirectWriteFallback(true);
    bool saved = file.open(QIODevice::WriteOnly);
    if (saved) {
        QTextStream stream(&file);
        stream.setEncoding(QStringConverter::Utf8);
        write(stream, 1);
        stream.flush();
        saved = stream.status() == QTextStream::Ok && file.commit();
    }
    if (!saved) {
        file.cancelWriting();
        displayMessage(MessageConsole, tr("Unable to write file information\n%1").arg(path));
    }
    return saved;
}

void QAStRootFolder::write(QTextStream& stream, int indent)
{
    stream << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
    stream << "<!DOCTYPE objects SYSTEM \"" << installDir() << QDir::separator() << "lib"
           << QDir::separator() << "project.dtd\" >\n";
    stream << "<objects>\n";
    QAStFolder::write(stream, indent);
    toStream(stream, "version_file", intToXMLValue(1), indent);
    stream << "</objects>\n";
}

// The node kinds that refer to files are reached through the meta-object:
// they answer their key through an invokable fileKey(), and this class does
// not depend on them.
void QAStRootFolder::normalize()
{
    if (!_project)
        return;
    deleteAllFiles();
    const QList<QAStData*> references = _project->childrenOfClass("QAStNodeFileRef", true);
    for (QAStData* reference : references) {
        if (reference->project() != _project)
            continue;
        QString key;
        if (!QMetaObject::invokeMethod(reference, "fileKey", Qt::DirectConnection, Q_RETURN_ARG(QString, key))
            || key.isEmpty() || isIn(key))
            continue;
        QAStFolder* target = nullptr;
        if (reference->inherits("QAStNodeTestScript")) {
            target = scriptFolder()->accept(key);
            if (!target)
                target = scriptFolder();
        } else {
            target = sourceFolder()->accept(key);
            if (!target)
                target = this;
        }
        // Not analysed here: the folders' timers find the new files.
        auto* file = new QAStFile(key, target, target->last());
        if (reference->inherits("QAStNodeJavaTestingScript"))
            file->setQualifier(0x10000);
    }
}

void QAStRootFolder::rebuildFromProject()
{
    StudioInterface* studio = studioIFace();
    const int answer = studio ? studio->messageBox(
                           QMessageBox::Question, studio->applicationName(),
                           tr("Project %1\nThis process deletes the files that are not yet referenced in "
                              "the test.\nDo you want to continue?")
                               .arg(name()),
                           QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes)
                              : int(QMessageBox::Yes);
    if (answer == QMessageBox::Yes)
        normalize();
}

void QAStRootFolder::clearDependency()
{
    dependencyFolder()->deleteAllFiles();
}

QMenu* QAStRootFolder::popupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    localActionMenuItems(menu);
    connect(menu->addAction(tr("Clear Dependency Files")), &QAction::triggered, this,
            &QAStRootFolder::clearDependency);
    connect(menu->addAction(tr("Rebuild the Project File List")), &QAction::triggered, this,
            &QAStRootFolder::rebuildFromProject);
    connect(menu->addAction(tr("Proper&ties")), &QAction::triggered, this, &QAStData::properties);
    return menu;
}
