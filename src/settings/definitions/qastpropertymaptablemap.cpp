#include "qastpropertymaptablemap.h"

#include "qapropertymapgroup_p.h"

#include <QStringList>

QAStPropertyMapTableMap::QAStPropertyMapTableMap(const QString& key) : QAProperty(key) {}

QString QAStPropertyMapTableMap::displayValue()
{
    const QVariantMap map = value().toMap();
    QStringList entries;
    for (auto it = map.constBegin(); it != map.constEnd(); ++it)
        entries << it.key() + QLatin1Char('=') + it.value().toString();
    return entries.join(QLatin1Char(','));
}

bool QAStPropertyMapTableMap::isOverriden() const
{
    return QAPropertyMapLeaf::isOverriden(this);
}

bool QAStPropertyMapTableMap::isResetable() const
{
    return QAPropertyMapLeaf::isResetable(this);
}

void QAStPropertyMapTableMap::reset()
{
    QAPropertyMapLeaf::reset(this);
}

void QAStPropertyMapTableMap::setValue(const QVariant& value)
{
    QAPropertyMapLeaf::setValue(this, value);
}

QVariant QAStPropertyMapTableMap::value()
{
    return QAPropertyMapLeaf::value(this);
}

int QAStPropertyMapTableMap::type()
{
    return MapType;
}

QWidget* QAStPropertyMapTableMap::createEditor(QWidget*)
{
    return nullptr;
}
