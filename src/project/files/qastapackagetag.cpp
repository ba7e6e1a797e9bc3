#include "qastapackagetag.h"

#include "qastafunctiontag.h"

#include <QDomElement>
#include <QTextStream>

QAStAPackageTag::QAStAPackageTag(const QString& name, const QString& filePath, int line, QAStData* parent,
                                 QAStData* after)
    : QAStTestedTag(name, filePath, line, parent, after)
{
}

QAStAPackageTag::QAStAPackageTag(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStTestedTag(element, version, parent, after)
{
    const QDomElement complete = element.firstChildElement(QStringLiteral("complete_name"));
    if (!complete.isNull())
        _qualifiedName = xmlValueToString(complete.text());
}

void QAStAPackageTag::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<package>\n";
    QAStTestedTag::write(stream, indent + 1);
    if (!_qualifiedName.isEmpty())
        toStream(stream, "complete_name", stringToXMLValue(_qualifiedName), indent + 1);
    indentXML(stream, indent);
    stream << "</package>\n";
}

QString QAStAPackageTag::qualifiedName() const
{
    if (!_qualifiedName.isEmpty())
        return _qualifiedName;
    // Ada child units are dotted; namespaces, and Java packages among
    // themselves, go by "::".
    return nameThroughAncestors(PackageScopes,
                                language() == 4 ? QStringLiteral(".") : QStringLiteral("::"));
}

QString QAStAPackageTag::qualifierIcon() const
{
    if (_qualifier & (Namespace | JavaPackage))
        return QStringLiteral("namespace_xpm");
    if (_qualifier & Declaration)
        return QStringLiteral("package_spec_xpm");
    return QStringLiteral("package_xpm");
}

QStringList QAStAPackageTag::stubbableFiles()
{
    return {};
}

bool QAStAPackageTag::isTestable() const
{
    return !hasQualifier(Namespace | JavaPackage);
}

bool QAStAPackageTag::isDirectlyTestable() const
{
    return isARootItem();
}

bool QAStAPackageTag::isInstrumentable() const
{
    return isTestable();
}

bool QAStAPackageTag::isARootItem() const
{
    const QAStData* up = parent();
    return up && up->inherits("QAStFile");
}

QList<QAStAFunctionTag*> QAStAPackageTag::functions() const
{
    QList<QAStAFunctionTag*> found;
    for (QAStData* child = firstChild(); child; child = child->next()) {
        if (auto* function = qobject_cast<QAStAFunctionTag*>(child))
            found.append(function);
    }
    return found;
}
