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
    setEditor(_comboBox);
    updateValue();
    connect(_comboBox, &QComboBox::activated, this, [this](int index) {
        if (!isUpdating() && index >= 0)
            commit(_comboBox->itemData(index));
    });
}

void QAPropertyComboStringWidget::showValue(const QVariant& value)
{
    _comboBox->setCurrentIndex(_comboBox->findData(value.toString()));
}
