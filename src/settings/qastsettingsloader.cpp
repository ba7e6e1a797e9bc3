#include "qastsettingsloader.h"

#include "qastpropertymaptablemap.h"

// The settings' own words take the store-bound kind that holds their value:
// the selected steps are a number, the rule configuration is a file, the
// selected tags a list, the port directories a list of paths.
QAProperty* QAStSettingsLoader::createProperty(const QString& type, const QString& key, QARes* item)
{
    if (type == QLatin1String("BuildOption"))
        return QAPropertyMapLoader::createProperty(QStringLiteral("Int"), key, item);
    if (type == QLatin1String("TargetPackage"))
        return QAPropertyMapLoader::createProperty(QStringLiteral("LineEdit"), key, item);
    if (type == QLatin1String("Misra"))
        return QAPropertyMapLoader::createProperty(QStringLiteral("PathItem"), key, item);
    if (type == QLatin1String("TagSelector"))
        return QAPropertyMapLoader::createProperty(QStringLiteral("ListBox"), key, item);
    if (type == QLatin1String("TDPDir"))
        return QAPropertyMapLoader::createProperty(QStringLiteral("PathBox"), key, item);
    if (type == QLatin1String("TableMap"))
        return new QAStPropertyMapTableMap(key);
    return QAPropertyMapLoader::createProperty(type, key, item);
}
