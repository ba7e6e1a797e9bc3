#include "qapropertymaplistbox.h"

#include "qapropertymapgroup_p.h"

QAPropertyMapListBox::QAPropertyMapListBox(const QString& key) : QAPropertyListBox(key) {}

bool QAPropertyMapListBox::isOverriden() const
{
    return QAPropertyMapLeaf::isOverriden(this);
}

bool QAPropertyMapListBox::isResetable() const
{
    return QAPropertyMapLeaf::isResetable(this);
}

void QAPropertyMapListBox::reset()
{
    QAPropertyMapLeaf::reset(this);
}

void QAPropertyMapListBox::setValue(const QVariant& value)
{
    QAPropertyMapLeaf::setValue(this, value);
}

QVariant QAPropertyMapListBox::value()
{
    return QAPropertyMapLeaf::value(this);
}
