#pragma once

#include "qapropertywidget.h"

class QAPropertyComboString;
class QComboBox;

/// Edits a labelled text property in a combo box of its labels, in the order
/// of their definition. A value without a label shows no choice.
class SDK_EXPORT QAPropertyComboStringWidget : public QAPropertyWidget
{
    Q_OBJECT
public:
    explicit QAPropertyComboStringWidget(QAPropertyComboString* property, QWidget* parent = nullptr);

protected:
    void showValue(const QVariant& value) override;

private:
    QComboBox* _comboBox;
};
