#include "qapropertyserializer.h"

#include "qaproperty.h"
#include "qapropertygroup.h"
#include "qapropertystore.h"
#include "qares.h"
#include "qaresboolean.h"
#include "qaresgroup.h"
#include "qaresint.h"
#include "qaresstring.h"
#include "qastdata.h"
#include "qaxml.h"

#include <QDomElement>
#include <QTextStream>

QString QAPropertySerializer::valueText(int type, const QVariant& value)
{
    switch (type) {
    case QAProperty::MapType: {
        QMap<QString, QString> map;
        const QVariantMap variants = value.toMap();
        for (auto it = variants.constBegin(); it != variants.constEnd(); ++it)
            map.insert(it.key(), it.value().toString());
        return QAXML::fromMap(map);
    }
    case QAProperty::StringType:
    case QAProperty::ByteArrayType:
        return QAXML::fromString(value.toString());
    case QAProperty::StringListType:
        return QAXML::fromStringList(value.toStringList());
    case QAProperty::IntType:
        return QString::number(value.toInt());
    case QAProperty::UIntType:
        return QString::number(value.toUInt());
    case QAProperty::BoolType:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    default:
        return value.toString();
    }
}

void QAPropertySerializer::write(QAPropertyStore* store, QAPropertyGroup* group, QTextStream& stream,
                                 int indent)
{
    if (!store || !group)
        return;
    for (QAProperty* child : group->children()) {
        // The group structure does not show in the file.
        if (child->isGroup()) {
            write(store, static_cast<QAPropertyGroup*>(child), stream, indent);
            continue;
        }
        const QString key = child->key();
        if (!store->hasProperty(key))
            continue;
        const QString element = QAXML::elementName(key);
        QAStData::indentXML(stream, indent);
        stream << '<' << element << '>' << valueText(child->type(), store->property(key)) << "</" << element
               << ">\n";
    }
}

void QAPropertySerializer::write(QAPropertyStore* store, QAPropertyGroup* group, const QString& tag,
                                 QTextStream& stream, int indent)
{
    QAStData::indentXML(stream, indent);
    stream << '<' << tag << ">\n";
    write(store, group, stream, indent + 1);
    QAStData::indentXML(stream, indent);
    stream << "</" << tag << ">\n";
}

void QAPropertySerializer::read(QAPropertyStore* store, QAPropertyGroup* group, const QDomElement& element)
{
    if (!store || !group)
        return;
    for (QAProperty* child : group->children()) {
        if (child->isGroup()) {
            read(store, static_cast<QAPropertyGroup*>(child), element);
            continue;
        }
        const QDomNode node = element.namedItem(QAXML::elementName(child->key()));
        if (node.isNull() || !node.isElement())
            continue;
        const QString text = node.toElement().text();
        switch (child->type()) {
        case QAProperty::MapType:
            store->setProperty(child->key(), QAXML::toMap(text));
            break;
        case QAProperty::StringType:
        case QAProperty::ByteArrayType:
            store->setProperty(child->key(), QAXML::toString(text));
            break;
        case QAProperty::StringListType:
            store->setProperty(child->key(), QAXML::toStringList(text));
            break;
        case QAProperty::IntType:
            store->setProperty(child->key(), QAXML::toInt(text));
            break;
        case QAProperty::UIntType:
            store->setProperty(child->key(), QAXML::toUInt(text));
            break;
        case QAProperty::BoolType:
            store->setProperty(child->key(), QAXML::toBool(text));
            break;
        default:
            break;
        }
    }
}

void QAPropertySerializer::read(QAPropertyStore* store, QAPropertyGroup* group, QARes* resources)
{
    QAResGroup* holder = resources ? resources->toResGroup() : nullptr;
    if (!store || !group || !holder)
        return;
    for (QAProperty* child : group->children()) {
        if (child->isGroup()) {
            read(store, static_cast<QAPropertyGroup*>(child), resources);
            continue;
        }
        const QByteArray key = child->key().toUtf8();
        QARes* item = holder->child() ? holder->child()->search(key.constData()) : nullptr;
        // Older files list a group's values in order; the first one missing
        // ends what can be read of that group.
        if (!item)
            return;
        switch (child->type()) {
        case QAProperty::MapType: {
            QAStAttribute<QMap<QString, QString>> map;
            QAStData::readStrMapVal(holder, key.constData(), map);
            if (map.isSet)
                store->setProperty(child->key(), map.get());
            break;
        }
        case QAProperty::StringType:
            if (item->toResString())
                store->setProperty(child->key(), item->toResString()->value());
            break;
        case QAProperty::StringListType: {
            QAStAttribute<QStringList> list;
            QAStData::readStrListVal(holder, key.constData(), list);
            if (list.isSet)
                store->setProperty(child->key(), list.get());
            break;
        }
        case QAProperty::IntType:
            if (item->toResInt())
                store->setProperty(child->key(), item->toResInt()->value());
            break;
        case QAProperty::UIntType:
            if (item->toResInt())
                store->setProperty(child->key(), static_cast<unsigned int>(item->toResInt()->value()));
            break;
        case QAProperty::BoolType:
            if (item->toResBoolean())
                store->setProperty(child->key(), item->toResBoolean()->value());
            break;
        default:
            break;
        }
    }
}
