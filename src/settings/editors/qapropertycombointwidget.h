#pragma once

#include "qapropertywidget.h"

class QAPropertyComboInt;
class QComboBox;

/// Edits a labelled integer property in a combo box of its labels, in the
/// order of their definition. A value without a label shows no choice.
class SDK_EXPORT QAPropertyComboIntWidget : public QAPropertyWidget
{
    Q_OBJECT
public:
    explicit QAPropertyComboIntWidget(QAPropertyComboInt* property, QWidget* parent = nullptr);

protected:
    void showValue(const QVariant& value) override;

private:
    QComboBox* _comboBox;
};
