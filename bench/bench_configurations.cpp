// What resolving a setting costs: one key on a leaf ten levels below the
// project, every key of the description on every node of a 10,000-node tree,
// and the duplication of a configuration over that tree. A lookup walks from
// the node's store through each ancestor's to the project's initial
// configuration, so the figure that matters is the time per level.

#include "qaproperty.h"
#include "qapropertymapgroup.h"
#include "qastconfiguration.h"
#include "qastnodegroup.h"
#include "qastproject.h"
#include "studiointerface.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>

#include <benchmark/benchmark.h>

#include <ctime>

namespace {

// This thread's CPU time, as the library's own cpu_time column counts it: a
// lookup costs a few hundred nanoseconds, and on a machine shared with other
// builds the wall clock would mostly measure the wait for a CPU.
double threadCpuNs()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e9 + double(now.tv_nsec);
}

class ShippedDataHost : public StudioInterface
{
public:
    QString dataDir() override { return QStringLiteral(SDK_SHIPPED_DATA); }
};

void collectKeys(QAProperty* property, QStringList& keys)
{
    if (!property->isGroup()) {
        keys << property->key();
        return;
    }
    for (QAProperty* child : static_cast<QAPropertyGroup*>(property)->children())
        collectKeys(child, keys);
}

// Stores a lookup passes through, from \a node to the initial configuration.
int chainLength(QAStNode* node)
{
    int length = 1; // the initial configuration
    for (QAStData* data = node; data; data = data->parent())
        ++length;
    return length;
}

QAStProject* newProject()
{
    auto* project = new QAStProject(QPixmap());
    project->create(QDir::temp().filePath(QStringLiteral("bench.vmp")));
    project->addConfiguration(QStringLiteral("Debug"));
    return project;
}

// 10,000 groups, each below a node picked at random among those made before,
// which gives the mix of wide and deep parts of a real tree.
QList<QAStNode*> growTree(QAStProject* project, int count)
{
    QList<QAStNode*> nodes {project};
    quint32 random = 12345;
    for (int i = 0; i < count; ++i) {
        random = random * 1103515245u + 12345u;
        QAStNode* parent = nodes.at((random >> 8) % nodes.size());
        nodes << new QAStNodeGroup(QStringLiteral("n%1").arg(i), parent);
    }
    return nodes;
}

void BM_ResolveOnLeafTenLevelsDeep(benchmark::State& state)
{
    std::unique_ptr<QAStProject> project(newProject());
    QAStNode* leaf = project.get();
    for (int i = 0; i < 10; ++i)
        leaf = new QAStNodeGroup(QStringLiteral("level%1").arg(i), leaf);
    const QAStConfiguration* configuration = leaf->currentConfiguration();
    const QString key = QStringLiteral("computerPort");
    const double start = threadCpuNs();
    for (auto _ : state)
        benchmark::DoNotOptimize(configuration->property(key));
    const double cpuNs = threadCpuNs() - start;
    const int levels = chainLength(leaf);
    state.counters["stores_walked"] = levels;
    state.counters["cpu_ns_per_lookup"] = cpuNs / double(state.iterations());
    state.counters["cpu_ns_per_level"] = cpuNs / (double(state.iterations()) * levels);
}
BENCHMARK(BM_ResolveOnLeafTenLevelsDeep);

void BM_ResolveEveryKeyOnEveryNode(benchmark::State& state)
{
    std::unique_ptr<QAStProject> project(newProject());
    const QList<QAStNode*> nodes = growTree(project.get(), 10000);
    QStringList keys;
    collectKeys(QAStConfiguration::propertyDescriptor(), keys);
    qint64 levels = 0;
    for (QAStNode* node : nodes)
        levels += chainLength(node);
    const double start = threadCpuNs();
    for (auto _ : state) {
        for (QAStNode* node : nodes) {
            const QAStConfiguration* configuration = node->currentConfiguration();
            for (const QString& key : std::as_const(keys))
                benchmark::DoNotOptimize(configuration->property(key));
        }
    }
    const double cpuNs = threadCpuNs() - start;
    const double runs = double(state.iterations());
    state.counters["lookups"] = double(nodes.size()) * double(keys.size());
    state.counters["mean_stores_walked"] = double(levels) / double(nodes.size());
    state.counters["cpu_ns_per_lookup"] = cpuNs / (runs * double(nodes.size()) * double(keys.size()));
    state.counters["cpu_ns_per_level"] = cpuNs / (runs * double(levels) * double(keys.size()));
}
BENCHMARK(BM_ResolveEveryKeyOnEveryNode)->Unit(benchmark::kMillisecond);

void BM_DuplicateConfigurationOf10000Nodes(benchmark::State& state)
{
    std::unique_ptr<QAStProject> project(newProject());
    const QList<QAStNode*> nodes = growTree(project.get(), 10000);
    double copyNs = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        project->dupConfiguration(QStringLiteral("Debug"), QStringLiteral("Copy"));
        copyNs += double(timer.nsecsElapsed());
        state.PauseTiming();
        project->removeConfiguration(QStringLiteral("Copy"));
        state.ResumeTiming();
    }
    state.counters["us_per_node"] = copyNs / 1e3 / double(state.iterations()) / double(nodes.size());
}
BENCHMARK(BM_DuplicateConfigurationOf10000Nodes)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ShippedDataHost host;
    QAStData::initialize(&host);
    if (!QAStConfiguration::initialize(&host))
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    QAStConfiguration::terminate();
    return 0;
}
