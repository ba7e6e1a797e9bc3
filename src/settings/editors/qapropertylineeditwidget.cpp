#include "qapropertylineeditwidget.h"

#include "qapropertylineedit.h"

#include <QLineEdit>

QAPropertyLineEditWidget::QAPropertyLineEditWidget(QAPropertyLineEdit* property, QWidget* parent)
    : QAPropertyWidget(property, parent), _lineEdit(new QLineEdit(this))
{
    // The line edit only looks at the validator: the property owns it.
    _lineEdit->setValidator(property->validator());
    setEditor(_lineEdit);
    updateValue();
    connect(_lineEdit, &QLineEdit::editingFinished, this, [this] {
        if (isUpdating() || !_lineEdit->isModified())
            return;
        commit(_lineEdit->text());
        // The property may have cleaned the text.
        updateValue();
    });
}

void QAPropertyLineEditWidget::showValue(const QVariant& value)
{
    _lineEdit->setText(value.toString());
}
