// Fuzzes the trace splitter's routing over any bytes: lines of any length,
// NUL bytes, carriage returns, bytes 0xFF.
//
// Input: the first byte chooses up to seven places where the stream is cut;
// the stream is written piece by piece, with a poll after each piece, so that
// lines are assembled across polls. Two splitters follow the same stream: one
// takes its lines in batches, as it does in the studio, and one is fed line
// by line from a second survey's hasNewLine(). Their outputs must be the same
// byte for byte, every output must end with a line feed, and the outputs that
// no record reaches must stay absent.

#include "qafilesurvey.h"
#include "qastsplitsurvey.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

QDir workDir;

// The output's text; a date that the splitter stamped reads <date>, since
// the two splitters may stamp theirs in different seconds.
QByteArray contents(const QString& path)
{
    static const QRegularExpression date(QStringLiteral("^DT \"\\w{3} \\w{3} [ \\d]\\d \\d\\d:\\d\\d:\\d\\d \\d{4}\"$"),
                                         QRegularExpression::MultilineOption);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return QString::fromLatin1(file.readAll()).replace(date, QStringLiteral("DT \"<date>\"")).toLatin1();
}

void check(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "property failed: %s\n", what);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    // The surveys' timers want an application, though no event loop runs.
    static QCoreApplication application(*argc, *argv);
    static struct Dir {
        QDir dir {QStringLiteral("/tmp/velmont-fuzz-tracesplit")};
        ~Dir() { dir.removeRecursively(); }
    } dir;
    dir.dir.removeRecursively();
    if (!dir.dir.mkpath(QStringLiteral("batch")) || !dir.dir.mkpath(QStringLiteral("lines")))
        std::abort();
    workDir = dir.dir;
    QASTSplitSurvey::initializeOpCodes();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const QString batchDir = workDir.filePath(QStringLiteral("batch")), lineDir = workDir.filePath(QStringLiteral("lines"));
    for (const QString& dir : {batchDir, lineDir}) {
        for (const QString& name : QDir(dir).entryList(QDir::Files))
            QFile::remove(dir + QLatin1Char('/') + name);
    }
    const QByteArray stream(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));

    // The batch splitter's stream is in its directory: the outputs that the
    // caller cannot choose lie beside it. The line splitter's outputs are
    // given, and its survey's lines are fed to it through splitOneLine().
    const QString batchStream = batchDir + QStringLiteral("/run.spt");
    QASTSplitSurvey batch(batchStream, {}, {}, {}, {});
    QASTSplitSurvey lines(lineDir + QStringLiteral("/run.spt"), {}, {}, {}, {});
    QAFileSurvey lineSurvey(batchStream, 250);
    QObject::connect(&lineSurvey, &QAFileSurvey::hasNewLine, &lines, &QASTSplitSurvey::splitOneLine);
    QObject::connect(&lineSurvey, &QAFileSurvey::surveyDone, &lines, &QASTSplitSurvey::closeOutputFile);

    QFile file(batchStream);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        std::abort();
    qsizetype written = 0;
    for (int cut = 0; cut <= 7; ++cut) {
        const qsizetype upTo = cut == 7 ? stream.size() : (data[0] >> cut & 1) ? stream.size() * (cut + 1) / 8 : written;
        if (upTo > written)
            file.write(stream.constData() + written, upTo - written);
        written = std::max(written, upTo);
        batch.fileSurvey()->survey();
        lineSurvey.survey();
    }
    file.close();

    for (int output = 0; output < QASTSplitSurvey::OutputCount; ++output) {
        const QByteArray ours = contents(batch.outputPath(output));
        if (ours != contents(lines.outputPath(output))) {
            std::fprintf(stderr, "batches:\n%s\nline by line:\n%s\n", ours.toPercentEncoding(" \"").constData(),
                         contents(lines.outputPath(output)).toPercentEncoding(" \"").constData());
            check(false, "both splitters write the same outputs");
        }
        check(ours.isEmpty() || ours.endsWith('\n'), "an output ends with a line feed");
        check(!ours.contains('\r') && !ours.contains('\0'), "no carriage return or NUL byte in an output");
    }
    for (int output : {QASTSplitSurvey::RunTimeOutput, QASTSplitSurvey::MemoryOutput, QASTSplitSurvey::TimeOutput})
        check(!QFile::exists(batch.outputPath(output)), "no record reaches the outputs without op codes");
    QFile::remove(batchStream);
    return 0;
}
