#pragma once

#include "sdk_export.h"

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QSharedDataPointer>
#include <QString>
#include <QStringList>
#include <QVariant>

class QAPropertyStoreData;

/// Values of settings by key. A value that the store does not hold comes from
/// the store that inheritOf() names, and so on up the chain.
///
/// The map is shared and copied on write: assigning one store to another
/// takes a reference, so that duplicating a configuration costs nothing until
/// one of the two is changed. QObject's own dynamic properties are not used;
/// the property and setProperty of this class hide them.
class SDK_EXPORT QAPropertyStore : public QObject
{
    Q_OBJECT
public:
    explicit QAPropertyStore(QObject* parent = nullptr, const char* name = nullptr);
    ~QAPropertyStore() override;

    /// Shares \a other's map; neither store sees the other's later writes.
    QAPropertyStore& operator=(const QAPropertyStore& other);

    /// The value for \a key, inherited when this store does not hold it;
    /// an invalid value when no store of the chain holds it.
    virtual QVariant property(const QString& key) const;
    /// The store this one inherits from; none for the base class.
    virtual QAPropertyStore* inheritOf() const;

    /// \a key is in this store's own map; inherited values do not count.
    bool hasProperty(const QString& key) const;
    void setProperty(const QString& key, const QVariant& value);
    void setProperty(const QString& key, const QString& value);
    void setProperty(const QString& key, const char* value);
    void setProperty(const QString& key, const QByteArray& value);
    void setProperty(const QString& key, const QStringList& value);
    void setProperty(const QString& key, const QMap<QString, QString>& value);
    void setProperty(const QString& key, int value);
    void setProperty(const QString& key, unsigned int value);
    void setProperty(const QString& key, bool value);
    void setProperty(const QString& key, double value);
    void setProperty(const QString& key, float value);
    /// Drops the own value of \a key, so that the inherited one shows through.
    void unsetProperty(const QString& key);
    void clear();
    /// The keys of the own map, in key order.
    QStringList propertyNames() const;
    /// The own map. Two stores that share it answer the same object.
    const QMap<QString, QVariant>& propertyMap() const;

private:
    QSharedDataPointer<QAPropertyStoreData> d;
};
