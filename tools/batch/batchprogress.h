#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

class QTextStream;

/// The line at the bottom of a terminal that tells how far a run is: the
/// node now running, its number among the nodes the run will start, and the
/// time since the run began. The rest of the terminal becomes a scrolling
/// region above it, so that the scripts' output, which the library writes
/// straight to standard error, scrolls past the line without erasing it.
/// Off a terminal there is no such line; the run's plain lines say the same.
class BatchProgress : public QObject
{
    Q_OBJECT
public:
    BatchProgress(QTextStream& out, bool terminal);
    ~BatchProgress() override;

    /// Whether standard output is a terminal that can keep such a line.
    static bool outputIsTerminal();

    void start(int total);
    void nodeStarted(const QString& path);
    void finish();

private:
    void draw();

    QTextStream& _out;
    bool _terminal;
    int _rows = 0, _columns = 0;
    int _started = 0, _total = 0;
    QString _running;
    QElapsedTimer _clock;
    QTimer _tick;
};
