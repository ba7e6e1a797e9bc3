#include "qapropertyattrlineedit.h"

#include "qapropertyattr_p.h"

QAPropertyAttrLineEdit::QAPropertyAttrLineEdit(const QString& key, QAStAttribute<QString>* attribute)
    : QAPropertyLineEdit(key), _attribute(attribute)
{
}

bool QAPropertyAttrLineEdit::isOverriden() const
{
    return QAPropertyAttrLeaf::isOverriden(_attribute);
}

bool QAPropertyAttrLineEdit::isResetable() const
{
    return QAPropertyAttrLeaf::isResetable(_attribute);
}

void QAPropertyAttrLineEdit::reset()
{
    QAPropertyAttrLeaf::reset(this, _attribute);
}

void QAPropertyAttrLineEdit::setValue(const QVariant& value)
{
    QAPropertyAttrLeaf::setValue(this, _attribute, value, type());
}

QVariant QAPropertyAttrLineEdit::value()
{
    return QAPropertyAttrLeaf::value(_attribute);
}
