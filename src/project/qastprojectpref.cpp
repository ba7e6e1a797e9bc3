#include "qastprojectpref.h"

#include <QStringList>

namespace {

QMap<QString, QVariant> defaults()
{
    return {
        {QStringLiteral("autotag"), true},
        {QStringLiteral("calcmet"), false},
        {QStringLiteral("verbose"), false},
        {QStringLiteral("testnode"), true},
        {QStringLiteral("autorel"), true},
        {QStringLiteral("use_default_tdp_dir"), true},
        {QStringLiteral("use_relative_path"), true},
        {QStringLiteral("fileTypes"), QString()},
        // A kept status would show an old verdict as if it were current, so
        // statuses are not written to project files unless the user asks.
        {QStringLiteral("use_keep_execution"), false},
        {QStringLiteral("tdpDirectories"), QStringList()},
        {QStringLiteral("dock"), QString()},
    };
}

} // namespace

QAStProjectPref::QAStProjectPref(QObject* parent) : QObject(parent), values(defaults()) {}

QStringList QAStProjectPref::keys()
{
    return {QStringLiteral("autotag"),           QStringLiteral("calcmet"),
            QStringLiteral("verbose"),           QStringLiteral("testnode"),
            QStringLiteral("autorel"),           QStringLiteral("use_default_tdp_dir"),
            QStringLiteral("use_relative_path"), QStringLiteral("fileTypes"),
            QStringLiteral("use_keep_execution"), QStringLiteral("tdpDirectories"),
            QStringLiteral("dock")};
}

QVariant QAStProjectPref::value(const QString& key) const
{
    return values.value(key);
}

void QAStProjectPref::setValue(const QString& key, const QVariant& value)
{
    if (values.value(key) == value && values.contains(key))
        return;
    values.insert(key, value);
    emit changed(key);
}

void QAStProjectPref::reset()
{
    values = defaults();
}
