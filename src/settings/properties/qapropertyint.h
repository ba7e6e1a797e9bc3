#pragma once

#include "qaproperty.h"

/// An integer setting, edited in a spin box. A maximum below the minimum
/// leaves the value without an upper limit.
class SDK_EXPORT QAPropertyInt : public QAProperty
{
public:
    explicit QAPropertyInt(const QString& key);

    QString displayValue() override;
    int type() override;
    QWidget* createEditor(QWidget* parent) override;

    qint32 min() const { return _min; }
    void setMin(qint32 min) { _min = min; }
    qint32 max() const { return _max; }
    void setMax(qint32 max) { _max = max; }
    qint32 step() const { return _step; }
    void setStep(qint32 step) { _step = step; }
    QString suffix() const { return _suffix; }
    void setSuffix(const QString& suffix) { _suffix = suffix; }

private:
    qint32 _min = 0;
    qint32 _max = 0;
    qint32 _step = 0;
    QString _suffix;
};
