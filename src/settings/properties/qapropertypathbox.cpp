#include "qapropertypathbox.h"

#include "qapropertypathboxwidget.h"

QAPropertyPathBox::QAPropertyPathBox(const QString& key) : QAProperty(key) {}

QString QAPropertyPathBox::displayValue()
{
    return value().toStringList().join(QLatin1Char(','));
}

int QAPropertyPathBox::type()
{
    return StringListType;
}

QWidget* QAPropertyPathBox::createEditor(QWidget* parent)
{
    return new QAPropertyPathBoxWidget(this, parent);
}

QString QAPropertyPathBox::basePath() const
{
    return QString();
}
