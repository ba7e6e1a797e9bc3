#include "qastsplitsurvey.h"

#include "qafilesurvey.h"
#include "qafileutil.h"
#include "qatrace.h"

#include <QDir>
#include <QFileInfo>

#include <cstring>
#include <ctime>

namespace {

// Tool of each pair of bytes, by the first byte times 256 plus the second.
quint8 toolOfOpcode[256 * 256];

// Outputs take their records through buffers of this size: a poll of a busy
// stream then costs few writes.
constexpr size_t outputBufferSize = 64 * 1024;

bool isUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

// A DT record without a usable date: the value is the digit zero, or it is
// followed by a double quote, as in an empty pair of them.
bool hasNoDate(const char* line, qsizetype length)
{
    qsizetype value = 2;
    while (value < length && line[value] == ' ')
        ++value;
    return value < length && (line[value] == '0' || (value + 1 < length && line[value + 1] == '"'));
}

// The one output of a record that goes to one output as it stands, or -1.
int plainOutput(const char* line)
{
    if (!isUpper(line[0]))
        return line[0] == 't' ? -1 : QASTSplitSurvey::UnsplitOutput;
    if (!isUpper(line[1]))
        return QASTSplitSurvey::UnsplitOutput;
    switch (QASTSplitSurvey::getToolFromOpcode(quint8(line[0]) * 256 + quint8(line[1]))) {
    case QASTSplitSurvey::CoverageTool:
        return line[0] == 'D' && line[1] == 'T' ? -1 : QASTSplitSurvey::CoverageOutput;
    case QASTSplitSurvey::TraceTool:
        return QASTSplitSurvey::TraceOutput;
    case QASTSplitSurvey::EndOfTestTool:
    case QASTSplitSurvey::KeptTraceTool:
        return -1;
    default:
        return QASTSplitSurvey::UnsplitOutput;
    }
}

} // namespace

QASTSplitSurvey::QASTSplitSurvey(const QString& splitFile, const QString& tioFile, const QString& tdfFile,
                                 const QString& tpfFile, const QString& tqfFile, const QTextEdit*,
                                 QObject* parent, const char* name)
    : QObject(parent), _splitFile(splitFile)
{
    if (name)
        setObjectName(QString::fromLatin1(name));
    const QString dir = QFileInfo(splitFile).absolutePath() + QDir::separator();
    auto chosen = [&dir](const QString& given, const char* fallback) {
        return given.isEmpty() ? dir + QLatin1String(fallback) : given;
    };
    _outputs[RunTimeOutput] = dir + QLatin1String("ztlout.rio");
    _outputs[MemoryOutput] = chosen(tpfFile, "memvexlt.tpf");
    _outputs[TimeOutput] = chosen(tqfFile, "timvexlt.tqf");
    _outputs[CoverageOutput] = chosen(tioFile, "zentacov.tio");
    _outputs[TraceOutput] = chosen(tdfFile, "tracer.tdf");
    _outputs[EndOfTestOutput] = dir + QLatin1String("ztlendtest.txt");
    _outputs[UnsplitOutput] = dir + QLatin1String("unsplitLines.spt");
    initializeOpCodes();

    _survey = new QAFileSurvey(splitFile, 250, false, this, "qastsplit-survey");
    connect(_survey, &QAFileSurvey::fileAppear, this, &QASTSplitSurvey::appeared);
    connect(_survey, &QAFileSurvey::fileDisappear, this, &QASTSplitSurvey::disappeared);
    connect(_survey, &QAFileSurvey::fileShrink, this, &QASTSplitSurvey::shrinked);
    connect(_survey, &QAFileSurvey::surveyDone, this, &QASTSplitSurvey::closeOutputFile);
    // Lines come in batches rather than through hasNewLine(): a busy stream
    // brings millions, and a run of records of one tool is then one write.
    _survey->setReader(this);
    connect(_survey, &QAFileSurvey::fileModified, this, &QASTSplitSurvey::modified);
}

QASTSplitSurvey::~QASTSplitSurvey()
{
    _survey->stop();
    delete _survey;
    closeOutputFile();
}

QString QASTSplitSurvey::outputPath(int index) const
{
    return index >= 0 && index < OutputCount ? _outputs[index] : QString();
}

void QASTSplitSurvey::initializeOpCodes()
{
    static const bool filled = [] {
        const struct {
            int tool;
            const char* opcodes;
        } table[] = {
            {CoverageTool, "NT DT CO FT DC TP TA TB TE EI"},
            {TraceTool, "CS CI LK ST NO NI DI ME MR MC SY SA AC LS LE TM TS TU OT US IN MS TX SO SI HS TI "
                        "ID DB ED BA EA GL"},
            {KeptTraceTool, "SF"},
        };
        for (const auto& row : table) {
            for (const char* code = row.opcodes; code[0] && code[1]; code += code[2] ? 3 : 2)
                toolOfOpcode[quint8(code[0]) * 256 + quint8(code[1])] = quint8(row.tool);
        }
        return true;
    }();
    Q_UNUSED(filled);
}

int QASTSplitSurvey::getToolFromOpcode(int opcode)
{
    return opcode >= 0 && opcode < int(sizeof toolOfOpcode) ? toolOfOpcode[opcode] : int(UnknownTool);
}

void QASTSplitSurvey::splitOneLine(const char* line)
{
    routeLine(line, qsizetype(std::strlen(line)));
}

void QASTSplitSurvey::takeLines(const char* lines, qsizetype size)
{
    const char* const end = lines + size;
    const char* run = lines;
    int runOutput = -1;
    for (const char* line = lines; line < end;) {
        const char* lineFeed = static_cast<const char*>(std::memchr(line, '\n', size_t(end - line)));
        const char* const next = lineFeed ? lineFeed + 1 : end;
        const int output = plainOutput(line);
        if (output >= 0)
            warning("QASTSplitSurvey %p: %.*s", static_cast<void*>(this), int(next - line), line);
        if (output != runOutput || output < 0) {
            if (runOutput >= 0)
                appendLine(run, line - run, runOutput);
            run = line;
            runOutput = output;
            if (output < 0) {
                routeLine(line, next - line);
                run = next;
            }
        }
        line = next;
    }
    if (runOutput >= 0)
        appendLine(run, end - run, runOutput);
}

void QASTSplitSurvey::routeLine(const char* line, qsizetype length)
{
    if (length == 0)
        return;
    warning("QASTSplitSurvey %p: %.*s", static_cast<void*>(this), int(length), line);
    if (!isUpper(line[0])) {
        // The end-of-test record: "t" and a byte up to "d", compared signed
        // as the stream's writers do.
        if (line[0] == 't' && length > 1 && static_cast<signed char>(line[1]) <= 'd')
            appendLine(line, length, EndOfTestOutput);
        appendLine(line, length, UnsplitOutput);
        return;
    }
    if (length < 2 || !isUpper(line[1])) {
        appendLine(line, length, UnsplitOutput);
        return;
    }
    switch (getToolFromOpcode(quint8(line[0]) * 256 + quint8(line[1]))) {
    case CoverageTool:
        if (line[0] == 'D' && line[1] == 'T' && hasNoDate(line, length)) {
            const std::time_t now = std::time(nullptr);
            char date[64] = {};
            ::ctime_r(&now, date);
            date[std::strcspn(date, "\n")] = '\0';
            const QByteArray stamped = QByteArray("DT \"") + date + "\"\n";
            appendLine(stamped.constData(), stamped.size(), CoverageOutput);
        } else {
            appendLine(line, length, CoverageOutput);
        }
        break;
    case TraceTool:
        appendLine(line, length, TraceOutput);
        break;
    case EndOfTestTool:
        appendLine(line, length, EndOfTestOutput);
        appendLine(line, length, UnsplitOutput);
        break;
    case KeptTraceTool:
        appendLine(line, length, UnsplitOutput);
        appendLine(line, length, TraceOutput);
        break;
    default:
        appendLine(line, length, UnsplitOutput);
        break;
    }
}

void QASTSplitSurvey::appendLine(const char* line, qsizetype length, int index)
{
    FILE*& stream = _streams[index];
    if (!stream) {
        // An output that cannot be opened loses this record; the next one
        // tries again.
        stream = QAFileUtil::fopen(_outputs[index], "ae");
        if (!stream)
            return;
        if (!_buffers[index])
            _buffers[index].reset(new char[outputBufferSize]);
        std::setvbuf(stream, _buffers[index].get(), _IOFBF, outputBufferSize);
    }
    ::fwrite_unlocked(line, 1, size_t(length), stream);
}

void QASTSplitSurvey::closeOutputFile()
{
    for (FILE*& stream : _streams) {
        if (stream)
            std::fclose(stream);
        stream = nullptr;
    }
}

bool QASTSplitSurvey::splitExistingLines()
{
    _splittingExisting = true;
    FILE* stream = QAFileUtil::fopen(_splitFile, "re");
    if (!stream) {
        _survey->restart(false);
        _splittingExisting = false;
        return true;
    }
    // Records longer than the buffer come in pieces, each split by itself:
    // the backlog only, the survey's own lines have no such limit.
    char buffer[1024];
    while (std::fgets(buffer, sizeof buffer, stream))
        splitOneLine(buffer);
    std::fclose(stream);
    closeOutputFile();
    _survey->restart(true);
    _splittingExisting = false;
    return false;
}
