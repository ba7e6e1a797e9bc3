#pragma once

#include "qapropertywidget.h"

class QAPropertyInt;
class QSpinBox;

/// Edits an integer property in a spin box with the property's limits, step
/// and suffix. Each change of the number is written.
class SDK_EXPORT QAPropertyIntWidget : public QAPropertyWidget
{
    Q_OBJECT
public:
    explicit QAPropertyIntWidget(QAPropertyInt* property, QWidget* parent = nullptr);

protected:
    void showValue(const QVariant& value) override;

private:
    QSpinBox* _spinBox;
};
