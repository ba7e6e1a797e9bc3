#pragma once

#include "sdk_export.h"

#include <QObject>
#include <QString>
#include <QStringList>

class QAFileSurvey;
class QTimer;

/// Turns the record stream of a Java test into a static trace file and a
/// memory profile file.
///
/// Trace records are held until their block is complete: the source file of
/// a block is known only from its middle, and the line that names it stands
/// at its beginning. A tick watches for pauses in the stream and tells when a
/// memory snapshot is ripe: a block was finished, or the stream paused with a
/// block open.
class SDK_EXPORT QASTSplitJavaPSurvey : public QObject
{
    Q_OBJECT
public:
    /// Empty output paths take the defaults beside \a streamFile. \a reset
    /// empties the stream file, for a run that starts clean; \a link marks the
    /// links of resolved classes; with \a follow the splitter runs the survey.
    QASTSplitJavaPSurvey(QStringList* directories, const QString& streamFile, const QString& memoryOutput,
                         const QString& traceOutput, bool reset, bool link, bool follow,
                         QObject* parent = nullptr, const char* name = nullptr);
    ~QASTSplitJavaPSurvey() override;

    bool splitExistingLines();
    QString resetpathforstudio(const QString& path) const { return path; }
    QString resetpathseparator(const QString& path) const { return path; }

    QString traceOutput() const { return _traceOutput; }
    QString memoryOutput() const { return _memoryOutput; }
    QAFileSurvey* fileSurvey() const { return _survey; }
    void setEmitting(bool emitting) { _emitting = emitting; }

signals:
    void JAVA_Split_on();
    void JAVA_Split_running();
    void JAVA_Split_off();
    void JAVA_Split_off_with_Snapshot();
    void JAVA_Split_end();

public slots:
    void appeared() {}
    void disappeared() {}
    void shrinked() {}
    void grown() {}
    void modified() {}
    void tickReceived();
    void splitOneLine(const char* line);

private:
    void appendLine(const QString& line, const QString& path);
    void appendLineInBuffer(const QString& line, const QString& tsfPath, const QStringList& directories);
    void updatefilenamefrom(const QString& className);
    void checkthatfileexists(const QStringList& directories);
    void FlushTsfBuffer(const QString& path);
    void pauseSurvey();
    void resumeSurvey();

    QTimer* _timer = nullptr;
    quint64 _lineCount = 0;
    quint64 _countAtLastTick = 0;
    bool _blockOpen = false;
    bool _reset = false;
    bool _link = false;
    bool _follow = false;
    bool _emitting = true;
    bool _endOfBlock = false;
    bool _endOfRun = false;
    QStringList _buffer;
    QString _className;
    QString _sourceFile;
    bool _fileResolved = false;
    bool _classSeen = false;
    bool _fileSeen = false;
    QAFileSurvey* _survey = nullptr;
    QString _streamFile;
    QString _traceOutput;
    QString _memoryOutput;
    QStringList _directories;
};
