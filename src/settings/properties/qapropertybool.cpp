#include "qapropertybool.h"

#include "qapropertyboolwidget.h"

#include <QCoreApplication>

QAPropertyBool::QAPropertyBool(const QString& key) : QAProperty(key) {}

QString QAPropertyBool::displayValue()
{
    return text(value().toBool());
}

int QAPropertyBool::type()
{
    return BoolType;
}

QWidget* QAPropertyBool::createEditor(QWidget* parent)
{
    return new QAPropertyBoolWidget(this, parent);
}

QString QAPropertyBool::text(bool value) const
{
    return value ? QCoreApplication::translate("Properties", "True")
                 : QCoreApplication::translate("Properties", "False");
}
