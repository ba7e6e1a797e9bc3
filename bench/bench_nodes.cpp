// What the node state machine costs: a build of 500 nodes that each run a
// trivial after-child script, against the same 500 scripts started by a shell
// loop (the two timed in turns in each iteration), and the time to decide that
// a tree of 10,000 nodes is up to date, where no process starts at all.

#include "withoutmenus.h"
#include "qastnode.h"
#include "studiointerface.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

class PlainPerlHost : public StudioInterface
{
public:
    QStringList perlCommand() override { return {QStringLiteral("perl")}; }
};

class BenchNode : public WithoutMenus<QAStNode>
{
public:
    BenchNode(const QString& name, QAStData* parent = nullptr)
        : WithoutMenus(name, QPixmap(), parent)
    {
    }
    bool isNodeExecutable() override { return false; }
};

// Runs the event loop until the run of the root has ended.
void runToEnd()
{
    while (QAStNode::isRunConnected())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void BM_BuildOf500ScriptNodes(benchmark::State& state)
{
    constexpr int nodes = 500;
    QTemporaryDir dir;
    const QString script = dir.filePath(QStringLiteral("step.pl"));
    {
        QFile file(script);
        file.open(QIODevice::WriteOnly);
        file.write("exit 0;\n");
        QFile env(dir.filePath(QStringLiteral("env.pl")));
        env.open(QIODevice::WriteOnly);
        env.write("1;\n");
    }
    QDir::setCurrent(dir.path());
    BenchNode root(QStringLiteral("root"));
    for (int i = 0; i < nodes; ++i)
        (new BenchNode(QStringLiteral("n%1").arg(i), &root))->setPerlScriptAfterChild(script);
    const QString loop = QStringLiteral("for i in $(seq %1); do perl '%2' env.pl name; done").arg(nodes).arg(script);

    double library = 0;
    double shell = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        root.rebuild();
        runToEnd();
        library += double(timer.nsecsElapsed());
        if (root.executionStatus() != QAStData::ExecutionSuccess)
            state.SkipWithError("a script failed");

        timer.restart();
        QProcess::execute(QStringLiteral("sh"), {QStringLiteral("-c"), loop});
        shell += double(timer.nsecsElapsed());
    }
    const double runs = double(state.iterations()) * nodes;
    state.counters["library_us_per_node"] = library / runs / 1000.0;
    state.counters["shell_us_per_script"] = shell / runs / 1000.0;
    state.counters["library_to_shell_ratio"] = library / shell;
}
BENCHMARK(BM_BuildOf500ScriptNodes)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_UpToDateDecisionOf10000Nodes(benchmark::State& state)
{
    constexpr int nodes = 10000;
    BenchNode root(QStringLiteral("root"));
    for (int i = 0; i < nodes; ++i)
        new BenchNode(QStringLiteral("n%1").arg(i), &root);
    double elapsed = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        root.build();
        runToEnd();
        elapsed += double(timer.nsecsElapsed());
    }
    state.counters["up_to_date_ns_per_node"] = elapsed / double(state.iterations()) / nodes;
}
BENCHMARK(BM_UpToDateDecisionOf10000Nodes)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    PlainPerlHost host;
    QAStData::initialize(&host);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
