#include "qapropertycomboint.h"

#include "qapropertycombointwidget.h"

#include <QCoreApplication>

QAPropertyComboInt::QAPropertyComboInt(const QString& key) : QAProperty(key) {}

QString QAPropertyComboInt::displayValue()
{
    const QVariant current = value();
    if (current.isValid()) {
        const QMap<QString, qint32> labels = content();
        for (const QString& label : originalList()) {
            if (labels.value(label) == current.toInt())
                return label;
        }
    }
    return QCoreApplication::translate("Properties", "<unable display value>");
}

int QAPropertyComboInt::type()
{
    return IntType;
}

QWidget* QAPropertyComboInt::createEditor(QWidget* parent)
{
    return new QAPropertyComboIntWidget(this, parent);
}

void QAPropertyComboInt::insertItem(const QString& label, qint32 value)
{
    if (!_content.contains(label))
        _originalList.append(label);
    _content.insert(label, value);
}

QMap<QString, qint32> QAPropertyComboInt::content() const
{
    return _content;
}

QStringList QAPropertyComboInt::originalList() const
{
    return _originalList;
}
