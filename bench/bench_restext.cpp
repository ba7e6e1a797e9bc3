// What reading a resource text file costs, next to reading the same bytes
// into memory: a 10 MB file of setting descriptions (groups of strings,
// translatable titles, numbers, lists, colours, identifiers) is generated
// once; each iteration reads it whole with fread and parses it with
// QARes::read, timed in turns, each without the destruction of what it built.
// Then the start-up scan of the ports shipped in share/targets, the same
// reader in line-end mode on a few small files.

#include "qares.h"
#include "qapropertymapgroup.h"
#include "qastsettingsloader.h"
#include "qasttargetpackagelist.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <malloc.h>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr size_t fileBytes = 10u * 1024 * 1024;

std::string resourceText(size_t bytes)
{
    std::string text;
    text.reserve(bytes + 1024);
    text += "# Generated settings descriptions\n";
    for (unsigned i = 0; text.size() < bytes; ++i) {
        const std::string n = std::to_string(i);
        text += "property_" + n + " {\n";
        text += "  key = \"ZTC_SETTING_" + n + "\";\n";
        text += "  title = QT_TRANSLATE_NOOP( \"Settings\", \"Title of setting " + n + "\", \"page title\" );\n";
        text += "  help = \"Help text for setting " + n + " &#22;quoted&#22; with caf&#C3;&#A9;\";\n";
        text += "  kind = " + std::to_string(i % 21) + ";\n";
        text += "  mask = " + std::to_string(i * 37 % 65536) + ";\n";
        text += "  values = ( \"first\", \"second\", \"third\", " + n + " );\n";
        text += "  scale = " + std::to_string(i % 100) + ".25;\n";
        text += "  enabled = " + std::string(i % 2 ? "true" : "false") + ";\n";
        text += "  colour = rgb( " + std::to_string(i % 256) + ", 20, 30 );\n";
        text += "  editor = combo_box_" + std::to_string(i % 7) + ";\n";
        text += "  separator = ',';  // one character\n";
        text += "}\n";
    }
    return text;
}

double elapsedSeconds(const QElapsedTimer& timer)
{
    return double(timer.nsecsElapsed()) / 1e9;
}

void BM_ReadResourceText10MB(benchmark::State& state)
{
    QTemporaryDir dir;
    const std::string path = dir.filePath(QStringLiteral("settings.res")).toStdString();
    const std::string text = resourceText(fileBytes);
    {
        FILE* file = std::fopen(path.c_str(), "w");
        std::fwrite(text.data(), 1, text.size(), file);
        std::fclose(file);
    }
    const double megabytes = double(text.size()) / (1024.0 * 1024.0);
    std::vector<char> buffer(text.size());
    double bareSeconds = 0, parseSeconds = 0;
    int errors = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        FILE* file = std::fopen(path.c_str(), "r");
        benchmark::DoNotOptimize(std::fread(buffer.data(), 1, buffer.size(), file));
        std::fclose(file);
        bareSeconds += elapsedSeconds(timer);

        timer.start();
        std::unique_ptr<QARes> tree(QARes::read(path.c_str(), false));
        parseSeconds += elapsedSeconds(timer);
        errors += QARes::errorCount() + (tree ? 0 : 1);
        tree.reset();
        // Freeing the tree leaves a great many small chunks for the allocator
        // to merge at its next large request; without this the bare read of
        // the next iteration, through fopen's buffer, would pay for it.
        malloc_trim(0);
    }
    if (errors)
        state.SkipWithError("the generated file did not read cleanly");
    const double runs = double(state.iterations());
    state.counters["file_MB"] = megabytes;
    state.counters["bare_read_MB_per_s"] = megabytes * runs / bareSeconds;
    state.counters["parse_MB_per_s"] = megabytes * runs / parseSeconds;
    state.counters["parse_to_bare_ratio"] = parseSeconds / bareSeconds;
}
BENCHMARK(BM_ReadResourceText10MB)->Unit(benchmark::kMillisecond)->Iterations(10);

void BM_ScanShippedPorts(benchmark::State& state)
{
    const QStringList directories{QStringLiteral(SDK_SHIPPED_DATA "/targets")};
    // The library calls this function several times (to choose the number of
    // iterations, and once per repetition); only its first call meets a
    // process that has never scanned.
    static const double firstScanUs = [&] {
        QElapsedTimer first;
        first.start();
        QAStTargetPackageList once(directories);
        return double(first.nsecsElapsed()) / 1e3;
    }();
    double scanUs = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        QAStTargetPackageList list(directories);
        scanUs += double(timer.nsecsElapsed()) / 1e3;
        if (list.size() != 2)
            state.SkipWithError("the shipped ports did not load");
    }
    state.counters["first_scan_us"] = firstScanUs;
    state.counters["scan_us"] = scanUs / double(state.iterations());
}
BENCHMARK(BM_ScanShippedPorts)->Unit(benchmark::kMicrosecond);

// What start-up costs for the settings: the definition file of every
// configuration setting loaded into its description tree, and the ports.
void BM_StartUpSettingsAndPorts(benchmark::State& state)
{
    const QMap<QString, int> filters {
        {"C", 0x1}, {"C++", 0x2}, {"ADA", 0x4}, {"JAVA", 0x8}, {"GROUP", 0x100}, {"TEST", 0x200},
        {"UNIT_TESTING", 0x400}, {"OBJECT_TESTING", 0x800}, {"SYSTEM_TESTING", 0x1000}, {"USER", 0x2000},
        {"SOURCE", 0x4000}, {"TEST_SCRIPT", 0x8000}, {"UNIT_TESTSCRIPT", 0x10000},
        {"SYSTEM_TESTSCRIPT", 0x20000}, {"VIRTUAL_TESTER", 0x40000}, {"PROJECT", 0x80000},
        {"APPLICATION", 0x100000}, {"LIBRARY", 0x200000}, {"JAVA_TESTING", 0x400000},
        {"STUDIO", 0x10000000}, {"ECLIPSE_VTA", 0x20000000}, {"ECLIPSE_TPTP", 0x40000000}};
    const QList<unsigned int> maskGroups {0xF, 0xFFFF00, 0x70000000};
    const QString definition = QStringLiteral(SDK_SHIPPED_DATA "/Common/lib/velmontprojectsettings.properties");
    const QStringList directories {QStringLiteral(SDK_SHIPPED_DATA "/targets")};
    double loadUs = 0;
    double scanUs = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        std::unique_ptr<QAPropertyMapGroup> settings(
            QAStSettingsLoader().load(definition, filters, maskGroups, nullptr));
        loadUs += double(timer.nsecsElapsed()) / 1e3;
        if (!settings)
            state.SkipWithError("the definition file did not load");
        timer.start();
        QAStTargetPackageList ports(directories);
        scanUs += double(timer.nsecsElapsed()) / 1e3;
    }
    state.counters["definition_us"] = loadUs / double(state.iterations());
    state.counters["ports_us"] = scanUs / double(state.iterations());
    state.counters["startup_ms"] = (loadUs + scanUs) / 1e3 / double(state.iterations());
}
BENCHMARK(BM_StartUpSettingsAndPorts)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
