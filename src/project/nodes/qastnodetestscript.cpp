#include "qastnodetestscript.h"

#include "nodemenus_p.h"
#include "qaprocess.h"
#include "qares.h"
#include "qareslist.h"
#include "qaresstring.h"
#include "qastconfiguration.h"
#include "qastnodesource.h"
#include "programnode_p.h"
#include "qastperlgen.h"
#include "qastprojectpref.h"
#include "qatrace.h"
#include "qamessagebox.h"
#include "studiointerface.h"

#include <QDir>
#include <QDomElement>
#include <QFileInfo>
#include <QMenu>
#include <QTextStream>

namespace {

const int CompileSteps = 0x6;
const int RunStep = 0x10;
const int FollowSteps = 0x2F;

// A list element of the project file: the entries up to the first child of
// another tag.
QStringList readList(const QDomElement& element, const char* list, const char* entry)
{
    QStringList values;
    const QDomElement holder = element.namedItem(QString::fromLatin1(list)).toElement();
    if (holder.isNull() || holder.tagName() != QLatin1String(list))
        return values;
    for (QDomElement child = holder.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        if (child.tagName() != QLatin1String(entry))
            break;
        values << QAStData::xmlValueToString(child.text());
    }
    return values;
}

void writeList(QTextStream& stream, const char* list, const char* entry, const QStringList& values, int indent)
{
    QAStData::indentXML(stream, indent);
    stream << '<' << list << ">\n";
    for (const QString& value : values)
        QAStData::toStream(stream, entry, QAStData::stringToXMLValue(value), indent + 1);
    QAStData::indentXML(stream, indent);
    stream << "</" << list << ">\n";
}

void writeSelection(QTextStream& stream, const char* variable, const QStringList& values)
{
    QStringList quoted;
    for (const QString& value : values)
        quoted << QLatin1Char('\'') + QAStPerlGen::perlQuoted(value) + QLatin1Char('\'');
    stream << variable << "=(" << quoted.join(QStringLiteral(", ")) << ");\n";
}

// The selection follows the list: what is new joins it, what is gone leaves.
void follow(QStringList& selection, const QStringList& previous, const QStringList& current)
{
    for (const QString& item : current) {
        if (!previous.contains(item) && !selection.contains(item))
            selection << item;
    }
    selection.erase(std::remove_if(selection.begin(), selection.end(),
                                   [&current](const QString& item) { return !current.contains(item); }),
                    selection.end());
}

QString resString(QARes* res)
{
    QAResString* string = res ? res->toResString() : nullptr;
    return string ? string->value() : QString();
}

} // namespace

// ---------------------------------------------------------------------------
// The common form

QAStNodeTestScript::QAStNodeTestScript(const QString& key, QAStData* parent, QAStData* after)
    : QAStNodeFileRef(key, QPixmap(), parent, after)
{
    initGlobal();
}

QAStNodeTestScript::QAStNodeTestScript(QAStFile* file, QAStData* parent, QAStData* after)
    : QAStNodeFileRef(file, QPixmap(), parent, after)
{
    initGlobal();
}

QAStNodeTestScript::QAStNodeTestScript(const QDomElement& element, int version, QAStData* parent,
                                       QAStData* after)
    : QAStNodeFileRef(element.firstChild().toElement(), version, parent, after)
{
    initGlobal();
    init(element, version);
}

QAStNodeTestScript::QAStNodeTestScript(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNodeFileRef(resources, parent, after)
{
    initGlobal();
    init(resources);
}

void QAStNodeTestScript::initGlobal()
{
    setPerlScriptAfterChild(QStringLiteral("TestScript.pl"));
    setIcon(pixmap(QStringLiteral("testscript_xpm")));
}

void QAStNodeTestScript::init(const QDomElement& element, int version)
{
    Q_UNUSED(version);
    if (!CHECK_TAG(element, "test_script"))
        return;
    _casAll = readList(element, "cas_all", "cas");
    _famAll = readList(element, "fam_all", "fam");
    _casSelection = readList(element, "cas_selection", "cas");
    _famSelection = readList(element, "fam_selection", "fam");
    const QDomElement instance = element.namedItem(QStringLiteral("instance")).toElement();
    if (!instance.isNull())
        _instance = xmlValueToString(instance.text());
    const QDomElement items = element.namedItem(QStringLiteral("use_vtselection")).toElement();
    if (!items.isNull())
        _useVtSelection = xmlValueToBool(items.text());
    const QDomElement families = element.namedItem(QStringLiteral("use_vtfamselection")).toElement();
    if (!families.isNull())
        _useVtFamSelection = xmlValueToBool(families.text());
}

void QAStNodeTestScript::init(QARes* resources)
{
    const struct {
        const char* path;
        QStringList* list;
    } lists[] = {{"cas_all", &_casAll}, {"fam_all", &_famAll}, {"cas_selection", &_casSelection},
                 {"fam_selection", &_famSelection}};
    for (const auto& list : lists) {
        QAStAttribute<QStringList> value;
        readStrListVal(resources, list.path, value);
        if (value.isSet)
            *list.list = value.get();
    }
    QAStAttribute<bool> items(_useVtSelection), families(_useVtFamSelection);
    readBoolVal(resources, "use_vtselection", items);
    readBoolVal(resources, "use_vtfamselection", families);
    _useVtSelection = items.get();
    _useVtFamSelection = families.get();
}

void QAStNodeTestScript::writeTestScript(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<test_script>\n";
    QAStNodeFileRef::write(stream, indent + 1);
    writeList(stream, "cas_all", "cas", _casAll, indent + 1);
    writeList(stream, "fam_all", "fam", _famAll, indent + 1);
    writeList(stream, "cas_selection", "cas", _casSelection, indent + 1);
    writeList(stream, "fam_selection", "fam", _famSelection, indent + 1);
    toStream(stream, "instance", stringToXMLValue(_instance), indent + 1);
    toStream(stream, "use_vtselection", boolToXMLValue(_useVtSelection), indent + 1);
    toStream(stream, "use_vtfamselection", boolToXMLValue(_useVtFamSelection), indent + 1);
    indentXML(stream, indent);
    stream << "</test_script>\n";
}

void QAStNodeTestScript::write(QTextStream& stream, int indent)
{
    writeTestScript(stream, indent);
}

unsigned int QAStNodeTestScript::settingsMask() const
{
    return 0x8000;
}

// A script is made into something only by the compile steps.
bool QAStNodeTestScript::mustRebuilt()
{
    if (!(executionFlag() & CompileSteps))
        return false;
    return QAStNodeFileRef::mustRebuilt();
}

void QAStNodeTestScript::generateEnv(QTextStream& stream)
{
    QAStData::generateEnv(stream);
    writeObjectTestFiles(stream);
    if (_useVtSelection)
        writeSelection(stream, "@VT_ITEM_SELECTION", _casSelection);
    if (_useVtFamSelection)
        writeSelection(stream, "@VT_FAM_SELECTION", _famSelection);
}

// The object-test information of every script beside this one, this one's
// own included: the contracts that the object test of the parent checks.
void QAStNodeTestScript::writeObjectTestFiles(QTextStream& stream)
{
    QAStData* up = parent();
    if (!up || !up->inherits("QAStNodeObjectTesting"))
        return;
    ProgramNode::writeObjectTestList(this, up->childrenOfClass("QAStNodeTestScript", false), stream);
}

// A changed object-test contract makes the sources behind the script that
// are instrumented with it old.
void QAStNodeTestScript::buildFinishEvent()
{
    QAStNodeFileRef::buildFinishEvent();
    const QString type = fileType();
    if (type != QLatin1String("OTC") && type != QLatin1String("OTD"))
        return;
    QStringList contracts;
    outFileNames(QStringLiteral("OTI"), contracts);
    const QDateTime edited = QFileInfo(absolutePath()).lastModified();
    for (const QString& contract : std::as_const(contracts)) {
        if (edited <= QFileInfo(contract).lastModified())
            continue;
        for (QAStData* sibling = next(); sibling; sibling = sibling->next()) {
            if (!sibling->inherits("QAStNodeSource"))
                continue;
            auto* source = qobject_cast<QAStNodeSource*>(sibling);
            if (source && source->mode() == QAStNodeSource::Instrumented)
                source->setForceRebuild(true);
        }
    }
}

void QAStNodeTestScript::testerConfiguration()
{
}

void QAStNodeTestScript::executeSPV()
{
    if (fileType() != QLatin1String("SPV")) {
        abortBuildExecute();
        return;
    }
    const int flag = executionFlag();
    if (flag & RunStep) {
        // Only a system testing node follows its testers; another parent has
        // nothing to follow.
        bool followed = true;
        QAStData* up = parent();
        if (up && up->metaObject()->indexOfMethod("execDynamicFollow()") >= 0
            && (!QMetaObject::invokeMethod(up, "execDynamicFollow", Qt::DirectConnection, Q_RETURN_ARG(bool, followed))
                || !followed)) {
            abortBuildExecute();
            return;
        }
    }
    executionResult = ExecutionNone;
    const int runFlag = flag & ~FollowSteps;
    if (!(flag & RunStep)) {
        displayMessage(BuildConsole, tr("%1: no execute step is selected\n").arg(name()));
        abortBuildExecute();
        return;
    }
    const QString script = perlScriptAfterChild();
    if (script.isEmpty()) {
        abortBuildExecute();
        return;
    }
    emit buildExecuteStarted();
    QTextStream stream;
    if (!createEnvironmentFile(stream)) {
        abortBuildExecute();
        return;
    }
    QAStConfiguration* configuration = currentConfiguration();
    const QString key = QStringLiteral("executionFlag");
    const bool held = configuration && configuration->hasProperty(key);
    const QVariant kept = held ? configuration->property(key) : QVariant();
    if (configuration)
        configuration->setProperty(key, runFlag);
    generateEnv(stream);
    connect(this, &QAStData::perlScriptTerminated, this, &QAStNodeTestScript::spvExecutionTerminated,
            Qt::UniqueConnection);
    executePerlScript(script, directory(), &stream, true, BuildConsole, nullptr);
    if (configuration) {
        if (held)
            configuration->setProperty(key, kept);
        else
            configuration->unsetProperty(key);
    }
}

void QAStNodeTestScript::spvExecutionTerminated()
{
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStNodeTestScript::spvExecutionTerminated);
    if (executionResult == ExecutionSuccess)
        readLogFile();
    emit buildExecuteFinished();
}

void QAStNodeTestScript::updateFamilyAndService(QARes* result)
{
    if (!result)
        return;
    if (QARes* found = result->search("SPG_FILE.FAMILY_LIST", '.'); found && found->toResList()) {
        QStringList families;
        for (QARes* item = found->toResList()->child(); item; item = item->next()) {
            const QString family = resString(item);
            if (!family.isEmpty())
                families << family;
        }
        follow(_famSelection, _famAll, families);
        _famAll = families;
    }
    if (QARes* found = result->search("SPG_FILE.SERVICE_TREE", '.'); found && found->toResList()) {
        QStringList cases;
        QString service;
        for (QARes* item = found->toResList()->child(); item; item = item->next()) {
            if (QAResList* tests = item->toResList()) {
                // The tests of the service named just before.
                for (QARes* test = tests->child(); test; test = test->next()) {
                    const QString name = resString(test);
                    if (!name.isEmpty())
                        cases << service + QLatin1Char('.') + name;
                }
            } else if (item->toResString()) {
                service = resString(item);
                cases << service;
            }
        }
        follow(_casSelection, _casAll, cases);
        _casAll = cases;
    }
}

// ---------------------------------------------------------------------------
// Component test scripts of C

QAStNodeUnitTestingScript::QAStNodeUnitTestingScript(const QString& key, QAStData* parent, QAStData* after)
    : QAStNodeTestScript(key, parent, after)
{
}

QAStNodeUnitTestingScript::QAStNodeUnitTestingScript(QAStFile* file, QAStData* parent, QAStData* after)
    : QAStNodeTestScript(file, parent, after)
{
}

QAStNodeUnitTestingScript::QAStNodeUnitTestingScript(const QDomElement& element, int version, QAStData* parent,
                                                     QAStData* after)
    : QAStNodeTestScript(element.firstChild().toElement(), version, parent, after)
{
    CHECK_TAG(element, "unittesting_script");
}

QAStNodeUnitTestingScript::QAStNodeUnitTestingScript(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNodeTestScript(resources, parent, after)
{
}

QAStNodeUnitTestingScript::~QAStNodeUnitTestingScript()
{
    delete _tagProcess;
}

unsigned int QAStNodeUnitTestingScript::settingsMask() const
{
    return 0x10000;
}

void QAStNodeUnitTestingScript::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<unittesting_script>\n";
    writeTestScript(stream, indent + 1);
    indentXML(stream, indent);
    stream << "</unittesting_script>\n";
}

void QAStNodeUnitTestingScript::localActionMenuItems(QMenu* menu)
{
    if (!menu)
        return;
    QAStNodeTestScript::localActionMenuItems(menu);
    addNodeAction(this, menu, tr("&Test Selection..."), SLOT(testerConfiguration()));
    addNodeAction(this, menu, tr("&Update"), SLOT(updateTestScript()));
}

void QAStNodeUnitTestingScript::testerConfiguration()
{
    startTag();
}

// The script is read again before every build: the lists must be those of
// the script as it stands.
void QAStNodeUnitTestingScript::buildNode()
{
    startTagForBuild();
}

void QAStNodeUnitTestingScript::startTag()
{
    startAnalysis(false);
}

void QAStNodeUnitTestingScript::startTagForBuild()
{
    startAnalysis(true);
}

bool QAStNodeUnitTestingScript::startAnalysis(bool forBuild)
{
    const QStringList command {binaryDir() + QDir::separator() + QStringLiteral("utags"), QStringLiteral("-sspgtags"),
                               fileKey()};
    delete _tagProcess;
    _tagProcess = new QAProcess(this);
    connect(_tagProcess, &QAProcess::stdoutReceived, this, &QAStData::charReceived);
    connect(_tagProcess, &QAProcess::stderrReceived, this, &QAStData::charReceived);
    if (forBuild)
        connect(_tagProcess, &QAProcess::exited, this, &QAStNodeUnitTestingScript::tagTerminatedForBuild);
    else
        connect(_tagProcess, &QAProcess::exited, this, &QAStNodeUnitTestingScript::tagTerminated);
    const QAStProjectPref* preferences = QAStData::preferences();
    if (forBuild && preferences && preferences->boolValue(QStringLiteral("verbose")))
        displayMessage(BuildConsole, command.join(QLatin1Char(' ')) + QLatin1Char('\n'));
    bool normalExit = true;
    int status = 0;
    if (_tagProcess->start(command, QDir(directory()), normalExit, status))
        return true;
    const QString text = tr("%1\nUnable to run command").arg(command.join(QLatin1Char(' ')));
    delete _tagProcess;
    _tagProcess = nullptr;
    if (forBuild) {
        displayMessage(BuildConsole, text + QLatin1Char('\n'));
        executionResult = ExecutionFailed;
        abortBuildExecute();
    } else {
        StudioInterface* studio = studioIFace();
        QAMessageBox::critical(mainWindow(), true, studio ? studio->applicationName() : QString(), text,
                               QMessageBox::Ok);
    }
    return false;
}

QARes* QAStNodeUnitTestingScript::readAnalysis(bool normalExit, int status, QString* error)
{
    // The process ends its run here; it is deleted once its signal is done.
    if (_tagProcess) {
        _tagProcess->disconnect(this);
        _tagProcess->deleteLater();
        _tagProcess = nullptr;
    }
    if (!normalExit || status != 0) {
        *error = tr("Abnormally terminated script analysis.");
        return nullptr;
    }
    const QString result = directory() + QDir::separator() + QStringLiteral("spgtags");
    if (!QFileInfo::exists(result)) {
        *error = tr("No analysis result\n");
        return nullptr;
    }
    QARes* res = QARes::read(QFile::encodeName(result).constData());
    if (!res || QARes::errorCount() > 0) {
        delete res;
        *error = tr("Bad analysis result\n");
        return nullptr;
    }
    return res;
}

void QAStNodeUnitTestingScript::tagTerminated(bool normalExit, int status)
{
    QString error;
    QARes* res = readAnalysis(normalExit, status, &error);
    if (!res) {
        StudioInterface* studio = studioIFace();
        QAMessageBox::warning(mainWindow(), true, studio ? studio->applicationName() : QString(), error,
                              QMessageBox::Ok);
        return;
    }
    updateFamilyAndService(res);
    delete res;
    selectTests();
}

// The selection is asked of the user in two lists, families and tests; a
// cancel of either leaves the selection as it was.
void QAStNodeUnitTestingScript::selectTests()
{
    StudioInterface* studio = studioIFace();
    if (!studio)
        return;
    bool ok = false;
    const QStringList families = studio->getCheckedItems(tr("Test Selection"), tr("Families"), _famAll, &ok);
    if (!ok)
        return;
    const QStringList tests = studio->getCheckedItems(tr("Test Selection"), tr("Tests"), _casAll, &ok);
    if (!ok)
        return;
    _famSelection = families;
    _casSelection = tests;
    modified = true;
    setForceRebuild(true);
}

void QAStNodeUnitTestingScript::tagTerminatedForBuild(bool normalExit, int status)
{
    QString error;
    QARes* res = readAnalysis(normalExit, status, &error);
    if (!res) {
        displayMessage(BuildConsole, error.endsWith(QLatin1Char('\n')) ? error : error + QLatin1Char('\n'));
        executionResult = ExecutionFailed;
        abortBuildExecute();
        return;
    }
    updateFamilyAndService(res);
    setForceRebuild(true);
    delete res;
    QAStNodeTestScript::buildNode();
}

void QAStNodeUnitTestingScript::updateTestScript()
{
    if (!studioIFace())
        return;
    QTextStream stream;
    if (!createEnvironmentFile(stream))
        return;
    generateEnv(stream);
    connect(this, &QAStData::perlScriptTerminated, this, &QAStNodeUnitTestingScript::updateScriptTerminated,
            Qt::UniqueConnection);
    executePerlScript(QStringLiteral("UpdateUnitTestingScript.pl"), directory(), &stream, true, BuildConsole,
                      nullptr);
}

void QAStNodeUnitTestingScript::updateScriptTerminated()
{
    disconnect(this, &QAStData::perlScriptTerminated, this, &QAStNodeUnitTestingScript::updateScriptTerminated);
    readLogFile();
}

// ---------------------------------------------------------------------------
// Java test scripts

QAStNodeJavaTestingScript::QAStNodeJavaTestingScript(const QString& key, QAStData* parent, QAStData* after)
    : QAStNodeTestScript(key, parent, after)
{
    setPerlScriptAfterChild(QStringLiteral("Source.pl"));
}

QAStNodeJavaTestingScript::QAStNodeJavaTestingScript(QAStFile* file, QAStData* parent, QAStData* after)
    : QAStNodeTestScript(file, parent, after)
{
    setPerlScriptAfterChild(QStringLiteral("Source.pl"));
}

QAStNodeJavaTestingScript::QAStNodeJavaTestingScript(const QDomElement& element, int version, QAStData* parent,
                                                     QAStData* after)
    : QAStNodeTestScript(element.firstChild().toElement(), version, parent, after)
{
    CHECK_TAG(element, "javatesting_script");
    setPerlScriptAfterChild(QStringLiteral("Source.pl"));
}

QAStNodeJavaTestingScript::QAStNodeJavaTestingScript(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNodeTestScript(resources, parent, after)
{
    setPerlScriptAfterChild(QStringLiteral("Source.pl"));
}

unsigned int QAStNodeJavaTestingScript::settingsMask() const
{
    return 0x4000;
}

void QAStNodeJavaTestingScript::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<javatesting_script>\n";
    writeTestScript(stream, indent + 1);
    indentXML(stream, indent);
    stream << "</javatesting_script>\n";
}
