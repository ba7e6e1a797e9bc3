#include "qastdata.h"

#include "qafileutil.h"
#include "qailogmonitor.h"
#include "qalogconsole.h"
#include "qapropertyattrlineedit.h"
#include "qapropertygroup.h"
#include "qaprocess.h"
#include "qaresboolean.h"
#include "qaresgroup.h"
#include "qaresint.h"
#include "qareslist.h"
#include "qaresstring.h"
#include "qastdatacopydrag.h"
#include "qastdatafactory.h"
#include "qastdatamovedrag.h"
#include "qastdataundoactionmanager.h"
#include "qastperlgen.h"
#include "qastproject.h"
#include "qastprojectpref.h"
#include "qastunknownelement.h"
#include "qatrace.h"
#include "qaxml.h"
#include "studiointerface.h"

#include <QClipboard>
#include <QDateTime>
#include <QDir>
#include <QDomDocument>
#include <QDomElement>
#include <QDropEvent>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPointer>
#include <QTextStream>
#include <QXmlStreamReader>

#include <algorithm>
#include <limits>
#include <vector>

StudioInterface* QAStData::_studio = nullptr;
QAStProjectPref* QAStData::_projectpref = nullptr;
QMap<QString, int> QAStData::_menuMap;
QString QAStData::_lastErrorString;
QAStData* QAStData::_dataRunning = nullptr;

PDataInterface::~PDataInterface() = default;

namespace {

bool isRunningStatus(int status)
{
    return status == QAStData::ExecutionRunning || status == QAStData::ExecutionRunningOther;
}

} // namespace

// ---------------------------------------------------------------------------
// Construction and destruction

QAStData::QAStData(const QString& name, const QPixmap& icon, QAStData* parent, QAStData* after)
{
    privAttach(parent, after);
    _name = name;
    _icon = icon;
    quid = _computeID();
}

QAStData::QAStData(QARes* resources, QAStData* parent, QAStData* after)
{
    quid = _computeID();
    privAttach(parent, after);
    init(resources);
}

QAStData::QAStData(const QDomElement& element, int version, QAStData* parent, QAStData* after)
{
    privAttach(parent, after);
    init(element, version);
}

QAStData::~QAStData()
{
    if (_dataRunning == this)
        _dataRunning = nullptr;
    remove();
    // Our own signals stay quiet too: receivers must not see a half-destroyed parent.
    blockSignals(true);
    deleteSubtree();
}

// Children go head to tail, each with its whole subtree before the next. The
// walk deletes the deepest head first and a parent as soon as its last child
// is gone, so every object dies without children and without a parent: its
// own destructor has no tree work left, and the stack stays flat however deep
// the tree. The children leave silently; only the top was removed with events.
void QAStData::deleteSubtree()
{
    QAStData* current = _firstChild;
    while (current) {
        if (current->_firstChild) {
            current = current->_firstChild;
            continue;
        }
        QAStData* up = current->_parent;
        up->_firstChild = current->_next;
        if (current->_next)
            current->_next->_previous = nullptr;
        current->_parent = nullptr;
        current->_next = nullptr;
        current->blockSignals(true);
        delete current;
        current = up == this ? _firstChild : up;
    }
}

void QAStData::privAttach(QAStData* parent, QAStData* after)
{
    if (!parent)
        return;
    _parent = parent;
    if (after && after != parent && after->_parent == parent) {
        _previous = after;
        _next = after->_next;
        if (_next)
            _next->_previous = this;
        after->_next = this;
    } else {
        _previous = nullptr;
        _next = parent->_firstChild;
        if (_next)
            _next->_previous = this;
        parent->_firstChild = this;
    }
}

void QAStData::init(const QDomElement& element, int version)
{
    Q_UNUSED(version);
    if (!CHECK_TAG(element, "data")) {
        quid = _computeID();
        return;
    }
    const QDomElement nameElement = element.firstChildElement(QStringLiteral("name"));
    if (!CHECK_TAG(nameElement, "name")) {
        quid = _computeID();
        return;
    }
    _name = xmlValueToString(nameElement.text());

    const QDomElement quidElement = element.firstChildElement(QStringLiteral("quid"));
    if (quidElement.isNull())
        quid = _computeID();
    else
        setQuid(xmlValueToUInt(quidElement.text()));

    const QDomElement iconElement = element.firstChildElement(QStringLiteral("icon"));
    if (!iconElement.isNull())
        QAStData::setIconByFileName(xmlValueToString(iconElement.text()));

    const QDomElement renameableElement = element.firstChildElement(QStringLiteral("renameable"));
    if (!renameableElement.isNull())
        renameable = xmlValueToBool(renameableElement.text());
    const QDomElement deletableElement = element.firstChildElement(QStringLiteral("deletable"));
    if (!deletableElement.isNull())
        deletable = xmlValueToBool(deletableElement.text());
    const QDomElement openElement = element.firstChildElement(QStringLiteral("open"));
    if (!openElement.isNull())
        open = xmlValueToBool(openElement.text());

    const QDomElement sortedElement = element.firstChildElement(QStringLiteral("sorted"));
    if (CHECK_TAG(sortedElement, "sorted"))
        alphabeticallySorted = xmlValueToBool(sortedElement.text());
    const QDomElement resultElement = element.firstChildElement(QStringLiteral("executionResult"));
    if (CHECK_TAG(resultElement, "executionResult")) {
        executionResult = xmlValueToInt(resultElement.text());
        // A hand-edited file must not leave an object that looks busy forever.
        if (isRunningStatus(executionResult) || executionResult < 0 || executionResult > ExecutionTestFailed)
            executionResult = ExecutionNone;
    }
}

void QAStData::init(QARes* resources)
{
    if (!resources || !resources->toResGroup())
        return;
    readStrVal(resources, "name", _name);
    QAStAttribute<bool> flag(renameable);
    readBoolVal(resources, "renameable", flag);
    renameable = flag.get();
    flag = open;
    flag.isSet = false;
    readBoolVal(resources, "expanded", flag);
    open = flag.get();
}

// ---------------------------------------------------------------------------
// Readers of the older resource form

namespace {

// The item at \a path below a resource group, or after a plain item.
QARes* resourceAt(QARes* resources, const char* path)
{
    if (!resources || !path)
        return nullptr;
    QAResGroup* group = resources->toResGroup();
    QARes* start = group ? group->child() : resources;
    return start ? start->search(path, '.') : nullptr;
}

QStringList resourceStrings(QARes* item)
{
    QStringList strings;
    QAResList* list = item ? item->toResList() : nullptr;
    if (!list || !list->isListOf(QARes::String))
        return strings;
    for (int i = 0; i < list->count(); ++i)
        strings << list->at(i)->toResString()->value();
    return strings;
}

bool isStringList(QARes* item)
{
    return item && item->toResList() && item->toResList()->isListOf(QARes::String);
}

// A map entry is split at its first "=": a value may hold more of them, as
// in "-DLEVEL=2". An entry without one is a key with an empty value.
void insertMapEntry(QMap<QString, QString>& map, const QString& entry, QString (*decode)(const QString&))
{
    const qsizetype equal = entry.indexOf(QLatin1Char('='));
    const QString value = equal < 0 ? QString() : decode(entry.mid(equal + 1));
    map.insert(decode(entry.left(equal)), value.isNull() ? QString(QLatin1String("")) : value);
}

} // namespace

void QAStData::readIntVal(QARes* resources, const char* path, QAStAttribute<int>& attribute)
{
    if (QARes* item = resourceAt(resources, path); item && item->toResInt())
        attribute = item->toResInt()->value();
}

void QAStData::readBoolVal(QARes* resources, const char* path, QAStAttribute<bool>& attribute)
{
    if (QARes* item = resourceAt(resources, path); item && item->toResBoolean())
        attribute = item->toResBoolean()->value();
}

void QAStData::readStrVal(QARes* resources, const char* path, QAStAttribute<QString>& attribute)
{
    if (QARes* item = resourceAt(resources, path); item && item->toResString()) {
        const QString text = item->toResString()->value();
        attribute = text.isNull() ? QStringLiteral("") : text;
    }
}

void QAStData::readStrListVal(QARes* resources, const char* path, QAStAttribute<QStringList>& attribute)
{
    if (QARes* item = resourceAt(resources, path); isStringList(item))
        attribute = resourceStrings(item);
}

void QAStData::readStrMapVal(QARes* resources, const char* path,
                             QAStAttribute<QMap<QString, QString>>& attribute)
{
    QARes* item = resourceAt(resources, path);
    if (!isStringList(item))
        return;
    // As in the project file's maps, but the members of an older file were
    // never encoded, so nothing is decoded.
    QMap<QString, QString> map;
    for (const QString& entry : resourceStrings(item)) {
        if (!entry.isEmpty())
            insertMapEntry(map, entry, [](const QString& text) { return text; });
    }
    attribute = map;
}

namespace {

// The highest identity that this process has made or read. Separate runs
// restart the counter, so that a project made by a quick series of commands
// would otherwise hand out, a second later, the values that the run before
// gave: two objects of one project with one identity share an environment
// file and a log of produced files, and a link may find the wrong target.
unsigned int highestQuid = 0;

void noteQuid(unsigned int value)
{
    highestQuid = qMax(highestQuid, value);
}

} // namespace

unsigned int QAStData::_computeID()
{
    static unsigned int counter = 0;
    ++counter;
    // The epoch is converted once; asking the clock in seconds avoids a
    // time zone lookup for every object of a large file.
    static const qint64 epoch = QDateTime(QDate(2000, 1, 1), QTime(0, 0)).toSecsSinceEpoch();
    const qint64 seconds = qAbs(QDateTime::currentSecsSinceEpoch() - epoch);
    unsigned int value = static_cast<unsigned int>(seconds + counter);
    // A file may hold the largest value: past it the clock's value stands.
    if (value <= highestQuid && highestQuid != std::numeric_limits<unsigned int>::max())
        value = highestQuid + 1;
    noteQuid(value);
    return value;
}

void QAStData::setQuid(unsigned int value)
{
    quid = value;
    noteQuid(value);
}

// ---------------------------------------------------------------------------
// Tree

QObject* QAStData::object() const
{
    return const_cast<QAStData*>(this);
}

void QAStData::addChild(QAStData* child, QAStData* after)
{
    if (!child || child == this || after == child)
        return;
    for (QAStData* ancestor = _parent; ancestor; ancestor = ancestor->_parent) {
        if (ancestor == child) {
            warning("QAStData::addChild %s would become its own descendant", qPrintable(child->name()));
            return;
        }
    }
    if (child->_parent != this || (after && after != child->_previous)) {
        child->remove();
        child->privAttach(this, after);
    }
    child->addEvent();
    modified = true;
    const QList<QAStData*> descendants = child->childrenOfClass(nullptr, true);
    for (QAStData* descendant : descendants)
        descendant->parentAddEvent(child);
    for (QAStData* ancestor = child->_parent; ancestor; ancestor = ancestor->_parent)
        ancestor->childAddEvent(child);
    emit childAdded(child);
    emit added();
}

void QAStData::remove()
{
    if (!_parent)
        return;
    const QList<QAStData*> descendants = childrenOfClass(nullptr, true);
    const QList<QAStData*> ancestors = parentsOfClass(nullptr);
    removeEvent();
    emit _parent->childRemoved(this);
    emit removed();
    if (_previous)
        _previous->_next = _next;
    else
        _parent->_firstChild = _next;
    if (_next)
        _next->_previous = _previous;
    _parent = nullptr;
    _previous = nullptr;
    _next = nullptr;
    for (QAStData* descendant : descendants)
        descendant->parentRemoveEvent(this);
    for (QAStData* ancestor : ancestors)
        ancestor->childRemoveEvent(this);
}

QString QAStData::name() const
{
    return _name.get();
}

QString QAStData::displayName() const
{
    return name();
}

QPixmap QAStData::icon() const
{
    return _icon;
}

QAStData* QAStData::project()
{
    if (inherits("QAStProject"))
        return this;
    return parentOfClass("QAStProject");
}

QAStData* QAStData::rootProject()
{
    if (_parent)
        return _parent->rootProject();
    return inherits("QAStProject") ? this : nullptr;
}

QAStData* QAStData::root()
{
    QAStData* top = this;
    while (top->_parent)
        top = top->_parent;
    return top;
}

QAStData* QAStData::parent() const
{
    return _parent;
}

void QAStData::setIcon(const QPixmap& icon)
{
    _icon = icon;
    emit iconChanged(_icon);
}

void QAStData::setIconByFileName(const QString& fileName)
{
    setIcon(pixmap(fileName));
    iconName = fileName;
    modified = true;
}

bool QAStData::isModified() const
{
    if (modified) {
        warning("QAStData::isModified %s", qPrintable(name()));
        return true;
    }
    for (QAStData* child = _firstChild; child; child = child->_next) {
        if (child->isModified())
            return true;
    }
    return false;
}

QAPropertyGroup* QAStData::propertyGroup()
{
    auto* group = new QAPropertyGroup(QStringLiteral("properties"));
    auto* name = new QAPropertyAttrLineEdit(QStringLiteral("name"), &_name);
    name->setName(tr("Name"));
    name->setReadOnly(!renameable);
    group->addChild(name);
    // The dialog's changes are stored by the properties themselves; this
    // object still has to learn of them. The group may outlive it.
    group->setModifiedHandler([owner = QPointer<QAStData>(this)](QAProperty* property) {
        if (owner)
            owner->propertyModified(property);
    });
    return group;
}

void QAStData::propertyModified(QAProperty* property)
{
    modified = true;
    if (property && property->key() == QLatin1String("name"))
        emit renamed(property->value().toString());
}

void QAStData::setAlphabeticallySorted(bool sorted, bool recursive)
{
    alphabeticallySorted = sorted;
    if (!recursive)
        return;
    const QList<QAStData*> descendants = childrenOfClass(nullptr, true);
    for (QAStData* descendant : descendants)
        descendant->setAlphabeticallySorted(sorted, false);
}

void QAStData::setRenameable(bool value)
{
    renameable = value;
}

void QAStData::setDuplicable(bool value)
{
    duplicable = value;
}

void QAStData::setDeletable(bool value)
{
    deletable = value;
}

bool QAStData::acceptDrop(QAStData*) const
{
    return false;
}

QString QAStData::directory()
{
    QAStData* owner = project();
    if (owner && owner != this)
        return owner->directory();
    return QDir::currentPath();
}

bool QAStData::isRunning()
{
    if (isRunningStatus(executionResult))
        return true;
    const QList<QAStData*> descendants = childrenOfClass("QAStData", true);
    for (QAStData* descendant : descendants) {
        if (isRunningStatus(descendant->executionResult))
            return true;
    }
    return false;
}

void QAStData::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<data>\n";
    toStream(stream, "name", stringToXMLValue(name()), indent + 1);
    toStream(stream, "quid", uintToXMLValue(quid), indent + 1);
    if (iconName.isSet)
        toStream(stream, "icon", stringToXMLValue(iconName), indent + 1);
    toStream(stream, "renameable", boolToXMLValue(renameable), indent + 1);
    toStream(stream, "deletable", boolToXMLValue(deletable), indent + 1);
    toStream(stream, "open", boolToXMLValue(open), indent + 1);
    toStream(stream, "sorted", boolToXMLValue(alphabeticallySorted), indent + 1);
    int kept = ExecutionNone;
    if (_projectpref && _projectpref->boolValue(QStringLiteral("use_keep_execution"))) {
        switch (executionResult) {
        case ExecutionSuccess:
        case ExecutionFailed:
        case ExecutionStopped:
        case ExecutionNone:
        case ExecutionTestFailed:
            kept = executionResult;
            break;
        default:
            break;
        }
    }
    toStream(stream, "executionResult", intToXMLValue(kept), indent + 1);
    indentXML(stream, indent);
    stream << "</data>\n";
}

void QAStData::addEvent() {}
void QAStData::removeEvent() {}
void QAStData::parentAddEvent(QAStData*) {}
void QAStData::parentRemoveEvent(QAStData*) {}

void QAStData::childAddEvent(QAStData*)
{
    modified = true;
}

void QAStData::childRemoveEvent(QAStData*) {}

// ---------------------------------------------------------------------------
// Queries

QAStData* QAStData::last() const
{
    QAStData* child = _firstChild;
    while (child && child->_next)
        child = child->_next;
    return child;
}

QList<QAStData*> QAStData::childrenOfClass(const char* className, bool recursive) const
{
    // Iterative pre-order walk along the chain, so that deep trees cost no stack.
    QList<QAStData*> result;
    QAStData* current = _firstChild;
    while (current) {
        if (!className || current->inherits(className))
            result.append(current);
        if (recursive && current->_firstChild) {
            current = current->_firstChild;
            continue;
        }
        while (current != this && !current->_next)
            current = current->_parent;
        if (current == this)
            break;
        current = current->_next;
    }
    return result;
}

QAStData* QAStData::parentOfClass(const char* className)
{
    // Asked through parent(): the top of a file tree stands outside the node
    // tree and answers its project as its parent.
    if (!className)
        return parent();
    for (QAStData* ancestor = parent(); ancestor; ancestor = ancestor->parent()) {
        if (ancestor->inherits(className))
            return ancestor;
    }
    return nullptr;
}

QList<QAStData*> QAStData::parentsOfClass(const char* className)
{
    QList<QAStData*> result;
    for (QAStData* ancestor = _parent; ancestor; ancestor = ancestor->_parent) {
        if (!className || ancestor->inherits(className))
            result.append(ancestor);
    }
    return result;
}

QAStData* QAStData::searchChildOfClass(const QString& name, const char* className, bool recursive)
{
    for (QAStData* child = _firstChild; child; child = child->_next) {
        if (child->name() == name
            && (!className || qstrcmp(child->metaObject()->className(), className) == 0))
            return child;
        if (recursive) {
            if (QAStData* found = child->searchChildOfClass(name, className, true))
                return found;
        }
    }
    return nullptr;
}

QAStData* QAStData::findNode(const QString& dottedPath)
{
    if (dottedPath.isEmpty())
        return nullptr;
    const qsizetype dot = dottedPath.indexOf(QLatin1Char('.'));
    const QString head = dot < 0 ? dottedPath : dottedPath.left(dot);
    QAStData* found = nullptr;
    for (QAStData* child = _firstChild; child && !found; child = child->_next) {
        if (child->name() == head)
            found = child;
    }
    if (!found || dot < 0)
        return found;
    return found->findNode(dottedPath.mid(dot + 1));
}

bool QAStData::isValid() const
{
    if (!valid)
        return false;
    const QList<QAStData*> descendants = childrenOfClass(nullptr, true);
    for (const QAStData* descendant : descendants) {
        if (!descendant->valid)
            return false;
    }
    return true;
}

bool QAStData::CHECK_TAG(const QDomNode& element, const char* tag)
{
    if (element.isNull()) {
        _lastErrorString += tr("Unable to find tag %1\n").arg(QString::fromLatin1(tag));
        return false;
    }
    if (!element.isElement()) {
        _lastErrorString += tr("The xml tag %1 is not an element\n").arg(element.nodeName());
        return false;
    }
    const QString read = element.toElement().tagName();
    if (read != QLatin1String(tag)) {
        // TRANSLATOR %1 is the tag read and %2 the tag wanted; the words stay in this order.
        _lastErrorString += tr("Wait for tag %1 and read %2\n").arg(read, QString::fromLatin1(tag));
        return false;
    }
    return true;
}

namespace {

bool parseXml(QXmlStreamReader& reader, QDomDocument& document, QString* message, int* line, int* column)
{
    // The document's own parser puts an element into its parent as soon as
    // it starts, and each insertion looks for the document through all the
    // ancestors: a file n elements deep costs n * n. Here an element joins its
    // parent when it ends, while the parent is not in the document yet, so
    // that each insertion finds the document at once.
    // Element names are taken as they stand, prefixes and all.
    reader.setNamespaceProcessing(false);
    document = QDomDocument();
    std::vector<QDomElement> open;
    bool rootStarted = false;
    bool doctypeSeen = false;
    auto append = [&](const QDomNode& node) {
        if (open.empty())
            document.appendChild(node);
        else
            open.back().appendChild(node);
    };
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement: {
            rootStarted = true;
            QDomElement element = document.createElement(reader.qualifiedName().toString());
            for (const QXmlStreamAttribute& attribute : reader.attributes())
                element.setAttribute(attribute.qualifiedName().toString(), attribute.value().toString());
            open.push_back(element);
            break;
        }
        case QXmlStreamReader::EndElement: {
            const QDomElement element = open.back();
            open.pop_back();
            append(element);
            break;
        }
        case QXmlStreamReader::Characters:
            if (reader.isCDATA())
                append(document.createCDATASection(reader.text().toString()));
            else if (!reader.isWhitespace())
                append(document.createTextNode(reader.text().toString()));
            break;
        case QXmlStreamReader::Comment:
            append(document.createComment(reader.text().toString()));
            break;
        case QXmlStreamReader::ProcessingInstruction:
            append(document.createProcessingInstruction(reader.processingInstructionTarget().toString(),
                                                        reader.processingInstructionData().toString()));
            break;
        case QXmlStreamReader::EntityReference:
            append(document.createEntityReference(reader.name().toString()));
            break;
        case QXmlStreamReader::DTD:
            // The stream reader lets these pass; the document refuses them,
            // in its words.
            if (rootStarted)
                reader.raiseError(QStringLiteral("Unexpected token"));
            else if (doctypeSeen)
                reader.raiseError(QStringLiteral("Multiple DTD sections are not allowed."));
            doctypeSeen = true;
            break;
        default:
            break;
        }
    }
    if (!reader.hasError())
        return true;
    if (message)
        *message = reader.errorString();
    if (line)
        *line = int(reader.lineNumber());
    if (column)
        *column = int(reader.columnNumber());
    document = QDomDocument();
    return false;
}

} // namespace

bool QAStData::parseDocument(QIODevice* device, QDomDocument& document, QString* message, int* line,
                             int* column)
{
    QXmlStreamReader reader(device);
    return parseXml(reader, document, message, line, column);
}

bool QAStData::parseDocument(const QString& text, QDomDocument& document)
{
    QXmlStreamReader reader(text);
    return parseXml(reader, document, nullptr, nullptr, nullptr);
}

// ---------------------------------------------------------------------------
// Paths

QString QAStData::determineAbsolutePathFile(const QString& path)
{
    if (QDir::isRelativePath(path))
        return QAFileUtil::cleanDirPath(directory() + QDir::separator() + path);
    return QAFileUtil::cleanDirPath(path);
}

void QAStData::determineAbsolutePathFiles(QStringList& paths)
{
    for (QString& path : paths)
        path = determineAbsolutePathFile(path);
}

QString QAStData::determineRelativePathFile(const QString& path)
{
    if (!project())
        return path;
    const QString result = QDir::toNativeSeparators(QDir::cleanPath(path));
    if (!QDir::isRelativePath(result))
        return QAFileUtil::absPathToRelative(directory(), result);
    if (result.startsWith(QLatin1String("..")))
        return result;
    return QLatin1String(".") + QDir::separator() + result;
}

void QAStData::determineRelativePathFiles(QStringList& paths)
{
    for (QString& path : paths)
        path = determineRelativePathFile(path);
}

// ---------------------------------------------------------------------------
// Value encodings

QString QAStData::boolToXMLValue(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

bool QAStData::xmlValueToBool(const QString& value)
{
    return value == QLatin1String("true");
}

QString QAStData::intToXMLValue(int value)
{
    return QString::number(value);
}

int QAStData::xmlValueToInt(const QString& value)
{
    bool ok = false;
    const int result = value.toInt(&ok, 10);
    return ok ? result : 0;
}

QString QAStData::uintToXMLValue(unsigned int value)
{
    return QString::number(value);
}

unsigned int QAStData::xmlValueToUInt(const QString& value)
{
    bool ok = false;
    const unsigned int result = value.toUInt(&ok, 10);
    return ok ? result : 0;
}

// How a text stands in the project file. The XML layer is outermost: every
// "&" is written "&amp;", and the parser undoes it. What the parser hands back
// is read by _decode from the left, one token at a time:
//
//   "#comma#"       a ","; lists and maps keep the bare "," between members
//   "&lt;", "&gt;"  a "<" and a ">", so that neither stands bare in the file
//   "#xHH#"         the UTF-16 unit of upper-case hexadecimal code HH, two
//                   digits at least, no other leading zero ("#x0D#", "#x3000#")
//
// Anything else stands for itself. The writer uses "#xHH#" only where a
// character would otherwise be lost, so that a file of ordinary values is
// written as it always was:
//   - a unit that XML cannot carry: a control character other than tab and
//     line feed (the parser would also turn a carriage return into a line
//     feed), U+FFFE, U+FFFF and a lone surrogate;
//   - a "#" or "&" that would begin one of the tokens above, and a "=" in a
//     map key, where the first "=" ends the key;
//   - the first character of a text made of blanks alone, which the parser
//     drops as if it were indentation.
// Files written before "#xHH#" existed read as they always did, except that
// the keys and values of a map are decoded now like any other text, and an
// entry of a map is split at its first "=" only.
namespace {

QString escapedUnit(QChar unit)
{
    return QStringLiteral("#x%1#").arg(QString::number(unit.unicode(), 16).toUpper().rightJustified(2, u'0'));
}

// The length of the token at \a at of a parsed text, 0 when none begins
// there; \a unit gets what it stands for.
qsizetype tokenAt(QStringView text, qsizetype at, QChar* unit)
{
    const QStringView rest = text.mid(at);
    if (rest.startsWith(u"&lt;") || rest.startsWith(u"&gt;")) {
        *unit = rest.at(1) == u'l' ? u'<' : u'>';
        return 4;
    }
    if (rest.startsWith(u"#comma#")) {
        *unit = u',';
        return 7;
    }
    if (!rest.startsWith(u"#x"))
        return 0;
    for (qsizetype digits = 2; digits <= 4 && 2 + digits < rest.size(); ++digits) {
        if (rest.at(2 + digits) != u'#')
            continue;
        bool ok = false;
        const uint code = rest.mid(2, digits).toUInt(&ok, 16);
        if (!ok || escapedUnit(QChar(char16_t(code))) != rest.left(digits + 3))
            return 0;
        *unit = QChar(char16_t(code));
        return digits + 3;
    }
    return 0;
}

bool isUnwritable(const QString& text, qsizetype i)
{
    const QChar unit = text.at(i);
    if (unit.unicode() < 0x20)
        return unit != u'\t' && unit != u'\n';
    if (unit.unicode() >= 0xFFFE)
        return true;
    if (unit.isHighSurrogate())
        return i + 1 == text.size() || !text.at(i + 1).isLowSurrogate();
    if (unit.isLowSurrogate())
        return i == 0 || !text.at(i - 1).isHighSurrogate();
    return false;
}

// A text of blanks alone would vanish in the parser: its first one is
// escaped. A list is checked as a whole, as the parser sees it; a map always
// holds a "=".
QString keptWhole(QString encoded)
{
    if (!encoded.isEmpty() && std::all_of(encoded.cbegin(), encoded.cend(), [](QChar c) { return c.isSpace(); }))
        encoded.replace(0, 1, escapedUnit(encoded.at(0)));
    return encoded;
}

} // namespace

QString QAStData::_encode(const QString& value, bool mapKey)
{
    // First the text the parser hands back, with the place of each literal
    // "#": whether it begins a token is known only once what follows is
    // written. An escaped "#" begins with "#" as well, so deciding one
    // never changes the others.
    QString parsed;
    parsed.reserve(value.size());
    QList<qsizetype> hashes;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar unit = value.at(i);
        if (unit == u',')
            parsed += u"#comma#";
        else if (unit == u'<')
            parsed += u"&lt;";
        else if (unit == u'>')
            parsed += u"&gt;";
        else if (isUnwritable(value, i) || (mapKey && unit == u'=')
                 || (unit == u'&' && (QStringView(value).mid(i + 1).startsWith(u"lt;")
                                      || QStringView(value).mid(i + 1).startsWith(u"gt;"))))
            parsed += escapedUnit(unit);
        else {
            if (unit == u'#')
                hashes.append(parsed.size());
            parsed += unit;
        }
    }
    QString result;
    result.reserve(parsed.size() + parsed.size() / 8);
    qsizetype from = 0;
    for (const qsizetype at : std::as_const(hashes)) {
        QChar ignored;
        if (!tokenAt(parsed, at, &ignored))
            continue;
        result += QStringView(parsed).mid(from, at - from);
        result += escapedUnit(u'#');
        from = at + 1;
    }
    result += QStringView(parsed).mid(from);
    return result.replace(u'&', QLatin1String("&amp;"));
}

QString QAStData::_decode(const QString& value)
{
    if (!value.contains(u'#') && !value.contains(u'&'))
        return value;
    QString result;
    result.reserve(value.size());
    for (qsizetype i = 0; i < value.size();) {
        QChar unit;
        if (const qsizetype length = tokenAt(value, i, &unit)) {
            result += unit;
            i += length;
        } else {
            result += value.at(i++);
        }
    }
    return result;
}

QString QAStData::stringToXMLValue(const QString& value)
{
    return keptWhole(_encode(value));
}

QString QAStData::xmlValueToString(const QString& value)
{
    return _decode(value);
}

QString QAStData::stringListToXMLValue(const QStringList& list)
{
    QStringList encoded;
    encoded.reserve(list.size());
    for (const QString& member : list)
        encoded.append(_encode(member));
    return keptWhole(encoded.join(QLatin1Char(',')));
}

QStringList QAStData::xmlValueToStringList(const QString& value)
{
    QStringList result = value.split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (QString& member : result)
        member = _decode(member);
    return result;
}

QString QAStData::stringMapToXMLValue(const QMap<QString, QString>& map)
{
    QStringList entries;
    for (auto it = map.constBegin(); it != map.constEnd(); ++it)
        entries.append(_encode(it.key(), true) + QLatin1Char('=') + _encode(it.value()));
    return entries.join(QLatin1Char(','));
}

QMap<QString, QString> QAStData::xmlValueToStringMap(const QString& value)
{
    QMap<QString, QString> result;
    const QStringList entries = value.split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString& entry : entries)
        insertMapEntry(result, entry, &QAStData::_decode);
    return result;
}

void QAStData::indentXML(QTextStream& stream, int indent)
{
    static const QString blanks(128, QLatin1Char(' '));
    for (qsizetype left = 2 * qsizetype(qMax(indent, 0)); left > 0; left -= blanks.size())
        stream << QStringView(blanks).left(qMin(left, blanks.size()));
}

void QAStData::toStream(QTextStream& stream, const char* tag, const QString& value, int indent)
{
    indentXML(stream, indent);
    stream << '<' << tag << '>' << value << "</" << tag << ">\n";
}

// ---------------------------------------------------------------------------
// Serialising and commands

namespace {

// A child's place in the text of its parent, left open while the parent is
// written and filled with the child's own text afterwards.
struct WriteHole {
    qsizetype offset;
    QAStData* child;
    int indent;
};

QList<WriteHole>* openHoles = nullptr;

struct WriteFrame {
    QString text;
    QList<WriteHole> holes;
    qsizetype position = 0;
    qsizetype nextHole = 0;
};

// One object's text with holes where its children go.
WriteFrame shallowText(QAStData* data, int indent)
{
    WriteFrame frame;
    QList<WriteHole>* outer = openHoles;
    openHoles = &frame.holes;
    {
        QTextStream stream(&frame.text);
        data->write(stream, indent);
    }
    openHoles = outer;
    return frame;
}

} // namespace

void QAStData::writeChild(QAStData* child, QTextStream& stream, int indent)
{
    if (!child)
        return;
    if (openHoles) {
        stream.flush();
        const qsizetype offset = stream.string() ? stream.string()->size() : 0;
        openHoles->append({offset, child, indent});
        return;
    }
    // Every object is written on its own with holes for its children, and the
    // texts are joined from an explicit stack, deepest first.
    std::vector<WriteFrame> frames;
    frames.push_back(shallowText(child, indent));
    while (!frames.empty()) {
        WriteFrame& frame = frames.back();
        if (frame.nextHole < frame.holes.size()) {
            const WriteHole hole = frame.holes.at(frame.nextHole++);
            stream << QStringView(frame.text).mid(frame.position, hole.offset - frame.position);
            frame.position = hole.offset;
            frames.push_back(shallowText(hole.child, hole.indent));
            continue;
        }
        stream << QStringView(frame.text).mid(frame.position);
        frames.pop_back();
    }
}

QString QAStData::toString()
{
    QString text;
    QTextStream stream(&text);
    write(stream, 0);
    stream.flush();
    return text;
}

void QAStData::deleteChildren()
{
    while (QAStData* child = _firstChild)
        delete child;
}

void QAStData::setName(const QString& name)
{
    if (!renameable)
        return;
    _name = name;
    modified = true;
    emit renamed(name);
}

void QAStData::sortChildren()
{
    setAlphabeticallySorted(!alphabeticallySorted, true);
    emit sortChildrenRequired();
}

void QAStData::properties()
{
    emit editProperties();
}

void QAStData::cut()
{
    copy();
    del();
}

void QAStData::copy()
{
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return;
    if (QClipboard* clipboard = QGuiApplication::clipboard())
        clipboard->setText(toString());
}

void QAStData::paste()
{
    QAStData* data = clipboardContentToData();
    if (!data)
        return;
    if (acceptDrop(data)) {
        adoptAsCommand(data);
        return;
    }
    delete data;
    if (_studio)
        _studio->messageBox(QMessageBox::Warning, _studio->applicationName(),
                            tr("Unable to paste the clipboard's content here"));
}

void QAStData::del()
{
    undoManager()->add(new QAStDataUndoAction(QAStDataUndoAction::Removed, this));
    // The command may come from this object's own menu: it must live until
    // the event loop returns to it.
    remove();
    deleteLater();
}

void QAStData::adoptAsCommand(QAStData* data, QAStData* after)
{
    addChild(data, after);
    undoManager()->add(new QAStDataUndoAction(QAStDataUndoAction::Added, data));
}

// ---------------------------------------------------------------------------
// Clipboard, drag and drop

QAStData* QAStData::stringContentToData(const QString& text)
{
    if (text.isEmpty())
        return nullptr;
    QDomDocument document;
    if (!QAXML::parse(document, text.toUtf8()))
        return nullptr;
    return QAStDataFactory::create(document.documentElement(), 1, nullptr, nullptr);
}

QAStData* QAStData::clipboardContentToData()
{
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return nullptr;
    QClipboard* clipboard = QGuiApplication::clipboard();
    return clipboard ? stringContentToData(clipboard->text()) : nullptr;
}

QMimeData* QAStData::dragObject(bool copy, QWidget* dragSource)
{
    if (copy)
        return new QAStDataCopyDrag(toString(), dragSource);
    return new QAStDataMoveDrag(this, dragSource);
}

void QAStData::drop(QDropEvent* event)
{
    if (!event || !event->mimeData())
        return;
    const QMimeData* mime = event->mimeData();
    const QString format = mime->formats().value(0);
    if (format == QLatin1String(QAStDataMoveDrag::mimeType)) {
        QAStData* source = nullptr;
        if (!QAStDataMoveDrag::decode(mime, &source) || !source || source == this)
            return;
        // Moving an object into its own subtree would cut it off the tree.
        for (QAStData* ancestor = _parent; ancestor; ancestor = ancestor->_parent) {
            if (ancestor == source)
                return;
        }
        if (acceptDrop(source))
            dropData(source, event);
        return;
    }
    QString text;
    if (!QAStDataCopyDrag::decode(mime, text))
        return;
    QAStData* copied = stringContentToData(text);
    if (!copied || copied == this)
        return;
    if (acceptDrop(copied))
        dropData(copied, event);
    else
        delete copied;
}

void QAStData::dropData(QAStData* data, QDropEvent* event)
{
    if (!data)
        return;
    if (event && event->mimeData()
        && event->mimeData()->formats().value(0) == QLatin1String(QAStDataMoveDrag::mimeType))
        data->remove();
    adoptAsCommand(data);
}

namespace {

// A holder whose children are being built: the next element to read, and the
// child built before it.
struct ChildrenFrame {
    QPointer<QAStData> owner;
    QDomElement next;
    QPointer<QAStData> last;
    int version;
    QStringList classNames;
};

// The holders of the build under way, innermost last; null when none runs.
std::vector<ChildrenFrame>* childrenFrames = nullptr;

} // namespace

void QAStData::initChildren(const QDomElement& holder, int version, const QStringList& classNames)
{
    if (holder.isNull())
        return;
    ChildrenFrame frame {this, holder.firstChildElement(), nullptr, version, classNames};
    // A child's constructor builds its own children through here. Were that
    // done at once, the stack would grow with the depth of the file; so a
    // nested call only leaves its holder on the outermost call's stack, which
    // builds it as soon as the constructor returns. Each child is thus built
    // whole, subtree and all, before its next sibling, in file order, and all
    // is done before the first object's constructor returns.
    if (childrenFrames) {
        childrenFrames->push_back(frame);
        return;
    }
    std::vector<ChildrenFrame> frames {frame};
    childrenFrames = &frames;
    while (!frames.empty()) {
        ChildrenFrame& top = frames.back();
        // An owner refused by its own holder is gone, and its children with it.
        if (!top.owner || top.next.isNull()) {
            frames.pop_back();
            continue;
        }
        const QDomElement element = top.next;
        top.next = element.nextSiblingElement();
        // The child's constructor may grow the stack: nothing of the frame
        // is read through the reference once it runs.
        const ChildrenFrame current = top;
        const std::size_t opened = frames.size();
        QAStData* built = current.owner->buildChild(element, current.version, current.classNames, current.last);
        if (built)
            frames[opened - 1].last = built;
        // The holders of the new child came in the order of its constructor;
        // the first of them is built first.
        std::reverse(frames.begin() + qsizetype(opened), frames.end());
    }
    childrenFrames = nullptr;
}

QAStData* QAStData::buildChild(const QDomElement& element, int version, const QStringList& classNames,
                               QAStData* after)
{
    const QString tag = element.tagName();
    QAStData* built = QAStDataFactory::create(element, version, this, after);
    if (!built) {
        valid = false;
        _lastErrorString += tr("No plugin found for feature \"%1\"\n").arg(tag);
        displayMessage(MessageConsole, tr("Tag ignored in the group: %1").arg(tag));
        // Kept in its place, so that a save gives back what a machine with
        // the missing plug-in needs.
        return new QAStUnknownElement(element, this, after);
    }
    for (const QString& className : classNames) {
        if (built->inherits(className.toLatin1().constData()))
            return built;
    }
    delete built;
    valid = false;
    _lastErrorString += tr("%1 bad place\n").arg(tag);
    displayMessage(MessageConsole, tr("Tag ignored in the group: %1").arg(tag));
    return nullptr;
}

// ---------------------------------------------------------------------------
// Host

void QAStData::initialize(StudioInterface* studio, QARes* resources)
{
    _studio = studio;
    if (studio) {
        const QStringList viewers = studio->viewerFeatureList();
        _menuMap.clear();
        _menuMap.insert(QStringLiteral("All_Report"), 1000);
        int id = 1001;
        for (const QString& viewer : viewers)
            _menuMap.insert(viewer, id++);
        if (!_projectpref)
            _projectpref = new QAStProjectPref;
        studio->registerPreferencePage(_projectpref);
    }
    QAResGroup* group = resources ? resources->toResGroup() : nullptr;
    if (!group) {
        if (_projectpref)
            _projectpref->setValue(QStringLiteral("autotag"), true);
        return;
    }
    if (_projectpref)
        _projectpref->fromResources(resourceAt(resources, "velmont_project"));
    // An older setting of automatic tagging wins over the preference group.
    QARes* browsing = resourceAt(resources, "automatic_source_browsing");
    if (browsing && browsing->toResBoolean() && _projectpref)
        _projectpref->setValue(QStringLiteral("autotag"), browsing->toResBoolean()->value());
}

QAStDataUndoActionManager* QAStData::undoManager()
{
    static QAStDataUndoActionManager manager;
    return &manager;
}

bool QAStData::undo()
{
    return undoManager()->undo();
}

bool QAStData::redo()
{
    return undoManager()->redo();
}

bool QAStData::isUndoAvailable()
{
    return undoManager()->hasUndoAction();
}

bool QAStData::isRedoAvailable()
{
    return undoManager()->hasRedoAction();
}

QWidget* QAStData::mainWindow()
{
    return _studio ? _studio->mainWindow() : nullptr;
}

int QAStData::port()
{
    return _studio ? _studio->port() : -1;
}

QString QAStData::userName()
{
    return _studio ? _studio->userName() : QString();
}

QString QAStData::targetDir()
{
    return _studio ? _studio->targetDir() : QString();
}

QString QAStData::helpDir()
{
    return _studio ? _studio->helpDir() : QString();
}

QString QAStData::binaryDir()
{
    return _studio ? _studio->binaryDir() : QString();
}

QString QAStData::installDir()
{
    return _studio ? _studio->installDir() : QString();
}

QString QAStData::scriptsDir()
{
    return _studio ? _studio->scriptsDir() : QString();
}

QStringList QAStData::perlCommand()
{
    return _studio ? _studio->perlCommand() : QStringList(QString());
}

QPixmap QAStData::pixmap(const QString& name)
{
    return _studio ? _studio->pixmap(name) : QPixmap();
}

void QAStData::displayMessage(Console console, const QString& text, StreamType stream)
{
    QAILogMonitor* monitor = _studio ? _studio->console(console) : nullptr;
    if (!monitor) {
        warning("%s", text.toLocal8Bit().constData());
        return;
    }
    if (stream == OutputStream)
        monitor->log(text);
    else
        monitor->error(text);
}

void QAStData::clearMessage(Console console)
{
    if (_studio && (console == BuildConsole || console == MessageConsole))
        _studio->clearConsole(console);
}

void QAStData::editFile(const QString& path, int line)
{
    if (!_studio)
        return;
    if (QFileInfo::exists(path)) {
        _studio->openEditor(path + QLatin1Char(':') + QString::number(line), false);
        return;
    }
    _studio->messageBox(QMessageBox::Warning, _studio->applicationName(),
                        tr("%1\n\nFile not found.").arg(path));
}

int QAStData::getViewerIdByName(const QString& name)
{
    return _menuMap.value(name, -1);
}

QString QAStData::getViewerNameById(int id)
{
    for (auto it = _menuMap.constBegin(); it != _menuMap.constEnd(); ++it) {
        if (it.value() == id)
            return it.key();
    }
    return QString();
}

// ---------------------------------------------------------------------------
// Script launching

QString QAStData::environmentFileName()
{
    const QString file = QLatin1String("environment_node") + QString::number(quid) + QLatin1String(".pl");
    if (QAStData* owner = project())
        return owner->directory() + QDir::separator() + file;
    return QFileInfo(file).absoluteFilePath();
}

bool QAStData::createEnvironmentFile(QTextStream& stream)
{
    const QString fileName = environmentFileName();
    if (!stream.device())
        stream.setDevice(new QFile(fileName));
    stream.setEncoding(QStringConverter::System);
    QIODevice* device = stream.device();
    if (device->isOpen()
        || device->open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        return true;
    displayMessage(MessageConsole, tr("Unable to open the file: %1").arg(fileName), ErrorStream);
    stream.setDevice(nullptr);
    delete device;
    return false;
}

void QAStData::generateEnv(QTextStream& stream)
{
    QAStPerlGen::generateEnv(stream, this);
    QAStPerlGen::generateBlockEnv(stream, this);
}

void QAStData::executePerlScript(const QString& script, const QString& workingDir,
                                 QTextStream* environment, bool asynchronous, Console console,
                                 QStringList* processEnvironment)
{
    if (process)
        return;
    if (script.isEmpty()) {
        executionResult = ExecutionNone;
        return;
    }

    // Without a host the interpreter command is a single empty word; leaving
    // empty words out lets a script with its own "#!" line still run.
    QStringList command = perlCommand();
    command.removeAll(QString());
    if (QDir::isRelativePath(script))
        command.append(scriptsDir() + QDir::separator() + script);
    else
        command.append(script);
    if (environment) {
        *environment << "\n1;\n";
        environment->flush();
        QIODevice* device = environment->device();
        environment->setDevice(nullptr);
        if (device)
            device->close();
        delete device;
        command.append(environmentFileName());
    }
    command.append(name());

    process = new QAProcess(this);
    this->console = console;
    connect(process, &QAProcess::stdoutReceived, this, &QAStData::charReceived);
    connect(process, &QAProcess::stderrReceived, this, &QAStData::charErrorReceived);
    if (asynchronous)
        connect(process, &QAProcess::exited, this, &QAStData::processTerminated);

    executionResult = ExecutionRunning;
    _dataRunning = this;
    emit perlScriptStarted();

    // In the synchronous mode the event loop turns inside start(): this object
    // may be deleted there, and nothing of it may be touched afterwards.
    QPointer<QAStData> self(this);
    QAProcess* started = process;
    bool normalExit = false;
    int exitStatus = 0;
    const bool ok = started->start(command, QDir(workingDir), normalExit, exitStatus,
                                   processEnvironment, asynchronous);
    if (!self)
        return;
    if (!ok) {
        displayMessage(console, tr("%1: unable to start the command\n").arg(command.first()),
                       ErrorStream);
        executionResult = ExecutionFailed;
        if (process == started) {
            delete process;
            process = nullptr;
        }
        if (_dataRunning == this)
            _dataRunning = nullptr;
        emit perlScriptTerminated();
        return;
    }
    if (!asynchronous)
        processTerminated(normalExit, exitStatus);
}

void QAStData::processTerminated(bool normalExit, int exitStatus)
{
    warning("QAStData::(%d,%d) process = %p", normalExit, exitStatus, static_cast<void*>(process));
    QFile::remove(environmentFileName());
    if (executionResult != ExecutionStopped) {
        if (!normalExit)
            executionResult = ExecutionFailed;
        else
            executionResult = exitStatus == 0 ? ExecutionSuccess : ExecutionFailed;
    }
    if (process) {
        process->disconnect(this);
        process->deleteLater();
        process = nullptr;
    }
    if (_dataRunning == this)
        _dataRunning = nullptr;
    emit perlScriptTerminated();
}

// A batch run keeps standard output for itself; both streams of a script go
// to standard error, as they came.
static bool toBatchStream(QAStData* data, const QString& text)
{
    if (!QAStProject::modeBatch() || !data->rootProject())
        return false;
    QALogConsole().error(text);
    return true;
}

void QAStData::charReceived(const QString& text)
{
    if (!toBatchStream(this, text))
        displayMessage(static_cast<Console>(console), text, OutputStream);
}

void QAStData::charErrorReceived(const QString& text)
{
    if (!toBatchStream(this, text))
        displayMessage(static_cast<Console>(console), text, ErrorStream);
}

// The objects a stop acts on: this one when it runs, else every running
// descendant. A running object with no process is left alone.
QList<QAStData*> QAStData::runningToStop()
{
    if (isRunningStatus(executionResult))
        return process ? QList<QAStData*>{this} : QList<QAStData*>();
    QList<QAStData*> running;
    const QList<QAStData*> descendants = childrenOfClass("QAStData", true);
    for (QAStData* descendant : descendants) {
        if (isRunningStatus(descendant->executionResult) && descendant->process)
            running.append(descendant);
    }
    return running;
}

void QAStData::stop()
{
    for (QAStData* data : runningToStop())
        data->launchStopProcess(data->process->pid());
}

void QAStData::launchStopProcess(qint64) {}

void QAStData::killAsStopped()
{
    if (!process)
        return;
    // The stopped status is set before the exit arrives, so that
    // processTerminated cannot overwrite it.
    process->kill();
    executionResult = ExecutionStopped;
}

void QAStData::executeAfterStopProcess()
{
    for (QAStData* data : runningToStop())
        data->killAsStopped();
}
