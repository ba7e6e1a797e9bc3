#include "qapropertyattrcomboint.h"

#include "qapropertyattr_p.h"

QAPropertyAttrComboInt::QAPropertyAttrComboInt(const QString& key, QAStAttribute<int>* attribute)
    : QAPropertyComboInt(key), _attribute(attribute)
{
}

bool QAPropertyAttrComboInt::isOverriden() const
{
    return QAPropertyAttrLeaf::isOverriden(_attribute);
}

bool QAPropertyAttrComboInt::isResetable() const
{
    return QAPropertyAttrLeaf::isResetable(_attribute);
}

void QAPropertyAttrComboInt::reset()
{
    QAPropertyAttrLeaf::reset(this, _attribute);
}

void QAPropertyAttrComboInt::setValue(const QVariant& value)
{
    QAPropertyAttrLeaf::setValue(this, _attribute, value, type());
}

QVariant QAPropertyAttrComboInt::value()
{
    return QAPropertyAttrLeaf::value(_attribute);
}
