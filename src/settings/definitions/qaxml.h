#pragma once

#include "sdk_export.h"

#include <QMap>
#include <QString>
#include <QStringList>

/// Values of settings as the project file holds them: the same encodings as
/// the tree's own values, with the looser readings that settings need (a
/// boolean written as "1", an integer written as "true").
class SDK_EXPORT QAXML
{
public:
    static QString fromString(const QString& value);
    static QString toString(const QString& text);
    static QString fromStringList(const QStringList& list);
    static QStringList toStringList(const QString& text);
    static QString fromMap(const QMap<QString, QString>& map);
    static QMap<QString, QString> toMap(const QString& text);
    static int toInt(const QString& text);
    static unsigned int toUInt(const QString& text);
    static bool toBool(const QString& text);
};
