// What writing one environment file costs: every variable of a node's
// configuration, resolved through the tree, with all settings at their
// defaults and the shipped C++ port adopted, as a new project has them. Once
// for a node right below the project and once for a node ten levels down,
// where each setting walks ten more stores. The text goes to memory, so the
// figure is the generator's alone, without the disk.

#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastprojectpref.h"
#include "qastproject.h"
#include "qasttargetpackagelist.h"
#include "studiointerface.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTextStream>

#include <benchmark/benchmark.h>

namespace {

class ShippedDataHost : public StudioInterface
{
public:
    QString dataDir() override { return QStringLiteral(SDK_SHIPPED_DATA); }
    QString installDir() override { return QStringLiteral(SDK_SHIPPED_DATA); }
    QString userName() override { return QStringLiteral("bench"); }
};

void generateAt(benchmark::State& state, int depth)
{
    auto project = std::make_unique<QAStProject>(QPixmap());
    project->create(QDir::temp().filePath(QStringLiteral("bench.vmp")));
    project->addConfiguration(QStringLiteral("Debug"));
    if (QAStTargetPackage* port = QAStNode::getTDP(QStringLiteral("gnu_cpp_native")))
        project->initialConfiguration(QStringLiteral("Debug"))->init(*port);
    else
        state.SkipWithError("the shipped port gnu_cpp_native is not installed");
    QAStNode* node = project.get();
    for (int level = 0; level < depth; ++level)
        node = new QAStNodeGroup(QStringLiteral("level%1").arg(level), node);

    QString text;
    double elapsedNs = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        text.clear();
        QTextStream stream(&text);
        node->generateEnv(stream);
        stream.flush();
        benchmark::DoNotOptimize(text.data());
        elapsedNs += double(timer.nsecsElapsed());
    }
    state.counters["us_per_file"] = elapsedNs / 1e3 / double(state.iterations());
    state.counters["lines"] = double(text.count(QLatin1Char('\n')));
    state.counters["bytes"] = double(text.toLocal8Bit().size());
}

void BM_EnvironmentOfANodeBelowTheProject(benchmark::State& state)
{
    generateAt(state, 1);
}
BENCHMARK(BM_EnvironmentOfANodeBelowTheProject)->Unit(benchmark::kMicrosecond);

void BM_EnvironmentOfANodeTenLevelsDeep(benchmark::State& state)
{
    generateAt(state, 10);
}
BENCHMARK(BM_EnvironmentOfANodeTenLevelsDeep)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ShippedDataHost host;
    QAStData::initialize(&host);
    QAStData::preferences()->setValue(QStringLiteral("tdpDirectories"),
                                      QStringList(QStringLiteral(SDK_SHIPPED_DATA "/targets")));
    if (!QAStTargetPackageList::initialize(&host) || !QAStConfiguration::initialize(&host))
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    QAStConfiguration::terminate();
    QAStTargetPackageList::terminate();
    return 0;
}
