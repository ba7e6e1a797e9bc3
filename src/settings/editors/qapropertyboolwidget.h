#pragma once

#include "qapropertywidget.h"

class QAPropertyBool;
class QCheckBox;

/// Edits a boolean property in a check box labelled with the property's word
/// for the current state ("True", "Yes", ...).
class SDK_EXPORT QAPropertyBoolWidget : public QAPropertyWidget
{
    Q_OBJECT
public:
    explicit QAPropertyBoolWidget(QAPropertyBool* property, QWidget* parent = nullptr);

protected:
    void showValue(const QVariant& value) override;

private:
    QAPropertyBool* _bool;
    QCheckBox* _checkBox;
};
