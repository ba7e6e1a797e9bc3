#include "qapropertystore.h"

class QAPropertyStoreData : public QSharedData
{
public:
    QMap<QString, QVariant> values;
};

QAPropertyStore::QAPropertyStore(QObject* parent, const char* name)
    : QObject(parent), d(new QAPropertyStoreData)
{
    if (name)
        setObjectName(QString::fromLatin1(name));
}

QAPropertyStore::~QAPropertyStore() = default;

QAPropertyStore& QAPropertyStore::operator=(const QAPropertyStore& other)
{
    d = other.d;
    return *this;
}

// A walk, not a recursion: a chain of inheritance is as long as the tree is
// deep, and trees of thousands of levels are read.
QVariant QAPropertyStore::property(const QString& key) const
{
    for (const QAPropertyStore* store = this; store; store = store->inheritOf()) {
        const QMap<QString, QVariant>& values = store->d->values;
        const auto found = values.constFind(key);
        if (found != values.constEnd())
            return found.value();
    }
    return QVariant();
}

QAPropertyStore* QAPropertyStore::inheritOf() const
{
    return nullptr;
}

bool QAPropertyStore::hasProperty(const QString& key) const
{
    return d->values.contains(key);
}

void QAPropertyStore::setProperty(const QString& key, const QVariant& value)
{
    d->values.insert(key, value);
}

void QAPropertyStore::setProperty(const QString& key, const QString& value)
{
    setProperty(key, QVariant(value));
}

void QAPropertyStore::setProperty(const QString& key, const char* value)
{
    setProperty(key, QVariant(QString::fromUtf8(value)));
}

void QAPropertyStore::setProperty(const QString& key, const QByteArray& value)
{
    setProperty(key, QVariant(QString::fromUtf8(value)));
}

void QAPropertyStore::setProperty(const QString& key, const QStringList& value)
{
    setProperty(key, QVariant(value));
}

void QAPropertyStore::setProperty(const QString& key, const QMap<QString, QString>& value)
{
    QVariantMap map;
    for (auto it = value.constBegin(); it != value.constEnd(); ++it)
        map.insert(it.key(), it.value());
    setProperty(key, QVariant(map));
}

void QAPropertyStore::setProperty(const QString& key, int value)
{
    setProperty(key, QVariant(value));
}

void QAPropertyStore::setProperty(const QString& key, unsigned int value)
{
    setProperty(key, QVariant(value));
}

void QAPropertyStore::setProperty(const QString& key, bool value)
{
    setProperty(key, QVariant(value));
}

void QAPropertyStore::setProperty(const QString& key, double value)
{
    setProperty(key, QVariant(value));
}

void QAPropertyStore::setProperty(const QString& key, float value)
{
    setProperty(key, QVariant(double(value)));
}

void QAPropertyStore::unsetProperty(const QString& key)
{
    // Looked up on the shared map first: dropping an absent key is no write.
    if (std::as_const(d)->values.contains(key))
        d->values.remove(key);
}

void QAPropertyStore::clear()
{
    if (!std::as_const(d)->values.isEmpty())
        d->values.clear();
}

QStringList QAPropertyStore::propertyNames() const
{
    return d->values.keys();
}

const QMap<QString, QVariant>& QAPropertyStore::propertyMap() const
{
    return d->values;
}
