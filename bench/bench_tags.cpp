// The tag file of a large real code base, read two ways: the scanner alone,
// and the whole pass that builds the tag tree of a project, each beside the
// ctags suite's own reader listing the same file.
//
// The tag file is made at run time by the tool chain's tags.pl over one
// source file that includes the sources of the BlueZ stack (unpacked from
// Debian's bluez-source), every C file of the X server (from Debian's
// xorg-server-source), the installed
// Qt 6 headers, and the C library's, kernel's, X11's and OpenGL's headers:
// about 100,000 lines, 12 MB.
//
// SDK_BENCH_TAGS_DIR names a folder to make it in and keep, so that a
// profiler can be run on the pass without unpacking the sources again.

#include "qastafunctiontag.h"
#include "qastfile.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qasttagreader.h"
#include "qasttagscanner.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <vector>

#include <malloc.h>
#include <sys/resource.h>

namespace {

const char* const bluezTarball = "/usr/src/bluez.tar.bz2";
const char* const xorgTarball = "/usr/src/xorg-server.tar.xz";

struct TagData {
    QString directory;
    QString tags;
    QByteArray bytes;
    qsizetype lines = 0;
    QString problem;
};

bool run(const QString& program, const QStringList& arguments, const QString& directory, QString* problem)
{
    QProcess process;
    process.setWorkingDirectory(directory);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(program, arguments);
    if (!process.waitForStarted() || !process.waitForFinished(-1) || process.exitCode() != 0) {
        *problem = program + QStringLiteral(" failed");
        return false;
    }
    return true;
}

QStringList headersIn(const QStringList& patterns)
{
    QStringList found;
    for (const QString& pattern : patterns) {
        const QFileInfo where(pattern);
        QDir directory(where.path());
        for (const QString& name : directory.entryList({where.fileName()}, QDir::Files, QDir::Name))
            found << directory.filePath(name);
    }
    return found;
}

QStringList sourcesIn(const QString& folder)
{
    QDirIterator sources(folder, {"*.c"}, QDir::Files, QDirIterator::Subdirectories);
    QStringList found;
    while (sources.hasNext())
        found << sources.next();
    found.sort();
    return found;
}

QStringList qtHeaders()
{
    QStringList found;
    QDir qt(QStringLiteral("/usr/include/x86_64-linux-gnu/qt6"));
    for (const QString& module : qt.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
        found << headersIn({qt.filePath(module) + QStringLiteral("/*.h")});
    return found;
}

const TagData& tagData()
{
    static const TagData data = [] {
        TagData made;
        static QTemporaryDir work;
        const QString kept = qEnvironmentVariable("SDK_BENCH_TAGS_DIR");
        made.directory = kept.isEmpty() ? work.path() : kept;
        for (const char* tarball : {bluezTarball, xorgTarball}) {
            if (!QFile::exists(QString::fromLatin1(tarball))) {
                made.problem = QStringLiteral("no %1: install bluez-source and xorg-server-source").arg(QString::fromLatin1(tarball));
                return made;
            }
        }
        const QString bluez = made.directory + QStringLiteral("/bluez-source");
        const QString xorg = made.directory + QStringLiteral("/xorg-server");
        made.tags = made.directory + QStringLiteral("/tags");
        if (!QFile::exists(made.tags)) {
            if (!run(QStringLiteral("tar"), {"xjf", bluezTarball}, made.directory, &made.problem)
                || !QDir().mkpath(xorg)
                || !run(QStringLiteral("tar"), {"xJf", xorgTarball, "--strip-components=1"}, xorg, &made.problem))
                return made;
        }
        QStringList includes = qtHeaders();
        includes << sourcesIn(bluez);
        includes << sourcesIn(xorg);
        includes << headersIn({"/usr/include/*.h", "/usr/include/x86_64-linux-gnu/*/*.h", "/usr/include/linux/*.h",
                               "/usr/include/X11/*.h", "/usr/include/GL/*.h", "/usr/include/EGL/*.h",
                               "/usr/include/GLES2/*.h", "/usr/include/GLES3/*.h",
                               "/usr/include/freetype2/freetype/*.h", "/usr/include/fontconfig/*.h"});
        QFile unity(made.directory + QStringLiteral("/all.cpp"));
        QFile environment(made.directory + QStringLiteral("/environment.pl"));
        if (!unity.open(QIODevice::WriteOnly) || !environment.open(QIODevice::WriteOnly)) {
            made.problem = QStringLiteral("cannot write in %1").arg(made.directory);
            return made;
        }
        QTextStream text(&unity);
        for (const QString& include : std::as_const(includes))
            text << "#include \"" << include << "\"\n";
        text.flush();
        QTextStream(&environment) << "$FILENAME='all.cpp';\n@INCLUDE_DIR_LIST=('" << bluez << "', '" << bluez
                                  << "/lib', '" << xorg << "/include', '" << xorg << "/Xext', '" << xorg
                                  << "/render');\n1;\n";
        unity.close();
        environment.close();
        const QString share = QStringLiteral(SDK_SHIPPED_DATA);
        if (!QFile::exists(made.tags)
            && !run(QStringLiteral("perl"),
                 {QStringLiteral("-I") + share + QStringLiteral("/lib/perl"), share + QStringLiteral("/lib/scripts/tags.pl"),
                  QStringLiteral("environment.pl"), QStringLiteral("bench")},
                 made.directory, &made.problem))
            return made;
        QFile tags(made.tags);
        if (!tags.open(QIODevice::ReadOnly)) {
            made.problem = QStringLiteral("tags.pl wrote no tag file");
            return made;
        }
        made.bytes = tags.readAll();
        made.lines = made.bytes.count('\n');
        return made;
    }();
    return data;
}

// Wall time of "readtags -l" over the tag file, its listing thrown away.
double readtagsSeconds(const TagData& data)
{
    QElapsedTimer timer;
    timer.start();
    QString problem;
    run(QStringLiteral("readtags"), {"-t", data.tags, "-l"}, data.directory, &problem);
    return timer.nsecsElapsed() / 1e9;
}

void BM_TagScan(benchmark::State& state)
{
    const TagData& data = tagData();
    if (!data.problem.isEmpty()) {
        state.SkipWithError(qPrintable(data.problem));
        return;
    }
    qint64 tokens = 0;
    for (auto _ : state) {
        QAStTagScanner scanner(data.bytes.constData(), data.bytes.size());
        while (scanner.next() != QAStTagScanner::TK_END)
            ++tokens;
        benchmark::DoNotOptimize(tokens);
    }
    state.SetBytesProcessed(state.iterations() * data.bytes.size());
    state.counters["scan_MB_per_s"] = benchmark::Counter(double(data.bytes.size()) * state.iterations() / 1e6,
                                                         benchmark::Counter::kIsRate);
    state.counters["tag_lines"] = double(data.lines);
    state.counters["tag_file_MB"] = data.bytes.size() / 1e6;
}
BENCHMARK(BM_TagScan)->Unit(benchmark::kMillisecond);

long pageFaults()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt + usage.ru_majflt;
}

double heapBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return double(info.uordblks + info.hblkhd);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// The whole pass: the file read, its lines parsed, a tag made for each under
// the file it names, each of those files found or added to the project. The
// project is made and deleted outside the timed part; readtags runs in turns
// with it, so that both see the same machine.
//
// The first pass of a process takes its memory fresh from the system, and
// each page it touches first costs a fault; the later passes reuse what the
// earlier ones gave back. Both are told: the first is what a host that tags
// once sees, the last ones what the work itself costs. The first pass is the
// process's, kept for every repetition: later repetitions only see warm ones.
void BM_TagTreeAgainstReadtags(benchmark::State& state)
{
    const TagData& data = tagData();
    if (!data.problem.isEmpty()) {
        state.SkipWithError(qPrintable(data.problem));
        return;
    }
    std::vector<double> passes;
    std::vector<double> readtags;
    qsizetype tags = 0;
    struct First {
        double seconds = 0;
        long faults = 0;
        double heap = 0;
    };
    static First first;
    for (auto _ : state) {
        auto project = std::make_unique<QAStProject>(data.directory + QStringLiteral("/bench.vmp"));
        QAStFile* file = project->addFile(data.directory + QStringLiteral("/all.cpp"));
        QAStTagReader reader(file);
        reader.setReportUnknownTokens(false);
        const long faultsBefore = pageFaults();
        const double heapBefore = heapBytes();
        QElapsedTimer timer;
        timer.start();
        reader.read(data.tags);
        const double seconds = timer.nsecsElapsed() / 1e9;
        passes.push_back(seconds);
        state.SetIterationTime(seconds);
        state.PauseTiming();
        if (first.seconds == 0)
            first = {seconds, pageFaults() - faultsBefore, heapBytes() - heapBefore};
        tags = project->rootFolder()->childrenOfClass("QAStATag", true).size();
        project.reset();
        readtags.push_back(readtagsSeconds(data));
        state.ResumeTiming();
    }
    const double total = std::accumulate(passes.begin(), passes.end(), 0.0);
    const double readtagsTotal = std::accumulate(readtags.begin(), readtags.end(), 0.0);
    // The last three passes, past the two that still take fresh memory.
    const double steady = median(std::vector<double>(passes.end() - std::min<size_t>(3, passes.size()), passes.end()));
    state.counters["tags_made"] = double(tags);
    state.counters["tree_ms"] = total * 1e3 / double(passes.size());
    state.counters["readtags_ms"] = readtagsTotal * 1e3 / double(readtags.size());
    state.counters["tree_over_readtags_ratio"] = total / readtagsTotal;
    state.counters["tree_MB_per_s"] = data.bytes.size() / 1e6 / (total / double(passes.size()));
    state.counters["first_pass_ms"] = first.seconds * 1e3;
    state.counters["first_pass_page_faults"] = double(first.faults);
    state.counters["first_pass_heap_MB"] = first.heap / 1e6;
    state.counters["first_over_readtags_ratio"] = first.seconds / median(readtags);
    state.counters["steady_pass_ms"] = steady * 1e3;
    state.counters["steady_over_readtags_ratio"] = steady / median(readtags);
}
BENCHMARK(BM_TagTreeAgainstReadtags)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

const char* const tagsAloneOption = "--tags-alone";

// Run in a process of its own: as many tags as the tag file has lines,
// spread over as many files as it names, made with nothing read. It is the
// least the first pass of a host can cost: each tag is an object of the
// tree, and each page of fresh memory it lands in costs a fault.
int makeTagsAlone(int count, int files)
{
    QTemporaryDir directory;
    QAStProject project(directory.filePath(QStringLiteral("alone.vmp")));
    std::vector<QAStFile*> made;
    files = std::max(1, files);
    for (int i = 0; i < files; ++i)
        made.push_back(project.addFile(directory.filePath(QStringLiteral("f%1.h").arg(i))));
    std::vector<QAStData*> last(made.size(), nullptr);
    const int perFile = std::max(1, count / files);
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < count; ++i) {
        const size_t at = std::min(made.size() - 1, size_t(i / perFile));
        auto* tag = new QAStAFunctionTag(QStringLiteral("function_name_") + QString::number(i), QString(), i,
                                         made[at], last[at]);
        tag->setQualifier(0x80);
        last[at] = tag;
    }
    std::printf("%f\n", timer.nsecsElapsed() / 1e6);
    return 0;
}

int filesNamed(const QByteArray& bytes)
{
    QSet<QByteArray> files;
    for (const QByteArray& line : bytes.split('\n')) {
        const QList<QByteArray> fields = line.split('\t');
        if (fields.size() > 2 && !line.startsWith('!'))
            files.insert(fields.at(1));
    }
    return int(files.size());
}

// The floor beside readtags, in turns, each in a fresh process.
void BM_TagsAloneAgainstReadtags(benchmark::State& state)
{
    const TagData& data = tagData();
    if (!data.problem.isEmpty()) {
        state.SkipWithError(qPrintable(data.problem));
        return;
    }
    const int files = filesNamed(data.bytes);
    std::vector<double> alone;
    std::vector<double> readtags;
    for (auto _ : state) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(),
                    {QString::fromLatin1(tagsAloneOption), QString::number(data.lines), QString::number(files)});
        if (!child.waitForFinished(-1) || child.exitCode() != 0) {
            state.SkipWithError("the child that makes the tags alone failed");
            return;
        }
        alone.push_back(child.readAllStandardOutput().trimmed().toDouble() / 1e3);
        state.SetIterationTime(alone.back());
        readtags.push_back(readtagsSeconds(data));
    }
    state.counters["tags_alone_first_ms"] = median(alone) * 1e3;
    state.counters["tags_alone_over_readtags_ratio"] = median(alone) / median(readtags);
    state.counters["files_named"] = files;
}
BENCHMARK(BM_TagsAloneAgainstReadtags)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 4 && qstrcmp(argv[1], tagsAloneOption) == 0)
        return makeTagsAlone(std::atoi(argv[2]), std::atoi(argv[3]));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
