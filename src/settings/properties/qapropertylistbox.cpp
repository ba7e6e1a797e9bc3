#include "qapropertylistbox.h"

#include "qapropertylistboxwidget.h"

QAPropertyListBox::QAPropertyListBox(const QString& key) : QAProperty(key) {}

QString QAPropertyListBox::displayValue()
{
    return value().toStringList().join(QLatin1Char(','));
}

int QAPropertyListBox::type()
{
    return StringListType;
}

QWidget* QAPropertyListBox::createEditor(QWidget* parent)
{
    return new QAPropertyListBoxWidget(this, parent);
}
