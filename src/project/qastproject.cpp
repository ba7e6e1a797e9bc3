#include "qastproject.h"

#include <QDir>
#include <QDomElement>
#include <QMenu>
#include <QTextStream>

bool QAStProject::_modeBatch = false;

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
    if (!CHECK_TAG(projectElement.firstChildElement(QStringLiteral("root_configuration_list")),
                   "root_configuration_list"))
        return;
    // Older files keep the selected steps in the project's node; a file
    // without them still loads, with a line in the error text.
    CHECK_TAG(node.firstChildElement(QStringLiteral("execution_flag")), "execution_flag");
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
    indentXML(stream, indent + 1);
    stream << "</root_configuration_list>\n";
    toStream(stream, "version_file", intToXMLValue(1), indent + 1);
    indentXML(stream, indent);
    stream << "</project>\n";
}
