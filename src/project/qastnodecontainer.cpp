#include "qastnodecontainer.h"

#include "qastnodegroup.h"
#include "studiointerface.h"

#include <QDomElement>
#include <QKeySequence>
#include <QMenu>
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
    // A double click opens all reports through the viewers of the host; a
    // node reaches no viewer yet, so there is nothing to show.
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

void QAStNodeContainer::addGroupNode()
{
    const QString name = getNodeName(tr("Create Group Node"), tr("Name of the group:"));
    if (name.isNull())
        return;
    adoptAsCommand(new QAStNodeGroup(name, this, nullptr));
}

void QAStNodeContainer::appendGroupNode()
{
    QAStData* holder = parent();
    if (!holder)
        return;
    const QString name = getNodeName(tr("Create Group Node"), tr("Name of the group:"));
    if (name.isNull())
        return;
    holder->adoptAsCommand(new QAStNodeGroup(name, holder, this), this);
}

// ---------------------------------------------------------------------------
// Menus

QAction* QAStNodeContainer::addAction(QMenu* menu, const QString& text, const char* slot,
                                      const char* icon)
{
    QAction* action = icon ? menu->addAction(QIcon(pixmap(QString::fromLatin1(icon))), text)
                           : menu->addAction(text);
    if (slot)
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
    addAction(menu, tr("Group..."), SLOT(addGroupNode()));
    return menu;
}

QMenu* QAStNodeContainer::addNextPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addAction(menu, tr("Group..."), SLOT(appendGroupNode()));
    return menu;
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
        // A viewer of a plug-in finds its files through the plug-in, which a
        // node cannot reach yet: the item stays disabled.
        action->setEnabled(false);
    }
}
