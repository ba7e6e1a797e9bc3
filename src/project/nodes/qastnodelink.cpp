#include "qastnodelink.h"

#include "nodemenus_p.h"
#include "qastnodelibrary.h"
#include "qastnodetest.h"

#include <QDateTime>
#include <QDomElement>
#include <QFileInfo>
#include <QMenu>
#include <QTextStream>

namespace {
const char* const ObjectType = "OBJ";
const char* const LibraryType = "LIB";
} // namespace

QAStNodeLink::QAStNodeLink(QAStNode* target, QAStData* parent, QAStData* after)
    : QAStNode(tr("Link to %1").arg(target ? target->name() : QString()), pixmap(QStringLiteral("libraryref_xpm")),
               parent, after)
{
    initGlobal();
    if (!target)
        return;
    _linkedId = target->getQuid();
    _linkedNode = target;
    _className = QString::fromLatin1(target->metaObject()->className());
}

QAStNodeLink::QAStNodeLink(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStNode(element.firstChildElement(), version, parent, after)
{
    initGlobal();
    init(element, version);
}

QAStNodeLink::QAStNodeLink(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNode(resources, parent, after)
{
    initGlobal();
}

void QAStNodeLink::initGlobal()
{
    if (!iconName.isSet)
        setIcon(pixmap(QStringLiteral("libraryref_xpm")));
}

void QAStNodeLink::init(const QDomElement& element, int)
{
    if (!CHECK_TAG(element, "link"))
        return;
    const QDomElement id = element.firstChildElement(QStringLiteral("linked_node"));
    const QDomElement className = element.firstChildElement(QStringLiteral("class_name"));
    if (id.isNull() || className.isNull()) {
        valid = false;
        _lastErrorString += tr("Unable to find tag %1\n")
                                .arg(id.isNull() ? QStringLiteral("linked_node") : QStringLiteral("class_name"));
        return;
    }
    _linkedId = xmlValueToUInt(id.text());
    _className = xmlValueToString(className.text());
}

void QAStNodeLink::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<link>\n";
    QAStNode::write(stream, indent + 1);
    toStream(stream, "linked_node", uintToXMLValue(_linkedId), indent + 1);
    toStream(stream, "class_name", stringToXMLValue(_className), indent + 1);
    indentXML(stream, indent);
    stream << "</link>\n";
}

QAStNode* QAStNodeLink::linkedNode()
{
    if (_linkedNode)
        return _linkedNode;
    if (_className.isEmpty())
        return nullptr;
    QAStData* scope = project() ? project() : root();
    const QByteArray className = _className.toLatin1();
    for (QAStData* candidate : scope->childrenOfClass(className.constData(), true)) {
        if (candidate->getQuid() == _linkedId && candidate != this) {
            _linkedNode = QAStNode::toNode(candidate);
            break;
        }
    }
    return _linkedNode;
}

unsigned int QAStNodeLink::settingsMask() const
{
    return 0x800000;
}

// ---------------------------------------------------------------------------
// The target's files

QMap<QString, QStringList>& QAStNodeLink::outFileNameMap()
{
    QAStNode* target = linkedNode();
    if (target && effectiveState() == Included)
        return target->outFileNameMap();
    return QAStNode::outFileNameMap();
}

void QAStNodeLink::outFileNameForViewer(const QString& viewer, QStringList& out, bool* found)
{
    if (QAStNode* target = linkedNode())
        target->outFileNameForViewer(viewer, out, found);
    else
        QAStNode::outFileNameForViewer(viewer, out, found);
}

bool QAStNodeLink::outFileNameContains(const QString& type)
{
    QAStNode* target = linkedNode();
    return target ? target->outFileNameContains(type) : QAStNode::outFileNameContains(type);
}

void QAStNodeLink::listOutFileNames(QStringList& out)
{
    if (effectiveState() != Included)
        return;
    if (QAStNode* target = linkedNode())
        target->listOutFileNames(out);
    else
        QAStNode::listOutFileNames(out);
}

// The objects stay the target's own: the holder links the library made of
// them. A link that provides report files only gives no library either.
QString QAStNodeLink::outFileName(const QString& type)
{
    const State state = effectiveState();
    if (state == Excluded || (state == ReportOnly && type == QLatin1String(LibraryType)))
        return QString();
    QAStNode* target = linkedNode();
    return target ? target->outFileName(type) : QAStNode::outFileName(type);
}

void QAStNodeLink::outFileNames(const QString& type, QStringList& out)
{
    const State state = effectiveState();
    if (state == Excluded || type == QLatin1String(ObjectType)
        || (state == ReportOnly && type == QLatin1String(LibraryType)))
        return;
    if (QAStNode* target = linkedNode())
        target->outFileNames(type, out);
    else
        QAStNode::outFileNames(type, out);
}

// ---------------------------------------------------------------------------
// Building

// The program or library of the nearest node above that links what this
// link names.
QString QAStNodeLink::holderProduct()
{
    for (QAStData* up = parent(); up; up = up->parent()) {
        if (auto* test = qobject_cast<QAStNodeTest*>(up))
            return test->binaryTester();
        if (auto* library = qobject_cast<QAStNodeLibrary*>(up))
            return library->determineAbsolutePathFile(library->product());
    }
    return QString();
}

bool QAStNodeLink::mustRebuilt()
{
    if (QAStNode::mustRebuilt())
        return true;
    QAStNode* target = linkedNode();
    if (!target || effectiveState() != Included)
        return false;
    // Links that name each other in a circle must not ask each other forever.
    static QList<const QAStNodeLink*> asking;
    if (asking.contains(this))
        return false;
    asking.append(this);
    bool stale = target->effectiveState() == Included && target->mustRebuilt();
    asking.removeOne(this);
    if (stale)
        return true;
    const QFileInfo made(holderProduct());
    if (!made.exists())
        return false;
    QStringList libraries;
    outFileNames(QString::fromLatin1(LibraryType), libraries);
    for (const QString& library : std::as_const(libraries)) {
        if (QFileInfo(library).lastModified() > made.lastModified())
            return true;
    }
    return false;
}

// A link has nothing to make of its own: its turn in a build ends at once.
void QAStNodeLink::buildAfterChildren()
{
    executionResult = ExecutionSuccess;
    QAStNode::buildAfterChildren();
}

// ---------------------------------------------------------------------------
// What the user sees

bool QAStNodeLink::acceptDrop(QAStData*) const
{
    return false;
}

QMenu* QAStNodeLink::popupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addNodeAction(this, menu, tr("&Settings..."), SLOT(settings()));
    QMenu* next = addNextPopupMenu(menu);
    next->setTitle(tr("A&ppend"));
    menu->addMenu(next);
    addPlaceActions(this, menu);
    return menu;
}

QMenu* QAStNodeLink::addChildPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStNodeLink::addNextPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addNodeAction(this, menu, tr("External command..."), SLOT(appendUserNode()));
    return menu;
}

QMenu* QAStNodeLink::viewPopupMenu(QWidget*)
{
    return nullptr;
}

void QAStNodeLink::localActionMenuItems(QMenu*) {}

QStringList QAStNodeLink::vcsItems()
{
    return {};
}

void QAStNodeLink::doubleClickAction() {}
