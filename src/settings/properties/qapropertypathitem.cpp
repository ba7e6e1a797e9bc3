#include "qapropertypathitem.h"

#include "qapropertypathitemwidget.h"

QAPropertyPathItem::QAPropertyPathItem(const QString& key) : QAProperty(key) {}

QString QAPropertyPathItem::displayValue()
{
    return value().toString();
}

int QAPropertyPathItem::type()
{
    return StringType;
}

QWidget* QAPropertyPathItem::createEditor(QWidget* parent)
{
    return new QAPropertyPathItemWidget(this, parent);
}

QString QAPropertyPathItem::basePath() const
{
    return QString();
}
