#include "qapropertymapint.h"

#include "qapropertymapgroup_p.h"

QAPropertyMapInt::QAPropertyMapInt(const QString& key) : QAPropertyInt(key) {}

bool QAPropertyMapInt::isOverriden() const
{
    return QAPropertyMapLeaf::isOverriden(this);
}

bool QAPropertyMapInt::isResetable() const
{
    return QAPropertyMapLeaf::isResetable(this);
}

void QAPropertyMapInt::reset()
{
    QAPropertyMapLeaf::reset(this);
}

void QAPropertyMapInt::setValue(const QVariant& value)
{
    QAPropertyMapLeaf::setValue(this, value);
}

QVariant QAPropertyMapInt::value()
{
    return QAPropertyMapLeaf::value(this);
}
