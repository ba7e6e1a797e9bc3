#include "todotag.h"

#include <qastfile.h>

#include <QDomElement>
#include <QTextStream>

TodoTag::TodoTag(const QMap<QString, QVariant>& values, QAStData* parent, QAStData* after)
    : QAStData(values.value(QStringLiteral("Name")).toString(), QPixmap(), parent, after),
      _line(values.value(QStringLiteral("Line")).toInt()), _text(values.value(QStringLiteral("Text")).toString())
{
    // A tag is the tagger's, as its file is: the user neither renames nor
    // deletes it.
    renameable = false;
    deletable = false;
}

TodoTag::TodoTag(const QDomElement& element, int version, QAStData* parent, QAStData* after)
    : QAStData(element.firstChildElement(QStringLiteral("data")), version, parent, after),
      _line(xmlValueToInt(element.firstChildElement(QStringLiteral("line")).text())),
      _text(xmlValueToString(element.firstChildElement(QStringLiteral("text")).text()))
{
    renameable = false;
    deletable = false;
}

QString TodoTag::displayName() const
{
    return _text.isEmpty() ? name() : name() + QLatin1String(": ") + _text;
}

void TodoTag::write(QTextStream& stream, int indent)
{
    indentXML(stream, indent);
    stream << "<todo>\n";
    QAStData::write(stream, indent + 1);
    toStream(stream, "line", intToXMLValue(_line), indent + 1);
    toStream(stream, "text", stringToXMLValue(_text), indent + 1);
    indentXML(stream, indent);
    stream << "</todo>\n";
}

QMenu* TodoTag::popupMenu(QWidget*)
{
    return nullptr;
}

QMenu* TodoTag::addChildPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* TodoTag::addNextPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* TodoTag::viewPopupMenu(QWidget*)
{
    return nullptr;
}

void TodoTag::localActionMenuItems(QMenu*) {}

QStringList TodoTag::vcsItems()
{
    return {};
}

// Opens the note's line in the editor.
void TodoTag::doubleClickAction()
{
    if (auto* file = qobject_cast<QAStFile*>(parent()))
        editFile(file->absolutePath(), _line);
}
