#include "qapropertycombostringwidget.h"

#include "qapropertycombostring.h"

#include <QComboBox>

QAPropertyComboStringWidget::QAPropertyComboStringWidget(QAPropertyComboString* property,
                                                         QWidget* parent)
    : QAPropertyWidget(property, parent), _comboBox(new QComboBox(this))
{
    const QMap<QString, QString> content = property->content();
    for (const QString& label : property->originalList())
        _comboBox->addItem(label, content.value(label));
    setChoiceEditor(_comboBox);
}

void QAPropertyComboStringWidget::showValue(const QVariant& value)
{
    _comboBox->setCurrentIndex(_comboBox->findData(value.toString()));
}
