#include "qastsettingsloader.h"

#include "qastpropertymappathbox.h"
#include "qastpropertymappathitem.h"
#include "qastpropertymaptablemap.h"

namespace {

template <class Property>
QAProperty* makePath(QAStSettingsLoader* loader, const QString& key, QARes* item)
{
    auto* property = new Property(key);
    loader->init(property, key, item);
    return property;
}

} // namespace

// The settings' own words take the store-bound kind that holds their value:
// the selected steps are a number, the rule configuration is a file, the
// selected tags a list, the port directories a list of paths. Paths of a
// configuration are relative to its project, wherever the studio runs.
QAProperty* QAStSettingsLoader::createProperty(const QString& type, const QString& key, QARes* item)
{
    if (type == QLatin1String("PathItem") || type == QLatin1String("Misra"))
        return makePath<QAStPropertyMapPathItem>(this, key, item);
    if (type == QLatin1String("PathBox") || type == QLatin1String("TDPDir"))
        return makePath<QAStPropertyMapPathBox>(this, key, item);
    if (type == QLatin1String("BuildOption"))
        return QAPropertyMapLoader::createProperty(QStringLiteral("Int"), key, item);
    if (type == QLatin1String("TargetPackage"))
        return QAPropertyMapLoader::createProperty(QStringLiteral("LineEdit"), key, item);
    if (type == QLatin1String("TagSelector"))
        return QAPropertyMapLoader::createProperty(QStringLiteral("ListBox"), key, item);
    if (type == QLatin1String("TableMap"))
        return new QAStPropertyMapTableMap(key);
    return QAPropertyMapLoader::createProperty(type, key, item);
}
