#pragma once

#include <qastdata.h>

#include <QMap>
#include <QVariant>

/// A note left in a source ("TODO: ..."), as a tag of its file. The tagger
/// reports it with the kind "todo", its line, and the note in the free field
/// "Text"; the objects file keeps it as:
/// \code
/// <todo>
///   <data>...</data>
///   <line>12</line>
///   <text>free the buffer</text>
/// </todo>
/// \endcode
///
/// The library's tag classes are to come; until they do, a tag kind of a
/// plug-in derives from QAStData and is written and read through its own
/// element, like any element the factory does not know.
class TodoTag : public QAStData
{
    Q_OBJECT
public:
    TodoTag(const QMap<QString, QVariant>& values, QAStData* parent = nullptr, QAStData* after = nullptr);
    TodoTag(const QDomElement& element, int version, QAStData* parent = nullptr, QAStData* after = nullptr);

    int line() const { return _line; }
    QString text() const { return _text; }

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
    int _line = 0;
    QString _text;
};
