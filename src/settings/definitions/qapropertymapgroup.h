#pragma once

#include "qapropertygroup.h"

#include <QPointer>

class QAPropertyStore;

/// The group of a tree whose leaves read and write a store. The store is
/// held by the group, and each leaf finds it through its parent, so pointing
/// a whole tree at the next store is one call on its root.
class SDK_EXPORT QAPropertyMapGroup : public QAPropertyGroup
{
public:
    explicit QAPropertyMapGroup(const QString& key);

    /// Points this group and every subgroup below it at \a store.
    void setPropertyStore(QAPropertyStore* store);
    /// The store in hand; null when there is none or it was deleted.
    QAPropertyStore* propertyStore() const;

private:
    QPointer<QAPropertyStore> store;
};
