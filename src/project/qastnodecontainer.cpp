#include "qastnodecontainer.h"

#include "nodetestinterface.h"
#include "qainterfaceids.h"
#include "qastdatafactory.h"
#include "qastdataundoaction.h"
#include "qastdataundoactionmanager.h"
#include "qastnodeplugincenter.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QDomElement>
#include <QKeySequence>
#include <QMenu>
#include <QMetaMethod>
#include <QMimeData>
#include <QTextStream>

namespace {

struct ReportRow {
    const char* viewer;
    const char* item;
    const char* type;
};

// The performance and worst-case viewers read the same output type on purpose.
const ReportRow reportRows[] = {
    {"Reporter", QT_TRANSLATE_NOOP("QAStNodeContainer", "Test"), "XRD"},
    {"Cvi", QT_TRANSLATE_NOOP("QAStNodeContainer", "Code Coverage"), "FDC"},
    {"Pvi", QT_TRANSLATE_NOOP("QAStNodeContainer", "Memory Profile"), "TPF"},
    {"Qvi", QT_TRANSLATE_NOOP("QAStNodeContainer", "Performance Profile"), "TQF"},
    {"Mvi", QT_TRANSLATE_NOOP("QAStNodeContainer", "Static Metrics"), "MET"},
    {"CRC", QT_TRANSLATE_NOOP("QAStNodeContainer", "Code Review"), "CRC"},
    {"CCOUPLING", QT_TRANSLATE_NOOP("QAStNodeContainer", "Ctrl Coupling"), "TGJ"},
    {"DCP", QT_TRANSLATE_NOOP("QAStNodeContainer", "Data Coupling"), "DCJ"},
    {"WCET", QT_TRANSLATE_NOOP("QAStNodeContainer", "Worst Case Times"), "TQF"},
    {"WSS", QT_TRANSLATE_NOOP("QAStNodeContainer", "Stack Size Profile"), "TZF"},
};

struct NodeKind {
    const char* className;
    const char* title;
    const char* label;
};

const NodeKind nodeKinds[] = {
    {"QAStNodeGroup", QT_TRANSLATE_NOOP("QAStNodeContainer", "Create Group Node"),
     QT_TRANSLATE_NOOP("QAStNodeContainer", "Name of the group:")},
    {"QAStNodeLibrary", QT_TRANSLATE_NOOP("QAStNodeContainer", "Create Library Node"),
     QT_TRANSLATE_NOOP("QAStNodeContainer", "Name of your library:")},
    {"QAStNodeApplication", QT_TRANSLATE_NOOP("QAStNodeContainer", "Create Application Node"),
     QT_TRANSLATE_NOOP("QAStNodeContainer", "Name of your application:")},
    {"QAStNodeUnitTesting",
     QT_TRANSLATE_NOOP("QAStNodeContainer", "Create Component Testing for C or Ada Node"),
     QT_TRANSLATE_NOOP("QAStNodeContainer", "Name of your test:")},
    {"QAStNodeObjectTesting", QT_TRANSLATE_NOOP("QAStNodeContainer", "Create Component Testing for C++ Node"),
     QT_TRANSLATE_NOOP("QAStNodeContainer", "Name of your test:")},
    {"QAStNodeSystemTesting", QT_TRANSLATE_NOOP("QAStNodeContainer", "Create System Testing Node"),
     QT_TRANSLATE_NOOP("QAStNodeContainer", "Name of your test:")},
};

// Identifiers of the test node kinds of plug-ins in the creation menus.
const int FirstPluginId = 10;

QStringList pluginTestNodes()
{
    return QAStNodePluginCenter::nodePluginCenter()->featureList(IID_NodeTest);
}

// The plug-in's interface for a test node kind, with a reference the caller
// releases, or null.
NodeTestInterface* pluginTestNode(const QString& feature)
{
    QUnknownInterface* face = nullptr;
    QAStNodePluginCenter::nodePluginCenter()->queryComponentInterface(feature, IID_NodeTest, &face);
    return static_cast<NodeTestInterface*>(face);
}

} // namespace

QAStNodeContainer::QAStNodeContainer(const QString& name, const QPixmap& icon, QAStData* parent,
                                     QAStData* after)
    : QAStNode(name, icon, parent, after)
{
}

// The children of the older form are made by the project that reads it.
QAStNodeContainer::QAStNodeContainer(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNode(resources, parent, after)
{
}

QAStNodeContainer::QAStNodeContainer(const QDomElement& element, int version, QAStData* parent,
                                     QAStData* after)
    : QAStNode(element.firstChild().toElement(), version, parent, after)
{
    init(element, version);
}

QAStNodeContainer::QAStNodeContainer(NodeElement node, int version, QAStData* parent, QAStData* after)
    : QAStNode(node.node, version, parent, after)
{
}

void QAStNodeContainer::init(const QDomElement& element, int version)
{
    if (!CHECK_TAG(element, "group"))
        return;
    initChildren(element.firstChildElement(QStringLiteral("group_child")), version,
                 {QStringLiteral("QAStNode")});
}

void QAStNodeContainer::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<group>\n";
    QAStNode::write(stream, indent + 1);
    indentXML(stream, indent + 1);
    stream << "<group_child>\n";
    for (QAStData* child = firstChild(); child; child = child->next())
        writeChild(child, stream, indent + 2);
    indentXML(stream, indent + 1);
    stream << "</group_child>\n";
    indentXML(stream, indent);
    stream << "</group>\n";
}

bool QAStNodeContainer::acceptDrop(QAStData* data) const
{
    if (!data || data->inherits("QAStNodeVirtualTester"))
        return false;
    return data->inherits("QAStNodeTest") || data->inherits("QAStNodeGroup")
        || data->inherits("QAStNodeFileRef") || data->inherits("QAStNodeUser")
        || data->inherits("QAStNodeLibrary");
}

QStringList QAStNodeContainer::disableViewerList() const
{
    return QAStNode::disableViewerList() << QStringLiteral("Tpm");
}

QStringList QAStNodeContainer::vcsItems()
{
    QStringList items;
    for (QAStNode* child : children())
        items += child->vcsItems();
    return items;
}

void QAStNodeContainer::doubleClickAction()
{
    if (studioIFace())
        openReportById(1000, true);
}

void QAStNodeContainer::switchFileKeys(bool absolute)
{
    const char* method = absolute ? "changeKeyToAbsoluteFilePath" : "changeKeyToRelativeFilePath";
    for (QAStData* reference : childrenOfClass("QAStNodeFileRef", true))
        QMetaObject::invokeMethod(reference, method);
}

void QAStNodeContainer::copy()
{
    // Absolute keys, so that the text still names the same files when it is
    // pasted into another project.
    switchFileKeys(true);
    QAStNode::copy();
    switchFileKeys(false);
}

QMimeData* QAStNodeContainer::dragObject(bool copy, QWidget* dragSource)
{
    switchFileKeys(true);
    QMimeData* mime = QAStNode::dragObject(copy, dragSource);
    switchFileKeys(false);
    return mime;
}

// ---------------------------------------------------------------------------
// Making nodes

QString QAStNodeContainer::getNodeName(const QString& title, const QString& label)
{
    StudioInterface* studio = studioIFace();
    if (!studio)
        return QString();
    QAStData* scope = project() ? project() : root();
    for (;;) {
        bool ok = false;
        const QString answer = studio->getText(title, label, QString(), &ok);
        if (!ok)
            return QString();
        if (answer.isEmpty())
            continue;
        // Names are unique in a project, sub-projects apart.
        QAStData* found = scope->searchChildOfClass(answer, nullptr, true);
        if (!found || found->project() != scope->project())
            return answer;
        studio->messageBox(QMessageBox::Warning, studio->applicationName(),
                           tr("This name already exists, You must enter another name"));
    }
}

void QAStNodeContainer::makeNode(const char* className, bool append)
{
    QAStData* holder = append ? QAStData::parent() : this;
    if (!holder)
        return;
    const NodeKind* kind = nullptr;
    for (const NodeKind& candidate : nodeKinds) {
        if (qstrcmp(candidate.className, className) == 0)
            kind = &candidate;
    }
    Q_ASSERT(kind);
    // Asking for a name that could not be used would only mislead the user.
    if (!QAStDataFactory::hasMaker(QLatin1String(className))) {
        warning("QAStNodeContainer: no class %s to make", className);
        return;
    }
    const QString name = getNodeName(tr(kind->title), tr(kind->label));
    if (name.isNull())
        return;
    QAStData* after = append ? this : nullptr;
    if (QAStData* node = QAStDataFactory::make(QLatin1String(className), name, holder, after))
        holder->adoptAsCommand(node, after);
}

void QAStNodeContainer::addGroupNode() { makeNode("QAStNodeGroup", false); }
void QAStNodeContainer::addLibraryNode() { makeNode("QAStNodeLibrary", false); }
void QAStNodeContainer::addApplicationNode() { makeNode("QAStNodeApplication", false); }
void QAStNodeContainer::addUnitTestingNode() { makeNode("QAStNodeUnitTesting", false); }
void QAStNodeContainer::addObjectTestingNode() { makeNode("QAStNodeObjectTesting", false); }
void QAStNodeContainer::addSystemTestingNode() { makeNode("QAStNodeSystemTesting", false); }
void QAStNodeContainer::appendGroupNode() { makeNode("QAStNodeGroup", true); }
void QAStNodeContainer::appendLibraryNode() { makeNode("QAStNodeLibrary", true); }
void QAStNodeContainer::appendApplicationNode() { makeNode("QAStNodeApplication", true); }
void QAStNodeContainer::appendUnitTestingNode() { makeNode("QAStNodeUnitTesting", true); }
void QAStNodeContainer::appendObjectTestingNode() { makeNode("QAStNodeObjectTesting", true); }
void QAStNodeContainer::appendSystemTestingNode() { makeNode("QAStNodeSystemTesting", true); }

void QAStNodeContainer::makePluginNode(const QString& feature, bool append)
{
    QAStData* holder = append ? QAStData::parent() : this;
    if (!holder)
        return;
    NodeTestInterface* provider = pluginTestNode(feature);
    if (!provider)
        return;
    QAStData* node = nullptr;
    QAStData* after = append ? this : nullptr;
    // The menu offers only what the kind allows, but a command may come
    // from elsewhere.
    if (mayStand(provider, feature, append)) {
        const QString name = getNodeName(tr("Create %1 Node").arg(provider->name(feature)),
                                         tr("Name of your test:"));
        if (!name.isNull())
            node = provider->nodeTest(feature, name, holder, after);
    }
    provider->release();
    if (node)
        holder->adoptAsCommand(node, after);
}

bool QAStNodeContainer::mayStand(NodeTestInterface* provider, const QString& feature, bool append)
{
    return append ? provider->toAddNext(feature, QAStData::parent(), this)
                  : provider->toAddChild(feature, this, nullptr);
}

void QAStNodeContainer::addTestNodePlugin(const QString& feature) { makePluginNode(feature, false); }
void QAStNodeContainer::appendTestNodePlugin(const QString& feature) { makePluginNode(feature, true); }

void QAStNodeContainer::addChildWithId(int id)
{
    warning("addChildWithId = %d", id);
    const QStringList features = pluginTestNodes();
    if (id >= FirstPluginId && id - FirstPluginId < features.size())
        addTestNodePlugin(features.at(id - FirstPluginId));
}

void QAStNodeContainer::appendWithId(int id)
{
    warning("appendWithId = %d", id);
    const QStringList features = pluginTestNodes();
    if (id >= FirstPluginId && id - FirstPluginId < features.size())
        appendTestNodePlugin(features.at(id - FirstPluginId));
}

void QAStNodeContainer::addLibraryReference()
{
    StudioInterface* studio = studioIFace();
    if (!studio)
        return;
    const QString linkClass = QStringLiteral("QAStNodeLink");
    if (!QAStDataFactory::hasMaker(linkClass)) {
        warning("QAStNodeContainer: no class %s to make", qPrintable(linkClass));
        return;
    }
    QAStData* scope = project() ? project() : root();
    const QList<QAStData*> libraries = scope->childrenOfClass("QAStNodeLibrary", true);
    if (libraries.isEmpty()) {
        studio->messageBox(QMessageBox::Warning, studio->applicationName(),
                           tr("No library has been created in the project.\n"
                              "Creates a library node before and retry it"));
        return;
    }
    QStringList names;
    QMap<QString, QAStData*> byName;
    for (QAStData* library : libraries) {
        if (library == this)
            continue;
        names << library->name();
        byName.insert(library->name(), library);
    }
    bool ok = false;
    const QStringList checked =
        studio->getCheckedItems(studio->applicationName(), tr("Select library node"), names, &ok);
    if (!ok)
        return;
    // One command for all the links, so that one undo takes them all away.
    QList<QAStDataUndoAction*> actions;
    for (const QString& name : checked) {
        QAStData* library = byName.value(name);
        if (!library)
            continue;
        QAStData* link = QAStDataFactory::make(linkClass, name, this, nullptr, library);
        if (!link)
            continue;
        link->setName(name + QLatin1String("(library)"));
        addChild(link, nullptr);
        actions << new QAStDataUndoAction(QAStDataUndoAction::Added, link);
    }
    if (!actions.isEmpty())
        undoManager()->add(actions);
}

// ---------------------------------------------------------------------------
// Menus

QAction* QAStNodeContainer::addAction(QMenu* menu, const QString& text, const char* slot,
                                      const char* icon)
{
    QAction* action = icon ? menu->addAction(QIcon(pixmap(QString::fromLatin1(icon))), text)
                           : menu->addAction(text);
    if (!slot)
        return action;
    // Some commands come with node kinds of their own: until such a class
    // stands, its item is there and does nothing.
    const QByteArray signature = QMetaObject::normalizedSignature(slot + 1);
    if (metaObject()->indexOfSlot(signature.constData()) < 0)
        warning("QAStNodeContainer: no command %s behind \"%s\"", signature.constData(), qPrintable(text));
    else
        connect(action, SIGNAL(triggered()), this, slot);
    return action;
}

bool QAStNodeContainer::treeLocked()
{
    QAStData* top = rootProject() ? rootProject() : root();
    return top->isRunning();
}

void QAStNodeContainer::localActionMenuItems(QMenu* menu)
{
    if (!menu)
        return;
    const bool running = isRunning();
    QList<QAction*> actions;
    actions << addAction(menu, tr("&Build"), SLOT(build()), "make_xpm");
    actions.last()->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_B));
    actions << addAction(menu, tr("&Rebuild"), SLOT(rebuild()));
    actions.last()->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    actions << addAction(menu, tr("&Clean"), SLOT(clean()), "clean_xpm");
    actions << addAction(menu, tr("&Execute %1").arg(name()), SLOT(execute()), "execute_xpm");
    actions << addAction(menu, tr("&Debug %1").arg(name()), SLOT(debug()), "debug_xpm");
    for (QAction* action : actions)
        action->setEnabled(!running);
    menu->addSeparator();
}

QMenu* QAStNodeContainer::popupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    localActionMenuItems(menu);
    QMenu* view = viewPopupMenu(menu);
    view->setTitle(tr("&View Report"));
    menu->addMenu(view);
    addAction(menu, tr("&Settings..."), SLOT(settings()));

    const bool locked = treeLocked();
    QList<QAction*> changing;
    QMenu* children = addChildPopupMenu(menu);
    children->setTitle(tr("&Add Child"));
    changing << menu->addMenu(children);
    QMenu* next = addNextPopupMenu(menu);
    next->setTitle(tr("A&ppend"));
    changing << menu->addMenu(next);
    QAction* up = addAction(menu, tr("Move &Up"), SLOT(moveUp()));
    up->setEnabled(QAStData::parent() && previous());
    QAction* down = addAction(menu, tr("Move &Down"), SLOT(moveDown()));
    down->setEnabled(QAStData::parent() && QAStData::next());
    changing << up << down << addAction(menu, tr("Delete"), SLOT(del()), "delete_xpm");
    for (QAction* action : changing) {
        if (locked)
            action->setEnabled(false);
    }

    QMenu* sourceControl = menu->addMenu(tr("S&ource Control"));
    for (const QString& item : vcsItems())
        sourceControl->addAction(item);
    addAction(menu, tr("Proper&ties"), SLOT(properties()));
    return menu;
}

QMenu* QAStNodeContainer::addChildPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addAction(menu, tr("Add a New File..."), SLOT(addNewFile()));
    addAction(menu, tr("Group..."), SLOT(addGroupNode()));
    addAction(menu, tr("Files..."), SLOT(addFiles()));
    addAction(menu, tr("Library..."), SLOT(addLibraryNode()));
    addAction(menu, tr("Application..."), SLOT(addApplicationNode()));
    addAction(menu, tr("Component Testing for C++..."), SLOT(addObjectTestingNode()));
    addAction(menu, tr("System Testing..."), SLOT(addSystemTestingNode()));
    addAction(menu, tr("Component Testing for C or Ada..."), SLOT(addUnitTestingNode()));
    addAction(menu, tr("External command..."), SLOT(addUserNode()));
    addPluginTestNodeMenuItem(menu, SLOT(addChildWithId(int)));
    return menu;
}

QMenu* QAStNodeContainer::addNextPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addAction(menu, tr("Group..."), SLOT(appendGroupNode()));
    addAction(menu, tr("Library..."), SLOT(appendLibraryNode()));
    addAction(menu, tr("Application..."), SLOT(appendApplicationNode()));
    addAction(menu, tr("Component Testing for C++..."), SLOT(appendObjectTestingNode()));
    addAction(menu, tr("System Testing..."), SLOT(appendSystemTestingNode()));
    addAction(menu, tr("Component Testing for C or Ada..."), SLOT(appendUnitTestingNode()));
    addAction(menu, tr("External command..."), SLOT(appendUserNode()));
    addPluginTestNodeMenuItem(menu, SLOT(appendWithId(int)));
    return menu;
}

void QAStNodeContainer::addPluginTestNodeMenuItem(QMenu* menu, const char* slot)
{
    if (!menu || !slot)
        return;
    const QStringList features = pluginTestNodes();
    const QByteArray signature = QMetaObject::normalizedSignature(slot + 1);
    const bool append = signature == "appendWithId(int)";
    int id = FirstPluginId;
    // A feature whose interface is missing keeps its identifier, so that the
    // identifiers stay the positions in the list.
    for (const QString& feature : features) {
        if (NodeTestInterface* provider = pluginTestNode(feature)) {
            QAction* action = menu->addAction(provider->name(feature));
            action->setData(id);
            action->setEnabled(mayStand(provider, feature, append));
            provider->release();
        }
        ++id;
    }
    if (features.isEmpty())
        return;
    menu->addSeparator();
    const QMetaMethod method = metaObject()->method(metaObject()->indexOfSlot(signature.constData()));
    Q_ASSERT(method.isValid());
    connect(menu, &QMenu::triggered, this, [this, method](QAction* action) {
        bool isId = false;
        const int chosen = action->data().toInt(&isId);
        if (isId)
            method.invoke(this, Q_ARG(int, chosen));
    });
}

QMenu* QAStNodeContainer::viewPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    menu->addAction(tr("&All"))->setData(1000);
    StudioInterface* studio = studioIFace();
    const QStringList viewers = studio ? studio->viewerFeatureList() : QStringList();
    const QStringList disabled = disableViewerList();
    for (const ReportRow& row : reportRows) {
        const QString viewer = QString::fromLatin1(row.viewer);
        if (!viewers.contains(viewer) || disabled.contains(viewer))
            continue;
        QAction* action = menu->addAction(tr(row.item));
        action->setData(getViewerIdByName(viewer));
        QStringList files;
        outFileNames(QString::fromLatin1(row.type), files);
        action->setEnabled(!files.isEmpty());
    }
    addExtendedViewer(menu);
    connect(menu, &QMenu::triggered, this, [this](QAction* action) {
        bool isId = false;
        const int id = action->data().toInt(&isId);
        if (isId)
            openReportById(id);
    });
    return menu;
}

void QAStNodeContainer::addExtendedViewer(QMenu* menu)
{
    if (!menu || extendedViewers.isEmpty())
        return;
    menu->addSeparator();
    QStringList sorted = extendedViewers;
    sorted.sort();
    for (const QString& viewer : sorted) {
        QAction* action = menu->addAction(tr(viewer.toUtf8().constData()));
        action->setData(getViewerIdByName(viewer));
        QStringList files;
        outFileNameForViewer(viewer, files);
        action->setEnabled(!files.isEmpty());
    }
}
