#include "qastaclasstag.h"

#include "qastamethodtag.h"
#include "qastfile.h"
#include "qastproject.h"
#include "qastrootfolder.h"

#include <QDomElement>
#include <QTextStream>

QAStAClassTag::QAStAClassTag(const QString& name, const QString& filePath, int line, QAStData* parent,
                             QAStData* after)
    : QAStTestedTag(name, filePath, line, parent, after)
{
}

QAStAClassTag::QAStAClassTag(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStTestedTag(element, version, parent, after)
{
    _inherits = xmlValueToStringList(element.firstChildElement(QStringLiteral("inherits")).text());
}

void QAStAClassTag::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<class>\n";
    QAStTestedTag::write(stream, indent + 1);
    if (!_inherits.isEmpty())
        toStream(stream, "inherits", stringListToXMLValue(_inherits), indent + 1);
    indentXML(stream, indent);
    stream << "</class>\n";
}

QString QAStAClassTag::qualifiedName() const
{
    // Classes never keep a stored name: nesting spells it.
    return nameThroughAncestors(PackageScopes | ClassScopes,
                                language() == 8 ? QStringLiteral(".") : QStringLiteral("::"));
}

QString QAStAClassTag::qualifierIcon() const
{
    return iconByAccess(QStringLiteral("class_private_xpm"), QStringLiteral("class_protected_xpm"),
                        QStringLiteral("class_xpm"));
}

QStringList QAStAClassTag::stubbableFiles()
{
    QStringList paths = QAStTestedTag::stubbableFiles();
    if (QAStFile* owner = file()) {
        paths.removeAll(owner->absolutePath());
        for (const QString& path : owner->sourceFiles() + owner->headerFiles())
            paths.removeAll(path);
    }
    return paths;
}

bool QAStAClassTag::isTestable() const
{
    // A file marked as a Java test script holds classes of tests, not under test.
    const QAStFile* owner = file();
    return !owner || owner->qualifier() != 0x10000;
}

bool QAStAClassTag::isDirectlyTestable() const
{
    return isARootItem();
}

bool QAStAClassTag::isInstrumentable() const
{
    return true;
}

bool QAStAClassTag::isARootItem() const
{
    return !ofClass();
}

QAStAClassTag* QAStAClassTag::ofClass() const
{
    for (QAStData* up = parent(); up && up->inherits("QAStATag"); up = up->parent()) {
        if (auto* outer = qobject_cast<QAStAClassTag*>(up))
            return outer;
    }
    return nullptr;
}

QList<QAStAMethodTag*> QAStAClassTag::methods() const
{
    QList<QAStAMethodTag*> found;
    for (QAStData* child = firstChild(); child; child = child->next()) {
        if (auto* method = qobject_cast<QAStAMethodTag*>(child))
            found.append(method);
    }
    return found;
}

QAStAMethodTag* QAStAClassTag::method(const QString& name) const
{
    for (QAStData* child = firstChild(); child; child = child->next()) {
        auto* method = qobject_cast<QAStAMethodTag*>(child);
        if (method && method->name() == name)
            return method;
    }
    return nullptr;
}

namespace {

QList<QAStAClassTag*> projectClasses(const QAStAClassTag* tag)
{
    QList<QAStAClassTag*> classes;
    auto* owner = qobject_cast<QAStProject*>(const_cast<QAStAClassTag*>(tag)->project());
    if (!owner || !owner->rootFolder())
        return classes;
    for (QAStData* data : owner->rootFolder()->childrenOfClass("QAStAClassTag", true))
        classes.append(static_cast<QAStAClassTag*>(data));
    return classes;
}

} // namespace

QList<QAStAClassTag*> QAStAClassTag::specialize() const
{
    QList<QAStAClassTag*> derived;
    const QString self = qualifiedName();
    for (QAStAClassTag* other : projectClasses(this)) {
        if (other->inherits().contains(self) || other->inherits().contains(name()))
            derived.append(other);
    }
    return derived;
}

QList<QAStAClassTag*> QAStAClassTag::generalize() const
{
    QList<QAStAClassTag*> bases;
    for (QAStAClassTag* other : projectClasses(this)) {
        if (_inherits.contains(other->qualifiedName()) || _inherits.contains(other->name()))
            bases.append(other);
    }
    return bases;
}
