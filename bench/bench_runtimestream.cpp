// What the run-time library costs an instrumented program: a loop of calls
// to one small function, built with the function hooks, run writing its
// trace records and run with no split file (the hooks return at once), and
// the same loop built without hooks.

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

const int Calls = 200000;

const char program[] = "#include <stdlib.h>\n"
                       "int step(int x) { return x * 3 + 1; }\n"
                       "int main(int argc, char** argv)\n{\n"
                       "    int n = atoi(argv[1]), r = 0;\n"
                       "    for (int i = 0; i < n; ++i)\n        r = step(r) & 0xffff;\n"
                       "    return r < 0;\n}\n";

struct Programs {
    QTemporaryDir dir;
    QString hooked, plain;
    bool ok = false;

    Programs()
    {
        const QString gcc = QStandardPaths::findExecutable(QStringLiteral("gcc"));
        QFile source(dir.filePath(QStringLiteral("loop.c")));
        if (gcc.isEmpty() || !source.open(QIODevice::WriteOnly))
            return;
        source.write(program);
        source.close();
        hooked = dir.filePath(QStringLiteral("hooked"));
        plain = dir.filePath(QStringLiteral("plain"));
        const QString runtime = QStringLiteral(SDK_SHIPPED_DATA "/lib/runtime/velmont_rt.c");
        ok = QProcess::execute(gcc, {"-O1", "-rdynamic", "-finstrument-functions", source.fileName(), runtime,
                                     "-o", hooked})
                == 0
            && QProcess::execute(gcc, {"-O1", source.fileName(), "-o", plain}) == 0;
    }
};

Programs& programs()
{
    static Programs built;
    return built;
}

// Wall-clock milliseconds of one run of \a path; the split file is written
// when \a stream is not empty.
double runMs(const QString& path, const QString& stream)
{
    QProcess run;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("VELMONT_SPLIT_FILE"));
    if (!stream.isEmpty()) {
        QFile::remove(stream);
        environment.insert(QStringLiteral("VELMONT_SPLIT_FILE"), stream);
        environment.insert(QStringLiteral("VELMONT_RT_MODES"), QStringLiteral("t"));
    }
    run.setProcessEnvironment(environment);
    QElapsedTimer timer;
    timer.start();
    run.start(path, {QString::number(Calls)});
    run.waitForFinished(60000);
    return timer.nsecsElapsed() / 1e6;
}

void BM_TracedCalls(benchmark::State& state)
{
    Programs& built = programs();
    if (!built.ok) {
        state.SkipWithError("gcc could not build the programs");
        return;
    }
    const QString stream = built.dir.filePath(QStringLiteral("loop.spt"));
    double traced = 0, silent = 0, plain = 0;
    for (auto _ : state) {
        traced += runMs(built.hooked, stream);
        silent += runMs(built.hooked, QString());
        plain += runMs(built.plain, QString());
    }
    const double runs = double(state.iterations());
    state.counters["traced_ns_per_call"] = traced / runs * 1e6 / Calls;
    state.counters["silent_ns_per_call"] = silent / runs * 1e6 / Calls;
    state.counters["plain_ns_per_call"] = plain / runs * 1e6 / Calls;
    state.counters["traced_to_plain_ratio"] = traced / plain;
    state.counters["stream_MB"] = QFile(stream).size() / 1e6;
}
BENCHMARK(BM_TracedCalls)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
