#include "qastsubproject.h"

#include "qafileutil.h"
#include "qastconfiguration.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QDir>
#include <QDomElement>
#include <QFileInfo>
#include <QMenu>
#include <QTextStream>

#include <unistd.h>

QAStSubProject::QAStSubProject(const QString& path, QAStData* parent, QAStData* after)
    : QAStProject(pixmap(QStringLiteral("project_xpm")), parent, after)
{
    initGlobal();
    open(path);
    _unload = !_loaded;
}

QAStSubProject::QAStSubProject(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStProject(pixmap(QStringLiteral("project_xpm")), parent, after)
{
    initGlobal();
    init(element, version);
}

void QAStSubProject::initGlobal()
{
    QAStProject::initGlobal();
    // The holder may drop it; its name stays its file's.
    deletable = true;
}

QString QAStSubProject::holderDirectory() const
{
    QAStData* up = QAStData::parent();
    QAStData* holder = up ? up->project() : nullptr;
    return holder ? holder->directory() : QString();
}

void QAStSubProject::init(const QDomElement& element, int version)
{
    if (!CHECK_TAG(element, "sub_project"))
        return;
    QAStData::init(element.firstChild().toElement(), version);
    const QDomElement file = element.firstChildElement(QStringLiteral("project_file"));
    if (!CHECK_TAG(file, "project_file"))
        return;
    QString subPath = xmlValueToString(file.text());
    const QString base = holderDirectory();
    if (QFileInfo(subPath).isRelative() && !base.isEmpty())
        subPath = base + QDir::separator() + subPath;
    storePath(QAFileUtil::cleanDirPath(subPath));
    const QDomElement unloadElement = element.firstChildElement(QStringLiteral("unload"));
    if (!unloadElement.isNull())
        _unload = xmlValueToBool(unloadElement.text());
    initGlobal();
}

void QAStSubProject::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<sub_project>\n";
    QAStData::write(stream, indent + 1);
    const QString base = holderDirectory();
    const QString file = base.isEmpty() ? path() : QAFileUtil::absPathToRelative(base, path());
    warning("sub project path = %s ", qPrintable(file));
    toStream(stream, "project_file", stringToXMLValue(file), indent + 1);
    toStream(stream, "unload", boolToXMLValue(_unload), indent + 1);
    indentXML(stream, indent);
    stream << "</sub_project>\n";
}

QAStConfiguration* QAStSubProject::inheritConfiguration(const QAStConfiguration* config)
{
    return QAStNode::inheritConfiguration(config);
}

namespace {

// Two spellings of one file give one key, also through links.
QString fileKey(const QString& path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : canonical;
}

} // namespace

bool QAStSubProject::refusedAsCycle()
{
    const QString key = fileKey(path());
    for (QAStData* up = QAStData::parent(); up; up = up->QAStData::parent()) {
        auto* holder = qobject_cast<QAStProject*>(up);
        if (!holder || fileKey(holder->path()) != key)
            continue;
        const QString text = tr("%1\nA project cannot contain itself: this sub-project is not loaded.\n").arg(path());
        _lastErrorString += text;
        displayMessage(MessageConsole, text, ErrorStream);
        return true;
    }
    return false;
}

bool QAStSubProject::loadProjectFile()
{
    if (!_loaded && refusedAsCycle())
        return false;
    return QAStProject::loadProjectFile();
}

void QAStSubProject::load()
{
    if (_loaded)
        return;
    // A refused sub-project keeps the unload flag its holder's file gave it,
    // so that a save writes its element back unchanged.
    if (refusedAsCycle())
        return;
    QAStProject::loadProjectFile();
    _unload = !_loaded;
}

void QAStSubProject::unload()
{
    if (!_loaded)
        return;
    if (isModified() && isValid()) {
        const int answer = box(QMessageBox::Question,
                               tr("%1\nThe project files have been modified.\n"
                                  "Do you want to save the modifications?")
                                   .arg(filename()),
                               QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, QMessageBox::Yes);
        if (answer == QMessageBox::Cancel)
            return;
        if (answer == QMessageBox::Yes)
            save();
    }
    close();
    _unload = !_loaded;
    // The holder's file records the choice.
    if (QAStData* up = QAStData::parent())
        up->setModified(true);
}

void QAStSubProject::save()
{
    if (_loaded)
        saveProcess();
}

void QAStSubProject::reportWriteFailure(const QString& path)
{
    displayMessage(MessageConsole, tr("Unable to write the project\n%1").arg(path));
}

void QAStSubProject::del()
{
    const int answer = box(QMessageBox::Question,
                           tr("%1\nRemove the project file from the file system ?").arg(filename()),
                           QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, QMessageBox::Yes);
    if (answer == QMessageBox::Cancel)
        return;
    const QString file = path();
    close();
    if (answer == QMessageBox::Yes)
        ::unlink(QFile::encodeName(file).constData());
    QAStProject::del();
}

void QAStSubProject::doubleClickAction()
{
    if (!_loaded) {
        displayMessage(BuildConsole,
                       tr("Opening of Generic Project Node Reports %1 FAILED.\nPlease load it first.\n").arg(name()));
        return;
    }
    QAStProject::doubleClickAction();
}

// Its scripts run in its own directory, as when it is opened alone.
void QAStSubProject::buildNode()
{
    const QString previous = QDir::currentPath();
    QDir::setCurrent(directory());
    QAStProject::buildNode();
    QDir::setCurrent(previous);
}

void QAStSubProject::executeNode()
{
    const QString previous = QDir::currentPath();
    QDir::setCurrent(directory());
    QAStProject::executeNode();
    QDir::setCurrent(previous);
}

bool QAStSubProject::acceptDrop(QAStData* data) const
{
    return _loaded && QAStProject::acceptDrop(data);
}

QMenu* QAStSubProject::addChildPopupMenu(QWidget* parent)
{
    return _loaded ? QAStProject::addChildPopupMenu(parent) : nullptr;
}

void QAStSubProject::localActionMenuItems(QMenu* menu)
{
    QAction* toggle = menu->addAction(_loaded ? tr("&Unload") : tr("&Load"));
    connect(toggle, &QAction::triggered, this, _loaded ? &QAStSubProject::unload : &QAStSubProject::load);
    connect(menu->addAction(QIcon(pixmap(QStringLiteral("delete_xpm"))), tr("Delete")), &QAction::triggered,
            this, &QAStSubProject::del);
    connect(menu->addAction(tr("Move &Up")), &QAction::triggered, this, &QAStNode::moveUp);
    connect(menu->addAction(tr("Move &Down")), &QAction::triggered, this, &QAStNode::moveDown);
}
