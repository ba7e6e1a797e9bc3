#include "qastpropertymappathbox.h"

#include "qapropertymapgroup_p.h"
#include "qastconfiguration.h"

QAStPropertyMapPathBox::QAStPropertyMapPathBox(const QString& key) : QAPropertyMapPathBox(key) {}

QString QAStPropertyMapPathBox::basePath() const
{
    const auto* configuration = qobject_cast<const QAStConfiguration*>(QAPropertyMapLeaf::store(this));
    return configuration ? configuration->projectDirectory() : QString();
}
