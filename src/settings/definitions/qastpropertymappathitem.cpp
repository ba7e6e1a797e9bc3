#include "qastpropertymappathitem.h"

#include "qapropertymapgroup_p.h"
#include "qastconfiguration.h"

QAStPropertyMapPathItem::QAStPropertyMapPathItem(const QString& key) : QAPropertyMapPathItem(key) {}

QString QAStPropertyMapPathItem::basePath() const
{
    const auto* configuration = qobject_cast<const QAStConfiguration*>(QAPropertyMapLeaf::store(this));
    return configuration ? configuration->projectDirectory() : QString();
}
