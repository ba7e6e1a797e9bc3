#pragma once

#include "qastnode.h"

#include <QMap>
#include <QPointer>
#include <QStringList>

class QProgressDialog;

/// Computes the static metrics of a list of files, one after the other, by
/// running the tool chain's metrics script once for each file. It stands in
/// no tree: it borrows a real node for the settings, and keeps for each file
/// the metrics files that its run reported.
class SDK_EXPORT QAStMetricManager : public QAStNode
{
    Q_OBJECT
public:
    explicit QAStMetricManager(QAStNode* node);
    QAStMetricManager(const QStringList& files, QAStNode* node, bool cancelEnabled, bool autoDelete);
    ~QAStMetricManager() override;

    /// Ignored while a batch runs.
    void setFileList(const QStringList& files);
    void setAutoDeleteEnabled(bool enabled) { autoDelete = enabled; }
    void setCancelEnabled(bool enabled) { cancelEnabled = enabled; }
    bool inProgress() const { return running; }
    bool isStopped() const { return stopped; }
    /// False once a file failed or the batch was stopped.
    bool isSuccess() const { return success; }
    /// The metrics files of each file whose run succeeded.
    const QMap<QString, QStringList>& metricFilesMap() const { return metricFiles; }

    /// Starts the batch; nothing happens during one, without a node or
    /// without files.
    void start();

    QMenu* popupMenu(QWidget* parent) override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    QMenu* addNextPopupMenu(QWidget* parent) override;
    QMenu* viewPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    QStringList vcsItems() override;
    void doubleClickAction() override;

signals:
    void computeMetricStarted();
    void computeMetricFinished();

public slots:
    void stop() override;
    void nextFileToCompute();

private:
    void executeNextFile();
    void terminate();

    bool autoDelete = false;
    bool cancelEnabled = false;
    bool stopped = false;
    bool running = false;
    QStringList files;
    QStringList::const_iterator current;
    QPointer<QProgressDialog> progress;
    QMap<QString, QStringList> metricFiles;
    QAStNode* node;
    bool success = true;
};
