#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

class QTextStream;

/// The one line at the bottom of a terminal that tells how far a run is: the
/// node now running, its number among the nodes the run will start, and the
/// time since the run began. Whatever else is written scrolls above it: a
/// writer takes the line away first (hideLine()), and it comes back at the
/// next turn of the event loop. Off a terminal there is no such line; the
/// run's plain lines say the same.
class BatchProgress : public QObject
{
    Q_OBJECT
public:
    BatchProgress(QTextStream& out, bool terminal);
    ~BatchProgress() override;

    /// Whether standard output is a terminal that can redraw a line.
    static bool outputIsTerminal();
    /// Takes the line of the progress now shown away, if there is one.
    static void hideLine();

    void start(int total);
    void nodeStarted(const QString& path);
    void nodeEnded();
    void finish();

private:
    void hide();
    void draw();

    static BatchProgress* _current;
    QTextStream& _out;
    bool _terminal;
    bool _shown = false;
    int _started = 0, _total = 0;
    QString _running;
    QElapsedTimer _clock;
    QTimer _tick, _redraw;
};
