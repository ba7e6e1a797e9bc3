#include "qapropertymapcomboint.h"

#include "qapropertymapgroup_p.h"

QAPropertyMapComboInt::QAPropertyMapComboInt(const QString& key) : QAPropertyComboInt(key) {}

bool QAPropertyMapComboInt::isOverriden() const
{
    return QAPropertyMapLeaf::isOverriden(this);
}

bool QAPropertyMapComboInt::isResetable() const
{
    return QAPropertyMapLeaf::isResetable(this);
}

void QAPropertyMapComboInt::reset()
{
    QAPropertyMapLeaf::reset(this);
}

void QAPropertyMapComboInt::setValue(const QVariant& value)
{
    QAPropertyMapLeaf::setValue(this, value);
}

QVariant QAPropertyMapComboInt::value()
{
    return QAPropertyMapLeaf::value(this);
}
