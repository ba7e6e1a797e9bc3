#include "qapropertyattryesno.h"

#include "qapropertyattr_p.h"

QAPropertyAttrYesNo::QAPropertyAttrYesNo(const QString& key, QAStAttribute<bool>* attribute)
    : QAPropertyYesNo(key), _attribute(attribute)
{
}

bool QAPropertyAttrYesNo::isOverriden() const
{
    return QAPropertyAttrLeaf::isOverriden(_attribute);
}

bool QAPropertyAttrYesNo::isResetable() const
{
    return QAPropertyAttrLeaf::isResetable(_attribute);
}

void QAPropertyAttrYesNo::reset()
{
    QAPropertyAttrLeaf::reset(this, _attribute);
}

void QAPropertyAttrYesNo::setValue(const QVariant& value)
{
    QAPropertyAttrLeaf::setValue(this, _attribute, value, type());
}

QVariant QAPropertyAttrYesNo::value()
{
    return QAPropertyAttrLeaf::value(_attribute);
}
