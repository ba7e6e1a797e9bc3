#include "qapropertycombointwidget.h"

#include "qapropertycomboint.h"

#include <QComboBox>

QAPropertyComboIntWidget::QAPropertyComboIntWidget(QAPropertyComboInt* property, QWidget* parent)
    : QAPropertyWidget(property, parent), _comboBox(new QComboBox(this))
{
    const QMap<QString, qint32> content = property->content();
    for (const QString& label : property->originalList())
        _comboBox->addItem(label, content.value(label));
    setEditor(_comboBox);
    updateValue();
    connect(_comboBox, &QComboBox::activated, this, [this](int index) {
        if (!isUpdating() && index >= 0)
            commit(_comboBox->itemData(index));
    });
}

void QAPropertyComboIntWidget::showValue(const QVariant& value)
{
    _comboBox->setCurrentIndex(value.isValid() ? _comboBox->findData(value.toInt()) : -1);
}
