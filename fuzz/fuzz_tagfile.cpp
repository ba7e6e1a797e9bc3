// Fuzzes the tag file reader over a project: the input is the tag file of
// an analysis of "a.c". Lines may name any file, existing or not; those
// join the project's dependency folder, so each input gets a project of its
// own.
//
// Properties: every tag stands under a file, in the order of the tree; no
// syntax error names a line past the end of the input; the analysed file is
// up to date after the pass; the scanner alone ends, with positions that
// never go back, and its line count is one more than the line feeds.

#include "qailogmonitor.h"
#include "qastatag.h"
#include "qastfile.h"
#include "qastproject.h"
#include "qastrootfolder.h"
#include "qasttagreader.h"
#include "qasttagscanner.h"
#include "studiointerface.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

class QuietConsole : public QAILogMonitor
{
public:
    void log(const QString&) override {}
    void error(const QString&) override {}
    int errorCount() const override { return 0; }
    void resetError() override {}
};

class HostWithoutUser : public StudioInterface
{
public:
    QAILogMonitor* console(int) override { return &out; }
    QuietConsole out;
};

HostWithoutUser* host = nullptr;
QTemporaryDir* directory = nullptr;

void check(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "property failed: %s\n", what);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "fuzz_tagfile";
    static char* argv[] = {name, nullptr};
    new QGuiApplication(argc, argv);
    host = new HostWithoutUser;
    QAStData::initialize(host);
    directory = new QTemporaryDir;
    QFile source(directory->filePath(QStringLiteral("a.c")));
    if (!source.open(QIODevice::WriteOnly))
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const char* text = reinterpret_cast<const char*>(data);
    const auto length = qsizetype(size);

    QAStTagScanner scanner(text, length);
    qsizetype position = 0;
    while (scanner.next() != QAStTagScanner::TK_END) {
        check(scanner.position() > position || scanner.text().isEmpty(), "the scanner moves on");
        position = scanner.position();
    }
    qsizetype feeds = 0;
    for (qsizetype i = 0; i < length; ++i)
        feeds += text[i] == '\n';
    check(scanner.line() == feeds + 1, "each line feed counts one line");

    QAStProject project(directory->filePath(QStringLiteral("fuzz.vmp")));
    QAStFile* file = project.addFile(directory->filePath(QStringLiteral("a.c")));
    check(file, "the analysed file is in the project");
    QAStTagReader reader(file);
    reader.setReportUnknownTokens(false);
    reader.read(text, length);
    check(!file->needUpdate(), "the analysed file is up to date");
    for (const QString& error : reader.errors()) {
        const qsizetype line = error.section(QLatin1Char(' '), -1).toLongLong();
        check(line >= 1 && line <= feeds + 1, "an error names a line of the input");
    }
    for (QAStData* data : project.rootFolder()->childrenOfClass("QAStATag", true)) {
        auto* tag = static_cast<QAStATag*>(data);
        check(tag->file() != nullptr, "a tag stands under a file");
        tag->qualifiedName();
    }
    return 0;
}
