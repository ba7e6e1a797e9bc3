#include "qastastructtag.h"

QAStAStructTag::QAStAStructTag(const QString& name, const QString& filePath, int line, QAStData* parent,
                               QAStData* after)
    : QAStTestedTag(name, filePath, line, parent, after)
{
}

QAStAStructTag::QAStAStructTag(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStTestedTag(element, version, parent, after)
{
}

void QAStAStructTag::write(QTextStream& stream, int indent)
{
    writeWrapped<QAStTestedTag>(stream, indent, "struct");
}

QString QAStAStructTag::qualifiedName() const
{
    return nameThroughAncestors(PackageScopes | ClassScopes,
                                language() == 8 ? QStringLiteral(".") : QStringLiteral("::"));
}

QString QAStAStructTag::qualifierIcon() const
{
    return QStringLiteral("structure_xpm");
}

bool QAStAStructTag::isTestable() const
{
    return true;
}

bool QAStAStructTag::isDirectlyTestable() const
{
    return isARootItem();
}

bool QAStAStructTag::isInstrumentable() const
{
    return true;
}

bool QAStAStructTag::isARootItem() const
{
    const QAStData* up = parent();
    return !up || !up->inherits("QAStAClassTag");
}
