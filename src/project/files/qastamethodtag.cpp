#include "qastamethodtag.h"

#include "qastaclasstag.h"
#include "qastproject.h"
#include "qastrootfolder.h"

#include <QDomElement>
#include <QTextStream>

QAStAMethodTag::QAStAMethodTag(const QString& name, const QString& filePath, int line, QAStData* parent,
                               QAStData* after)
    : QAStAFunctionTag(name, filePath, line, parent, after)
{
}

QAStAMethodTag::QAStAMethodTag(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStAFunctionTag(element, version, parent, after)
{
    const QDomElement complete = element.firstChildElement(QStringLiteral("complete_name"));
    if (!complete.isNull())
        _qualifiedName = xmlValueToString(complete.text());
}

void QAStAMethodTag::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<method>\n";
    writeFunction(stream, indent + 1);
    toStream(stream, "complete_name", stringToXMLValue(_qualifiedName), indent + 1);
    indentXML(stream, indent);
    stream << "</method>\n";
}

QString QAStAMethodTag::separator() const
{
    return language() == 8 ? QStringLiteral(".") : QStringLiteral("::");
}

QString QAStAMethodTag::qualifiedName() const
{
    if (!_qualifiedName.isEmpty())
        return _qualifiedName;
    return nameThroughAncestors(PackageScopes | ClassScopes, separator());
}

QString QAStAMethodTag::qualifierIcon() const
{
    return iconByAccess(QStringLiteral("method_private_xpm"), QStringLiteral("method_protected_xpm"),
                        QStringLiteral("function_xpm"));
}

bool QAStAMethodTag::isARootItem() const
{
    return false;
}

bool QAStAMethodTag::isDirectlyTestable() const
{
    // A definition carries no access of its own: its declaration tells.
    bool accessible;
    if (hasQualifier(Declaration)) {
        accessible = hasQualifier(Public) && !hasQualifier(Abstract);
    } else if (const QAStAFunctionTag* prototype = declaration()) {
        accessible = prototype->isDirectlyTestable();
    } else {
        accessible = hasQualifier(Public) && !hasQualifier(Abstract);
    }
    const QAStAClassTag* owner = ofClass();
    return accessible && owner && owner->isDirectlyTestable();
}

QString QAStAMethodTag::classPrefix() const
{
    const QString qualified = qualifiedName();
    const int at = qualified.lastIndexOf(separator());
    return at < 0 ? QString() : qualified.left(at);
}

QAStAClassTag* QAStAMethodTag::ofClass() const
{
    for (QAStData* up = parent(); up && up->inherits("QAStATag"); up = up->parent()) {
        if (auto* owner = qobject_cast<QAStAClassTag*>(up))
            return owner;
    }
    auto* document = qobject_cast<QAStProject*>(const_cast<QAStAMethodTag*>(this)->project());
    if (!document || !document->rootFolder())
        return nullptr;
    const QString prefix = classPrefix();
    if (prefix.isEmpty())
        return nullptr;
    for (QAStData* data : document->rootFolder()->childrenOfClass("QAStAClassTag", true)) {
        auto* candidate = static_cast<QAStAClassTag*>(data);
        if (candidate->name() == prefix || candidate->qualifiedName() == prefix)
            return candidate;
    }
    return nullptr;
}
