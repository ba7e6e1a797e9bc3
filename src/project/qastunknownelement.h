#pragma once

#include "qastdata.h"

#include <QList>
#include <QPair>
#include <QString>

class QDomElement;
class QTextStream;

/// What stands in the tree for an element of a project or objects file that
/// no class and no installed plug-in knows: a node or a tag whose plug-in is
/// missing here. It is never built or executed; it keeps the element's text
/// and writes it back in its place among its siblings, so that a save on a
/// machine without the plug-in loses nothing that a machine with it needs.
class SDK_EXPORT QAStUnknownElement : public QAStData
{
    Q_OBJECT
public:
    /// An element as the library writes elements, kept apart from the
    /// document it was read from: the same elements, attributes and texts,
    /// one element to a line, each indented by its depth. The parser keeps
    /// no blank text, so an empty element is written on one line, except the
    /// holders of children that the library writes as an opening and a
    /// closing line.
    class SDK_EXPORT Text
    {
    public:
        Text() = default;
        explicit Text(const QDomElement& element);
        QString tagName() const { return _tag; }
        bool isNull() const { return _lines.isEmpty(); }
        void write(QTextStream& stream, int indent) const;

    private:
        QString _tag;
        /// Each line with its depth below the element.
        QList<QPair<int, QString>> _lines;
    };

    QAStUnknownElement(const QDomElement& element, QAStData* parent = nullptr, QAStData* after = nullptr);

    QString tagName() const { return _text.tagName(); }
    const Text& text() const { return _text; }

    QString displayName() const override;
    void write(QTextStream& stream, int indent) override;
    QMenu* popupMenu(QWidget* parent) override;
    QMenu* addChildPopupMenu(QWidget* parent) override;
    QMenu* addNextPopupMenu(QWidget* parent) override;
    QMenu* viewPopupMenu(QWidget* parent) override;
    void localActionMenuItems(QMenu* menu) override;
    QStringList vcsItems() override;
    void doubleClickAction() override;

private:
    Text _text;
};
