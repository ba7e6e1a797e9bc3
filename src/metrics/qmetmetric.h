#pragma once

#include "sdk_export.h"

#include <QDomElement>
#include <QObject>
#include <QString>

class QMetElement;

/// One value of an item of a metrics file: its key, the label a person
/// reads, and the number. Values are floats at every level of the tree.
class SDK_EXPORT QMetMetric : public QObject
{
    Q_OBJECT
public:
    /// Reads a `METRIC` element: key from "Key", value from "Value".
    QMetMetric(QMetElement* element, const QDomElement& domElement);
    QMetMetric(QMetElement* element, const QString& key, const QString& label, float value);

    /// The decimal reader of the metrics files. It does not follow the
    /// locale: the tool writes the same text whatever the reader's language,
    /// and both "." and "," stand for the decimal point. Reading stops at the
    /// first character that belongs to no number; the empty text is 0.
    static float stringToFloat(const QString& text);

    QMetElement* element() const { return _element; }
    QDomElement domElement() const { return _domElement; }
    QString key() const { return _key; }
    QString label() const { return _label; }
    float value() const { return _value; }
    void setValue(float value) { _value = value; }
    void addValue(float value) { _value += value; }
    /// Raises the value to \a value when that is greater.
    void raise(float value)
    {
        if (value > _value)
            _value = value;
    }

private:
    QMetElement* _element;
    QDomElement _domElement;
    QString _key;
    QString _label;
    float _value = 0;
};
