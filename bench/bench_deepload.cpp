// What opening a project costs by its shape: groups nested one in the other,
// against the same number of groups side by side under the project. Each
// iteration opens the file from disk in batch mode, as a user's open does
// (parse, build, sub-projects, objects file, flags), then deletes the tree,
// each step timed on its own. An open that grows with the square of the depth
// shows as a time per group that grows with the depth; linear cost keeps the
// ratios near 1. Writing is left out: two blanks of indentation a level make
// the text itself grow with the square of the depth.

#include "qastproject.h"

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

// One group as a save writes it, with a configuration of its own, without
// the indentation: white space means nothing to the reader, and two blanks a
// level would make a file 10,000 levels deep a few gigabytes long.
QString groupHead(int i)
{
    return QStringLiteral("<group><node><data><name>g%1</name><quid>%2</quid><renameable>true</renameable>"
                          "<deletable>true</deletable><open>true</open><sorted>false</sorted>"
                          "<executionResult>5</executionResult></data>"
                          "<current_configuration>Debug</current_configuration><state>0</state>"
                          "<background>false</background><configuration_list><configuration>"
                          "<name>Debug</name></configuration></configuration_list></node><group_child>")
        .arg(i)
        .arg(1000 + i);
}

const char* const groupTail = "</group_child></group>";

QString projectText(int count, bool nested)
{
    QString text = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                  "<!DOCTYPE project SYSTEM \"project.dtd\" >\n<project>")
        + groupHead(0);
    for (int i = 1; i <= count; ++i) {
        text += groupHead(i);
        if (!nested)
            text += QLatin1String(groupTail);
    }
    if (nested) {
        for (int i = 1; i <= count; ++i)
            text += QLatin1String(groupTail);
    }
    return text + QLatin1String(groupTail)
        + QStringLiteral("<object_file>deep.inf</object_file><sort_method>1</sort_method>"
                         "<root_configuration_list><configuration><name>Debug</name></configuration>"
                         "</root_configuration_list><version_file>1</version_file></project>\n");
}

double elapsedMs(const QElapsedTimer& timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

struct Figures {
    double openMs = 0;
    double deleteMs = 0;
};

// Opens and deletes the project of \a count groups once; false when
// the tree did not come back whole.
bool openAndDelete(const QString& path, int count, Figures& figures)
{
    QElapsedTimer timer;
    timer.start();
    auto project = std::make_unique<QAStProject>(path);
    figures.openMs += elapsedMs(timer);
    if (!project->isLoaded() || project->childrenOfClass("QAStNodeGroup", true).size() != count)
        return false;

    timer.start();
    project.reset();
    figures.deleteMs += elapsedMs(timer);
    return true;
}

QString writeProject(const QTemporaryDir& dir, int count, bool nested)
{
    const QString path = dir.filePath(QStringLiteral("%1%2.vmp").arg(nested ? "deep" : "flat").arg(count));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(projectText(count, nested).toUtf8());
    return path;
}

void perGroupCounters(benchmark::State& state, const Figures& figures, int count)
{
    const double n = static_cast<double>(state.iterations());
    state.counters["open_us_per_group"] = figures.openMs * 1000.0 / n / count;
    state.counters["delete_us_per_group"] = figures.deleteMs * 1000.0 / n / count;
    state.counters["open_ms"] = figures.openMs / n;
}

// One shape at one size.
void BM_Open(benchmark::State& state, bool nested)
{
    const int count = static_cast<int>(state.range(0));
    QTemporaryDir dir;
    const QString path = writeProject(dir, count, nested);
    Figures figures;
    for (auto _ : state) {
        if (!openAndDelete(path, count, figures))
            state.SkipWithError("the tree did not come back whole");
    }
    perGroupCounters(state, figures, count);
}
BENCHMARK_CAPTURE(BM_Open, nested, true)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Open, side_by_side, false)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Iterations(3);

// Both shapes of the same size in turns, so that both see the same load of a
// shared machine: deep_over_flat_ratio is 1 when depth costs nothing.
void BM_DeepAgainstFlat(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    QTemporaryDir dir;
    const QString deep = writeProject(dir, count, true);
    const QString flat = writeProject(dir, count, false);
    Figures deepFigures;
    Figures flatFigures;
    for (auto _ : state) {
        if (!openAndDelete(deep, count, deepFigures) || !openAndDelete(flat, count, flatFigures))
            state.SkipWithError("the tree did not come back whole");
    }
    perGroupCounters(state, deepFigures, count);
    state.counters["open_deep_over_flat_ratio"] = deepFigures.openMs / flatFigures.openMs;
    state.counters["delete_deep_over_flat_ratio"] = deepFigures.deleteMs / flatFigures.deleteMs;
}
BENCHMARK(BM_DeepAgainstFlat)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Iterations(3);

// The same shape at ten times the size, in turns: open_growth_ratio is the
// time per group at 10,000 levels over the time per group at 1,000, 1 for a
// linear open.
void BM_DepthGrowth(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString small = writeProject(dir, 1000, true);
    const QString large = writeProject(dir, 10000, true);
    Figures smallFigures;
    Figures largeFigures;
    for (auto _ : state) {
        for (int i = 0; i < 10; ++i) {
            if (!openAndDelete(small, 1000, smallFigures))
                state.SkipWithError("the tree did not come back whole");
        }
        if (!openAndDelete(large, 10000, largeFigures))
            state.SkipWithError("the tree did not come back whole");
    }
    state.counters["open_growth_ratio"] = largeFigures.openMs / smallFigures.openMs;
    state.counters["delete_growth_ratio"] = largeFigures.deleteMs / smallFigures.deleteMs;
}
BENCHMARK(BM_DepthGrowth)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QAStProject::setModeBatch(true);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
