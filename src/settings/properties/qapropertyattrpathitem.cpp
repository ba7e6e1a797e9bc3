#include "qapropertyattrpathitem.h"

#include "qapropertyattr_p.h"

QAPropertyAttrPathItem::QAPropertyAttrPathItem(const QString& key, QAStAttribute<QString>* attribute)
    : QAPropertyPathItem(key), _attribute(attribute)
{
}

bool QAPropertyAttrPathItem::isOverriden() const
{
    return QAPropertyAttrLeaf::isOverriden(_attribute);
}

bool QAPropertyAttrPathItem::isResetable() const
{
    return QAPropertyAttrLeaf::isResetable(_attribute);
}

void QAPropertyAttrPathItem::reset()
{
    QAPropertyAttrLeaf::reset(this, _attribute);
}

void QAPropertyAttrPathItem::setValue(const QVariant& value)
{
    QAPropertyAttrLeaf::setValue(this, _attribute, value, type());
}

QVariant QAPropertyAttrPathItem::value()
{
    return QAPropertyAttrLeaf::value(_attribute);
}
