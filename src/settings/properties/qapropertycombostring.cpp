#include "qapropertycombostring.h"

#include "qapropertycombostringwidget.h"

#include <QCoreApplication>

QAPropertyComboString::QAPropertyComboString(const QString& key) : QAProperty(key) {}

QString QAPropertyComboString::displayValue()
{
    const QString current = value().toString();
    const QMap<QString, QString> labels = content();
    for (const QString& label : originalList()) {
        const auto found = labels.constFind(label);
        if (found != labels.constEnd() && found.value() == current)
            return label;
    }
    return QCoreApplication::translate("Properties", "<unable display value>");
}

int QAPropertyComboString::type()
{
    return StringType;
}

QWidget* QAPropertyComboString::createEditor(QWidget* parent)
{
    return new QAPropertyComboStringWidget(this, parent);
}

void QAPropertyComboString::insertItem(const QString& label, const QString& value)
{
    if (!_content.contains(label))
        _originalList.append(label);
    _content.insert(label, value);
}

QMap<QString, QString> QAPropertyComboString::content() const
{
    return _content;
}

QStringList QAPropertyComboString::originalList() const
{
    return _originalList;
}
