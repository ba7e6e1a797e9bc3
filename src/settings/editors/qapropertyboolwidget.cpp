#include "qapropertyboolwidget.h"

#include "qapropertybool.h"

#include <QCheckBox>

QAPropertyBoolWidget::QAPropertyBoolWidget(QAPropertyBool* property, QWidget* parent)
    : QAPropertyWidget(property, parent), _bool(property), _checkBox(new QCheckBox(this))
{
    setEditor(_checkBox);
    updateValue();
    connect(_checkBox, &QCheckBox::toggled, this, [this](bool checked) {
        _checkBox->setText(_bool->text(checked));
        if (!isUpdating())
            commit(checked);
    });
}

void QAPropertyBoolWidget::showValue(const QVariant& value)
{
    _checkBox->setChecked(value.toBool());
    _checkBox->setText(_bool->text(value.toBool()));
}
