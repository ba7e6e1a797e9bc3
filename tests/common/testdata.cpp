#include "testdata.h"

QStringList TestData::events;

QStringList childNames(const QAStData* data)
{
    QStringList names;
    for (QAStData* child = data->firstChild(); child; child = child->next())
        names << child->name();
    return names;
}
