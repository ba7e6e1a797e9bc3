#pragma once

#include "qaproperty.h"
#include "qapropertypathitem.h"

#include <QStringList>

/// A list of files or directories, edited in a list with buttons.
class SDK_EXPORT QAPropertyPathBox : public QAProperty
{
public:
    /// The button set of the list: one bit lets several rows be selected, one
    /// gives the add and remove buttons, one the moves up and down. The named
    /// sets are the words of definition files.
    enum Button {
        MultiSelection = 0x1,
        EditButtons = 0x2,
        MoveButtons = 0x4,
        NoButton = 0,
        SingleWithoutMoves = EditButtons,
        Multi = MultiSelection | EditButtons,
        Single = EditButtons | MoveButtons,
        MultiWithMoves = MultiSelection | EditButtons | MoveButtons
    };

    explicit QAPropertyPathBox(const QString& key);

    QString displayValue() override;
    int type() override;
    QWidget* createEditor(QWidget* parent) override;

    /// The directory that relative paths start from; null for none.
    virtual QString basePath() const;

    int buttons() const { return _buttons; }
    void setButtons(int buttons) { _buttons = buttons; }
    /// A QAPropertyPathItem::Mode.
    int mode() const { return _mode; }
    void setMode(int mode) { _mode = mode; }
    QStringList fileExtensions() const { return _fileExtensions; }
    void setFileExtensions(const QStringList& extensions) { _fileExtensions = extensions; }

private:
    int _buttons = Single;
    int _mode = QAPropertyPathItem::ExistingFiles;
    QStringList _fileExtensions;
};
