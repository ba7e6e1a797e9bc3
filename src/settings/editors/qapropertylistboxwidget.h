#pragma once

#include "qapropertywidget.h"

#include <QStringList>

class QAPropertyListBox;
class QListWidget;
class QPushButton;

/// Edits a list property: a list whose rows are edited in place, with
/// buttons to add, remove and move rows as the button set allows (see
/// QAPropertyPathBox::Button). Every change writes the whole list; rows left
/// empty are not part of it.
class SDK_EXPORT QAPropertyListBoxWidget : public QAPropertyWidget
{
    Q_OBJECT
public:
    explicit QAPropertyListBoxWidget(QAPropertyListBox* property, QWidget* parent = nullptr);

    /// The rows as they would be written.
    QStringList items() const;

public slots:
    /// Adds a row: an empty one, opened for editing.
    virtual void addItems();
    void removeItems();
    void moveUp();
    void moveDown();

protected:
    QAPropertyListBoxWidget(QAProperty* property, int buttons, const QString& addText,
                            QWidget* parent);
    void showValue(const QVariant& value) override;
    /// Appends \a texts as rows and writes the list.
    void appendItems(const QStringList& texts);
    QListWidget* listWidget() const { return _list; }

private:
    void build(int buttons, const QString& addText);
    void moveCurrent(int offset);
    void write();

    QListWidget* _list;
};
