#pragma once

#include "sdk_export.h"

#include <QMap>
#include <QObject>
#include <QVariant>

/// The user's project preferences: a small map of named values with defaults.
/// The host shows them on a preference page of its own.
class QARes;

class SDK_EXPORT QAStProjectPref : public QObject
{
    Q_OBJECT
public:
    explicit QAStProjectPref(QObject* parent = nullptr);

    /// The known keys, in the order a preference page shows them.
    static QStringList keys();

    QVariant value(const QString& key) const;
    bool boolValue(const QString& key) const { return value(key).toBool(); }
    void setValue(const QString& key, const QVariant& value);
    /// Brings every key back to its default.
    void reset();
    /// Takes the preferences that a resource group holds under their own
    /// names; a value of another kind than the default's is left out.
    void fromResources(QARes* resources);

signals:
    void changed(const QString& key);

private:
    QMap<QString, QVariant> values;
};
