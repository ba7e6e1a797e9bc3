#include "qastnodeuser.h"

#include "nodemenus_p.h"
#include "qaprocess.h"
#include "qapropertyattrbool.h"
#include "qapropertygroup.h"
#include "qastconfiguration.h"
#include "qastprjmacroanalyse.h"
#include "qatrace.h"

#include <QDir>
#include <QDomElement>
#include <QMenu>
#include <QTextStream>

QAStNodeUser::QAStNodeUser(const QString& name, QAStData* parent, QAStData* after)
    : QAStNode(name, pixmap(QStringLiteral("user_xpm")), parent, after)
{
    initGlobal();
}

QAStNodeUser::QAStNodeUser(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStNode(element.firstChildElement(), version, parent, after)
{
    initGlobal();
    init(element, version);
}

QAStNodeUser::QAStNodeUser(QARes* resources, QAStData* parent, QAStData* after)
    : QAStNode(resources, parent, after)
{
    initGlobal();
}

QAStNodeUser::~QAStNodeUser()
{
    // The command dies with its node: nothing of a deleted tree runs on.
    if (_process && !_process->isFinished()) {
        _process->disconnect(this);
        _process->kill();
    }
}

void QAStNodeUser::initGlobal()
{
    if (!iconName.isSet)
        setIcon(pixmap(QStringLiteral("user_xpm")));
}

void QAStNodeUser::init(const QDomElement& element, int version)
{
    if (!CHECK_TAG(element, "user"))
        return;
    const QDomElement out = element.firstChildElement(QStringLiteral("redirect_stdout"));
    if (!out.isNull())
        _catchStdout = xmlValueToBool(out.text());
    const QDomElement err = element.firstChildElement(QStringLiteral("redirect_stderr"));
    if (!err.isNull())
        _catchStderr = xmlValueToBool(err.text());
    initChildren(element.firstChildElement(QStringLiteral("user_child")), version, {QStringLiteral("QAStNode")});
}

void QAStNodeUser::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<user>\n";
    QAStNode::write(stream, indent + 1);
    toStream(stream, "redirect_stdout", boolToXMLValue(_catchStdout.get()), indent + 1);
    toStream(stream, "redirect_stderr", boolToXMLValue(_catchStderr.get()), indent + 1);
    indentXML(stream, indent + 1);
    stream << "<user_child>\n";
    for (QAStData* child = firstChild(); child; child = child->next())
        writeChild(child, stream, indent + 2);
    indentXML(stream, indent + 1);
    stream << "</user_child>\n";
    indentXML(stream, indent);
    stream << "</user>\n";
}

QAPropertyGroup* QAStNodeUser::propertyGroup()
{
    QAPropertyGroup* group = QAStNode::propertyGroup();
    auto* out = new QAPropertyAttrBool(QStringLiteral("catchStdout"), &_catchStdout);
    out->setName(tr("Redirect Output"));
    group->addChild(out);
    auto* err = new QAPropertyAttrBool(QStringLiteral("catchStderr"), &_catchStderr);
    err->setName(tr("Redirect Errors"));
    group->addChild(err);
    return group;
}

unsigned int QAStNodeUser::settingsMask() const
{
    return 0x2000;
}

// ---------------------------------------------------------------------------
// The command

QStringList QAStNodeUser::commandLine()
{
    const QAStConfiguration* configuration = currentConfiguration();
    if (!configuration)
        return {};
    QString text = configuration->property(QStringLiteral("userCommandLine")).toString();
    text = QAStPrjMacroAnalyse(this).analyse(text, tr("Prompt Dialog"));
    text.replace(QLatin1Char('\''), QLatin1String("\\'"));
    QStringList arguments;
    QAProcess::commandLineToArgs(text, arguments);
    return arguments;
}

bool QAStNodeUser::mustRebuilt()
{
    return true;
}

void QAStNodeUser::buildAfterChildren()
{
    executeAfterChildren(false);
}

void QAStNodeUser::executeAfterChildren(bool)
{
    executionResult = ExecutionNone;
    const QStringList arguments = commandLine();
    if (arguments.isEmpty()) {
        abortBuildExecute();
        return;
    }
    // The command may read the settings of its node as any step does.
    QTextStream stream;
    if (!createEnvironmentFile(stream)) {
        abortBuildExecute();
        return;
    }
    generateEnv(stream);
    stream << "\n1;\n";
    stream.flush();
    QIODevice* device = stream.device();
    stream.setDevice(nullptr);
    device->close();
    delete device;

    auto* command = new QAProcess(this);
    if (_catchStdout.get())
        connect(command, &QAProcess::stdoutReceived, this, &QAStData::charReceived);
    if (_catchStderr.get())
        connect(command, &QAProcess::stderrReceived, this, &QAStData::charErrorReceived);
    connect(command, &QAProcess::exited, this, &QAStNodeUser::nodeUserTerminated);
    _process = command;
    process = command;
    executionResult = ExecutionRunning;
    bool normalExit = false;
    int status = 0;
    if (!command->start(arguments, QDir(directory()), normalExit, status, nullptr, true)) {
        displayMessage(BuildConsole, tr("%1: unable to start the command\n").arg(arguments.first()), ErrorStream);
        process = nullptr;
        delete command;
        executionResult = ExecutionFailed;
        abortBuildExecute();
        return;
    }
    warning("QAStNodeUser::executeAfterChildren [%s] started %s", qPrintable(name()), qPrintable(arguments.first()));
    if (background.get())
        emit buildExecuteFinished();
}

void QAStNodeUser::nodeUserTerminated(bool normalExit, int status)
{
    processTerminated(normalExit, status);
    _process = nullptr;
    if (executionResult == ExecutionSuccess)
        readLogFile();
    emit buildExecuteFinished();
}

// ---------------------------------------------------------------------------
// What the user sees

bool QAStNodeUser::acceptDrop(QAStData* data) const
{
    return data && data->inherits("QAStNodeUser");
}

QMenu* QAStNodeUser::popupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addBuildActions(this, menu);
    addNodeAction(this, menu, tr("&Settings..."), SLOT(settings()));
    QMenu* children = addChildPopupMenu(menu);
    children->setTitle(tr("&Add Child"));
    menu->addMenu(children);
    QMenu* next = addNextPopupMenu(menu);
    next->setTitle(tr("A&ppend"));
    menu->addMenu(next);
    addPlaceActions(this, menu);
    return menu;
}

QMenu* QAStNodeUser::addChildPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addNodeAction(this, menu, tr("Files..."), SLOT(addFiles()));
    addNodeAction(this, menu, tr("External command..."), SLOT(addUserNode()));
    return menu;
}

QMenu* QAStNodeUser::addNextPopupMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    addNodeAction(this, menu, tr("External command..."), SLOT(appendUserNode()));
    return menu;
}

QMenu* QAStNodeUser::viewPopupMenu(QWidget*)
{
    return nullptr;
}

void QAStNodeUser::localActionMenuItems(QMenu* menu)
{
    if (!menu)
        return;
    const bool running = isRunning();
    addNodeAction(this, menu, tr("&Execute External Command"), SLOT(build()), "execute_xpm")->setEnabled(!running);
    addNodeAction(this, menu, tr("Stop %1").arg(name()), SLOT(stop()), "stop_xpm")->setEnabled(running);
}

QStringList QAStNodeUser::vcsItems()
{
    return {};
}

void QAStNodeUser::doubleClickAction()
{
    settings();
}
