// The command-line host from its start to the launch of the first script of
// a rebuild of the first example: process start and dynamic loading, the
// library's initialisation, the ports, the settings definition file and the
// project load. The program prints "start NODE" just before it launches a
// node's script, so the time runs until that line arrives.

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdlib>

namespace {

QString copyOfTheExample(const QTemporaryDir& dir)
{
    const QDir from(QStringLiteral(SDK_EXAMPLES_DIR "/first"));
    const QDir to(dir.path());
    for (const char* file : {"first.vmp", "first.inf", "library/library.vmp", "library/library.inf"}) {
        to.mkpath(QFileInfo(to.filePath(file)).path());
        QFile::copy(from.filePath(file), to.filePath(file));
    }
    return to.filePath(QStringLiteral("first.vmp"));
}

void BM_BatchStartUpToFirstScript(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString project = copyOfTheExample(dir);
    for (auto _ : state) {
        QProcess batch;
        batch.setProcessChannelMode(QProcess::SeparateChannels);
        batch.setStandardErrorFile(QProcess::nullDevice());
        QElapsedTimer timer;
        timer.start();
        batch.start(QStringLiteral(SDK_BATCH_PROGRAM), {project, QStringLiteral("rebuild")});
        QByteArray out;
        qint64 elapsed = -1;
        while (elapsed < 0 && batch.waitForReadyRead(10000)) {
            out += batch.readAllStandardOutput();
            if (out.contains("\nstart "))
                elapsed = timer.nsecsElapsed();
        }
        batch.waitForFinished(30000);
        if (elapsed < 0) {
            state.SkipWithError("the program launched no script");
            break;
        }
        state.SetIterationTime(double(elapsed) / 1e9);
        state.counters["ms_to_first_script"] = double(elapsed) / 1e6;
    }
}
BENCHMARK(BM_BatchStartUpToFirstScript)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(15);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
