#include "qastprojectpref.h"

#include "qaresboolean.h"
#include "qaresgroup.h"
#include "qareslist.h"
#include "qaresstring.h"

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

void QAStProjectPref::fromResources(QARes* resources)
{
    QAResGroup* group = resources ? resources->toResGroup() : nullptr;
    if (!group || !group->child())
        return;
    for (const QString& key : keys()) {
        QARes* item = group->child()->search(key.toUtf8().constData());
        if (!item)
            continue;
        const QVariant current = values.value(key);
        if (current.typeId() == QMetaType::Bool && item->toResBoolean()) {
            setValue(key, item->toResBoolean()->value());
        } else if (current.typeId() == QMetaType::QString && item->toResString()) {
            setValue(key, item->toResString()->value());
        } else if (current.typeId() == QMetaType::QStringList && item->toResList()
                   && item->toResList()->isListOf(QARes::String)) {
            QStringList list;
            for (int i = 0; i < item->toResList()->count(); ++i)
                list << item->toResList()->at(i)->toResString()->value();
            setValue(key, list);
        }
    }
}
