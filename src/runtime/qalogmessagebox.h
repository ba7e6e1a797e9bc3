#pragma once

#include "qailogmonitor.h"

#include <QPointer>
#include <QString>

class QWidget;

/// The console end that shows every message in a box of its own: errors in a
/// critical box, which counts, and the rest in a warning box.
class SDK_EXPORT QALogMessageBox : public QAILogMonitor
{
public:
    QALogMessageBox(const QString& caption, QWidget* parent);

    void log(const QString& text) override;
    void error(const QString& text) override;
    int errorCount() const override;
    void resetError() override;

private:
    QString _caption;
    QPointer<QWidget> _parent;
    int _errorCount = 0;
};
