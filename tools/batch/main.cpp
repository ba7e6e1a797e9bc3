// The command-line host of the library: it opens a project in batch mode and
// builds, executes, cleans or inspects it.

#include "batchhost.h"
#include "batchrun.h"
#include "batchsession.h"
#include "batchsplit.h"
#include "editcommands.h"
#include "metricscommand.h"

#include "qaprocess.h"
#include "qastconfiguration.h"
#include "qastdata.h"
#include "qastnodeplugincenter.h"
#include "qastnode.h"
#include "qastproject.h"
#include "qasttargetpackagelist.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTextStream>

#include <csignal>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const char usage[] =
    "usage: velmont-batch [--config NAME] PROJECT COMMAND [NODE]\n"
    "       velmont-batch [--config A,B,...] [--junit FILE] [--json FILE] [--shard K/N]\n"
    "                     [--dry-run[=DIR]] [--no-save]\n"
    "                     PROJECT build|rebuild|execute [NODE]\n"
    "       velmont-batch [--config NAME] [--stroud N] PROJECT metrics FILE...\n"
    "       velmont-batch ports\n"
    "       velmont-batch plugins\n"
    "       velmont-batch split SPLITFILE [DIR]\n"
    "       velmont-batch new PROJECT.vmp [--port PORT]...\n"
    "       velmont-batch PROJECT add KIND PARENT [NAME|FILE]...\n"
    "       velmont-batch PROJECT set NODE KEY VALUE [--config NAME]\n"
    "       velmont-batch PROJECT unset NODE KEY [--config NAME]\n"
    "       velmont-batch PROJECT remove NODE\n"
    "       velmont-batch PROJECT rename NODE NAME\n"
    "       velmont-batch PROJECT move NODE NEWPARENT [--after SIBLING]\n"
    "\n"
    "Opens the project file PROJECT in batch mode and runs COMMAND on the\n"
    "project, or on the node that NODE names: the names of the nodes from the\n"
    "project down, joined by dots (\"Unit tests.Queue\").\n"
    "\n"
    "Commands:\n"
    "  build [NODE]     build what is out of date\n"
    "  rebuild [NODE]   build everything again\n"
    "  execute [NODE]   execute, building first what is out of date\n"
    "  clean [NODE]     delete the files that the steps produced\n"
    "  explain [NODE]   for each node, whether a build would run it and why;\n"
    "                   runs nothing\n"
    "  tree             the node tree: each node's kind, state and last status\n"
    "  settings NODE    every setting of the node's configuration, its value, and\n"
    "                   where the value comes from\n"
    "  env NODE         the environment file that a step of the node gets\n"
    "  configs          the project's configurations; * marks the current one\n"
    "  ports            the installed target deployment ports\n"
    "  metrics FILE...  the static metrics of each C or C++ file, in the project's\n"
    "                   settings: each function's and the file's totals; the\n"
    "                   metrics files go to the current directory\n"
    "  plugins          each plug-in file found, or linked in, with its name and\n"
    "                   features, and each file refused with the reason\n"
    "  split SPLITFILE [DIR]\n"
    "                   follows the record stream SPLITFILE while it grows and\n"
    "                   appends each record to its tool's file in DIR (the\n"
    "                   stream's directory by default); the run-time, end of\n"
    "                   test and unsplit files lie beside the stream. Needs no\n"
    "                   project; Ctrl-C or SIGTERM ends it\n"
    "  tag FILE...      analyse the source files, adding those the project lacks,\n"
    "                   and keep their tags in the objects file\n"
    "  tags [FILE]      the tags of the file, or of every file: kind, qualified\n"
    "                   name, line, and whether a test can be made from it\n"
    "\n"
    "Commands that change the project, each saved at once; \".\" names the\n"
    "project itself. A refused change exits with 4 and leaves the file as it was:\n"
    "  new PROJECT.vmp [--port PORT]...\n"
    "                   an empty project with a configuration per port, the\n"
    "                   first one current\n"
    "  add KIND PARENT NAME...\n"
    "                   new nodes of KIND under PARENT, behind its children:\n"
    "                   group, application, library, unit-testing,\n"
    "                   object-testing, java-testing, user, or a plug-in's kind\n"
    "  add source PARENT FILE...\n"
    "  add test-script PARENT FILE...\n"
    "                   the files join the project's files and folders, and a\n"
    "                   node stands for each; a script under a unit testing\n"
    "                   node is its unit testing script\n"
    "  add link PARENT TARGET...\n"
    "                   links to the library or application nodes TARGET\n"
    "  set NODE KEY VALUE [--config NAME]\n"
    "                   the node's own value of a setting in the current or the\n"
    "                   named configuration; a list takes values separated by\n"
    "                   commas, a choice its label or value\n"
    "  unset NODE KEY [--config NAME]\n"
    "                   drops the node's own value: the inherited one shows\n"
    "  remove NODE      removes the node and what it holds\n"
    "  rename NODE NAME\n"
    "  move NODE NEWPARENT [--after SIBLING]\n"
    "                   moves the node behind SIBLING, or first\n"
    "\n"
    "Options:\n"
    "  -c, --config NAME  run in the configuration NAME\n"
    "  --stroud N         testing time is the Halstead effort divided by N\n"
    "                     (default 18)\n"
    "  --config A,B,...   build, rebuild or execute in each configuration in turn,\n"
    "                     ending with a table of the test nodes' verdicts\n"
    "  --junit FILE       JUnit XML of the test nodes, rewritten as each ends\n"
    "  --json FILE        one JSON object per line for each node as it ends\n"
    "  --shard K/N        run only the K-th of N stable shares of the test nodes\n"
    "  --no-save          leave the project file as it was after a build: the next\n"
    "                     run then builds everything again\n"
    "  --dry-run[=DIR]    start no step: write the environment files of the steps\n"
    "                     and of every source into DIR/environment, and\n"
    "                     DIR/compile_commands.json (DIR: the project's directory)\n"
    "  -h, --help         show this text\n"
    "\n"
    "Progress goes to standard output, the scripts' output to standard error.\n"
    "After a run, \"output NODE TYPE FILE\" lines name the split (SPT),\n"
    "coverage (TIO) and trace (TDF) files that the run left.\n"
    "Exit status: 0 success, 1 failed build or execution, 2 failed test verdict,\n"
    "3 stopped, 4 usage error, 5 project or installation that cannot be loaded.\n"
    "A change that cannot be saved exits with 1 and leaves the former file whole.\n"
    "The project file is written by the commands that change it, and after\n"
    "build, rebuild, execute and clean, since it records what each step made:\n"
    "the next run builds only what is out of date. Ctrl-C or SIGTERM stops the\n"
    "run; a second one kills what is left at once.\n";

struct Arguments {
    QString configuration;
    QString stroud;
    QStringList positional;
    BatchRunOptions run;
    bool help = false;
    QString error;
};

Arguments parse(const QStringList& arguments)
{
    Arguments parsed;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (EditCommands::keepsArgument(parsed.positional, argument)) {
            parsed.positional << argument;
            continue;
        }
        if (argument == QLatin1String("-h") || argument == QLatin1String("--help")) {
            parsed.help = true;
        } else if (argument == QLatin1String("-c") || argument == QLatin1String("--config")) {
            if (++i == arguments.size()) {
                parsed.error = argument + QStringLiteral(" needs a configuration name");
                return parsed;
            }
            parsed.configuration = arguments.at(i);
        } else if (argument == QLatin1String("--stroud")) {
            if (++i == arguments.size()) {
                parsed.error = argument + QStringLiteral(" needs a number");
                return parsed;
            }
            parsed.stroud = arguments.at(i);
        } else if (argument.startsWith(QLatin1String("--config="))) {
            parsed.configuration = argument.mid(9);
        } else if (parsed.run.take(arguments, i, parsed.error)) {
            if (!parsed.error.isEmpty())
                return parsed;
        } else if (argument.startsWith(QLatin1Char('-')) && argument.size() > 1) {
            parsed.error = QStringLiteral("unknown option %1").arg(argument);
            return parsed;
        } else {
            parsed.positional << argument;
        }
    }
    parsed.run.takeConfigurations(parsed.configuration);
    return parsed;
}

int usageError(const QString& message)
{
    reportError(message + QStringLiteral(" (velmont-batch --help tells more)"));
    return ExitUsage;
}

// Ctrl-C and a termination request are noted, and reach the event loop
// through a pipe, the one thing a signal handler may safely write to.
volatile std::sig_atomic_t stopRequests = 0;
int signalPipe[2] = {-1, -1};

void onSignal(int)
{
    stopRequests = 1;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
}

// From the start on, so that a request during the load ends the program as
// one during a run does, and not by the signal.
void catchStopRequests(bool catching)
{
    if (catching)
        ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe);
    struct sigaction action = {};
    action.sa_handler = catching ? onSignal : SIG_DFL;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    if (!catching) {
        ::close(signalPipe[0]);
        ::close(signalPipe[1]);
    }
}

int stoppedBefore(const QString& command)
{
    reportError(QStringLiteral("stopped before %1 ran").arg(command));
    return ExitStopped;
}

class Library
{
public:
    explicit Library(BatchHost& host) : _host(host)
    {
        QAStData::initialize(&host);
        QAStProject::setModeBatch(true);
    }
    /// Looks for the plug-ins; their problems go to standard error unless
    /// \a quiet.
    void findPlugins(bool quiet)
    {
        if (quiet)
            _host.messages().hold();
        QAStNodePluginCenter::nodePluginCenter();
        if (quiet)
            _host.messages().release();
    }
    /// Finds the plug-ins, and reads the installed ports and the definition
    /// file of the settings.
    bool load()
    {
        // Before the rest, whose messages are held: a plug-in's problem is
        // no failure of the installation, and must not be lost with them.
        findPlugins(false);
        // The library's own reports would make several lines of one failure.
        _host.messages().hold();
        const bool ports = QAStTargetPackageList::initialize(&_host);
        const bool settings = ports && QAStConfiguration::initialize(&_host);
        _host.messages().release();
        if (!settings)
            reportError(QStringLiteral("the installation at %1 has %2")
                            .arg(_host.installDir(), ports ? QStringLiteral("a broken settings definition file")
                                                           : QStringLiteral("no target deployment port")));
        return settings;
    }
    ~Library()
    {
        QAStConfiguration::terminate();
        QAStTargetPackageList::terminate();
        QAStData::initialize(nullptr);
    }

private:
    BatchHost& _host;
};

int runCommand(BatchSession& session, const QString& command, const QStringList& rest,
               const BatchRunOptions& options, QTextStream& out)
{
    if (command == QLatin1String("tag") || command == QLatin1String("tags"))
        return session.tagCommand(command, rest);
    static const QStringList onNode {"build", "rebuild", "execute", "clean", "settings", "env", "explain"};
    static const QStringList needNode {"settings", "env"};
    static const QStringList onProject {"tree", "configs"};
    if (!onNode.contains(command) && !onProject.contains(command))
        return usageError(QStringLiteral("unknown command \"%1\"").arg(command));
    if (rest.size() > (onNode.contains(command) ? 1 : 0))
        return usageError(QStringLiteral("too many arguments for %1").arg(command));
    if (needNode.contains(command) && rest.isEmpty())
        return usageError(QStringLiteral("%1 needs a node").arg(command));
    if (command == QLatin1String("tree"))
        return session.tree();
    if (command == QLatin1String("configs"))
        return session.configs();

    QAStNode* node = session.resolve(rest.value(0));
    if (!node) {
        reportError(QStringLiteral("no node \"%1\" in the project").arg(rest.value(0)));
        return ExitUsage;
    }
    if (command == QLatin1String("settings"))
        return session.settings(node);
    if (command == QLatin1String("env"))
        return session.env(node);
    if (command == QLatin1String("explain"))
        return BatchRun(session, out, options).explain(node);
    const int status = command == QLatin1String("clean") ? session.clean(node)
                                                          : BatchRun(session, out, options).run(command, node);
    if (options.save && !options.dryRun)
        session.saveBuildState();
    return status;
}

// Loads the installation and the project, and runs the command on them; a
// stop requested during the load ends the program before the command runs.
int loadAndRun(Library& library, BatchSession& session, QTextStream& out, const Arguments& arguments)
{
    const QStringList& positional = arguments.positional;
    const QString command = positional.at(positional.size() == 1 ? 0 : 1);
    if (positional == QStringList {QStringLiteral("plugins")}) {
        // The listing names each problem itself.
        library.findPlugins(true);
        return BatchSession::plugins(out);
    }
    if (!library.load())
        return ExitLoad;
    if (stopRequests)
        return stoppedBefore(command);
    if (command == QLatin1String("ports")) {
        if (positional.size() > 2)
            return usageError(QStringLiteral("too many arguments for ports"));
        return BatchSession::ports(out);
    }
    if (EditCommands::handles(positional))
        return EditCommands::run(session, out, positional, arguments.configuration);
    // A load that a stop request interrupted may have failed because of it.
    const int opened = session.open(positional.at(0), arguments.configuration);
    if (stopRequests)
        return stoppedBefore(command);
    if (opened != ExitSuccess)
        return opened;
    QSocketNotifier interrupt(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&interrupt, &QSocketNotifier::activated, &session, [&] {
        char byte = 0;
        [[maybe_unused]] const ssize_t got = ::read(signalPipe[0], &byte, 1);
        session.stop();
    });
    if (command == QLatin1String("metrics")) {
        MetricsCommand metrics(session, out, arguments.stroud);
        QObject::connect(&interrupt, &QSocketNotifier::activated, &metrics, &MetricsCommand::stop);
        return metrics.run(positional.mid(2));
    }
    return runCommand(session, command, positional.mid(2), arguments.run, out);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const Arguments arguments = parse(QCoreApplication::arguments());
    if (!arguments.error.isEmpty())
        return usageError(arguments.error);
    if (arguments.help) {
        QTextStream(stdout) << usage;
        return ExitSuccess;
    }
    const QStringList& positional = arguments.positional;
    if (positional != QStringList {QStringLiteral("ports")} && positional != QStringList {QStringLiteral("plugins")}
        && positional.value(0) != QLatin1String("split") && positional.size() < 2)
        return usageError(positional.isEmpty() ? QStringLiteral("a project and a command are needed")
                                               : QStringLiteral("a command is needed"));
    catchStopRequests(true);
    if (positional.value(0) == QLatin1String("split"))
        return splitCommand(positional.mid(1), signalPipe[0], usageError);
    // A process that a step's script left behind becomes this program's
    // child instead of init's when the script ends, so that a stop can reap
    // it before the program ends.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    int status = ExitSuccess;
    {
        BatchHost host(QString::fromLocal8Bit(argv[0]));
        Library library(host);
        QTextStream out(stdout);
        BatchSession session(host, out);
        status = loadAndRun(library, session, out, arguments);
        out.flush();
        // The project's processes are killed and reaped by their owners as
        // it closes; what those started is left for the stop to end.
        session.close();
    }
    if (stopRequests)
        QAProcess::endGroups(2000);
    catchStopRequests(false);
    return status;
}
