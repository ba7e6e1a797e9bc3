#include "qastproject.h"

#include "qastconfiguration.h"
#include "qatrace.h"

#include <QDir>
#include <QFileInfo>
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

QAStProject::~QAStProject()
{
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
    return _directory.isEmpty() ? QAStNodeContainer::directory() : _directory;
}

QString QAStProject::path() const
{
    return _directory + QDir::separator() + _filename;
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
    loaded = true;
    modified = true;
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
    if (!loaded)
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
    if (!loaded)
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
    if (!loaded)
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
    loaded = true;
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
