// What splitting a record stream costs, and how long a record takes from the
// writer to its tool's file.
//
// BM_SplitStream: 200 MB of records of 20 bytes, the tools interleaved in runs
// of 1 to 100 records (a fixed seed), split in one poll of the splitter's
// survey, and, in turns within each iteration so that both meet the same
// load, by a plain block splitter: read() of large blocks, memchr() for the
// line ends, each record copied into its output's buffer, one write() per
// full buffer. Both write the same outputs; the first iteration compares them
// byte for byte. The stream stays in the page cache; the outputs are removed
// before each turn.
//
// BM_LiveDelay: a writer thread appends a record every few milliseconds,
// stamped with the time of its write, while the splitter follows the stream
// on its own timer at its base delay; after each poll the new records of the
// trace output are read, and the delay is the time of that reading minus the
// stamp.

#include "qafilesurvey.h"
#include "qastsplitsurvey.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Op codes of every route: trace, coverage, trace kept unsplit, unknown.
const char* const opcodes[] = {"CS", "NT", "LK", "SF", "TP", "ZZ", "ME", "CO"};

QByteArray makeStream(qint64 bytes)
{
    QByteArray stream;
    stream.reserve(bytes + 128);
    std::mt19937 random(20261123);
    std::uniform_int_distribution<int> runLength(1, 100), opcode(0, int(std::size(opcodes)) - 1);
    char record[32];
    for (quint64 n = 0; stream.size() < bytes;) {
        const char* code = opcodes[opcode(random)];
        for (int k = runLength(random); k > 0; --k, ++n) {
            std::snprintf(record, sizeof record, "%s %016llx\n", code, static_cast<unsigned long long>(n));
            stream.append(record, 20);
        }
    }
    return stream;
}

// The plain splitter the library is held against: the same routes, none of
// the survey's signals or the library's streams.
class BlockSplitter
{
public:
    explicit BlockSplitter(const QString& dir)
    {
        static const char* const names[] = {"zentacov.tio", "tracer.tdf", "unsplitLines.spt"};
        for (int i = 0; i < 3; ++i)
            _paths[i] = QFile::encodeName(dir + QLatin1Char('/') + QLatin1String(names[i]));
    }
    bool split(const QString& path)
    {
        const int in = ::open(QFile::encodeName(path).constData(), O_RDONLY);
        if (in < 0)
            return false;
        std::vector<char> block(256 * 1024);
        std::string pending;
        ssize_t got;
        while ((got = ::read(in, block.data(), block.size())) > 0) {
            const char* p = block.data();
            const char* const end = p + got;
            // A run of records of one output is copied at once.
            const char* run = p;
            int runOutput = -1;
            while (p < end) {
                const char* lineFeed = static_cast<const char*>(std::memchr(p, '\n', size_t(end - p)));
                if (!lineFeed) {
                    pending.append(p, end);
                    break;
                }
                const char* const next = lineFeed + 1;
                if (!pending.empty()) {
                    pending.append(p, next);
                    route(pending.data(), pending.size());
                    pending.clear();
                    run = next;
                } else {
                    const int output = outputOf(p);
                    if (output != runOutput || output < 0) {
                        if (runOutput >= 0)
                            add(runOutput, run, size_t(p - run));
                        run = p;
                        runOutput = output;
                        if (output < 0) {
                            route(p, size_t(next - p));
                            run = next;
                        }
                    }
                }
                p = next;
            }
            if (runOutput >= 0)
                add(runOutput, run, size_t(p - run));
        }
        ::close(in);
        for (int i = 0; i < 3; ++i) {
            flush(i);
            if (_fds[i] >= 0)
                ::close(_fds[i]);
            _fds[i] = -1;
        }
        return true;
    }

private:
    // The one output of a record, or -1 for one kept in two.
    static int outputOf(const char* line)
    {
        const int tool = QASTSplitSurvey::getToolFromOpcode(quint8(line[0]) * 256 + quint8(line[1]));
        return tool == QASTSplitSurvey::KeptTraceTool ? -1
            : tool == QASTSplitSurvey::CoverageTool   ? 0
            : tool == QASTSplitSurvey::UnknownTool    ? 2
                                                      : 1;
    }
    void route(const char* line, size_t length)
    {
        const int output = outputOf(line);
        if (output >= 0) {
            add(output, line, length);
            return;
        }
        add(2, line, length);
        add(1, line, length);
    }
    void add(int output, const char* line, size_t length)
    {
        std::string& buffer = _buffers[output];
        buffer.append(line, length);
        if (buffer.size() >= 64 * 1024)
            flush(output);
    }
    void flush(int output)
    {
        std::string& buffer = _buffers[output];
        if (buffer.empty())
            return;
        int& fd = _fds[output];
        if (fd < 0)
            fd = ::open(_paths[output].constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
        if (fd >= 0) {
            [[maybe_unused]] const ssize_t written = ::write(fd, buffer.data(), buffer.size());
        }
        buffer.clear();
    }

    QByteArray _paths[3];
    std::string _buffers[3];
    int _fds[3] = {-1, -1, -1};
};

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void BM_SplitStream(benchmark::State& state)
{
    const QByteArray records = makeStream(state.range(0) * 1000 * 1000);
    const qint64 bytes = records.size();
    QTemporaryDir dir;
    const QString streamDir = dir.filePath(QStringLiteral("library")), blockDir = dir.filePath(QStringLiteral("block"));
    QDir().mkpath(streamDir);
    QDir().mkpath(blockDir);
    const QString stream = streamDir + QStringLiteral("/run.spt");
    {
        QFile file(stream);
        if (!file.open(QIODevice::WriteOnly) || file.write(records) != bytes) {
            state.SkipWithError("cannot write the stream");
            return;
        }
    }
    const char* const names[] = {"zentacov.tio", "tracer.tdf", "unsplitLines.spt"};
    auto removeOutputs = [&](const QString& where) {
        for (const char* name : names)
            QFile::remove(where + QLatin1Char('/') + QLatin1String(name));
    };
    QASTSplitSurvey::initializeOpCodes();
    double librarySeconds = 0, blockSeconds = 0;
    bool compared = false;
    for (auto _ : state) {
        removeOutputs(streamDir);
        removeOutputs(blockDir);
        Clock::time_point start = Clock::now();
        {
            QASTSplitSurvey splitter(stream, {}, {}, {}, {});
            splitter.fileSurvey()->survey();
        }
        librarySeconds += secondsSince(start);
        start = Clock::now();
        BlockSplitter block(blockDir);
        block.split(stream);
        blockSeconds += secondsSince(start);
        if (!compared) {
            compared = true;
            for (const char* name : names) {
                const QByteArray ours = contents(streamDir + QLatin1Char('/') + QLatin1String(name));
                if (ours.isEmpty() || ours != contents(blockDir + QLatin1Char('/') + QLatin1String(name)))
                    state.SkipWithError(name);
            }
        }
    }
    removeOutputs(streamDir);
    removeOutputs(blockDir);
    const double megabytes = double(bytes) / 1e6 * double(state.iterations());
    state.counters["stream_MB"] = double(bytes) / 1e6;
    state.counters["MB_per_s"] = megabytes / librarySeconds;
    state.counters["block_splitter_MB_per_s"] = megabytes / blockSeconds;
    state.counters["over_block_splitter_ratio"] = librarySeconds / blockSeconds;
}
BENCHMARK(BM_SplitStream)->Arg(200)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_LiveDelay(benchmark::State& state)
{
    const int records = int(state.range(0));
    const auto interval = std::chrono::milliseconds(7);
    std::vector<double> delays;
    for (auto _ : state) {
        QTemporaryDir dir;
        const QString stream = dir.filePath(QStringLiteral("run.spt"));
        QASTSplitSurvey splitter(stream, {}, {}, {}, {});
        const QString trace = splitter.outputPath(QASTSplitSurvey::TraceOutput);
        qint64 readUpTo = 0;
        int arrived = 0;
        QByteArray pending;
        QObject::connect(splitter.fileSurvey(), &QAFileSurvey::surveyDone, &splitter, [&] {
            QFile file(trace);
            if (!file.open(QIODevice::ReadOnly) || !file.seek(readUpTo))
                return;
            pending += file.readAll();
            readUpTo = file.pos();
            const qint64 now = Clock::now().time_since_epoch().count();
            qsizetype lineFeed;
            while ((lineFeed = pending.indexOf('\n')) >= 0) {
                delays.push_back(double(now - pending.mid(3, lineFeed - 3).toLongLong()) / 1e6);
                pending.remove(0, lineFeed + 1);
                ++arrived;
            }
        });
        splitter.splitExistingLines();
        std::thread writer([&] {
            const int fd = ::open(QFile::encodeName(stream).constData(), O_WRONLY | O_CREAT | O_APPEND, 0666);
            Clock::time_point next = Clock::now();
            for (int i = 0; i < records; ++i) {
                std::this_thread::sleep_until(next += interval);
                const QByteArray record =
                    "CS " + QByteArray::number(qint64(Clock::now().time_since_epoch().count())) + '\n';
                [[maybe_unused]] const ssize_t written = ::write(fd, record.constData(), size_t(record.size()));
            }
            ::close(fd);
        });
        QEventLoop loop;
        QTimer check;
        QObject::connect(&check, &QTimer::timeout, &loop, [&] {
            if (arrived >= records)
                loop.quit();
        });
        check.start(20);
        QTimer::singleShot(records * interval.count() + 5000, &loop, &QEventLoop::quit);
        loop.exec();
        writer.join();
        if (arrived < records)
            state.SkipWithError("records were lost");
    }
    std::sort(delays.begin(), delays.end());
    state.counters["records"] = double(delays.size());
    state.counters["base_delay_ms"] = 250;
    if (!delays.empty()) {
        state.counters["delay_median_ms"] = delays[delays.size() / 2];
        state.counters["delay_worst_ms"] = delays.back();
    }
}
BENCHMARK(BM_LiveDelay)->Arg(400)->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
