#pragma once

#include "qapropertywidget.h"

class QAPropertyLineEdit;
class QLineEdit;

/// Edits a text property in a line edit. The text is written when editing
/// ends, and only when the user changed it, so that passing through the
/// field creates no override.
class SDK_EXPORT QAPropertyLineEditWidget : public QAPropertyWidget
{
    Q_OBJECT
public:
    explicit QAPropertyLineEditWidget(QAPropertyLineEdit* property, QWidget* parent = nullptr);

protected:
    void showValue(const QVariant& value) override;

private:
    QLineEdit* _lineEdit;
};
