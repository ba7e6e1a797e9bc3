// What reading and writing a project file costs, next to the bare XML parse of
// the same file: a project of 10,000 groups in a mixed shape is written once;
// then each iteration parses the text alone, loads it (parse and build the
// tree through the factory), and saves the loaded tree, timed in turns.

#include "qastnodegroup.h"
#include "qastproject.h"
#include "qastrootfolder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <QDomDocument>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTextStream>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

QString projectText(int count)
{
    QAStProject project(QStringLiteral("bench"), QPixmap());
    QList<QAStNodeContainer*> holders {&project};
    quint32 random = 12345;
    for (int i = 0; i < count; ++i) {
        random = random * 1103515245u + 12345u;
        QAStNodeContainer* parent = holders.at((random >> 8) % holders.size());
        auto* group = new QAStNodeGroup(QStringLiteral("node %1").arg(i), parent, parent->last());
        if (i % 4 == 0)
            group->addOutFileName(QStringLiteral("ROD"), QStringLiteral("results/r%1.rod").arg(i));
        if (i % 6 == 0)
            group->setPerlScriptAfterChild(QStringLiteral("after.pl"));
        holders.append(group);
    }
    QString text;
    QTextStream stream(&text);
    project.write(stream, 0);
    stream.flush();
    return text;
}

double elapsedMs(QElapsedTimer& timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

void BM_LoadAndSave10000Nodes(benchmark::State& state)
{
    const QString text = projectText(10000);
    double parseMs = 0, loadMs = 0, saveMs = 0;
    for (auto _ : state) {
        // Each side is timed without the destruction of what it built.
        auto bare = std::make_unique<QDomDocument>();
        QElapsedTimer timer;
        timer.start();
        benchmark::DoNotOptimize(bare->setContent(text));
        parseMs += elapsedMs(timer);
        bare.reset();

        timer.start();
        QDomDocument document;
        document.setContent(text);
        QAStProject project(QStringLiteral("bench"), QPixmap());
        project.init(document.documentElement());
        loadMs += elapsedMs(timer);

        timer.start();
        QString out;
        QTextStream stream(&out);
        project.write(stream, 0);
        stream.flush();
        saveMs += elapsedMs(timer);
        if (out.size() != text.size())
            state.SkipWithError("the saved text differs in size from the loaded one");
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["parse_ms"] = parseMs / n;
    state.counters["load_ms"] = loadMs / n;
    state.counters["save_ms"] = saveMs / n;
    state.counters["load_to_parse_ratio"] = loadMs / parseMs;
    state.counters["save_to_parse_ratio"] = saveMs / parseMs;
    state.counters["file_MB"] = static_cast<double>(text.toUtf8().size()) / (1024.0 * 1024.0);
}
BENCHMARK(BM_LoadAndSave10000Nodes)->Unit(benchmark::kMillisecond)->Iterations(5);

// The document on disk: a project file of 10,000 groups and an objects file
// of 5,000 files in a few folders, opened and saved as a user does.
void BM_OpenAndSaveDocument(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bench.vmp"));
    QAStProject::setModeBatch(true);
    {
        QAStProject project(path);
        QList<QAStNodeContainer*> holders {&project};
        quint32 random = 12345;
        for (int i = 0; i < 10000; ++i) {
            random = random * 1103515245u + 12345u;
            QAStNodeContainer* parent = holders.at((random >> 8) % holders.size());
            holders.append(new QAStNodeGroup(QStringLiteral("node %1").arg(i), parent, parent->last()));
        }
        QStringList keys;
        for (int i = 0; i < 5000; ++i)
            keys << QStringLiteral("src/module%1/file%2.%3").arg(i % 50).arg(i).arg(i % 3 ? "c" : "h");
        project.rootFolder()->addFiles(keys, true);
        if (!project.saveProcess())
            state.SkipWithError("the project could not be written");
    }
    auto readAll = [](const QString& file) {
        QFile in(file);
        in.open(QIODevice::ReadOnly);
        return in.readAll();
    };
    double parseMs = 0, openMs = 0, saveMs = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        {
            QDomDocument project;
            QDomDocument objects;
            benchmark::DoNotOptimize(project.setContent(readAll(path)));
            benchmark::DoNotOptimize(objects.setContent(readAll(dir.filePath(QStringLiteral("bench.inf")))));
            parseMs += elapsedMs(timer);
        }
        timer.start();
        QAStProject project(path);
        openMs += elapsedMs(timer);
        if (project.files().size() != 5000)
            state.SkipWithError("the objects file did not come back whole");
        project.setModified(true);
        timer.start();
        project.saveProcess();
        saveMs += elapsedMs(timer);
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["parse_both_ms"] = parseMs / n;
    state.counters["open_ms"] = openMs / n;
    state.counters["save_ms"] = saveMs / n;
    state.counters["open_to_parse_ratio"] = openMs / parseMs;
    state.counters["save_to_parse_ratio"] = saveMs / parseMs;
}
BENCHMARK(BM_OpenAndSaveDocument)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
