#include "qapropertymaploader.h"

#include "qailogmonitor.h"
#include "qapropertymapbool.h"
#include "qapropertymapcomboint.h"
#include "qapropertymapcombostring.h"
#include "qapropertymapgroup.h"
#include "qapropertymapint.h"
#include "qapropertymaplineedit.h"
#include "qapropertymaplistbox.h"
#include "qapropertymappathbox.h"
#include "qapropertymappathitem.h"
#include "qapropertymapyesno.h"
#include "qares.h"
#include "qaresboolean.h"
#include "qaresfloat.h"
#include "qaresgroup.h"
#include "qaresint.h"
#include "qareslist.h"
#include "qaresstring.h"

#include <QFile>
#include <QFileInfo>

#include <memory>

namespace {

// The reader reports through a plain function, so the log of the load under
// way is process-wide; loads do not nest.
QAILogMonitor* currentLog = nullptr;

void reportResourceError(const char* file, int line, int column, const QString& message)
{
    if (currentLog)
        currentLog->error(QString::fromLocal8Bit(file) + QLatin1Char(':') + QString::number(line)
                          + QLatin1Char(':') + QString::number(column) + QLatin1Char(':') + message);
}

QString stringOf(QARes* res)
{
    QAResString* string = res ? res->toResString() : nullptr;
    return string ? string->value() : QString();
}

bool isStringList(QARes* res)
{
    QAResList* list = res ? res->toResList() : nullptr;
    return list && list->isListOf(QARes::String);
}

QStringList stringsOf(QARes* res)
{
    QStringList strings;
    if (!isStringList(res))
        return strings;
    QAResList* list = res->toResList();
    for (int i = 0; i < list->count(); ++i)
        strings << list->at(i)->toResString()->value();
    return strings;
}

// One entry of the file, kept until the tree stands.
struct Pending {
    QAProperty* property;
    QStringList pieces;
};

} // namespace

QAPropertyMapLoader::QAPropertyMapLoader() = default;
QAPropertyMapLoader::~QAPropertyMapLoader() = default;

void QAPropertyMapLoader::report(const QString& text)
{
    if (currentLog)
        currentLog->error(text);
}

QARes* QAPropertyMapLoader::field(QARes* item, const char* name)
{
    QAResGroup* group = item ? item->toResGroup() : nullptr;
    return group && group->child() ? group->child()->search(name) : nullptr;
}

// ---------------------------------------------------------------------------
// Fields

QStringList QAPropertyMapLoader::loadPath(QARes* item)
{
    return stringOf(field(item, "path")).split(QLatin1Char('/'), Qt::SkipEmptyParts);
}

QString QAPropertyMapLoader::loadType(QARes* item)
{
    return stringOf(field(item, "type"));
}

int QAPropertyMapLoader::loadFileDialogMode(QARes* item)
{
    static const QMap<QString, int> modes {{QStringLiteral("AnyFile"), 0},
                                           {QStringLiteral("ExistingFile"), 1},
                                           {QStringLiteral("Directory"), 2},
                                           {QStringLiteral("ExistingFiles"), 3},
                                           {QStringLiteral("DirectoryOnly"), 4}};
    return modes.value(stringOf(field(item, "mode")), 1);
}

QStringList QAPropertyMapLoader::loadFileExtension(QARes* item)
{
    return stringsOf(field(item, "extension"));
}

quint32 QAPropertyMapLoader::filterBits(QARes* names)
{
    quint32 bits = 0;
    for (const QString& name : stringsOf(names)) {
        if (!filters.contains(name)) {
            report(QStringLiteral("The value for filter '%1' does not exist in the loader").arg(name));
            continue;
        }
        bits |= static_cast<quint32>(filters.value(name));
    }
    return bits;
}

void QAPropertyMapLoader::loadProperty(QAProperty* property, QARes* item)
{
    if (QARes* name = field(item, "name"); name && name->toResString())
        property->setName(stringOf(name));
    if (QARes* help = field(item, "whatThis"); help && help->toResString())
        property->setWhatThis(stringOf(help));
    if (QARes* perl = field(item, "perlVarName"); perl && perl->toResString())
        property->setPerlVarName(stringOf(perl));
    if (QARes* readOnly = field(item, "readonly"); readOnly && readOnly->toResBoolean())
        property->setReadOnly(readOnly->toResBoolean()->value());

    // Naming one filter of a family narrows the property within that family;
    // families that are not named stay open.
    if (QARes* apply = field(item, "apply"); isStringList(apply)) {
        const quint32 applied = filterBits(apply);
        for (unsigned int family : maskGroups) {
            if (applied & family)
                property->setMask((property->mask() & ~family) | applied);
        }
    }
    if (QARes* unapply = field(item, "unapply"); isStringList(unapply)) {
        for (const QString& name : stringsOf(unapply)) {
            if (!filters.contains(name)) {
                report(QStringLiteral("The value for filter '%1' does not exist in the loader").arg(name));
                continue;
            }
            property->setMask(property->mask() ^ static_cast<quint32>(filters.value(name)));
        }
    }

    QARes* value = field(item, "value");
    if (!value)
        return;
    if (QAResInt* number = value->toResInt())
        property->setInitialValue(number->value());
    else if (QAResFloat* real = value->toResFloat())
        property->setInitialValue(static_cast<double>(real->value()));
    else if (QAResString* text = value->toResString())
        property->setInitialValue(text->value());
    else if (QAResBoolean* flag = value->toResBoolean())
        property->setInitialValue(flag->value());
    else if (isStringList(value))
        property->setInitialValue(stringsOf(value));
}

// ---------------------------------------------------------------------------
// Kinds

namespace {

// Makes the property of one kind and lets the loader read that kind's fields.
template <class Property>
QAProperty* makeProperty(QAPropertyMapLoader* loader, const QString& key, QARes* item)
{
    auto* property = new Property(key);
    loader->init(property, key, item);
    return property;
}

using Maker = QAProperty* (*)(QAPropertyMapLoader*, const QString&, QARes*);

const QMap<QString, Maker>& makers()
{
    static const QMap<QString, Maker> map {
        {QStringLiteral("Group"), &makeProperty<QAPropertyMapGroup>},
        {QStringLiteral("Int"), &makeProperty<QAPropertyMapInt>},
        {QStringLiteral("ComboInt"), &makeProperty<QAPropertyMapComboInt>},
        {QStringLiteral("Bool"), &makeProperty<QAPropertyMapBool>},
        {QStringLiteral("YesNo"), &makeProperty<QAPropertyMapYesNo>},
        {QStringLiteral("LineEdit"), &makeProperty<QAPropertyMapLineEdit>},
        {QStringLiteral("ComboString"), &makeProperty<QAPropertyMapComboString>},
        {QStringLiteral("PathItem"), &makeProperty<QAPropertyMapPathItem>},
        {QStringLiteral("ListBox"), &makeProperty<QAPropertyMapListBox>},
        {QStringLiteral("PathBox"), &makeProperty<QAPropertyMapPathBox>},
    };
    return map;
}

} // namespace

QAProperty* QAPropertyMapLoader::createProperty(const QString& type, const QString& key, QARes* item)
{
    if (const Maker make = makers().value(type))
        return make(this, key, item);
    report(QStringLiteral("Property at line %1: the type '%2' is not expected")
               .arg(item ? item->line() : 0)
               .arg(type));
    return nullptr;
}

void QAPropertyMapLoader::init(QAPropertyMapGroup*, const QString&, QARes*) {}
void QAPropertyMapLoader::init(QAPropertyMapBool*, const QString&, QARes*) {}
void QAPropertyMapLoader::init(QAPropertyMapYesNo*, const QString&, QARes*) {}
void QAPropertyMapLoader::init(QAPropertyMapLineEdit*, const QString&, QARes*) {}
void QAPropertyMapLoader::init(QAPropertyMapListBox*, const QString&, QARes*) {}

void QAPropertyMapLoader::init(QAPropertyMapInt* property, const QString&, QARes* item)
{
    auto integer = [item](const char* name, int fallback) {
        QARes* res = field(item, name);
        return res && res->toResInt() ? res->toResInt()->value() : fallback;
    };
    property->setMin(integer("min", 0));
    property->setMax(integer("max", -1));
    property->setStep(integer("step", 1));
    if (QARes* suffix = field(item, "suffix"); suffix && suffix->toResString())
        property->setSuffix(stringOf(suffix));
}

void QAPropertyMapLoader::init(QAPropertyMapComboInt* property, const QString&, QARes* item)
{
    QAResList* content = field(item, "content") ? field(item, "content")->toResList() : nullptr;
    if (!content)
        return;
    for (int i = 0; i < content->count(); i += 2) {
        QARes* value = content->at(i + 1);
        property->insertItem(stringOf(content->at(i)),
                             value && value->toResInt() ? value->toResInt()->value() : -1);
    }
}

void QAPropertyMapLoader::init(QAPropertyMapComboString* property, const QString&, QARes* item)
{
    QAResList* content = field(item, "content") ? field(item, "content")->toResList() : nullptr;
    if (!content)
        return;
    for (int i = 0; i < content->count(); i += 2)
        property->insertItem(stringOf(content->at(i)), stringOf(content->at(i + 1)));
}

void QAPropertyMapLoader::init(QAPropertyMapPathItem* property, const QString&, QARes* item)
{
    property->setMode(loadFileDialogMode(item));
    if (isStringList(field(item, "extension")))
        property->setFileExtensions(loadFileExtension(item));
}

void QAPropertyMapLoader::init(QAPropertyMapPathBox* property, const QString&, QARes* item)
{
    property->setMode(loadFileDialogMode(item));
    if (isStringList(field(item, "extension")))
        property->setFileExtensions(loadFileExtension(item));
    static const QMap<QString, int> buttons {{QStringLiteral("NoButton"), 0},
                                             {QStringLiteral("SingleWithoutMoves"), 2},
                                             {QStringLiteral("Multi"), 3},
                                             {QStringLiteral("Single"), 6},
                                             {QStringLiteral("MultiWithMoves"), 7}};
    const QString word = stringOf(field(item, "button"));
    if (buttons.contains(word))
        property->setButtons(buttons.value(word));
}

// ---------------------------------------------------------------------------
// The tree

QAPropertyGroup* QAPropertyMapLoader::searchPath(const QStringList& pieces, QAPropertyGroup* root)
{
    if (!root || pieces.isEmpty() || pieces.first() != root->key())
        return nullptr;
    QAPropertyGroup* group = root;
    for (qsizetype i = 1; i + 1 < pieces.size(); ++i) {
        QAProperty* child = group->property(pieces.at(i));
        if (!child || !child->isGroup())
            return nullptr;
        group = static_cast<QAPropertyGroup*>(child);
    }
    return group;
}

QAPropertyMapGroup* QAPropertyMapLoader::load(const QString& file, const QMap<QString, int>& filterMap,
                                              const QList<unsigned int>& masks, QAILogMonitor* log)
{
    filters = filterMap;
    maskGroups = masks;
    currentLog = log;
    if (!QFileInfo::exists(file)) {
        report(file + QStringLiteral(": not found"));
        return nullptr;
    }

    QARes::setErrorHandler(reportResourceError);
    std::unique_ptr<QARes> tree(QARes::read(QFile::encodeName(file).constData(), false));
    QARes::setErrorHandler(nullptr);
    if (!tree || QARes::errorCount() > 0) {
        report(QString::number(QARes::errorCount()) + QStringLiteral(" Error(s) in property file ") + file);
        return nullptr;
    }
    if (!tree->toResGroup() || !tree->isTag("properties")) {
        report(file + QStringLiteral(" is not property definition file"));
        return nullptr;
    }

    // Everything made here is owned by the root or by these lists until the
    // tree stands; a failure deletes what is not yet in the tree.
    std::unique_ptr<QAPropertyMapGroup> root;
    QList<Pending> groups;
    QList<Pending> leaves;
    auto fail = [&]() -> QAPropertyMapGroup* {
        for (const Pending& pending : groups + leaves) {
            if (!pending.property->parent())
                delete pending.property;
        }
        return nullptr;
    };

    for (QARes* item = tree->toResGroup()->child(); item; item = item->next()) {
        if (!item->toResGroup() || !item->isTag("property"))
            continue;
        const QString line = QString::number(item->line());
        if (!field(item, "path")) {
            report(QStringLiteral("Property at line ") + line
                   + QStringLiteral(": the field path is required in property definition"));
            return fail();
        }
        if (!field(item, "type")) {
            report(QStringLiteral("Property at line ") + line
                   + QStringLiteral(": the field type is required in property definition"));
            return fail();
        }
        const QStringList pieces = loadPath(item);
        QAProperty* property = createProperty(loadType(item), pieces.value(pieces.size() - 1), item);
        if (!property)
            return fail();
        loadProperty(property, item);
        if (property->isGroup() && pieces.size() == 1) {
            // A later root replaces an earlier one.
            auto* group = dynamic_cast<QAPropertyMapGroup*>(property);
            if (!group) {
                delete property;
                report(file + QStringLiteral(": no group defined in the file"));
                return fail();
            }
            root.reset(group);
        } else if (property->isGroup()) {
            groups.append({property, pieces});
        } else {
            leaves.append({property, pieces});
        }
    }
    if (!root) {
        report(file + QStringLiteral(": no group defined in the file"));
        return fail();
    }
    // Groups go in first, in file order, so a group must follow its parent;
    // leaves then find any group, wherever it stood.
    for (const Pending& group : groups) {
        QAPropertyGroup* parent = searchPath(group.pieces, root.get());
        if (!parent) {
            report(file + QStringLiteral(": unable to find the group '") + group.pieces.join(QLatin1Char('/'))
                   + QLatin1Char('\''));
            return fail();
        }
        parent->addChild(group.property);
    }
    for (const Pending& leaf : leaves) {
        QAPropertyGroup* parent = searchPath(leaf.pieces, root.get());
        if (!parent) {
            report(file + QStringLiteral(": unable to find the path '") + leaf.pieces.join(QLatin1Char('/'))
                   + QLatin1Char('\''));
            return fail();
        }
        parent->addChild(leaf.property);
    }
    return root.release();
}
