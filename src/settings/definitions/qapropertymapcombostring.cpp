#include "qapropertymapcombostring.h"

#include "qapropertymapgroup_p.h"

QAPropertyMapComboString::QAPropertyMapComboString(const QString& key) : QAPropertyComboString(key) {}

bool QAPropertyMapComboString::isOverriden() const
{
    return QAPropertyMapLeaf::isOverriden(this);
}

bool QAPropertyMapComboString::isResetable() const
{
    return QAPropertyMapLeaf::isResetable(this);
}

void QAPropertyMapComboString::reset()
{
    QAPropertyMapLeaf::reset(this);
}

void QAPropertyMapComboString::setValue(const QVariant& value)
{
    QAPropertyMapLeaf::setValue(this, value);
}

QVariant QAPropertyMapComboString::value()
{
    return QAPropertyMapLeaf::value(this);
}
