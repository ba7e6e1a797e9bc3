#include "qapropertycombointwidget.h"

#include "qapropertycomboint.h"

#include <QComboBox>

QAPropertyComboIntWidget::QAPropertyComboIntWidget(QAPropertyComboInt* property, QWidget* parent)
    : QAPropertyWidget(property, parent), _comboBox(new QComboBox(this))
{
    const QMap<QString, qint32> content = property->content();
    for (const QString& label : property->originalList())
        _comboBox->addItem(label, content.value(label));
    setChoiceEditor(_comboBox);
}

void QAPropertyComboIntWidget::showValue(const QVariant& value)
{
    _comboBox->setCurrentIndex(value.isValid() ? _comboBox->findData(value.toInt()) : -1);
}
