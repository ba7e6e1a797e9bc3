#include "qapropertymappathbox.h"

#include "qapropertymapgroup_p.h"

QAPropertyMapPathBox::QAPropertyMapPathBox(const QString& key) : QAPropertyPathBox(key) {}

bool QAPropertyMapPathBox::isOverriden() const
{
    return QAPropertyMapLeaf::isOverriden(this);
}

bool QAPropertyMapPathBox::isResetable() const
{
    return QAPropertyMapLeaf::isResetable(this);
}

void QAPropertyMapPathBox::reset()
{
    QAPropertyMapLeaf::reset(this);
}

void QAPropertyMapPathBox::setValue(const QVariant& value)
{
    QAPropertyMapLeaf::setValue(this, value);
}

QVariant QAPropertyMapPathBox::value()
{
    return QAPropertyMapLeaf::value(this);
}
