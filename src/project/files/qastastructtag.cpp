#include "qastastructtag.h"

QAStAStructTag::QAStAStructTag(const QString& name, const QString& filePath, int line, QAStData* parent,
                               QAStData* after)
    : QAStTestedTag(name, filePath, line, parent, after)
{
    setQualifier(0);
}

QAStAStructTag::QAStAStructTag(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStTestedTag(element, version, parent, after)
{
    setQualifier(_qualifier);
}

void QAStAStructTag::write(QTextStream& stream, int indent)
{
    writeWrapped<QAStTestedTag>(stream, indent, "struct");
}

QString QAStAStructTag::qualifiedName() const
{
    return nameThroughAncestors({QStringLiteral("QAStAPackageTag"), QStringLiteral("QAStAClassTag")},
                                language() == 8 ? QStringLiteral(".") : QStringLiteral("::"));
}

void QAStAStructTag::setQualifier(int qualifier)
{
    _qualifier = qualifier;
    setIcon(pixmap(QStringLiteral("structure_xpm")));
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
