#include "qapropertyintwidget.h"

#include "qapropertyint.h"

#include <QSpinBox>

#include <limits>

QAPropertyIntWidget::QAPropertyIntWidget(QAPropertyInt* property, QWidget* parent)
    : QAPropertyWidget(property, parent), _spinBox(new QSpinBox(this))
{
    const int max = property->max() < property->min() ? std::numeric_limits<int>::max()
                                                       : property->max();
    _spinBox->setRange(property->min(), max);
    _spinBox->setSingleStep(property->step() > 0 ? property->step() : 1);
    _spinBox->setSuffix(property->suffix());
    setEditor(_spinBox);
    updateValue();
    connect(_spinBox, &QSpinBox::valueChanged, this, [this](int value) {
        if (!isUpdating())
            commit(value);
    });
}

void QAPropertyIntWidget::showValue(const QVariant& value)
{
    // Without any value the spin box shows its minimum, which is not written
    // until the user changes it.
    _spinBox->setValue(value.isValid() ? value.toInt() : _spinBox->minimum());
}
