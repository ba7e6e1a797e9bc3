#pragma once

#include <QVariant>

class QAProperty;
class QAPropertyStore;

/// The one rule of every store-bound leaf, whatever its kind: the value lives
/// in the store of the parent group, under the leaf's key.
namespace QAPropertyMapLeaf {

QAPropertyStore* store(const QAProperty* leaf);
/// The stored value when it is of the leaf's kind, else the kind's default
/// form: invalid for numbers and booleans, empty for texts and lists.
QVariant value(QAProperty* leaf);
/// Stores \a value, converted to the leaf's kind; always an override.
void setValue(QAProperty* leaf, const QVariant& value);
bool isOverriden(const QAProperty* leaf);
bool isResetable(const QAProperty* leaf);
void reset(QAProperty* leaf);

} // namespace QAPropertyMapLeaf
