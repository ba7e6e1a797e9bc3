#include "qapropertyint.h"

#include "qapropertyintwidget.h"

QAPropertyInt::QAPropertyInt(const QString& key) : QAProperty(key) {}

QString QAPropertyInt::displayValue()
{
    return value().toString() + _suffix;
}

int QAPropertyInt::type()
{
    return IntType;
}

QWidget* QAPropertyInt::createEditor(QWidget* parent)
{
    return new QAPropertyIntWidget(this, parent);
}
