#include "qastunknownelement.h"

#include <QDomElement>
#include <QDomNamedNodeMap>
#include <QSet>
#include <QTextStream>

#include <algorithm>
#include <vector>

namespace {

QString escaped(QString text, bool attribute)
{
    text.replace(QLatin1Char('&'), QLatin1String("&amp;"));
    text.replace(QLatin1Char('<'), QLatin1String("&lt;"));
    text.replace(QLatin1Char('>'), QLatin1String("&gt;"));
    if (attribute)
        text.replace(QLatin1Char('"'), QLatin1String("&quot;"));
    return text;
}

// The library's holders of children: written as an opening and a closing
// line even when they hold nothing.
bool isHolder(const QString& tag)
{
    static const QSet<QString> holders {
        QStringLiteral("configuration_list"), QStringLiteral("root_configuration_list"),
        QStringLiteral("extension_block_list"), QStringLiteral("outfilename_list"),
        QStringLiteral("group_child"), QStringLiteral("test_child"), QStringLiteral("user_child"),
        QStringLiteral("source_child"), QStringLiteral("virtual_tester_child"),
        QStringLiteral("virtual_tester_list"), QStringLiteral("folder_child"), QStringLiteral("tag_child")};
    return holders.contains(tag);
}

QString openingTag(const QDomElement& element)
{
    QString tag = QLatin1Char('<') + element.tagName();
    const QDomNamedNodeMap attributes = element.attributes();
    QList<QPair<QString, QString>> sorted;
    for (int i = 0; i < attributes.length(); ++i) {
        const QDomAttr attribute = attributes.item(i).toAttr();
        sorted.append({attribute.name(), attribute.value()});
    }
    // The parser keeps no order of attributes; a fixed one makes two saves agree.
    std::sort(sorted.begin(), sorted.end());
    for (const auto& [name, value] : std::as_const(sorted))
        tag += QLatin1Char(' ') + name + QLatin1String("=\"") + escaped(value, true) + QLatin1Char('"');
    return tag + QLatin1Char('>');
}

// The name under which a node or a tag shows in the tree: that of its data
// element, or the element's own name.
QString nameOf(const QDomElement& element)
{
    for (const QDomElement& holder : {element.firstChildElement(QStringLiteral("node")), element}) {
        const QDomElement name
            = holder.firstChildElement(QStringLiteral("data")).firstChildElement(QStringLiteral("name"));
        if (!name.isNull())
            return QAStData::xmlValueToString(name.text());
    }
    return element.tagName();
}

} // namespace

// Walked with a stack of its own: the element may be as deep as the file.
QAStUnknownElement::Text::Text(const QDomElement& element) : _tag(element.tagName())
{
    struct Step {
        QDomNode node;
        int depth;
        bool closing;
    };
    std::vector<Step> pending {{element, 0, false}};
    while (!pending.empty()) {
        const Step step = pending.back();
        pending.pop_back();
        const QDomElement current = step.node.toElement();
        if (step.closing) {
            _lines.append({step.depth, QLatin1String("</") + current.tagName() + QLatin1Char('>')});
            continue;
        }
        if (current.isNull()) {
            const QString text = step.node.nodeValue();
            if (step.node.isText() && !text.isEmpty())
                _lines.append({step.depth, escaped(text, false)});
            continue;
        }
        const QString opening = openingTag(current);
        if (current.firstChildElement().isNull() && !isHolder(current.tagName())) {
            _lines.append({step.depth, opening + escaped(current.text(), false) + QLatin1String("</")
                                           + current.tagName() + QLatin1Char('>')});
            continue;
        }
        _lines.append({step.depth, opening});
        pending.push_back({current, step.depth, true});
        const std::size_t first = pending.size();
        for (QDomNode child = current.firstChild(); !child.isNull(); child = child.nextSibling())
            pending.push_back({child, step.depth + 1, false});
        std::reverse(pending.begin() + qsizetype(first), pending.end());
    }
}

void QAStUnknownElement::Text::write(QTextStream& stream, int indent) const
{
    for (const auto& [depth, line] : _lines) {
        QAStData::indentXML(stream, indent + depth);
        stream << line << '\n';
    }
}

QAStUnknownElement::QAStUnknownElement(const QDomElement& element, QAStData* parent, QAStData* after)
    : QAStData(nameOf(element), QPixmap(), parent, after), _text(element)
{
    // A new name would not reach the element that is written back.
    renameable = false;
}

QString QAStUnknownElement::displayName() const
{
    return tr("%1 (no plug-in for %2)").arg(name(), tagName());
}

void QAStUnknownElement::write(QTextStream& stream, int indent)
{
    _text.write(stream, indent);
}

QMenu* QAStUnknownElement::popupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStUnknownElement::addChildPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStUnknownElement::addNextPopupMenu(QWidget*)
{
    return nullptr;
}

QMenu* QAStUnknownElement::viewPopupMenu(QWidget*)
{
    return nullptr;
}

void QAStUnknownElement::localActionMenuItems(QMenu*) {}

QStringList QAStUnknownElement::vcsItems()
{
    return {};
}

void QAStUnknownElement::doubleClickAction() {}
