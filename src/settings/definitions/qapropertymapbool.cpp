#include "qapropertymapbool.h"

#include "qapropertymapgroup_p.h"

QAPropertyMapBool::QAPropertyMapBool(const QString& key) : QAPropertyBool(key) {}

bool QAPropertyMapBool::isOverriden() const
{
    return QAPropertyMapLeaf::isOverriden(this);
}

bool QAPropertyMapBool::isResetable() const
{
    return QAPropertyMapLeaf::isResetable(this);
}

void QAPropertyMapBool::reset()
{
    QAPropertyMapLeaf::reset(this);
}

void QAPropertyMapBool::setValue(const QVariant& value)
{
    QAPropertyMapLeaf::setValue(this, value);
}

QVariant QAPropertyMapBool::value()
{
    return QAPropertyMapLeaf::value(this);
}
