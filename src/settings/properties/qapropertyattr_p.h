#pragma once

#include "qaproperty.h"
#include "qastattribute.h"

/// The one rule of every attribute-bound leaf: the attribute's set flag is
/// the override, and an attribute that is not set reads through its parents.
namespace QAPropertyAttrLeaf {

template <typename T>
bool isOverriden(const QAStAttribute<T>* attribute)
{
    return attribute && attribute->isSet;
}

template <typename T>
bool isResetable(const QAStAttribute<T>* attribute)
{
    return attribute && attribute->parent;
}

// The stored value stays; it only stops counting.
template <typename T>
void reset(QAProperty* property, QAStAttribute<T>* attribute)
{
    if (!attribute)
        return;
    attribute->isSet = false;
    property->notifyModified();
}

template <typename T>
QVariant value(const QAStAttribute<T>* attribute)
{
    return attribute ? QVariant::fromValue(attribute->get()) : QVariant();
}

template <typename T>
void setValue(QAProperty* property, QAStAttribute<T>* attribute, const QVariant& value, int type)
{
    if (!attribute)
        return;
    *attribute = QAProperty::convert(value, type).value<T>();
    property->notifyModified();
}

} // namespace QAPropertyAttrLeaf
