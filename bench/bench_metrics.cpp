// The metrics on real code nobody here wrote: the C sources of the Bluetooth
// stack that Debian's bluez-source ships (/usr/src/bluez.tar.bz2).
//
// BM_ToolOverPmccabe: the metrics tool over every source, against pmccabe
// over the same files, in turns inside one iteration: lines per second, and
// the tool's time over pmccabe's, on the wall clock and on the programs' CPU time.
// BM_TreeOverDom: the metrics tree (reader, derived values, class families)
// over the metrics files of every source, against a bare QDomDocument parse
// of the same files, in turns.

#include "qmetelement.h"
#include "qmettree.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QDomDocument>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QProcess>

#include <benchmark/benchmark.h>

#include <ctime>
#include <sys/resource.h>

namespace {

struct Corpus {
    QString root;
    QStringList sources;
    qint64 lines = 0;
    // Sources in rounds: no two of one name in a round, since the metrics
    // file is named after the source.
    QList<QStringList> rounds;
    QStringList metricFiles;
    QString error;
};

double threadCpuSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// User and system time of the children waited for so far.
double childrenCpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
        + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

bool run(const QString& program, const QStringList& arguments, const QString& directory = QString())
{
    QProcess process;
    process.setWorkingDirectory(directory);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit;
}

template <typename Run>
void inChunks(const QStringList& files, Run each)
{
    for (qsizetype i = 0; i < files.size(); i += 200)
        each(files.mid(i, 200));
}

void runTool(const Corpus& corpus, const QString& out)
{
    for (qsizetype round = 0; round < corpus.rounds.size(); ++round) {
        const QStringList options {"-q", "-d", out + QLatin1Char('/') + QString::number(round), "-I", corpus.root,
                                   "-I", corpus.root + QStringLiteral("/lib"), "-DHAVE_CONFIG_H"};
        inChunks(corpus.rounds.at(round), [&](const QStringList& part) {
            run(QStringLiteral(SDK_METRICS_TOOL), options + part);
        });
    }
}

const Corpus& corpus()
{
    static Corpus corpus = [] {
        Corpus c;
        const QString work = QStringLiteral(SDK_BENCH_WORK);
        c.root = work + QStringLiteral("/bluez-source");
        if (!QFileInfo::exists(c.root)) {
            QDir().mkpath(work);
            if (!run(QStringLiteral("tar"), {"xjf", "/usr/src/bluez.tar.bz2"}, work)) {
                c.error = QStringLiteral("cannot unpack /usr/src/bluez.tar.bz2 (package bluez-source)");
                return c;
            }
        }
        for (QDirIterator it(c.root, {"*.c"}, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
            c.sources << it.next();
        c.sources.sort();
        QHash<QString, int> seen;
        for (const QString& source : std::as_const(c.sources)) {
            QFile file(source);
            if (file.open(QIODevice::ReadOnly))
                c.lines += file.readAll().count('\n');
            const int round = seen[QFileInfo(source).fileName()]++;
            if (round == c.rounds.size())
                c.rounds.append(QStringList());
            c.rounds[round] << source;
        }
        const QString out = work + QStringLiteral("/met");
        QDir(out).removeRecursively();
        runTool(c, out);
        for (QDirIterator it(out, {"*.met"}, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
            c.metricFiles << it.next();
        if (c.metricFiles.isEmpty())
            c.error = QStringLiteral("the metrics tool wrote nothing");
        return c;
    }();
    return corpus;
}

void BM_ToolOverPmccabe(benchmark::State& state)
{
    const Corpus& c = corpus();
    if (!c.error.isEmpty()) {
        state.SkipWithError(qPrintable(c.error));
        return;
    }
    const QString out = QStringLiteral(SDK_BENCH_WORK "/met-timed");
    double toolSeconds = 0;
    double pmccabeSeconds = 0;
    double toolCpu = 0;
    double pmccabeCpu = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        double cpu = childrenCpuSeconds();
        inChunks(c.sources, [](const QStringList& part) { run(QStringLiteral("pmccabe"), part); });
        pmccabeCpu += childrenCpuSeconds() - cpu;
        pmccabeSeconds += timer.nsecsElapsed() / 1e9;
        timer.restart();
        cpu = childrenCpuSeconds();
        runTool(c, out);
        toolCpu += childrenCpuSeconds() - cpu;
        toolSeconds += timer.nsecsElapsed() / 1e9;
    }
    const double iterations = double(state.iterations());
    state.counters["files"] = double(c.sources.size());
    state.counters["lines"] = double(c.lines);
    state.counters["lines_per_s"] = c.lines * iterations / toolSeconds;
    state.counters["pmccabe_lines_per_s"] = c.lines * iterations / pmccabeSeconds;
    state.counters["over_pmccabe_ratio"] = toolSeconds / pmccabeSeconds;
    // The same on the CPU time of the programs themselves, which a busy
    // machine does not stretch.
    state.counters["cpu_lines_per_s"] = c.lines * iterations / toolCpu;
    state.counters["cpu_pmccabe_lines_per_s"] = c.lines * iterations / pmccabeCpu;
    state.counters["cpu_over_pmccabe_ratio"] = toolCpu / pmccabeCpu;
}
// Each run reads the whole code base: two repetitions whatever the command line asks.
BENCHMARK(BM_ToolOverPmccabe)->Iterations(1)->Repetitions(2)->Unit(benchmark::kSecond)->UseRealTime();

void BM_TreeOverDom(benchmark::State& state)
{
    const Corpus& c = corpus();
    if (!c.error.isEmpty()) {
        state.SkipWithError(qPrintable(c.error));
        return;
    }
    double treeSeconds = 0;
    double domSeconds = 0;
    double treeCpu = 0;
    double domCpu = 0;
    qint64 functions = 0;
    // The first load grows the heap, and pays for page faults that the
    // loads after it, of either side, do not: it is left out.
    auto loadTree = [&c] {
        QMetTree tree(c.metricFiles);
        tree.init();
        return tree.root()->counter(QStringLiteral("VG"));
    };
    loadTree();
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        double cpu = threadCpuSeconds();
        functions = loadTree();
        treeCpu += threadCpuSeconds() - cpu;
        treeSeconds += timer.nsecsElapsed() / 1e9;
        timer.restart();
        cpu = threadCpuSeconds();
        for (const QString& path : c.metricFiles) {
            QFile file(path);
            QDomDocument document;
            if (file.open(QIODevice::ReadOnly))
                document.setContent(&file);
            benchmark::DoNotOptimize(document);
        }
        domCpu += threadCpuSeconds() - cpu;
        domSeconds += timer.nsecsElapsed() / 1e9;
    }
    const double iterations = double(state.iterations());
    state.counters["metric_files"] = double(c.metricFiles.size());
    state.counters["functions"] = double(functions);
    state.counters["tree_ms"] = treeSeconds * 1000 / iterations;
    state.counters["dom_ms"] = domSeconds * 1000 / iterations;
    state.counters["cpu_tree_ms"] = treeCpu * 1000 / iterations;
    state.counters["cpu_dom_ms"] = domCpu * 1000 / iterations;
    // On this thread's CPU time: the work is one thread's, and the wall
    // clock of a shared machine mostly measures the wait for a CPU.
    state.counters["tree_to_dom_ratio"] = treeCpu / domCpu;
}
BENCHMARK(BM_TreeOverDom)->Iterations(5)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
