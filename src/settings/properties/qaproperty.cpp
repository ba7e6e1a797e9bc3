#include "qaproperty.h"

#include "qapropertygroup.h"

QAProperty::QAProperty(const QString& key) : _key(key) {}

QAProperty::~QAProperty()
{
    if (_parent)
        _parent->removeChild(this);
}

bool QAProperty::isGroup() const
{
    return false;
}

void QAProperty::notifyModified()
{
    for (QAPropertyGroup* group = _parent; group; group = group->parent()) {
        if (group->_modifiedHandler) {
            group->_modifiedHandler(this);
            return;
        }
    }
}

namespace {

struct KindOfType
{
    int kind;
    QMetaType::Type metaType;
};

constexpr KindOfType kinds[] = {
    {QAProperty::MapType, QMetaType::QVariantMap},
    {QAProperty::StringType, QMetaType::QString},
    {QAProperty::StringListType, QMetaType::QStringList},
    {QAProperty::IntType, QMetaType::Int},
    {QAProperty::UIntType, QMetaType::UInt},
    {QAProperty::BoolType, QMetaType::Bool},
    {QAProperty::DoubleType, QMetaType::Double},
    {QAProperty::ByteArrayType, QMetaType::QByteArray},
};

} // namespace

int QAProperty::variantType(const QVariant& value)
{
    if (!value.isValid())
        return InvalidType;
    const int id = value.metaType().id();
    for (const KindOfType& k : kinds) {
        if (k.metaType == id)
            return k.kind;
    }
    return -1;
}

QMetaType QAProperty::metaType(int type)
{
    for (const KindOfType& k : kinds) {
        if (k.kind == type)
            return QMetaType(k.metaType);
    }
    return QMetaType();
}

QVariant QAProperty::convert(const QVariant& value, int type)
{
    const QMetaType target = metaType(type);
    if (!target.isValid())
        return QVariant();
    if (value.metaType() == target)
        return value;
    // What cannot be converted becomes the null value of the kind.
    QVariant converted = value;
    if (!converted.convert(target))
        return QVariant(target);
    return converted;
}
