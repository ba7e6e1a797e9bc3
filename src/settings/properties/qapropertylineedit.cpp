#include "qapropertylineedit.h"

#include "qapropertylineeditwidget.h"

#include <QValidator>

QAPropertyLineEdit::QAPropertyLineEdit(const QString& key) : QAProperty(key) {}

QAPropertyLineEdit::~QAPropertyLineEdit() = default;

void QAPropertyLineEdit::setValidator(QValidator* validator)
{
    _validator.reset(validator);
}

QString QAPropertyLineEdit::displayValue()
{
    return value().toString();
}

int QAPropertyLineEdit::type()
{
    return StringType;
}

QWidget* QAPropertyLineEdit::createEditor(QWidget* parent)
{
    return new QAPropertyLineEditWidget(this, parent);
}
