#include "qapropertyattrbool.h"

#include "qapropertyattr_p.h"

QAPropertyAttrBool::QAPropertyAttrBool(const QString& key, QAStAttribute<bool>* attribute)
    : QAPropertyBool(key), _attribute(attribute)
{
}

bool QAPropertyAttrBool::isOverriden() const
{
    return QAPropertyAttrLeaf::isOverriden(_attribute);
}

bool QAPropertyAttrBool::isResetable() const
{
    return QAPropertyAttrLeaf::isResetable(_attribute);
}

void QAPropertyAttrBool::reset()
{
    QAPropertyAttrLeaf::reset(this, _attribute);
}

void QAPropertyAttrBool::setValue(const QVariant& value)
{
    QAPropertyAttrLeaf::setValue(this, _attribute, value, type());
}

QVariant QAPropertyAttrBool::value()
{
    return QAPropertyAttrLeaf::value(_attribute);
}
