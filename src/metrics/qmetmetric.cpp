#include "qmetmetric.h"

#include "qmetelement.h"

#include <cmath>

QMetMetric::QMetMetric(QMetElement* element, const QDomElement& domElement)
    : QObject(element), _element(element), _domElement(domElement),
      _key(domElement.attribute(QStringLiteral("Key"))), _label(_key),
      _value(stringToFloat(domElement.attribute(QStringLiteral("Value"))))
{
}

QMetMetric::QMetMetric(QMetElement* element, const QString& key, const QString& label, float value)
    : QObject(element), _element(element), _key(key), _label(label), _value(value)
{
}

float QMetMetric::stringToFloat(const QString& text)
{
    const QChar* it = text.constData();
    const QChar* const end = it + text.size();
    float sign = 1;
    if (it != end && (*it == QLatin1Char('-') || *it == QLatin1Char('+'))) {
        if (*it == QLatin1Char('-'))
            sign = -1;
        ++it;
    }
    float value = 0;
    for (; it != end && it->isDigit() && it->unicode() < 128; ++it)
        value = value * 10 + float(it->unicode() - '0');
    if (it != end && (*it == QLatin1Char('.') || *it == QLatin1Char(','))) {
        float factor = 0.1f;
        for (++it; it != end && it->isDigit() && it->unicode() < 128; ++it) {
            value += float(it->unicode() - '0') * factor;
            factor *= 0.1f;
        }
    }
    if (it != end && (*it == QLatin1Char('e') || *it == QLatin1Char('E'))) {
        bool negative = false;
        ++it;
        if (it != end && (*it == QLatin1Char('-') || *it == QLatin1Char('+'))) {
            negative = *it == QLatin1Char('-');
            ++it;
        }
        // Past a few hundred steps a float is infinite or zero; the bound
        // keeps a file of huge exponents from spinning or overflowing.
        int exponent = 0;
        for (; it != end && it->isDigit() && it->unicode() < 128; ++it)
            exponent = qMin(exponent * 10 + (it->unicode() - '0'), 1000);
        for (int i = 0; i < exponent && value != 0 && std::isfinite(value); ++i)
            value *= negative ? 0.1f : 10.0f;
    }
    return value * sign;
}
