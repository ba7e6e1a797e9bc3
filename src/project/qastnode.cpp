#include "qastnode.h"

#include "qafileutil.h"
#include "qapropertyattrcomboint.h"
#include "qapropertyattryesno.h"
#include "qapropertygroup.h"
#include "qapropertylineedit.h"
#include "qaresgroup.h"
#include "qastconfiguration.h"
#include "qastproject.h"
#include "qasttargetpackage.h"
#include "qasttargetpackagelist.h"
#include "qaprocess.h"
#include "qastdatafactory.h"
#include "qatrace.h"
#include "studiointerface.h"

#include <QGuiApplication>
#include <QRegExp>
#include <QRegularExpressionValidator>
#include <QWidget>
#include <QDir>
#include <QDomElement>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <unistd.h>

bool QAStNode::_isConnected = false;
QAStNode* QAStNode::_runRoot = nullptr;

QAStNode::QAStNode(const QString& name, const QPixmap& icon, QAStData* parent, QAStData* after)
    : QAStData(name, icon, parent, after)
{
    connectConfigurations();
}

QAStNode::QAStNode(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStData(element.firstChild().toElement(), version, parent, after)
{
    // The parent's configurations first: what the file says of this node
    // then replaces them.
    connectConfigurations();
    init(element, version);
}

QAStNode::QAStNode(QARes* resources, QAStData* parent, QAStData* after)
    : QAStData(resources, parent, after)
{
    connectConfigurations();
    init(resources);
}

QAStNode::~QAStNode()
{
    delete childIterator;
    qDeleteAll(_configurations);
    // A root deleted during its run must not keep every later run from
    // hearing its own end.
    if (_runRoot == this) {
        _runRoot = nullptr;
        _isConnected = false;
    }
}

QAStNode* QAStNode::toNode(QAStData* data)
{
    return qobject_cast<QAStNode*>(data);
}

QList<QAStNode*> QAStNode::children() const
{
    QList<QAStNode*> nodes;
    for (QAStData* child = firstChild(); child; child = child->next()) {
        if (QAStNode* node = toNode(child))
            nodes.append(node);
    }
    return nodes;
}

bool QAStNode::isSkipped(QAStNode* node) const
{
    const State s = node->effectiveState();
    return s == Excluded || s == ReportOnly;
}

// ---------------------------------------------------------------------------
// Project file

void QAStNode::init(const QDomElement& element, int version)
{
    Q_UNUSED(version);
    if (!CHECK_TAG(element, "node"))
        return;
    // The first child is the `data` element, read by the base already.
    for (QDomElement child = element.firstChild().nextSiblingElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        const QString tag = child.tagName();
        if (tag == QLatin1String("current_configuration")) {
            _currentConfiguration = xmlValueToString(child.text());
        } else if (tag == QLatin1String("state")) {
            // A hand-edited value outside the three states keeps the default.
            const int read = xmlValueToInt(child.text());
            if (read >= Included && read <= ReportOnly)
                state = read;
        } else if (tag == QLatin1String("checked")) {
            // Older files: "true" meant excluded. The word reads the other way
            // round, and that is how those files are meant.
            state = xmlValueToBool(child.text()) ? Excluded : Included;
        } else if (tag == QLatin1String("background")) {
            background = xmlValueToBool(child.text());
        } else if (tag == QLatin1String("outfilename_list")) {
            readOutFileNames(child);
        } else if (tag == QLatin1String("perlscript_before_child")) {
            perlscriptBeforeChild = xmlValueToString(child.text());
        } else if (tag == QLatin1String("perlscript_after_child")) {
            perlscriptAfterChild = xmlValueToString(child.text());
        } else if (tag == QLatin1String("configuration_list")) {
            readConfigurations(child, version);
        } else {
            displayMessage(MessageConsole, tr("Element unknown in node : %1").arg(tag));
        }
    }
}

QAPropertyGroup* QAStNode::propertyGroup()
{
    QAPropertyGroup* group = QAStData::propertyGroup();
    // A dot or a comma in a name would split the dotted path of a node and
    // the lists of the project file.
    if (auto* name = dynamic_cast<QAPropertyLineEdit*>(group->property(QStringLiteral("name"))))
        name->setValidator(new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[^.,]+$"))));
    auto* buildState = new QAPropertyAttrComboInt(QStringLiteral("state"), &state);
    buildState->setName(tr("Build State"));
    buildState->insertItem(tr("Include for build"), Included);
    buildState->insertItem(tr("Exclude for build"), Excluded);
    buildState->insertItem(tr("Provide Report Files Only"), ReportOnly);
    group->addChild(buildState);
    auto* backMode = new QAPropertyAttrYesNo(QStringLiteral("backMode"), &background);
    backMode->setName(tr("Execute in background"));
    group->addChild(backMode);
    return group;
}

void QAStNode::propertyModified(QAProperty* property)
{
    if (!property || property->key() != QLatin1String("state")) {
        QAStData::propertyModified(property);
        return;
    }
    // The combo has stored the value already; setState tells the views.
    setState(static_cast<State>(property->value().toInt()));
    modified = true;
}

void QAStNode::init(QARes* resources)
{
    QAResGroup* group = resources ? resources->toResGroup() : nullptr;
    if (!group || !group->child())
        return;
    QAStAttribute<int> read;
    readIntVal(resources, "state", read);
    if (read.isSet && read.get() >= Included && read.get() <= ReportOnly)
        state = read.get();
    // Older files: "true" meant excluded, as in the project file.
    QAStAttribute<bool> checked;
    readBoolVal(resources, "checked", checked);
    if (checked.isSet)
        state = checked.get() ? Excluded : Included;
    readBoolVal(resources, "background", background);
    QAStAttribute<QString> before;
    readStrVal(resources, "perlscript_before_child", before);
    if (before.isSet)
        perlscriptBeforeChild = before.get();
    QAStAttribute<QString> after;
    readStrVal(resources, "perlscript_after_child", after);
    if (after.isSet)
        perlscriptAfterChild = after.get();
    QARes* list = group->child()->search("configurations");
    if (!list || !list->toResGroup())
        return;
    // What the file says of a configuration replaces what the parent handed
    // down; the others stay.
    for (QARes* item = list->toResGroup()->child(); item; item = item->next()) {
        auto* configuration = new QAStConfiguration(QString(), this);
        configuration->init(item);
        if (configuration->name().isEmpty()) {
            delete configuration;
            continue;
        }
        delete _configurations.take(configuration->name());
        _configurations.insert(configuration->name(), configuration);
    }
}

void QAStNode::readOutFileNames(const QDomElement& list)
{
    for (QDomElement entry = list.firstChildElement(QStringLiteral("outfilename")); !entry.isNull();
         entry = entry.nextSiblingElement(QStringLiteral("outfilename"))) {
        const QDomElement type = entry.firstChild().toElement();
        const QDomElement paths = type.nextSibling().toElement();
        if (type.tagName() != QLatin1String("filetype") || paths.tagName() != QLatin1String("filepath"))
            continue;
        const QStringList files = xmlValueToStringList(paths.text());
        if (!files.isEmpty())
            outFileNamesMap[xmlValueToString(type.text())] = files;
    }
}

void QAStNode::readConfigurations(const QDomElement& list, int version)
{
    // What the parent handed down is replaced by what the file says; nobody
    // has seen those stores yet, so they go without a word.
    qDeleteAll(_configurations);
    _configurations.clear();
    for (QDomElement element = list.firstChildElement(QStringLiteral("configuration")); !element.isNull();
         element = element.nextSiblingElement(QStringLiteral("configuration"))) {
        auto* configuration = new QAStConfiguration(QString(), this);
        configuration->init(element, version);
        // Two elements of one name: the later one stands.
        delete _configurations.value(configuration->name());
        _configurations.insert(configuration->name(), configuration);
    }
}

void QAStNode::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<node>\n";
    QAStData::write(stream, indent + 1);
    toStream(stream, "current_configuration", stringToXMLValue(_currentConfiguration), indent + 1);
    toStream(stream, "state", intToXMLValue(state.get()), indent + 1);
    toStream(stream, "background", boolToXMLValue(background.get()), indent + 1);
    writeOutFileNames(stream, indent + 1);
    if (!perlscriptBeforeChild.isEmpty())
        toStream(stream, "perlscript_before_child", stringToXMLValue(perlscriptBeforeChild), indent + 1);
    if (!perlscriptAfterChild.isEmpty())
        toStream(stream, "perlscript_after_child", stringToXMLValue(perlscriptAfterChild), indent + 1);
    indentXML(stream, indent + 1);
    stream << "<configuration_list>\n";
    for (QAStConfiguration* configuration : std::as_const(_configurations))
        configuration->write(stream, indent + 2);
    indentXML(stream, indent + 1);
    stream << "</configuration_list>\n";
    indentXML(stream, indent);
    stream << "</node>\n";
}

void QAStNode::writeOutFileNames(QTextStream& stream, int indent) const
{
    bool any = false;
    for (const QStringList& files : outFileNamesMap)
        any = any || !files.isEmpty();
    if (!any)
        return;
    indentXML(stream, indent);
    stream << "<outfilename_list>\n";
    for (auto it = outFileNamesMap.constBegin(); it != outFileNamesMap.constEnd(); ++it) {
        if (it.value().isEmpty())
            continue;
        indentXML(stream, indent + 1);
        stream << "<outfilename>\n";
        toStream(stream, "filetype", stringToXMLValue(it.key()), indent + 2);
        toStream(stream, "filepath", stringListToXMLValue(it.value()), indent + 2);
        indentXML(stream, indent + 1);
        stream << "</outfilename>\n";
    }
    indentXML(stream, indent);
    stream << "</outfilename_list>\n";
}

// ---------------------------------------------------------------------------
// Simple answers

void QAStNode::setState(QAStNode::State value)
{
    state = value;
    emit stateChanged(value);
}

bool QAStNode::isNodeExecutable()
{
    return true;
}

int QAStNode::executionFlag()
{
    // A node without a configuration has no step selected.
    const QAStConfiguration* configuration = currentConfiguration();
    return configuration ? configuration->property(QStringLiteral("executionFlag")).toInt() : 0;
}

unsigned int QAStNode::settingsMask() const
{
    return 0xFFFFFFFFu;
}

QStringList QAStNode::disableViewerList() const
{
    return QStringList();
}

QList<QAStNode*> QAStNode::childrenToBuild()
{
    return children();
}

QList<QAStNode*> QAStNode::childrenToExecute()
{
    return children();
}

QAStNode* QAStNode::buildExecuteChildNode() const
{
    if (!childIterator || childPosition >= childIterator->size())
        return nullptr;
    return childIterator->at(childPosition).data();
}

void QAStNode::settings()
{
    emit editSettings();
}

namespace {
// Each node below gets the call once, from its nearest node above, and passes
// it on itself; an external command keeps its own state, but what hangs below
// it does not.
void commitSettingsBelow(QAStData* data)
{
    for (QAStData* child = data->firstChild(); child; child = child->next()) {
        QAStNode* node = QAStNode::toNode(child);
        if (node && !node->inherits("QAStNodeUser"))
            node->settingsCommited();
        else
            commitSettingsBelow(child);
    }
}
} // namespace

void QAStNode::settingsCommited()
{
    forceRebuild = true;
    modified = true;
    commitSettingsBelow(this);
}

void QAStNode::openReportById(int id)
{
    openReportById(id, true);
}

void QAStNode::openReportById(int id, bool showError)
{
    const QString name = getViewerNameById(id);
    if (!name.isNull())
        openReportByName(name, showError);
}

void QAStNode::openReportByName(const QString& name)
{
    openReportByName(name, true);
}

void QAStNode::openReportByName(const QString& name, bool showError)
{
    StudioInterface* studio = studioIFace();
    if (!studio || disableViewerList().contains(name))
        return;
    if (name == QLatin1String("All_Report")) {
        // A viewer without files stays closed here: one command, no boxes.
        studio->setUpdatesEnabled(false);
        for (const QString& viewer : studio->viewerFeatureList())
            openReportByName(viewer, false);
        studio->setUpdatesEnabled(true);
        return;
    }
    const QString title = tr("%1 Viewer").arg(name);
    QStringList files;
    bool found = false;
    outFileNameForViewer(name, files, &found);
    if (!found) {
        studio->messageBox(QMessageBox::Critical, title, tr("Unable to access to the viewer interface."));
        return;
    }
    if (files.isEmpty()) {
        if (showError)
            studio->messageBox(QMessageBox::Critical, title,
                               tr("Cannot view this report. \nNo file generated."));
        return;
    }
    const bool gui = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (gui)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    QWidget* window = studio->openViewer(name, files, viewers.value(name));
    if (window) {
        QStringList path(QAStData::name());
        for (QAStData* up = parent(); up; up = up->parent())
            path.prepend(up->name());
        window->setWindowTitle(path.join(QLatin1Char('.')));
        viewers.insert(name, window);
        studio->showViewer(window);
    }
    if (gui)
        QGuiApplication::restoreOverrideCursor();
}

void QAStNode::outFileNameForViewer(const QString& viewer, QStringList& out, bool* found)
{
    if (found)
        *found = false;
    StudioInterface* studio = studioIFace();
    if (!studio)
        return;
    bool known = false;
    const QStringList patterns = studio->viewerFilters(viewer, &known);
    if (found)
        *found = known;
    if (!known)
        return;
    QStringList files;
    listOutFileNames(files);
    for (const QString& pattern : patterns) {
        const QStringList parts = pattern.split(QLatin1Char(';'), Qt::SkipEmptyParts);
        int satisfied = 0;
        for (const QString& part : parts) {
            const QRegExp wildcard(part, Qt::CaseInsensitive, QRegExp::Wildcard);
            bool matched = false;
            for (const QString& file : files) {
                if (wildcard.indexIn(file) != -1) {
                    out.append(file);
                    matched = true;
                }
            }
            if (matched)
                ++satisfied;
        }
        if (!out.isEmpty() && satisfied == parts.size())
            return;
        out.clear();
    }
}

void QAStNode::addUserNode()
{
    if (QAStData* node = QAStDataFactory::make(QStringLiteral("QAStNodeUser"),
                                               tr("External Command"), this, nullptr))
        adoptAsCommand(node);
}

void QAStNode::appendUserNode()
{
    QAStData* holder = parent();
    if (!holder)
        return;
    if (QAStData* node = QAStDataFactory::make(QStringLiteral("QAStNodeUser"),
                                               tr("External Command"), holder, this))
        holder->adoptAsCommand(node, this);
}

void QAStNode::moveUp()
{
    QAStData* up = parent();
    QAStData* before = previous();
    if (!up || !before)
        return;
    QAStData* anchor = before->previous();
    remove();
    up->addChild(this, anchor);
}

void QAStNode::moveDown()
{
    QAStData* up = parent();
    QAStData* after = next();
    if (!up || !after)
        return;
    remove();
    up->addChild(this, after);
}

// ---------------------------------------------------------------------------
// Deciding to build

bool QAStNode::mustRebuilt()
{
    _rebuildReason.clear();
    if (forceRebuild) {
        _rebuildReason = QStringLiteral("forced");
        return true;
    }
    for (QAStData* child = firstChild(); child; child = child->next()) {
        QAStNode* node = toNode(child);
        if (!node || node->inherits("QAStNodeUser") || isSkipped(node))
            continue;
        if (node->mustRebuilt()) {
            warning("QAStData::mustRebuilt %s", qPrintable(node->name()));
            _rebuildReason = node->name() + QLatin1String(": ") + node->rebuildReason();
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------------------
// Building

void QAStNode::build()
{
    buildProcess(false);
}

void QAStNode::rebuild()
{
    rebuildProcess(false);
}

void QAStNode::rebuildProcess(bool debug)
{
    debugRun = debug;
    forceRebuild = true;
    const QList<QAStData*> descendants = childrenOfClass("QAStNode", true);
    for (QAStData* descendant : descendants)
        static_cast<QAStNode*>(descendant)->forceRebuild = true;
    deleteOutFileNames();
    buildProcess(debug);
}

void QAStNode::buildProcess(bool debug)
{
    debugRun = debug;
    executionResult = ExecutionNone;
    for (QAStData* ancestor = parent(); ancestor; ancestor = ancestor->parent()) {
        if (QAStNode* node = toNode(ancestor)) {
            node->executionResult = ExecutionNone;
            emit node->buildExecuteFinished();
        }
    }
    emit buildExecuteInvoked();
    if (!_isConnected) {
        connect(this, &QAStNode::buildExecuteFinished, this, &QAStNode::done);
        _isConnected = true;
        _runRoot = this;
    }
    clearMessage(BuildConsole);
    if (StudioInterface* studio = studioIFace()) {
        studio->prepareRun();
        studio->raiseConsole();
    }
    if (isSkipped(this)) {
        emit buildExecuteFinished();
        return;
    }
    if (mustRebuilt()) {
        buildNode();
        return;
    }
    displayMessage(BuildConsole, tr("%1: is up-to-date\n").arg(name()));
    executionResult = ExecutionSuccess;
    emit buildExecuteFinished();
}

void QAStNode::enterDirectory()
{
    // A node that builds and then executes enters twice in one run; the
    // directory to go back to is the one from before the first entry.
    if (savedDirectory.isEmpty())
        savedDirectory = QDir::currentPath();
    QDir::setCurrent(directory());
}

void QAStNode::buildNode()
{
    enterDirectory();
    executionResult = ExecutionNone;
    buildFirstChild();
}

void QAStNode::buildFirstChild()
{
    startChildWalk(childrenToBuild());
    goOnWithChildren(false);
}

void QAStNode::startChildWalk(const QList<QAStNode*>& nodes)
{
    delete childIterator;
    childIterator = new QList<QPointer<QAStNode>>;
    for (QAStNode* child : nodes)
        childIterator->append(child);
    childPosition = 0;
}

// Starts the child at the iterator, or ends the walk when none is left.
void QAStNode::goOnWithChildren(bool execution)
{
    if (execution ? nextChildToExecute() : nextChildToBuild()) {
        QAStNode* child = buildExecuteChildNode();
        if (execution) {
            executeChildStartEvent(child);
            executeCurrentChild();
        } else {
            buildChildStartEvent(child);
            buildCurrentChild();
        }
        return;
    }
    finishChildWalk(execution);
}

void QAStNode::finishChildWalk(bool execution)
{
    delete childIterator;
    childIterator = nullptr;
    if (execution) {
        executeStartEvent();
        emit buildExecuteStarted();
        executeAfterChildren(debugRun);
    } else {
        buildStartEvent();
        emit buildExecuteStarted();
        buildAfterChildren();
    }
}

bool QAStNode::nextChildToBuild()
{
    while (childIterator && childPosition < childIterator->size()) {
        QAStNode* child = childIterator->at(childPosition);
        if (!child || isSkipped(child)) {
            ++childPosition;
            continue;
        }
        if (child->mustRebuilt() || child->inherits("QAStNodeUser"))
            return true;
        displayMessage(BuildConsole, tr("%1: is up-to-date\n").arg(child->name()));
        executionResult = ExecutionSuccess;
        ++childPosition;
    }
    return false;
}

void QAStNode::buildCurrentChild()
{
    QAStNode* child = buildExecuteChildNode();
    if (!child)
        return;
    listenForChildEnd(child, &QAStNode::buildNextChild);
    child->buildNode();
}

// The child's end is taken up in the next turn of the event loop, so that a
// walk through many children does not grow the stack. The connection goes at
// the child's first signal, not when the slot runs: a child that signals its
// end twice before then (a background node whose execution ended at once) is
// still heard once, and the walk goes on once.
void QAStNode::listenForChildEnd(QAStNode* child, void (QAStNode::*slot)())
{
    connect(child, &QAStNode::buildExecuteFinished, this, slot,
            Qt::ConnectionType(Qt::QueuedConnection | Qt::UniqueConnection | Qt::SingleShotConnection));
}

bool QAStNode::abortBuildOnChildError(QAStNode* child)
{
    const int status = child->executionStatus();
    return status == ExecutionFailed || status == ExecutionStopped;
}

void QAStNode::buildNextChild()
{
    QAStNode* child = buildExecuteChildNode();
    if (!childIterator)
        return;
    if (!child) {
        // The child went away during its run: count it as stopped.
        executionResult = ExecutionStopped;
        abortBuildExecute();
        return;
    }
    buildChildFinishEvent(child);
    if (abortBuildOnChildError(child)) {
        executionResult = child->executionStatus();
        abortBuildExecute();
        return;
    }
    child->forceRebuild = false;
    ++childPosition;
    goOnWithChildren(false);
}

void QAStNode::buildAfterChildren()
{
    if (perlscriptAfterChild.isEmpty()) {
        buildFinishEvent();
        abortBuildExecute();
        forceRebuild = false;
        return;
    }
    QTextStream stream;
    if (!createEnvironmentFile(stream)) {
        executionResult = ExecutionFailed;
        buildFinishEvent();
        abortBuildExecute();
        return;
    }
    generateBuildEnv(stream);
    connect(this, &QAStData::perlScriptTerminated, this, &QAStNode::buildScriptTerminated,
            Qt::UniqueConnection);
    executePerlScript(perlscriptAfterChild, directory(), &stream, true, BuildConsole, nullptr);
}

void QAStNode::generateEnvWithout(QTextStream& stream, int steps)
{
    const ExecutionFlagMask mask(this, steps);
    generateEnv(stream);
}

QAStNode::ExecutionFlagMask::ExecutionFlagMask(QAStNode* node, int steps)
    : configuration(node->currentConfiguration()), flag(node->executionFlag()),
      held(configuration && configuration->hasProperty(QStringLiteral("executionFlag")))
{
    if (configuration)
        configuration->setProperty(QStringLiteral("executionFlag"), flag & ~steps);
}

QAStNode::ExecutionFlagMask::~ExecutionFlagMask()
{
    if (!configuration)
        return;
    if (held)
        configuration->setProperty(QStringLiteral("executionFlag"), flag);
    else
        configuration->unsetProperty(QStringLiteral("executionFlag"));
}

void QAStNode::buildScriptTerminated()
{
    warning("QAStNode::buildScriptTerminated [%s]", qPrintable(name()));
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStNode::buildScriptTerminated);
    readLogFile();
    if (executionResult == ExecutionSuccess)
        forceRebuild = false;
    buildFinishEvent();
    if (executionResult == ExecutionFailed || executionResult == ExecutionStopped) {
        abortBuildExecute();
        return;
    }
    if (isNodeExecutable()) {
        executeNode();
        if (!background.get())
            return;
    }
    emit buildExecuteFinished();
}

void QAStNode::abortBuildExecute()
{
    if (!savedDirectory.isEmpty()) {
        QDir::setCurrent(savedDirectory);
        savedDirectory.clear();
    }
    delete childIterator;
    childIterator = nullptr;
    emit buildExecuteFinished();
}

void QAStNode::done()
{
    if (executionResult == ExecutionSuccess)
        displayMessage(BuildConsole, tr("\nSuccess\n"));
    disconnect(this, &QAStNode::buildExecuteFinished, this, &QAStNode::done);
    _isConnected = false;
    _runRoot = nullptr;
}

// ---------------------------------------------------------------------------
// Executing

void QAStNode::execute()
{
    executeOrDebug(false);
}

void QAStNode::debug()
{
    executeOrDebug(true);
}

void QAStNode::executeOrDebug(bool debug)
{
    executionResult = ExecutionNone;
    emit buildExecuteInvoked();
    debugRun = debug;
    clearMessage(BuildConsole);
    StudioInterface* studio = studioIFace();
    if (studio)
        studio->prepareRun();
    if (mustRebuilt()) {
        // A batch run has nobody to ask: it rebuilds.
        if (QAStProject::modeBatch()) {
            rebuildProcess(debug);
            return;
        }
        int answer = QMessageBox::Yes;
        if (studio) {
            answer = studio->messageBox(
                QMessageBox::Warning, tr("%1 execution").arg(name()),
                tr("You have changed settings, compilation flags or source file content.\n"
                   "Do you want to rebuild the node?"),
                QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, QMessageBox::Yes);
        }
        if (answer == QMessageBox::Yes) {
            rebuildProcess(debug);
            return;
        }
        if (answer != QMessageBox::No) {
            emit buildExecuteFinished();
            return;
        }
        forceRebuild = false;
        for (QAStNode* child : children())
            child->forceRebuild = false;
    }
    if (studio)
        studio->raiseConsole();
    executeNode();
}

void QAStNode::executeNode()
{
    warning("QAStNode::executeNode [%s]", qPrintable(name()));
    enterDirectory();
    if (executionFlag() & ExecutionSteps) {
        executeFirstChild();
        return;
    }
    displayMessage(BuildConsole, tr("%1: no execution step is selected\n").arg(name()));
    abortBuildExecute();
}

void QAStNode::executeFirstChild()
{
    startChildWalk(childrenToExecute());
    goOnWithChildren(true);
}

// An excluded child that cannot execute itself stays in the walk: that is how
// the kinds that are not executable pass their turn.
bool QAStNode::nextChildToExecute()
{
    while (childIterator && childPosition < childIterator->size()) {
        QAStNode* child = childIterator->at(childPosition);
        if (child && (child->effectiveState() == Included || !child->isNodeExecutable()))
            return true;
        ++childPosition;
    }
    return false;
}

void QAStNode::executeCurrentChild()
{
    QAStNode* child = buildExecuteChildNode();
    if (!child)
        return;
    child->debugRun = debugRun;
    if (child->background.get()) {
        child->executeNode();
        executeNextChild();
        return;
    }
    listenForChildEnd(child, &QAStNode::executeNextChild);
    child->executeNode();
}

void QAStNode::executeNextChild()
{
    QAStNode* child = buildExecuteChildNode();
    if (!childIterator)
        return;
    if (!child) {
        executionResult = ExecutionFailed;
        abortBuildExecute();
        return;
    }
    child->debugRun = false;
    executeChildFinishEvent(child);
    if (child->executionStatus() == ExecutionStopped) {
        executionResult = ExecutionFailed;
        abortBuildExecute();
        return;
    }
    ++childPosition;
    goOnWithChildren(true);
}

void QAStNode::executeAfterChildren(bool)
{
    abortBuildExecute();
}

// ---------------------------------------------------------------------------
// Events

void QAStNode::buildStartEvent()
{
    warning("buildStartEvent for [%s]", qPrintable(name()));
}

void QAStNode::buildFinishEvent()
{
    warning("buildFinishEvent for [%s]", qPrintable(name()));
}

void QAStNode::buildChildStartEvent(QAStNode* child)
{
    warning("buildChildStartEvent for [%s]", qPrintable(child ? child->name() : QString()));
}

void QAStNode::buildChildFinishEvent(QAStNode* child)
{
    warning("buildChildFinishEvent for [%s]", qPrintable(child->name()));
    // A failure overrules everything; a failed verdict overrules a success
    // that comes after it.
    const int c = child->executionStatus();
    int& s = executionResult;
    if (c == ExecutionFailed)
        s = ExecutionFailed;
    else if (s == ExecutionFailed)
        return;
    else if (c == ExecutionTestFailed)
        s = ExecutionTestFailed;
    else if (s != ExecutionTestFailed)
        s = c;
}

void QAStNode::executeStartEvent()
{
    warning("executeStartEvent for [%s]", qPrintable(name()));
}

void QAStNode::executeFinishEvent()
{
    warning("executeFinishEvent for [%s]", qPrintable(name()));
}

void QAStNode::executeChildStartEvent(QAStNode* child)
{
    warning("executeChildStartEvent for [%s]", qPrintable(child ? child->name() : QString()));
}

void QAStNode::executeChildFinishEvent(QAStNode* child)
{
    warning("executeChildFinishEvent for [%s]", qPrintable(child ? child->name() : QString()));
}

void QAStNode::cleanStartEvent()
{
    warning("cleanStartEvent for [%s]", qPrintable(name()));
}

void QAStNode::cleanFinishEvent()
{
    warning("cleanFinishEvent for [%s]", qPrintable(name()));
}

// ---------------------------------------------------------------------------
// Cleaning

void QAStNode::clean()
{
    if (StudioInterface* studio = studioIFace())
        studio->raiseConsole();
    displayMessage(BuildConsole, tr("%1: Cleaning...\n").arg(name()));
    cleanStartEvent();
    deleteOutFileNames();
    cleanFinishEvent();
}

void QAStNode::deleteOutFileNames()
{
    // With the separator: one configuration's hash may begin another's.
    const QString prefix = _hashCode(_currentConfiguration) + QLatin1Char('_');
    // Looked up only by a node that has files to delete: a clean walks every
    // node, and the way up to the project is as long as the tree is deep.
    QAStProject* owner = nullptr;
    bool ownerKnown = false;
    for (auto it = outFileNamesMap.constBegin(); it != outFileNamesMap.constEnd(); ++it) {
        if (!it.key().startsWith(prefix))
            continue;
        for (const QString& path : it.value()) {
            const QString absolute = determineAbsolutePathFile(path);
            if (!ownerKnown) {
                owner = qobject_cast<QAStProject*>(project());
                ownerKnown = true;
            }
            // A script may report a file the user keeps, a source most of
            // all: what the project knows is never removed by a clean.
            if (owner && owner->file(absolute))
                continue;
            const QFileInfo info(absolute);
            if (info.isDir() && !info.isSymLink())
                QAFileUtil::removeDirectory(absolute);
            else
                ::unlink(QFile::encodeName(absolute).constData());
        }
    }
    // Every configuration's entries go, though only the current one's files
    // are deleted from disk.
    clearOutFileNames();
    for (QAStNode* child : children())
        child->deleteOutFileNames();
    executionResult = ExecutionNone;
    modified = true;
    emit nodeCleaned();
}

// ---------------------------------------------------------------------------
// Stopping

void QAStNode::launchStopProcess(qint64 pid)
{
    if (stopProcess)
        return;
    // Stopped from now on: the script may die of the stop script's signal
    // before the stop script ends, and its exit must not read as a failure.
    executionResult = ExecutionStopped;
    QStringList command = perlCommand();
    command.removeAll(QString());
    command << scriptsDir() + QDir::separator() + QStringLiteral("Stop.pl") << environmentFileName()
            << QString::number(pid) << perlscriptAfterChild;
    stopProcess = new QAProcess(this);
    connect(stopProcess, &QAProcess::stdoutReceived, this, &QAStData::charReceived);
    connect(stopProcess, &QAProcess::stderrReceived, this, &QAStData::charErrorReceived);
    connect(stopProcess, &QAProcess::exited, this, &QAStNode::stopProcessTerminated);
    bool normalExit = false;
    int status = 0;
    if (!stopProcess->start(command, QDir(directory()), normalExit, status, nullptr, true)) {
        displayMessage(BuildConsole, tr("%1: unable to start the command\n").arg(command.first()),
                       ErrorStream);
        delete stopProcess;
        stopProcess = nullptr;
        // The script must still end even when the stop script cannot run.
        killAfterStop();
    }
}

void QAStNode::stopProcessTerminated(bool, int)
{
    if (stopProcess) {
        stopProcess->disconnect(this);
        stopProcess->deleteLater();
        stopProcess = nullptr;
    }
    killAfterStop();
}

// This node is already marked stopped, so the common walk would pass it by.
void QAStNode::killAfterStop()
{
    killAsStopped();
    executeAfterStopProcess();
}

// ---------------------------------------------------------------------------
// The output file map

QString QAStNode::_hashCode(const QString& text)
{
    const QString upper = text.toUpper();
    quint32 value = 0x4A4A4A4Au;
    int position = 0;
    for (const QChar c : upper) {
        if (c.unicode() < 256)
            value ^= quint32(c.unicode()) << (8 * position);
        position = (position + 1) % 4;
    }
    return QString::number(value);
}

QString QAStNode::outFileNameKey(const QString& type) const
{
    return _hashCode(_currentConfiguration) + QLatin1Char('_') + type.toUpper();
}

void QAStNode::addOutFileName(const QString& type, const QString& path)
{
    const QString relative = determineRelativePathFile(path);
    QStringList& list = outFileNamesMap[outFileNameKey(type)];
    if (!list.contains(relative))
        list.append(relative);
}

void QAStNode::addOutFileName(const QString& type, const QStringList& paths)
{
    for (const QString& path : paths)
        addOutFileName(type, path);
}

void QAStNode::removeOutFileName(const QString& type, const QString& path)
{
    const auto it = outFileNamesMap.find(outFileNameKey(type));
    if (it != outFileNamesMap.end())
        it.value().removeAll(determineRelativePathFile(path));
}

void QAStNode::clearOutFileNames()
{
    outFileNamesMap.clear();
}

QMap<QString, QStringList>& QAStNode::outFileNameMap()
{
    return outFileNamesMap;
}

void QAStNode::outFileNames(const QString& type, QStringList& out)
{
    if (effectiveState() == Excluded)
        return;
    const auto it = outFileNamesMap.constFind(outFileNameKey(type));
    if (it != outFileNamesMap.constEnd()) {
        for (const QString& path : it.value()) {
            const QString absolute = determineAbsolutePathFile(path);
            if (!out.contains(absolute))
                out.append(absolute);
        }
    }
    for (QAStNode* child : children())
        child->outFileNames(type, out);
}

QString QAStNode::outFileName(const QString& type)
{
    if (effectiveState() == Excluded)
        return QString();
    const auto it = outFileNamesMap.constFind(outFileNameKey(type));
    if (it != outFileNamesMap.constEnd() && !it.value().isEmpty())
        return determineAbsolutePathFile(it.value().first());
    for (QAStNode* child : children()) {
        const QString found = child->outFileName(type);
        if (!found.isNull())
            return determineAbsolutePathFile(found);
    }
    return QString();
}

bool QAStNode::outFileNameContains(const QString& type)
{
    return outFileNamesMap.contains(outFileNameKey(type));
}

void QAStNode::outFileNamesOutOf(const QString& type, QStringList& out)
{
    const QString prefix = _hashCode(_currentConfiguration) + QLatin1Char('_');
    const QString excluded = outFileNameKey(type);
    for (auto it = outFileNamesMap.constBegin(); it != outFileNamesMap.constEnd(); ++it) {
        if (it.key().startsWith(prefix) && it.key() != excluded)
            out.append(it.value());
    }
}

void QAStNode::listOutFileNames(QStringList& out)
{
    if (effectiveState() == Excluded)
        return;
    const QString prefix = _hashCode(_currentConfiguration) + QLatin1Char('_');
    const QString dummy = outFileNameKey(QStringLiteral("DUM"));
    for (auto it = outFileNamesMap.constBegin(); it != outFileNamesMap.constEnd(); ++it) {
        if (!it.key().startsWith(prefix) || it.key() == dummy)
            continue;
        for (const QString& path : it.value()) {
            const QString absolute = determineAbsolutePathFile(path);
            if (!out.contains(absolute))
                out.append(absolute);
        }
    }
    for (QAStNode* child : children())
        child->listOutFileNames(out);
}

QString QAStNode::logFilename()
{
    return directory() + QDir::separator() + QStringLiteral("intermediates_files")
        + QString::number(quid) + QStringLiteral(".log");
}

void QAStNode::readLogFile()
{
    const QString fileName = logFilename();
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        warning("cannot open file %s", qPrintable(fileName));
        return;
    }
    while (!file.atEnd()) {
        const QByteArray bytes = file.readLine(4096);
        if (bytes.isEmpty() && file.error() != QFileDevice::NoError) {
            if (StudioInterface* studio = studioIFace())
                studio->messageBox(QMessageBox::Critical, studio->applicationName(),
                                   tr("An error occured when trying to read log file %1").arg(fileName));
            break;
        }
        QString line = QString::fromLocal8Bit(bytes);
        if (line.endsWith(QLatin1Char('\n')))
            line.chop(1);
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        const QString type = line.left(3);
        const QString path = line.mid(4);
        if (path.isEmpty())
            continue;
        addOutFileName(type, QAFileUtil::longPath(path));
    }
    file.close();
    modified = true;
    QFile::remove(fileName);
}

// ---------------------------------------------------------------------------
// Report file names

// A report set to "<default>" is named after the test that produces it: the
// nearest test above for coverage and traces, which a whole test collects,
// and only a test right above for the other reports; else after this node.
QString QAStNode::reportFile(const char* key, const char* extension, const char* fallback,
                             bool nearestTest)
{
    QString file = QString::fromLatin1(fallback);
    if (const QAStConfiguration* configuration = currentConfiguration()) {
        file = configuration->property(QString::fromLatin1(key)).toString();
        if (file.isEmpty() || file == QLatin1String("<default>")) {
            QAStData* test = nearestTest ? parentOfClass("QAStNodeTest") : parent();
            if (!test || !test->inherits("QAStNodeTest"))
                test = this;
            file = configuration->property(QStringLiteral("outdir")).toString() + QDir::separator()
                + QAFileUtil::generateFilename(test->name());
        }
    }
    const QString suffix = QString::fromLatin1(extension);
    if (QFileInfo(file).suffix() != suffix)
        file += QLatin1Char('.') + suffix;
    return determineAbsolutePathFile(file);
}

QString QAStNode::tdfFile()
{
    return reportFile("ztt_tdf_name", "tdf", "tracer.tdf", true);
}

QString QAStNode::tioFile()
{
    return reportFile("ztc_tio_name", "tio", "zentacov.tio", true);
}

QString QAStNode::tqfFile()
{
    return reportFile("ztq_tqf_name", "tqf", "timvexlt.tqf", false);
}

QString QAStNode::tzfFile()
{
    return reportFile("ztz_tzf_name", "tzf", "stacksize.tzf", false);
}

QString QAStNode::tgfFile()
{
    return reportFile("ztg_tgf_name", "tgf", "ccoupling.tgf", false);
}

QString QAStNode::tpfFile()
{
    return reportFile("ztp_tpf_name", "tpf", "memvexlt.tpf", false);
}

// ---------------------------------------------------------------------------
// Configurations
//
// The operations that reach every node below walk the tree with a list of
// their own rather than by recursion: trees are read thousands of levels deep.

namespace {

// The direct child nodes of \a node, pushed so that they come off in order.
void pushChildNodes(QAStNode* node, QList<QAStNode*>& pending)
{
    const QList<QAStNode*> nodes = node->children();
    for (auto it = nodes.crbegin(); it != nodes.crend(); ++it)
        pending.append(*it);
}

} // namespace

QAStConfiguration* QAStNode::configuration(const QString& name) const
{
    return _configurations.value(name);
}

QStringList QAStNode::configurationList() const
{
    return _configurations.keys();
}

QAStConfiguration* QAStNode::currentConfiguration() const
{
    if (QAStConfiguration* current = _configurations.value(_currentConfiguration))
        return current;
    if (_configurations.isEmpty())
        return nullptr;
    warning("ERROR : configuration #0 has been taken by default");
    return _configurations.first();
}

QAStConfiguration* QAStNode::inheritConfiguration(const QAStConfiguration* config)
{
    if (!config)
        return nullptr;
    const QString name = config->name();
    if (_configurations.value(name) != config)
        return nullptr;
    QAStNode* up = toNode(parent());
    return up ? up->configuration(name) : nullptr;
}

QAStConfiguration* QAStNode::addOwnConfiguration(const QString& name)
{
    auto* configuration = new QAStConfiguration(name, this);
    _configurations.insert(name, configuration);
    return configuration;
}

bool QAStNode::removeOwnConfiguration(const QString& name)
{
    QAStConfiguration* configuration = _configurations.value(name);
    if (!configuration)
        return false;
    emit configurationWillBeRemoved(name);
    _configurations.remove(name);
    emit configurationRemoved(name);
    delete configuration;
    modified = true;
    return true;
}

QAStConfiguration* QAStNode::addConfiguration(const QString& name)
{
    if (QAStConfiguration* existing = configuration(name))
        return existing;
    QAStConfiguration* added = nullptr;
    QList<QAStNode*> pending {this};
    while (!pending.isEmpty()) {
        QAStNode* node = pending.takeLast();
        // A node that has the name already keeps it, and so does its subtree.
        if (node->configuration(name))
            continue;
        QAStConfiguration* configuration = node->addOwnConfiguration(name);
        if (!added)
            added = configuration;
        emit node->configurationAdded(name);
        node->modified = true;
        pushChildNodes(node, pending);
    }
    return added;
}

QAStConfiguration* QAStNode::dupConfiguration(const QString& from, const QString& to)
{
    QAStConfiguration* copy = nullptr;
    QList<QAStNode*> pending {this};
    while (!pending.isEmpty()) {
        QAStNode* node = pending.takeLast();
        const QAStConfiguration* source = node->configuration(from);
        if (!source)
            continue;
        QAStConfiguration* target = node->configuration(to);
        if (!target)
            target = node->addOwnConfiguration(to);
        // The map is shared; only the name is the copy's own.
        *target = *source;
        target->setName(to);
        if (!copy)
            copy = target;
        emit node->configurationAdded(to);
        node->modified = true;
        pushChildNodes(node, pending);
    }
    return copy;
}

void QAStNode::removeConfiguration(const QString& name)
{
    QList<QAStNode*> pending {this};
    while (!pending.isEmpty()) {
        QAStNode* node = pending.takeLast();
        if (node->removeOwnConfiguration(name))
            pushChildNodes(node, pending);
    }
}

void QAStNode::removeAllConfigurations()
{
    const QStringList names = configurationList();
    for (const QString& name : names)
        removeOwnConfiguration(name);
}

void QAStNode::connectConfigurations()
{
    if (!toNode(parent()))
        return;
    QList<QAStNode*> pending {this};
    while (!pending.isEmpty()) {
        QAStNode* node = pending.takeLast();
        const QAStNode* up = toNode(node->parent());
        node->_currentConfiguration = up->_currentConfiguration;
        for (auto it = up->_configurations.constBegin(); it != up->_configurations.constEnd(); ++it) {
            if (!node->_configurations.contains(it.key()))
                node->addOwnConfiguration(it.key());
        }
        pushChildNodes(node, pending);
    }
}

void QAStNode::setCurrentConfiguration(const QString& name)
{
    QList<QAStNode*> pending {this};
    while (!pending.isEmpty()) {
        QAStNode* node = pending.takeLast();
        if (!node->configuration(name))
            continue;
        node->_currentConfiguration = name;
        emit node->configurationChanged(name);
        pushChildNodes(node, pending);
    }
}

void QAStNode::changeCurrentConfiguration(const QString& name)
{
    setCurrentConfiguration(name);
    modified = true;
}

QAStTargetPackage* QAStNode::getTDP(const QString& name)
{
    QAStTargetPackageList* installed = QAStTargetPackageList::installTargetPackages();
    if (!installed)
        return nullptr;
    if (QAStTargetPackage* port = installed->targetPackage(name))
        return port;
    for (QAStTargetPackage* port : std::as_const(*installed)) {
        if (port->name == name)
            return port;
    }
    return nullptr;
}

QStringList QAStNode::getTDPnames()
{
    QStringList names;
    if (QAStTargetPackageList* installed = QAStTargetPackageList::installTargetPackages()) {
        for (const QAStTargetPackage* port : std::as_const(*installed))
            names << port->directory;
    }
    return names;
}

QAStTargetPackage* QAStNode::getcurrentTDP() const
{
    const QAStConfiguration* configuration = currentConfiguration();
    return configuration ? configuration->targetPackage() : nullptr;
}

void QAStNode::setTDP(const QAStTargetPackage& port)
{
    QAStConfiguration* configuration = currentConfiguration();
    if (!configuration)
        return;
    // What the former port brought must not outlive it.
    if (const QAStTargetPackage* former = configuration->targetPackage(); former && former != &port)
        configuration->reset(*former);
    configuration->init(port);
    modified = true;
}
