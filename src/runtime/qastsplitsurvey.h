#pragma once

#include "qafilesurvey.h"
#include "sdk_export.h"

#include <QObject>
#include <QString>

#include <cstdio>
#include <memory>

class QTextEdit;

/// Splits the one interleaved stream of records that a running target writes
/// into the files of the tools the records belong to, where the viewers' own
/// surveys find them.
///
/// A record goes by the two upper-case letters that open it; what no tool
/// claims goes to the unsplit output. Every poll of the stream ends with all
/// outputs closed and complete on disk, so other processes may read them
/// between polls; within a poll each output stays open, since records of
/// different tools come interleaved.
class SDK_EXPORT QASTSplitSurvey : public QObject, private QAFileSurveyReader
{
    Q_OBJECT
public:
    enum Output {
        RunTimeOutput = 0,
        MemoryOutput = 1,
        TimeOutput = 2,
        CoverageOutput = 3,
        TraceOutput = 4,
        EndOfTestOutput = 5,
        UnsplitOutput = 6,
        OutputCount = 7
    };
    /// Tool numbers of the op codes; a tool with no output of its own still
    /// has a route.
    enum Tool { UnknownTool = 0, CoverageTool = 3, TraceTool = 4, EndOfTestTool = 5, KeptTraceTool = 8 };

    /// Empty paths take the defaults beside \a splitFile. The survey is made
    /// but not started: splitExistingLines() starts it.
    QASTSplitSurvey(const QString& splitFile, const QString& tioFile, const QString& tdfFile,
                    const QString& tpfFile, const QString& tqfFile, const QTextEdit* output = nullptr,
                    QObject* parent = nullptr, const char* name = nullptr);
    ~QASTSplitSurvey() override;

    /// Splits what the stream already holds and follows it from there; when
    /// there is no stream yet, follows it from its first byte once it appears
    /// and answers true.
    bool splitExistingLines();

    static void initializeOpCodes();
    /// The tool of the op code whose first letter's code times 256 plus the
    /// second's is \a opcode; 0 for one that no tool claims.
    static int getToolFromOpcode(int opcode);

    QString splitFile() const { return _splitFile; }
    QString outputPath(int index) const;
    QAFileSurvey* fileSurvey() const { return _survey; }
    /// True while splitExistingLines() runs.
    bool isSplittingExistingLines() const { return _splittingExisting; }

public slots:
    void splitOneLine(const char* line);
    /// Closes every output that the current poll opened.
    void closeOutputFile();
    void appeared() {}
    void disappeared() {}
    void shrinked() {}
    void grown() {}
    void modified() {}

private:
    void takeLines(const char* lines, qsizetype size) override;
    void routeLine(const char* line, qsizetype length);
    void appendLine(const char* line, qsizetype length, int index);

    QAFileSurvey* _survey = nullptr;
    QString _splitFile;
    /// The outputs opened since the last end of a poll, by index.
    FILE* _streams[OutputCount] = {};
    std::unique_ptr<char[]> _buffers[OutputCount];
    QString _outputs[OutputCount];
    bool _splittingExisting = false;
};
