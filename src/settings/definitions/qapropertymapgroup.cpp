#include "qapropertymapgroup.h"

#include "qapropertymapgroup_p.h"
#include "qapropertystore.h"

#include <QStringList>

QAPropertyMapGroup::QAPropertyMapGroup(const QString& key) : QAPropertyGroup(key) {}

void QAPropertyMapGroup::setPropertyStore(QAPropertyStore* store)
{
    this->store = store;
    for (QAProperty* child : children()) {
        if (auto* group = dynamic_cast<QAPropertyMapGroup*>(child))
            group->setPropertyStore(store);
    }
}

QAPropertyStore* QAPropertyMapGroup::propertyStore() const
{
    return store;
}

namespace QAPropertyMapLeaf {

QAPropertyStore* store(const QAProperty* leaf)
{
    const auto* group = dynamic_cast<const QAPropertyMapGroup*>(leaf->parent());
    return group ? group->propertyStore() : nullptr;
}

QVariant value(QAProperty* leaf)
{
    const int kind = leaf->type();
    if (const QAPropertyStore* s = store(leaf)) {
        // A value of another kind counts as absent, so that a stale key
        // written by an older definition falls back to the default form.
        const QVariant stored = s->property(leaf->key());
        if (QAProperty::variantType(stored) == kind)
            return stored;
    }
    switch (kind) {
    case QAProperty::StringType:
        return QVariant(QStringLiteral(""));
    case QAProperty::StringListType:
        return QVariant(QStringList());
    default:
        return QVariant();
    }
}

void setValue(QAProperty* leaf, const QVariant& value)
{
    if (QAPropertyStore* s = store(leaf))
        s->setProperty(leaf->key(), QAProperty::convert(value, leaf->type()));
}

bool isOverriden(const QAProperty* leaf)
{
    const QAPropertyStore* s = store(leaf);
    return s && s->hasProperty(leaf->key());
}

bool isResetable(const QAProperty* leaf)
{
    const QAPropertyStore* s = store(leaf);
    return s && s->inheritOf();
}

void reset(QAProperty* leaf)
{
    if (QAPropertyStore* s = store(leaf))
        s->unsetProperty(leaf->key());
}

} // namespace QAPropertyMapLeaf
