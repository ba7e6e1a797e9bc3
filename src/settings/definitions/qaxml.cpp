#include "qaxml.h"

#include "qastdata.h"

QString QAXML::fromString(const QString& value)
{
    return QAStData::stringToXMLValue(value);
}

QString QAXML::toString(const QString& text)
{
    return QAStData::xmlValueToString(text);
}

QString QAXML::fromStringList(const QStringList& list)
{
    return QAStData::stringListToXMLValue(list);
}

QStringList QAXML::toStringList(const QString& text)
{
    return QAStData::xmlValueToStringList(text);
}

QString QAXML::fromMap(const QMap<QString, QString>& map)
{
    return QAStData::stringMapToXMLValue(map);
}

QMap<QString, QString> QAXML::toMap(const QString& text)
{
    return QAStData::xmlValueToStringMap(text);
}

int QAXML::toInt(const QString& text)
{
    bool ok = false;
    const int value = text.toInt(&ok, 10);
    if (ok)
        return value;
    // Older files wrote some integer settings as booleans.
    return text == QLatin1String("true") ? 1 : 0;
}

unsigned int QAXML::toUInt(const QString& text)
{
    return QAStData::xmlValueToUInt(text);
}

bool QAXML::toBool(const QString& text)
{
    return text == QLatin1String("true") || text == QLatin1String("1");
}
