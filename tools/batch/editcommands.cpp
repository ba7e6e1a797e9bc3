#include "editcommands.h"

#include "batchhost.h"
#include "batchsession.h"
#include "nodetestinterface.h"
#include "qainterfaceids.h"
#include "qapropertybool.h"
#include "qapropertycomboint.h"
#include "qapropertycombostring.h"
#include "qapropertymapgroup.h"
#include "qapropertyint.h"
#include "qastconfiguration.h"
#include "qastdatafactory.h"
#include "qastfile.h"
#include "qastnode.h"
#include "qastnodeplugincenter.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qasttargetpackage.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTextStream>

#include <climits>

namespace {

/// A node kind as the command line names it: the element that stands for it
/// in a project file, the class that the factory makes for it, and whether
/// the words behind the parent name files rather than new nodes' names.
struct Kind {
    const char* word;
    const char* element;
    const char* className;
    bool namesFiles;
};

// The library's own kinds. A kind whose class this installation lacks is
// refused by name, not taken for a plug-in's.
const Kind kinds[] = {
    {"group", "group", "QAStNodeGroup", false},
    {"application", "application", "QAStNodeApplication", false},
    {"library", "library", "QAStNodeLibrary", false},
    {"unit-testing", "unit_testing", "QAStNodeUnitTesting", false},
    {"object-testing", "object_testing", "QAStNodeObjectTesting", false},
    {"java-testing", "java_testing", "QAStNodeJavaTesting", false},
    {"source", "source", "QAStNodeSource", true},
    {"test-script", "test_script", "QAStNodeTestScript", true},
    {"user", "user", "QAStNodeUser", false},
    {"link", "link", "QAStNodeLink", false},
};

// A test script takes the form of the test node that holds it.
struct ScriptKind {
    const char* holder;
    Kind kind;
};
const ScriptKind scriptKinds[] = {
    {"QAStNodeUnitTesting", {"test-script", "unittesting_script", "QAStNodeUnitTestingScript", true}},
    {"QAStNodeJavaTesting", {"test-script", "javatesting_script", "QAStNodeJavaTestingScript", true}},
};

const QStringList commands {"add", "set", "unset", "remove", "rename", "move"};

QString quoted(const QString& text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

int refuse(const QString& message)
{
    reportError(message);
    return ExitUsage;
}

// The factory makes nothing for the kind: its class is not in this build.
int missingClass(const QString& word, const Kind& kind)
{
    return refuse(QStringLiteral("this installation cannot make nodes of the kind \"%1\" (no class for \"%2\")")
                      .arg(word, QLatin1String(kind.element)));
}

BatchHost* host()
{
    return dynamic_cast<BatchHost*>(QAStData::studioIFace());
}

QStringList pluginKinds()
{
    return QAStNodePluginCenter::nodePluginCenter()->featureList(IID_NodeTest);
}

/// Takes "--NAME VALUE" out of \a arguments; false when the value is missing.
bool takeOption(QStringList& arguments, const QString& name, QString& value)
{
    const qsizetype at = arguments.indexOf(name);
    if (at < 0)
        return true;
    if (at + 1 >= arguments.size())
        return false;
    value = arguments.at(at + 1);
    arguments.remove(at, 2);
    return true;
}

/// The setting of \a key in the definition tree, at any depth, or null.
QAProperty* findSetting(QAPropertyGroup* group, const QString& key)
{
    if (!group)
        return nullptr;
    QList<QAPropertyGroup*> pending {group};
    while (!pending.isEmpty()) {
        QAPropertyGroup* each = pending.takeFirst();
        for (QAProperty* child : each->children()) {
            if (child->key() == key)
                return child;
            if (child->isGroup())
                pending.append(static_cast<QAPropertyGroup*>(child));
        }
    }
    return nullptr;
}

/// \a text as a value of \a setting's kind; an invalid value and the reason
/// when the text is no such value.
QVariant settingValue(QAProperty* setting, const QString& text, QString& reason)
{
    if (auto* combo = dynamic_cast<QAPropertyComboInt*>(setting)) {
        const QMap<QString, qint32> labels = combo->content();
        if (labels.contains(text))
            return labels.value(text);
        bool number = false;
        const int value = text.toInt(&number);
        if (number && labels.values().contains(value))
            return value;
        reason = QStringLiteral("one of: ") + combo->originalList().join(QLatin1String(", "));
        return QVariant();
    }
    if (auto* combo = dynamic_cast<QAPropertyComboString*>(setting)) {
        const QMap<QString, QString> labels = combo->content();
        if (labels.contains(text))
            return labels.value(text);
        if (labels.values().contains(text))
            return text;
        reason = QStringLiteral("one of: ") + combo->originalList().join(QLatin1String(", "));
        return QVariant();
    }
    if (dynamic_cast<QAPropertyBool*>(setting)) {
        static const QStringList yes {"true", "yes", "1"}, no {"false", "no", "0"};
        if (yes.contains(text.toLower()))
            return true;
        if (no.contains(text.toLower()))
            return false;
        reason = QStringLiteral("true or false");
        return QVariant();
    }
    if (auto* integer = dynamic_cast<QAPropertyInt*>(setting)) {
        bool number = false;
        const int value = text.toInt(&number);
        // A maximum below the minimum means no upper limit.
        const bool bounded = integer->max() >= integer->min();
        if (number && value >= integer->min() && (!bounded || value <= integer->max()))
            return value;
        reason = bounded ? QStringLiteral("an integer from %1 to %2").arg(integer->min()).arg(integer->max())
                         : QStringLiteral("an integer from %1 on").arg(integer->min());
        return QVariant();
    }
    switch (setting->type()) {
    case QAProperty::StringType:
        return text;
    case QAProperty::StringListType:
        return text.isEmpty() ? QStringList() : text.split(QLatin1Char(','));
    case QAProperty::IntType:
    case QAProperty::UIntType: {
        // Flag words read best in hexadecimal.
        const bool unsignedKind = setting->type() == QAProperty::UIntType;
        bool number = false;
        const qlonglong value = text.toLongLong(&number, 0);
        if (number && value >= (unsignedKind ? 0 : INT_MIN) && value <= (unsignedKind ? UINT_MAX : INT_MAX))
            return QAProperty::convert(value, setting->type());
        reason = unsignedKind ? QStringLiteral("an integer from 0 on") : QStringLiteral("an integer");
        return QVariant();
    }
    default:
        reason = QStringLiteral("a value that the settings dialog alone can give");
        return QVariant();
    }
}

/// One project opened for a change: the commands check everything before
/// they change anything, and a refusal never saves.
class Editor
{
public:
    Editor(BatchSession& session, QTextStream& out)
        : _session(session), _out(out), _project(qobject_cast<QAStProject*>(session.resolve(QString())))
    {
    }

    int add(QStringList arguments);
    int set(const QStringList& arguments, const QString& configuration, bool unset);
    int remove(const QStringList& arguments);
    int rename(const QStringList& arguments);
    int move(QStringList arguments);

private:
    QAStNode* node(const QString& path, int& status) const;
    QString pathOf(const QAStData* node) const;
    /// A node other than \a except of this project that is named \a name.
    bool nameTaken(const QString& name, const QAStData* except = nullptr) const;
    /// Saves the project and prints \a done; an exit status.
    int save(const QString& done);
    QAStData* makeFileNode(const Kind& kind, const QString& path, QAStNode* parent, QAStData* after, int& status);
    QAStData* makeNamedNode(const Kind* kind, const QString& word, const QString& name, QAStNode* parent,
                            QAStData* after, int& status);

    BatchSession& _session;
    QTextStream& _out;
    QAStProject* _project;
};

QAStNode* Editor::node(const QString& path, int& status) const
{
    QAStNode* found = path == QLatin1String(".") ? _project : _session.resolve(path);
    if (!found)
        status = refuse(QStringLiteral("no node \"%1\" in the project").arg(path));
    return found;
}

QString Editor::pathOf(const QAStData* node) const
{
    return node == _project ? QStringLiteral(".") : _session.pathOf(node);
}

bool Editor::nameTaken(const QString& name, const QAStData* except) const
{
    // As the creation dialogs have it: names are unique in a project, the
    // nodes of its sub-projects apart.
    for (QAStData* each : _project->childrenOfClass("QAStNode", true)) {
        if (each != except && each->name() == name && each->project() == _project)
            return true;
    }
    return false;
}

int Editor::save(const QString& done)
{
    // The library tells of a failed write on its console; the program says
    // it once, in its own line.
    BatchHost* batch = host();
    if (batch)
        batch->messages().hold();
    const bool saved = _project->saveProcess();
    const QString notes = batch ? batch->messages().release().trimmed() : QString();
    // Removed nodes were taken off the tree at once and die here.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (!saved) {
        reportError(QStringLiteral("cannot save the project %1%2")
                        .arg(_project->path(), notes.isEmpty() ? QString() : QStringLiteral(": ") + notes.simplified()));
        return ExitBuildFailed;
    }
    _out << done << '\n';
    return ExitSuccess;
}

QAStData* Editor::makeFileNode(const Kind& kind, const QString& path, QAStNode* parent, QAStData* after,
                               int& status)
{
    const QFileInfo info(path);
    if (!info.isFile()) {
        status = refuse(QStringLiteral("no file \"%1\"").arg(path));
        return nullptr;
    }
    const Kind* chosen = &kind;
    if (qstrcmp(kind.word, "test-script") == 0) {
        for (const ScriptKind& script : scriptKinds) {
            if (parent->inherits(script.holder))
                chosen = &script.kind;
        }
    }
    if (!QAStDataFactory::hasMaker(QLatin1String(chosen->className))) {
        status = missingClass(QLatin1String(kind.word), *chosen);
        return nullptr;
    }
    // The file takes its place among the project's files and folders first;
    // a file the project knows already keeps its place.
    QAStRootFolder* files = _project->rootFolder();
    QAStFile* file = files ? files->addFile(info.absoluteFilePath(), true) : nullptr;
    if (!file) {
        status = refuse(QStringLiteral("the project cannot take the file \"%1\"").arg(path));
        return nullptr;
    }
    return QAStDataFactory::make(QLatin1String(chosen->className), file->name(), parent, after, file);
}

// A link is not dropped in: the test and library nodes make one through
// their reference menu, which is where it may stand.
static bool acceptsChild(const QAStNode* parent, QAStData* child)
{
    if (child->inherits("QAStNodeLink"))
        return parent->inherits("QAStNodeTest") || parent->inherits("QAStNodeLibrary");
    return parent->acceptDrop(child);
}

QAStData* Editor::makeNamedNode(const Kind* kind, const QString& word, const QString& name, QAStNode* parent,
                                QAStData* after, int& status)
{
    if (!kind) {
        QUnknownInterface* face = nullptr;
        QAStNodePluginCenter::nodePluginCenter()->queryComponentInterface(word, IID_NodeTest, &face);
        auto* provider = static_cast<NodeTestInterface*>(face);
        if (!provider)
            return nullptr;
        QAStData* made = nullptr;
        if (provider->toAddChild(word, parent, after))
            made = provider->nodeTest(word, name, parent, after);
        else
            status = refuse(QStringLiteral("a %1 node cannot stand under %2").arg(word, pathOf(parent)));
        provider->release();
        return made;
    }
    if (!QAStDataFactory::hasMaker(QLatin1String(kind->className))) {
        status = missingClass(word, *kind);
        return nullptr;
    }
    if (qstrcmp(kind->word, "link") != 0)
        return QAStDataFactory::make(QLatin1String(kind->className), name, parent, after);
    // A link names its target, and is named after it by its class.
    QAStNode* target = node(name, status);
    if (!target)
        return nullptr;
    if (!target->inherits("QAStNodeLibrary") && !target->inherits("QAStNodeApplication")) {
        status = refuse(QStringLiteral("%1 is neither a library nor an application").arg(name));
        return nullptr;
    }
    return QAStDataFactory::make(QLatin1String(kind->className), target->name(), parent, after, target);
}

int Editor::add(QStringList arguments)
{
    if (arguments.size() < 3)
        return refuse(QStringLiteral("add needs a kind, a parent and what to add (velmont-batch --help tells more)"));
    const QString word = arguments.takeFirst();
    const Kind* kind = nullptr;
    for (const Kind& each : kinds) {
        if (word == QLatin1String(each.word))
            kind = &each;
    }
    if (!kind && !pluginKinds().contains(word)) {
        QStringList known;
        for (const Kind& each : kinds)
            known << QLatin1String(each.word);
        return refuse(QStringLiteral("unknown kind \"%1\"; the kinds are: %2")
                          .arg(word, (known + pluginKinds()).join(QLatin1String(", "))));
    }
    int status = ExitSuccess;
    QAStNode* parent = node(arguments.takeFirst(), status);
    if (!parent)
        return status;
    const bool files = kind && kind->namesFiles;
    QStringList added;
    for (const QString& argument : std::as_const(arguments)) {
        if (!files && !(kind && qstrcmp(kind->word, "link") == 0)) {
            if (argument.isEmpty() || nameTaken(argument))
                return refuse(argument.isEmpty() ? QStringLiteral("a node needs a name")
                                                 : QStringLiteral("a node named \"%1\" exists").arg(argument));
        }
        // Each new node stands behind those the command made before it.
        QAStData* after = parent->last();
        QAStData* made = files ? makeFileNode(*kind, argument, parent, after, status)
                               : makeNamedNode(kind, word, argument, parent, after, status);
        if (!made)
            return status == ExitSuccess ? refuse(QStringLiteral("no %1 node could be made of \"%2\"").arg(word, argument))
                                         : status;
        // A plug-in's kind has said itself where it may stand, as it does
        // for the creation menus.
        if (kind && !acceptsChild(parent, made)) {
            delete made;
            return refuse(QStringLiteral("a %1 node cannot stand under %2").arg(word, pathOf(parent)));
        }
        parent->adoptAsCommand(made, after);
        added << pathOf(made);
    }
    return save(QStringLiteral("added %1 %2").arg(word, added.join(QLatin1String(", "))));
}

int Editor::set(const QStringList& arguments, const QString& configuration, bool unset)
{
    const char* command = unset ? "unset" : "set";
    if (arguments.size() != (unset ? 2 : 3))
        return refuse(QStringLiteral("%1 needs a node, a key%2 (velmont-batch --help tells more)")
                          .arg(QLatin1String(command), unset ? QString() : QStringLiteral(" and a value")));
    int status = ExitSuccess;
    QAStNode* target = node(arguments.at(0), status);
    if (!target)
        return status;
    const QString name = configuration.isNull() ? target->currentConfigurationName() : configuration;
    QAStConfiguration* store = target->configuration(name);
    if (!store) {
        const QStringList names = target->configurationList();
        return refuse(QStringLiteral("unknown configuration \"%1\"; the project has: %2")
                          .arg(name, names.isEmpty() ? QStringLiteral("none") : names.join(QLatin1String(", "))));
    }
    const QString key = arguments.at(1);
    QAProperty* setting = findSetting(QAStConfiguration::propertyDescriptor(), key);
    if (!setting || setting->isGroup())
        return refuse(QStringLiteral("no setting \"%1\"").arg(key));
    if (setting->isReadOnly())
        return refuse(QStringLiteral("the setting \"%1\" is read-only").arg(key));
    const QString where = QStringLiteral("on %1 in configuration %2").arg(pathOf(target), quoted(name));
    if (unset) {
        if (!store->hasProperty(key))
            return refuse(QStringLiteral("%1 has no value of its own %2").arg(key, where));
        // What the port brought goes with it.
        if (const QAStTargetPackage* port = store->targetPackage(); port && key == QLatin1String("targetPath"))
            store->reset(*port);
        store->unsetProperty(key);
        return save(QStringLiteral("unset %1 %2").arg(key, where));
    }
    const QString text = arguments.at(2);
    if (key == QLatin1String("targetPath")) {
        // A port brings its tool chain and defaults, and takes back those of
        // the former one.
        QAStTargetPackage* port = QAStNode::getTDP(text);
        if (!port)
            return refuse(QStringLiteral("no port \"%1\" is installed").arg(text));
        if (const QAStTargetPackage* former = store->targetPackage(); former && former != port)
            store->reset(*former);
        store->init(*port);
        return save(QStringLiteral("set %1 = %2 %3").arg(key, quoted(port->directory), where));
    }
    QString reason;
    const QVariant value = settingValue(setting, text, reason);
    if (!value.isValid())
        return refuse(QStringLiteral("\"%1\" is no value for %2: it takes %3").arg(text, key, reason));
    store->setProperty(key, value);
    return save(QStringLiteral("set %1 = %2 %3").arg(key, quoted(text), where));
}

int Editor::remove(const QStringList& arguments)
{
    if (arguments.size() != 1)
        return refuse(QStringLiteral("remove needs one node (velmont-batch --help tells more)"));
    int status = ExitSuccess;
    QAStNode* target = node(arguments.at(0), status);
    if (!target)
        return status;
    if (target == _project || !target->isDeletable())
        return refuse(QStringLiteral("%1 cannot be removed").arg(pathOf(target)));
    const QString path = pathOf(target);
    target->del();
    return save(QStringLiteral("removed %1").arg(path));
}

int Editor::rename(const QStringList& arguments)
{
    if (arguments.size() != 2)
        return refuse(QStringLiteral("rename needs a node and its new name (velmont-batch --help tells more)"));
    int status = ExitSuccess;
    QAStNode* target = node(arguments.at(0), status);
    if (!target)
        return status;
    const QString name = arguments.at(1);
    // The project is named after its file.
    if (target == _project || !target->isRenameable())
        return refuse(QStringLiteral("%1 cannot be renamed").arg(pathOf(target)));
    if (name.isEmpty())
        return refuse(QStringLiteral("a node needs a name"));
    if (nameTaken(name, target))
        return refuse(QStringLiteral("a node named \"%1\" exists").arg(name));
    const QString former = pathOf(target);
    target->setName(name);
    return save(QStringLiteral("renamed %1 to %2").arg(former, pathOf(target)));
}

int Editor::move(QStringList arguments)
{
    QString siblingName;
    if (!takeOption(arguments, QStringLiteral("--after"), siblingName))
        return refuse(QStringLiteral("--after needs a sibling's name"));
    if (arguments.size() != 2)
        return refuse(QStringLiteral("move needs a node and its new parent (velmont-batch --help tells more)"));
    int status = ExitSuccess;
    QAStNode* target = node(arguments.at(0), status);
    QAStNode* parent = target ? node(arguments.at(1), status) : nullptr;
    if (!parent)
        return status;
    if (target == _project)
        return refuse(QStringLiteral("the project cannot be moved"));
    for (const QAStData* up = parent; up; up = up->parent()) {
        if (up == target)
            return refuse(QStringLiteral("%1 cannot move into itself").arg(pathOf(target)));
    }
    if (!parent->acceptDrop(target))
        return refuse(QStringLiteral("%1 cannot stand under %2").arg(pathOf(target), pathOf(parent)));
    // Without a sibling the node comes first, so that every place can be reached.
    QAStData* after = nullptr;
    if (!siblingName.isNull()) {
        for (QAStData* child = parent->firstChild(); child && !after; child = child->next()) {
            if (child != target && child->name() == siblingName)
                after = child;
        }
        if (!after)
            return refuse(QStringLiteral("%1 has no other child \"%2\"").arg(pathOf(parent), siblingName));
    }
    const QString former = pathOf(target);
    // As a drop moves a node: out of its place, then in as a command.
    target->remove();
    parent->adoptAsCommand(target, after);
    return save(QStringLiteral("moved %1 to %2%3")
                    .arg(former, pathOf(target),
                         after ? QStringLiteral(" behind ") + after->name() : QStringLiteral(", first")));
}

int newProject(QStringList arguments, QTextStream& out)
{
    QStringList ports;
    for (QString port; arguments.contains(QLatin1String("--port"));) {
        if (!takeOption(arguments, QStringLiteral("--port"), port))
            return refuse(QStringLiteral("--port needs a port"));
        ports << port;
    }
    if (arguments.size() != 1)
        return refuse(QStringLiteral("new needs one project file (velmont-batch --help tells more)"));
    const QFileInfo file(arguments.first());
    if (file.suffix() != QLatin1String("vmp"))
        return refuse(QStringLiteral("a project file ends in .vmp: %1").arg(file.filePath()));
    if (file.exists())
        return refuse(QStringLiteral("%1 exists already").arg(file.filePath()));
    if (!file.absoluteDir().exists())
        return refuse(QStringLiteral("no directory %1").arg(file.absolutePath()));
    QList<QAStTargetPackage*> found;
    for (const QString& name : std::as_const(ports)) {
        QAStTargetPackage* port = QAStNode::getTDP(name);
        if (!port)
            return refuse(QStringLiteral("no port \"%1\" is installed").arg(name));
        found << port;
    }
    // Opening a missing file makes a new project, on disk at its first save.
    QAStProject project(file.absoluteFilePath());
    QStringList names;
    for (const QAStTargetPackage* port : std::as_const(found)) {
        // A port named twice gives a second configuration, numbered as the
        // dialog numbers it.
        QString name = port->name;
        for (int n = 2; project.initialConfiguration(name); ++n)
            name = port->name + QStringLiteral(" (%1)").arg(n);
        project.addConfiguration(name);
        project.initialConfiguration(name)->init(*port);
        names << name;
    }
    if (!names.isEmpty())
        project.setCurrentConfiguration(names.first());
    BatchHost* batch = host();
    if (batch)
        batch->messages().hold();
    const bool saved = project.saveProcess();
    if (batch)
        batch->messages().release();
    if (!saved) {
        reportError(QStringLiteral("cannot save the project %1").arg(file.filePath()));
        return ExitBuildFailed;
    }
    out << "created " << file.filePath();
    if (names.isEmpty())
        out << " without configurations\n";
    else
        out << " with configurations " << names.join(QLatin1String(", ")) << " (current " << quoted(names.first())
            << ")\n";
    return ExitSuccess;
}

} // namespace

bool EditCommands::handles(const QStringList& positional)
{
    return positional.value(0) == QLatin1String("new") || commands.contains(positional.value(1));
}

bool EditCommands::keepsArgument(const QStringList& before, const QString& argument)
{
    if (argument == QLatin1String("--port"))
        return before.value(0) == QLatin1String("new");
    if (argument == QLatin1String("--after"))
        return before.value(1) == QLatin1String("move");
    return before.size() == 4 && before.at(1) == QLatin1String("set");
}

int EditCommands::run(BatchSession& session, QTextStream& out, const QStringList& positional,
                      const QString& configuration)
{
    const QString command = positional.value(0) == QLatin1String("new") ? positional.value(0) : positional.value(1);
    if (!configuration.isNull() && command != QLatin1String("set") && command != QLatin1String("unset"))
        return refuse(QStringLiteral("--config goes with set and unset only"));
    if (command == QLatin1String("new"))
        return newProject(positional.mid(1), out);
    // The project opens in its own current configuration: the one saved
    // must stay as it was.
    const int opened = session.open(positional.at(0), QString());
    if (opened != ExitSuccess)
        return opened;
    Editor editor(session, out);
    const QStringList rest = positional.mid(2);
    if (command == QLatin1String("add"))
        return editor.add(rest);
    if (command == QLatin1String("set") || command == QLatin1String("unset"))
        return editor.set(rest, configuration, command == QLatin1String("unset"));
    if (command == QLatin1String("remove"))
        return editor.remove(rest);
    if (command == QLatin1String("rename"))
        return editor.rename(rest);
    return editor.move(rest);
}
