#include "qastsplitjavapsurvey.h"

#include "qafilesurvey.h"
#include "qafileutil.h"

#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <cstdio>

namespace {

bool isUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

// The text between the first two double quotes from \a from on.
QString quoted(const QString& line, int from)
{
    const qsizetype open = line.indexOf(QLatin1Char('"'), from);
    const qsizetype close = open < 0 ? -1 : line.indexOf(QLatin1Char('"'), open + 1);
    return close < 0 ? QString() : line.mid(open + 1, close - open - 1);
}

} // namespace

QASTSplitJavaPSurvey::QASTSplitJavaPSurvey(QStringList* directories, const QString& streamFile,
                                           const QString& memoryOutput, const QString& traceOutput, bool reset,
                                           bool link, bool follow, QObject* parent, const char* name)
    : QObject(parent), _reset(reset), _link(link), _follow(follow), _streamFile(streamFile)
{
    if (name)
        setObjectName(QString::fromLatin1(name));
    if (directories)
        _directories = *directories;
    const QString dir = QFileInfo(streamFile).absolutePath() + QDir::separator();
    _traceOutput = traceOutput.isEmpty() ? dir + QStringLiteral("ztl_jdb.tsf") : traceOutput;
    _memoryOutput = memoryOutput.isEmpty() ? dir + QStringLiteral("memvexjlt.tpf") : memoryOutput;
    if (reset) {
        if (FILE* stream = QAFileUtil::fopen(streamFile, "we"))
            std::fclose(stream);
    }

    _survey = new QAFileSurvey(streamFile, 200, false, this, "qastsplit-javasurvey");
    connect(_survey, &QAFileSurvey::fileAppear, this, &QASTSplitJavaPSurvey::appeared);
    connect(_survey, &QAFileSurvey::fileDisappear, this, &QASTSplitJavaPSurvey::disappeared);
    connect(_survey, &QAFileSurvey::fileShrink, this, &QASTSplitJavaPSurvey::shrinked);
    connect(_survey, &QAFileSurvey::fileGrow, this, &QASTSplitJavaPSurvey::grown);
    connect(_survey, &QAFileSurvey::hasNewLine, this, &QASTSplitJavaPSurvey::splitOneLine);
    connect(_survey, &QAFileSurvey::fileModified, this, &QASTSplitJavaPSurvey::modified);
    // A truncated or deleted stream is a new run: read it from its first byte.
    _survey->setShrinkPolicy(QAFileSurvey::Restart);
    _survey->setDisappearPolicy(QAFileSurvey::Restart);

    _timer = new QTimer(this);
    _timer->setObjectName(QStringLiteral("Timer_javaj_split"));
    connect(_timer, &QTimer::timeout, this, &QASTSplitJavaPSurvey::tickReceived);
    _timer->start(250);
    if (follow)
        _survey->start();
}

QASTSplitJavaPSurvey::~QASTSplitJavaPSurvey()
{
    _timer->stop();
    delete _timer;
    _survey->stop();
    delete _survey;
}

// The survey is only run by the splitter when it follows the stream: one that
// does not is fed by splitExistingLines() and direct calls.
void QASTSplitJavaPSurvey::pauseSurvey()
{
    if (_follow)
        _survey->stop();
}

void QASTSplitJavaPSurvey::resumeSurvey()
{
    if (_follow)
        _survey->start();
}

bool QASTSplitJavaPSurvey::splitExistingLines()
{
    FILE* stream = QAFileUtil::fopen(_streamFile, "re");
    if (!stream) {
        if (_follow)
            _survey->restart(false);
        return true;
    }
    char buffer[1024];
    while (std::fgets(buffer, sizeof buffer, stream))
        splitOneLine(buffer);
    std::fclose(stream);
    if (_follow)
        _survey->restart(true);
    return false;
}

void QASTSplitJavaPSurvey::splitOneLine(const char* line)
{
    pauseSurvey();
    ++_lineCount;
    if (isUpper(line[0]) && isUpper(line[1])) {
        const QByteArray code(line, 2);
        static const QList<QByteArray> traceCodes {"DB", "ED", "ID", "IN", "LK", "MS", "SI", "SO"};
        static const QList<QByteArray> memoryCodes {"PC", "PD", "PG", "PP", "PU", "PV", "XX", "YY"};
        if (traceCodes.contains(code))
            appendLineInBuffer(QString::fromLocal8Bit(line), _traceOutput, _directories);
        else if (memoryCodes.contains(code))
            appendLine(QString::fromLocal8Bit(line), _memoryOutput);
    }
    resumeSurvey();
}

void QASTSplitJavaPSurvey::appendLine(const QString& line, const QString& path)
{
    FILE* stream = QAFileUtil::fopen(path, "ae");
    if (!stream)
        return;
    if (line.startsWith(QLatin1String("XX"))) {
        if (_blockOpen) {
            _blockOpen = false;
            _endOfBlock = true;
        }
    } else if (line.startsWith(QLatin1String("YY"))) {
        _endOfRun = true;
    } else {
        if (line.startsWith(QLatin1String("PC")))
            _blockOpen = true;
        const QByteArray text = line.toUtf8();
        std::fwrite(text.constData(), 1, size_t(text.size()), stream);
    }
    std::fclose(stream);
}

void QASTSplitJavaPSurvey::appendLineInBuffer(const QString& line, const QString& tsfPath,
                                              const QStringList& directories)
{
    if (line.startsWith(QLatin1String("DB"))) {
        _className.clear();
        _sourceFile.clear();
        _fileResolved = _classSeen = _fileSeen = false;
        _buffer << line;
    } else if (line.startsWith(QLatin1String("ED"))) {
        _buffer << line;
        FlushTsfBuffer(tsfPath);
    } else if (line.startsWith(QLatin1String("IN"))) {
        if (!_fileSeen && line.startsWith(QLatin1String("IN \"File\""))) {
            _sourceFile = quoted(line, 9);
            _fileSeen = true;
        } else if (!_classSeen && line.startsWith(QLatin1String("IN \"Class\""))) {
            _className = quoted(line, 10);
            updatefilenamefrom(_className);
            checkthatfileexists(directories);
            _classSeen = true;
        }
        _buffer << line;
    } else if (line.startsWith(QLatin1String("LK")) && _classSeen) {
        // Tells the viewer whether it can show the class's source.
        if (!_fileResolved)
            _buffer << QStringLiteral("LK 0\n");
        else
            _buffer << (_link ? QStringLiteral("LK 1\n") : line);
    } else {
        _buffer << line;
    }
}

void QASTSplitJavaPSurvey::updatefilenamefrom(const QString& className)
{
    QString path = className;
    qsizetype last = -1;
    if (path.contains(QLatin1Char('.'))) {
        for (qsizetype dot; (dot = path.indexOf(QLatin1Char('.'))) >= 0;) {
            path[dot] = QLatin1Char('/');
            last = dot;
        }
    } else {
        last = path.lastIndexOf(QLatin1Char('/'));
    }
    // The doubled separator stays: the trace viewer's own lookup expects it.
    if (last >= 0)
        _sourceFile = path.left(last + 1) + QLatin1Char('/') + _sourceFile;
}

void QASTSplitJavaPSurvey::checkthatfileexists(const QStringList& directories)
{
    for (const QString& directory : directories) {
        const QString candidate = directory + QLatin1Char('/') + _sourceFile;
        if (FILE* stream = QAFileUtil::fopen(candidate, "re")) {
            std::fclose(stream);
            _sourceFile = candidate;
            _fileResolved = true;
            return;
        }
    }
}

void QASTSplitJavaPSurvey::FlushTsfBuffer(const QString& path)
{
    bool looking = true;
    for (qsizetype i = 0; i < _buffer.size(); ++i) {
        const QString& line = _buffer.at(i);
        if (looking && line.startsWith(QLatin1String("SO"))) {
            if (i == 0)
                appendLine(QStringLiteral("DB \"Klassor-Tracer\"\n"), path);
            appendLine(QStringLiteral("SO \"%1\" 0 \"txt\"\n").arg(_sourceFile), path);
            looking = false;
            continue;
        }
        appendLine(line, path);
    }
    _buffer.clear();
}

void QASTSplitJavaPSurvey::tickReceived()
{
    pauseSurvey();
    if (_lineCount == _countAtLastTick) {
        _endOfBlock = false;
        if (_blockOpen) {
            _blockOpen = false;
            if (_emitting)
                emit JAVA_Split_off_with_Snapshot();
        }
    } else {
        if (_endOfBlock) {
            _endOfBlock = false;
            if (_emitting)
                emit JAVA_Split_off_with_Snapshot();
        }
        _countAtLastTick = _lineCount;
    }
    if (_endOfRun) {
        _endOfRun = false;
        if (_emitting)
            emit JAVA_Split_off_with_Snapshot();
        if (_emitting)
            emit JAVA_Split_end();
    }
    resumeSurvey();
}
