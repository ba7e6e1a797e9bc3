#include "qastnodefileref.h"

#include "nodemenus_p.h"

#include "qapropertyattrpathitem.h"
#include "qapropertygroup.h"
#include "qares.h"
#include "qastfile.h"
#include "qastprjmacroanalyse.h"
#include "qastproject.h"
#include "qastpropertyfullpath.h"
#include "qatrace.h"

#include <QDomElement>
#include <QFileInfo>
#include <QMenu>
#include <QTextStream>

namespace {

// What the file includes, by key relative to the project. The file model
// fills the list when it analyses the file.
QStringList fileDependencies(QAStFile* file)
{
    return file ? file->dependencies() : QStringList();
}

} // namespace

QAStNodeFileRef::QAStNodeFileRef(const QString& key, const QPixmap& icon, QAStData* parent,
                                 QAStData* after)
    : QAStNode(QFileInfo(key).fileName(), icon, parent, after)
{
    initGlobal();
    takeKey(key);
}

QAStNodeFileRef::QAStNodeFileRef(QAStFile* file, const QPixmap& icon, QAStData* parent,
                                 QAStData* after)
    : QAStNode(file ? file->name() : QString(), icon, parent, after)
{
    initGlobal();
    if (!file)
        return;
    _fileKey = file->fileKey();
    _lastFileKey = file->fileKey();
    _fullPath = file->absolutePath();
}

QAStNodeFileRef::QAStNodeFileRef(const QDomElement& element, int version, QAStData* parent,
                                 QAStData* after)
    : QAStNode(element.firstChild().toElement(), version, parent, after)
{
    initGlobal();
    init(element, version);
}

QAStNodeFileRef::QAStNodeFileRef(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNode(resources, parent, after)
{
    initGlobal();
    init(resources);
}

void QAStNodeFileRef::initGlobal()
{
    // The name is the file's: it changes with the key, never by itself.
    setRenameable(false);
}

void QAStNodeFileRef::init(const QDomElement& element, int version)
{
    Q_UNUSED(version);
    if (!CHECK_TAG(element, "nodefile_ref"))
        return;
    const QDomElement path = element.firstChildElement(QStringLiteral("filepath"));
    takeKey(path.isNull() ? QString() : xmlValueToString(path.text()));
}

void QAStNodeFileRef::init(QARes* resources)
{
    QAStAttribute<QString> key;
    readStrVal(resources, "key", key);
    takeKey(key.get());
}

// A key read from a file: slashes whatever system wrote it, and relative to
// the project even when it was written absolute.
void QAStNodeFileRef::takeKey(const QString& key)
{
    QString read = key;
    read.replace(QLatin1Char('\\'), QLatin1Char('/'));
    _fileKey = read;
    if (QFileInfo(read).isRelative()) {
        _fullPath = absolutePath();
    } else {
        _fullPath = read;
        _fileKey = determineRelativePathFile(read);
    }
    _lastFileKey = _fileKey.get();
}

// ---------------------------------------------------------------------------
// The key

QAStFile* QAStNodeFileRef::file()
{
    auto* owner = qobject_cast<QAStProject*>(project());
    return owner ? owner->file(fileKey()) : nullptr;
}

QString QAStNodeFileRef::fileType() const
{
    const QString name = QFileInfo(fileKey()).fileName();
    const qsizetype dot = name.indexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : name.mid(dot + 1).toUpper();
}

int QAStNodeFileRef::languageType() const
{
    return QAStFile::languageType(fileKey());
}

QString QAStNodeFileRef::expandedKey()
{
    const QString key = fileKey();
    // Only text that holds a macro goes through the interpreter.
    if (!key.contains(QLatin1Char('$')) && !key.contains(QLatin1Char('@')))
        return key;
    QAStPrjMacroAnalyse macros(this);
    return macros.analyse(key);
}

QString QAStNodeFileRef::relativePath()
{
    return determineRelativePathFile(expandedKey());
}

QString QAStNodeFileRef::absolutePath()
{
    return determineAbsolutePathFile(expandedKey());
}

void QAStNodeFileRef::setFileKey(const QString& key)
{
    // The property has already stored the new key: the file is still known
    // by the old one.
    _fileKey = _lastFileKey;
    QAStFile* known = file();
    changeFileKey(key);
    // The file, and the other references to it, follow the new key.
    if (known)
        known->referenceFileKeyChanged(this);
}

void QAStNodeFileRef::changeFileKey(const QString& key)
{
    _fileKey = key;
    _fullPath = determineAbsolutePathFile(key);
    _lastFileKey = key;
    setRenameable(true);
    setName(QFileInfo(key).fileName());
    setRenameable(false);
}

void QAStNodeFileRef::referencedFileKeyChanged(QAStFile* file)
{
    if (file)
        changeFileKey(file->fileKey());
}

void QAStNodeFileRef::changeKeyToAbsoluteFilePath()
{
    _fileKey = absolutePath();
}

void QAStNodeFileRef::changeKeyToRelativeFilePath()
{
    _fileKey = determineRelativePathFile(absolutePath());
}

// ---------------------------------------------------------------------------
// Moving through the tree

void QAStNodeFileRef::makeKeyRelative()
{
    _fileKey = determineRelativePathFile(_fullPath);
    _fullPath = determineAbsolutePathFile(_fileKey.get());
}

void QAStNodeFileRef::addedInto()
{
    makeKeyRelative();
}

void QAStNodeFileRef::parentAdded(QAStData* added)
{
    Q_UNUSED(added);
    makeKeyRelative();
}

void QAStNodeFileRef::parentRemoved(QAStData* removed)
{
    Q_UNUSED(removed);
    // Out of the tree there is no project to be relative to.
    _fileKey = _fullPath;
}

void QAStNodeFileRef::addEvent()
{
    addedInto();
}

void QAStNodeFileRef::removeEvent()
{
    parentRemoved(parent());
}

void QAStNodeFileRef::parentAddEvent(QAStData* added)
{
    parentAdded(added);
}

void QAStNodeFileRef::parentRemoveEvent(QAStData* removed)
{
    parentRemoved(removed);
}

void QAStNodeFileRef::addChild(QAStData* child, QAStData* after)
{
    if (!child)
        return;
    if (child->inherits("QAStNodeFileRef")) {
        // A file dropped on a file lands behind it, as its sibling.
        if (QAStData* up = parent())
            up->addChild(child, this);
        return;
    }
    QAStNode::addChild(child, after);
}

bool QAStNodeFileRef::acceptDrop(QAStData* data) const
{
    if (!data)
        return false;
    if (data->inherits("QAStNodeUser"))
        return true;
    return data->inherits("QAStNodeFileRef") && !data->inherits("QAStNodeVirtualTester");
}

// A copy travels with an absolute key, which its destination makes relative.
QMimeData* QAStNodeFileRef::dragObject(bool copy, QWidget* dragSource)
{
    const QAStAttribute<QString> kept = _fileKey;
    _fileKey = absolutePath();
    QMimeData* mime = QAStNode::dragObject(copy, dragSource);
    _fileKey = kept;
    return mime;
}

void QAStNodeFileRef::copy()
{
    const QAStAttribute<QString> kept = _fileKey;
    _fileKey = absolutePath();
    QAStNode::copy();
    _fileKey = kept;
}

// ---------------------------------------------------------------------------
// Building

bool QAStNodeFileRef::isNodeExecutable()
{
    return false;
}

QStringList QAStNodeFileRef::rebuildInputs()
{
    QStringList inputs {absolutePath()};
    for (const QString& dependency : fileDependencies(file()))
        inputs << determineAbsolutePathFile(dependency);
    return inputs;
}

bool QAStNodeFileRef::mustRebuilt()
{
    if (QAStNode::mustRebuilt())
        return true;
    QStringList products;
    outFileNamesOutOf(QStringLiteral("DUM"), products);
    if (products.isEmpty()) {
        setRebuildReason(QStringLiteral("no output"));
        return true;
    }
    const QStringList inputs = rebuildInputs();
    QList<QDateTime> inputTimes;
    for (const QString& input : inputs)
        inputTimes << QFileInfo(input).lastModified();
    for (const QString& product : std::as_const(products)) {
        // A product that is gone has no time, and an invalid time is older
        // than any other.
        const QFileInfo made(determineAbsolutePathFile(product));
        for (qsizetype i = 0; i < inputTimes.size(); ++i) {
            if (made.lastModified() < inputTimes.at(i)) {
                setRebuildReason(made.exists() ? QStringLiteral("%1 older than %2")
                                                     .arg(made.fileName(), QFileInfo(inputs.at(i)).fileName())
                                               : QStringLiteral("%1 missing").arg(made.fileName()));
                return true;
            }
        }
    }
    return false;
}

// ---------------------------------------------------------------------------
// What the user sees

QAPropertyGroup* QAStNodeFileRef::propertyGroup()
{
    QAPropertyGroup* group = QAStNode::propertyGroup();
    auto* key = new QAPropertyAttrPathItem(QStringLiteral("fileKey"), &_fileKey);
    key->setName(tr("Relative path"));
    key->setMode(QAPropertyPathItem::ExistingFile);
    group->addChild(key);
    auto* full = new QAStPropertyFullPath(QStringLiteral("fullPath"), this, &_fileKey);
    full->setName(tr("Full path"));
    full->setReadOnly(true);
    group->addChild(full);
    return group;
}

void QAStNodeFileRef::propertyModified(QAProperty* property)
{
    if (!property || property->key() != QLatin1String("fileKey")) {
        QAStNode::propertyModified(property);
        return;
    }
    setFileKey(property->value().toString());
    modified = true;
}

void QAStNodeFileRef::edit()
{
    editFile(absolutePath(), 0);
}

void QAStNodeFileRef::doubleClickAction()
{
    edit();
}

QStringList QAStNodeFileRef::vcsItems()
{
    return {absolutePath()};
}

void QAStNodeFileRef::localActionMenuItems(QMenu* menu)
{
    if (!menu)
        return;
    const bool running = isRunning();
    addNodeAction(this, menu, tr("Co&mpile %1").arg(name()), SLOT(rebuild()), "make_xpm")->setEnabled(!running);
    addNodeAction(this, menu, tr("&Clean"), SLOT(clean()), "clean_xpm")->setEnabled(!running);
}

QMenu* QAStNodeFileRef::popupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addNodeAction(this, menu, tr("&Open"), SLOT(edit()));
    menu->addMenu(tr("Open &with"));
    addNodeAction(this, menu, tr("&Settings..."), SLOT(settings()));
    QMenu* children = addChildPopupMenu(menu);
    children->setTitle(tr("&Add Child"));
    menu->addMenu(children);
    QMenu* next = addNextPopupMenu(menu);
    next->setTitle(tr("A&ppend"));
    menu->addMenu(next);
    addNodeAction(this, menu, tr("Move &Up"), SLOT(moveUp()))->setEnabled(QAStData::parent() && previous());
    addNodeAction(this, menu, tr("Move &Down"), SLOT(moveDown()))->setEnabled(QAStData::parent() && QAStData::next());
    QMenu* sourceControl = menu->addMenu(tr("S&ource Control"));
    for (const QString& item : vcsItems())
        sourceControl->addAction(item);
    addNodeAction(this, menu, tr("Delete"), SLOT(del()), "delete_xpm");
    addNodeAction(this, menu, tr("Proper&ties"), SLOT(properties()));
    return menu;
}

QMenu* QAStNodeFileRef::addChildPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addNodeAction(this, menu, tr("External command..."), SLOT(addUserNode()));
    return menu;
}

QMenu* QAStNodeFileRef::addNextPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addNodeAction(this, menu, tr("Files..."), SLOT(appendFiles()));
    addNodeAction(this, menu, tr("External command..."), SLOT(appendUserNode()));
    return menu;
}

QMenu* QAStNodeFileRef::viewPopupMenu(QWidget* parent)
{
    Q_UNUSED(parent);
    return nullptr;
}

// ---------------------------------------------------------------------------
// Project file

void QAStNodeFileRef::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<nodefile_ref>\n";
    QAStNode::write(stream, indent + 1);
    toStream(stream, "filepath", stringToXMLValue(fileKey()), indent + 1);
    indentXML(stream, indent);
    stream << "</nodefile_ref>\n";
}
