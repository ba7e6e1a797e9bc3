#include "qapropertymaplineedit.h"

#include "qapropertymapgroup_p.h"

QAPropertyMapLineEdit::QAPropertyMapLineEdit(const QString& key) : QAPropertyLineEdit(key) {}

bool QAPropertyMapLineEdit::isOverriden() const
{
    return QAPropertyMapLeaf::isOverriden(this);
}

bool QAPropertyMapLineEdit::isResetable() const
{
    return QAPropertyMapLeaf::isResetable(this);
}

void QAPropertyMapLineEdit::reset()
{
    QAPropertyMapLeaf::reset(this);
}

void QAPropertyMapLineEdit::setValue(const QVariant& value)
{
    QAPropertyMapLeaf::setValue(this, value.toString().simplified());
}

QVariant QAPropertyMapLineEdit::value()
{
    return QAPropertyMapLeaf::value(this);
}
