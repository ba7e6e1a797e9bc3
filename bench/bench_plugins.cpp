// The plug-in search of the command-line host over a clean plugins directory
// and over a hostile one, side by side in each repetition: the same plug-in
// beside thousands of files named like libraries that are none, plain files,
// nested directories, links that loop and a pipe. The program is timed whole
// (`velmont-batch plugins`), from its start to its end, because a slow search
// shows where a user meets it: at the start of every run.

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const int JunkFiles = 5000;

bool stageThePlugin(const QString& install)
{
    const QString nodes = install + QStringLiteral("/plugins/nodes");
    return QDir().mkpath(nodes)
        && QFile::copy(QStringLiteral(SDK_SAMPLE_PLUGIN), nodes + QStringLiteral("/libfilecheck.so"));
}

bool addJunk(const QString& install)
{
    const QString plugins = install + QStringLiteral("/plugins");
    for (int i = 0; i < JunkFiles; ++i) {
        const QString dir = plugins + QStringLiteral("/junk%1").arg(i % 50);
        QDir().mkpath(dir);
        QFile file(dir + (i % 2 ? QStringLiteral("/libjunk%1.so").arg(i) : QStringLiteral("/notes%1.txt").arg(i)));
        if (!file.open(QIODevice::WriteOnly) || file.write("not a library\n") < 0)
            return false;
    }
    const QByteArray base = QFile::encodeName(plugins);
    return ::symlink("..", (base + "/up").constData()) == 0 && ::symlink(".", (base + "/junk0/self").constData()) == 0
        && ::symlink("libloop.so", (base + "/libloop.so").constData()) == 0
        && ::mkfifo((base + "/libpipe.so").constData(), 0600) == 0;
}

qint64 runPlugins(const QString& install, bool* ok)
{
    QProcess batch;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("VELMONTDIR"), install);
    batch.setProcessEnvironment(environment);
    batch.setStandardErrorFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    batch.start(QStringLiteral(SDK_BATCH_PROGRAM), {QStringLiteral("plugins")});
    const bool finished = batch.waitForFinished(60000);
    const qint64 elapsed = timer.nsecsElapsed();
    *ok = finished && batch.exitCode() == 0 && batch.readAllStandardOutput().contains("node:file_check");
    return elapsed;
}

void BM_PluginSearchHostileDirectory(benchmark::State& state)
{
    QTemporaryDir clean;
    QTemporaryDir hostile;
    if (!stageThePlugin(clean.path()) || !stageThePlugin(hostile.path()) || !addJunk(hostile.path())) {
        state.SkipWithError("the plug-in directories could not be made");
        return;
    }
    for (auto _ : state) {
        bool cleanOk = false;
        bool hostileOk = false;
        const qint64 cleanNs = runPlugins(clean.path(), &cleanOk);
        const qint64 hostileNs = runPlugins(hostile.path(), &hostileOk);
        if (!cleanOk || !hostileOk) {
            state.SkipWithError("the host did not list the sample plug-in");
            break;
        }
        state.SetIterationTime(double(hostileNs) / 1e9);
        state.counters["ms_clean"] = double(cleanNs) / 1e6;
        state.counters["ms_hostile"] = double(hostileNs) / 1e6;
        state.counters["hostile_to_clean_ratio"] = double(hostileNs) / double(cleanNs);
    }
    state.counters["files_in_hostile_directory"] = JunkFiles;
}
BENCHMARK(BM_PluginSearchHostileDirectory)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(10);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
