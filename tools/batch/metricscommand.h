#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

class BatchSession;
class QAStMetricManager;
class QMetElement;
class QTextStream;

/// The "metrics" command of the batch host: the tool chain computes the
/// static metrics of each file in the project's current configuration, and
/// the metrics of each function and the totals of each file are printed.
class MetricsCommand : public QObject
{
    Q_OBJECT
public:
    /// The testing time is the Halstead effort divided by this, in seconds.
    static constexpr float DefaultStroud = 18;

    MetricsCommand(BatchSession& session, QTextStream& out, const QString& stroud);

    /// An exit status of the program.
    int run(const QStringList& files);

public slots:
    /// Ends the batch under way through the stop mechanism.
    void stop();

private:
    void printItem(const QMetElement* item, int indent);
    void checkProgress();

    BatchSession& _session;
    QTextStream& _out;
    QString _stroud;
    QPointer<QAStMetricManager> _manager;
};
