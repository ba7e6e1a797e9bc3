#include "qapropertyyesno.h"

#include <QCoreApplication>

QAPropertyYesNo::QAPropertyYesNo(const QString& key) : QAPropertyBool(key) {}

QString QAPropertyYesNo::text(bool value) const
{
    return value ? QCoreApplication::translate("Properties", "Yes")
                 : QCoreApplication::translate("Properties", "No");
}
