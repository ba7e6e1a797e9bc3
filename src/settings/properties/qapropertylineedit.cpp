#include "qapropertylineedit.h"

#include "qapropertylineeditwidget.h"

QAPropertyLineEdit::QAPropertyLineEdit(const QString& key) : QAProperty(key) {}

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
