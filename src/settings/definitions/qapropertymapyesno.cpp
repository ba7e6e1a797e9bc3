#include "qapropertymapyesno.h"

#include "qapropertymapgroup_p.h"

QAPropertyMapYesNo::QAPropertyMapYesNo(const QString& key) : QAPropertyYesNo(key) {}

bool QAPropertyMapYesNo::isOverriden() const
{
    return QAPropertyMapLeaf::isOverriden(this);
}

bool QAPropertyMapYesNo::isResetable() const
{
    return QAPropertyMapLeaf::isResetable(this);
}

void QAPropertyMapYesNo::reset()
{
    QAPropertyMapLeaf::reset(this);
}

void QAPropertyMapYesNo::setValue(const QVariant& value)
{
    QAPropertyMapLeaf::setValue(this, value);
}

QVariant QAPropertyMapYesNo::value()
{
    return QAPropertyMapLeaf::value(this);
}
