#include "qapropertymappathitem.h"

#include "qapropertymapgroup_p.h"

QAPropertyMapPathItem::QAPropertyMapPathItem(const QString& key) : QAPropertyPathItem(key) {}

bool QAPropertyMapPathItem::isOverriden() const
{
    return QAPropertyMapLeaf::isOverriden(this);
}

bool QAPropertyMapPathItem::isResetable() const
{
    return QAPropertyMapLeaf::isResetable(this);
}

void QAPropertyMapPathItem::reset()
{
    QAPropertyMapLeaf::reset(this);
}

void QAPropertyMapPathItem::setValue(const QVariant& value)
{
    QAPropertyMapLeaf::setValue(this, value);
}

QVariant QAPropertyMapPathItem::value()
{
    return QAPropertyMapLeaf::value(this);
}
