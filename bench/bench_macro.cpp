// What the macro interpreter costs per byte of text, for two texts of the
// same size and the same number of tokens (one a byte), timed in turns in
// each iteration so that both see the same load:
// - ordinary: one-letter words between separators, "a/b.c:d ...";
// - unterminated: a quote and then escaped quotes, "'\'\'\'...", with no
//   closing quote: each quote could start a string that only the end of the
//   text shows to fail.
// The argument is the size of each text in bytes. Neither text holds a line
// feed, which the scanner would copy to standard output. Rates are per second
// of the thread's processor time, which a machine shared with builds disturbs
// less than the time on the clock.

#include "qastprjmacroanalyse.h"

#include <benchmark/benchmark.h>

#include <ctime>

namespace {

QString repeatedTo(const QString& piece, qsizetype bytes)
{
    return piece.repeated(bytes / piece.size() + 1).left(bytes);
}

double cpuSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

void BM_MacroUnterminatedQuotes(benchmark::State& state)
{
    const qsizetype bytes = state.range(0);
    const QString ordinary = repeatedTo(QStringLiteral("a/b.c:d "), bytes);
    const QString unterminated = QLatin1Char('\'') + repeatedTo(QStringLiteral("\\'"), bytes - 1);
    QAStPrjMacroAnalyse binding(static_cast<QAStData*>(nullptr));
    double ordinarySeconds = 0, unterminatedSeconds = 0;
    bool same = true;
    for (auto _ : state) {
        const double start = cpuSeconds();
        const QString first = binding.analyse(ordinary);
        const double between = cpuSeconds();
        const QString second = binding.analyse(unterminated);
        ordinarySeconds += between - start;
        unterminatedSeconds += cpuSeconds() - between;
        // Neither text holds a macro: each must come back as it was.
        same = same && first == ordinary && second == unterminated;
    }
    if (!same)
        state.SkipWithError("a text did not come back as it was");
    const double total = double(bytes) * double(state.iterations());
    state.counters["text_bytes"] = double(bytes);
    state.counters["ordinary_bytes_per_cpu_s"] = total / ordinarySeconds;
    state.counters["unterminated_bytes_per_cpu_s"] = total / unterminatedSeconds;
    state.counters["unterminated_over_ordinary_ratio"] = unterminatedSeconds / ordinarySeconds;
}
BENCHMARK(BM_MacroUnterminatedQuotes)->Arg(40000)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
