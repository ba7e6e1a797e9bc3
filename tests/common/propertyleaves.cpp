#include "propertyleaves.h"

#include "qapropertymapbool.h"
#include "qapropertymapcomboint.h"
#include "qapropertymapcombostring.h"
#include "qapropertymapint.h"
#include "qapropertymaplineedit.h"
#include "qapropertymaplistbox.h"
#include "qapropertymappathbox.h"
#include "qapropertymappathitem.h"
#include "qapropertymapyesno.h"

QAProperty* makeMapLeaf(const QString& kind, const QString& key)
{
    if (kind == QLatin1String("Int")) {
        auto* p = new QAPropertyMapInt(key);
        p->setMin(0);
        p->setMax(100);
        p->setStep(5);
        p->setSuffix(QStringLiteral(" ms"));
        return p;
    }
    if (kind == QLatin1String("ComboInt")) {
        auto* p = new QAPropertyMapComboInt(key);
        p->insertItem(QStringLiteral("None"), 0);
        p->insertItem(QStringLiteral("Low"), 1);
        p->insertItem(QStringLiteral("High"), 2);
        return p;
    }
    if (kind == QLatin1String("ComboString")) {
        auto* p = new QAPropertyMapComboString(key);
        p->insertItem(QStringLiteral("Debug"), QStringLiteral("-g"));
        p->insertItem(QStringLiteral("Optimised"), QStringLiteral("-O2"));
        return p;
    }
    if (kind == QLatin1String("Bool"))
        return new QAPropertyMapBool(key);
    if (kind == QLatin1String("YesNo"))
        return new QAPropertyMapYesNo(key);
    if (kind == QLatin1String("LineEdit"))
        return new QAPropertyMapLineEdit(key);
    if (kind == QLatin1String("PathItem"))
        return new QAPropertyMapPathItem(key);
    if (kind == QLatin1String("ListBox"))
        return new QAPropertyMapListBox(key);
    if (kind == QLatin1String("PathBox"))
        return new QAPropertyMapPathBox(key);
    return nullptr;
}
