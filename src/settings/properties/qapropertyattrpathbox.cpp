#include "qapropertyattrpathbox.h"

#include "qapropertyattr_p.h"

QAPropertyAttrPathBox::QAPropertyAttrPathBox(const QString& key, QAStAttribute<QStringList>* attribute)
    : QAPropertyPathBox(key), _attribute(attribute)
{
}

bool QAPropertyAttrPathBox::isOverriden() const
{
    return QAPropertyAttrLeaf::isOverriden(_attribute);
}

bool QAPropertyAttrPathBox::isResetable() const
{
    return QAPropertyAttrLeaf::isResetable(_attribute);
}

void QAPropertyAttrPathBox::reset()
{
    QAPropertyAttrLeaf::reset(this, _attribute);
}

void QAPropertyAttrPathBox::setValue(const QVariant& value)
{
    QAPropertyAttrLeaf::setValue(this, _attribute, value, type());
}

QVariant QAPropertyAttrPathBox::value()
{
    return QAPropertyAttrLeaf::value(_attribute);
}
