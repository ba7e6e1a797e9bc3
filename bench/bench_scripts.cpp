// What a build step costs beyond the process itself: 200 trivial Perl scripts
// launched one after the other through QAStData::executePerlScript, each with
// its environment file, against the same number of bare `perl -e 1` started by
// a shell loop. The two are timed in turns inside one iteration, so that the
// ratio does not depend on how busy the machine was at one moment or another.

#include "withoutmenus.h"
#include "qastdata.h"
#include "studiointerface.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <cstdlib>

namespace {

constexpr int scriptCount = 200;

// The interpreter with no wrapper script in front, as the shell loop runs it.
class PlainPerlHost : public StudioInterface
{
public:
    QStringList perlCommand() override { return {QStringLiteral("perl")}; }
};

class BenchData : public WithoutMenus<QAStData>
{
public:
    explicit BenchData(const QString& name) : WithoutMenus(name, QPixmap()) {}
};

// Launches the next script from the end of the previous one, as a node that
// runs its steps in sequence does. Answers the number of scripts that failed.
int runChain(BenchData& data, const QString& script, const QString& directory)
{
    QEventLoop loop;
    int remaining = scriptCount;
    int failures = 0;
    auto next = [&] {
        if (remaining-- == 0) {
            loop.quit();
            return;
        }
        QTextStream environment;
        if (!data.createEnvironmentFile(environment)) {
            ++failures;
            loop.quit();
            return;
        }
        data.generateEnv(environment);
        data.executePerlScript(script, directory, &environment, true);
    };
    const QMetaObject::Connection ended =
        QObject::connect(&data, &QAStData::perlScriptTerminated, &loop, [&] {
            if (data.executionStatus() != QAStData::ExecutionSuccess)
                ++failures;
            // Queued, so that the chain does not grow the stack of the previous end.
            QTimer::singleShot(0, &loop, next);
        });
    QTimer::singleShot(0, &loop, next);
    loop.exec();
    QObject::disconnect(ended);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return failures;
}

double shellLoopSeconds()
{
    QElapsedTimer timer;
    timer.start();
    const int status = std::system("for i in $(seq 200); do perl -e 1; done");
    const double seconds = timer.nsecsElapsed() / 1e9;
    return status == 0 ? seconds : -1.0;
}

// QProcess alone, without the library, to tell its share from the library's.
double qprocessSeconds()
{
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < scriptCount; ++i) {
        QProcess process;
        process.start(QStringLiteral("perl"), {QStringLiteral("-e"), QStringLiteral("1")});
        if (!process.waitForFinished(10000) || process.exitCode() != 0)
            return -1.0;
    }
    return timer.nsecsElapsed() / 1e9;
}

void BM_ScriptsThroughLibraryVersusShell(benchmark::State& state)
{
    QTemporaryDir directory;
    QFile script(directory.filePath(QStringLiteral("trivial.pl")));
    if (!directory.isValid() || !script.open(QIODevice::WriteOnly)) {
        state.SkipWithError("no temporary directory");
        return;
    }
    script.write("exit 0;\n");
    script.close();
    // Objects without a project write their environment file in the current directory.
    const QString previous = QDir::currentPath();
    QDir::setCurrent(directory.path());

    PlainPerlHost host;
    QAStData::initialize(&host);
    BenchData data(QStringLiteral("bench node"));

    double library = 0, shell = 0, bare = 0;
    for (auto _ : state) {
        const double shellTime = shellLoopSeconds();
        const double bareTime = qprocessSeconds();
        QElapsedTimer timer;
        timer.start();
        const int failures = runChain(data, script.fileName(), directory.path());
        const double libraryTime = timer.nsecsElapsed() / 1e9;
        if (failures || shellTime < 0 || bareTime < 0) {
            state.SkipWithError("a script or a process failed");
            break;
        }
        state.SetIterationTime(libraryTime);
        library += libraryTime;
        shell += shellTime;
        bare += bareTime;
    }
    QAStData::initialize(nullptr);
    QDir::setCurrent(previous);

    const double per = 1000.0 / (double(state.iterations()) * scriptCount);
    state.counters["library_ms_per_script"] = library * per;
    state.counters["shell_ms_per_script"] = shell * per;
    state.counters["qprocess_ms_per_script"] = bare * per;
    // Measured side by side in each iteration, so the machine's load of the
    // moment weighs on both sides alike.
    state.counters["library_to_shell_ratio"] = shell > 0 ? library / shell : 0;
    state.counters["library_to_qprocess_ratio"] = bare > 0 ? library / bare : 0;
    state.counters["qprocess_to_shell_ratio"] = shell > 0 ? bare / shell : 0;
}

} // namespace

BENCHMARK(BM_ScriptsThroughLibraryVersusShell)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    // QPixmap, a member of every tree object, needs a GUI application.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
