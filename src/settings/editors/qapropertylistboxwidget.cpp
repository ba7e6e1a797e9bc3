#include "qapropertylistboxwidget.h"

#include "qapropertylistbox.h"
#include "qapropertypathbox.h"

#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// Made whole before it joins the list: a change of flags on a row in the
// list is reported like an edit, and would be written.
QListWidgetItem* editableItem(const QString& text)
{
    auto* item = new QListWidgetItem(text);
    item->setFlags(item->flags() | Qt::ItemIsEditable);
    return item;
}

} // namespace

QAPropertyListBoxWidget::QAPropertyListBoxWidget(QAPropertyListBox* property, QWidget* parent)
    : QAPropertyWidget(property, parent), _list(new QListWidget(this))
{
    build(QAPropertyPathBox::Single, tr("New"));
}

QAPropertyListBoxWidget::QAPropertyListBoxWidget(QAProperty* property, int buttons,
                                                 const QString& addText, QWidget* parent)
    : QAPropertyWidget(property, parent), _list(new QListWidget(this))
{
    build(buttons, addText);
}

void QAPropertyListBoxWidget::build(int buttons, const QString& addText)
{
    _list->setSelectionMode(buttons & QAPropertyPathBox::MultiSelection
                                ? QAbstractItemView::ExtendedSelection
                                : QAbstractItemView::SingleSelection);
    _list->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    setEditor(_list);

    if (buttons & (QAPropertyPathBox::EditButtons | QAPropertyPathBox::MoveButtons)) {
        auto* column = new QWidget(this);
        auto* layout = new QVBoxLayout(column);
        layout->setContentsMargins(0, 0, 0, 0);
        const auto addButton = [&](const char* name, const QString& text, void (QAPropertyListBoxWidget::*slot)()) {
            auto* button = new QPushButton(text, column);
            button->setObjectName(QLatin1String(name));
            layout->addWidget(button);
            connect(button, &QPushButton::clicked, this, slot);
        };
        if (buttons & QAPropertyPathBox::EditButtons) {
            addButton("add", addText, &QAPropertyListBoxWidget::addItems);
            addButton("remove", tr("Remove"), &QAPropertyListBoxWidget::removeItems);
        }
        if (buttons & QAPropertyPathBox::MoveButtons) {
            addButton("up", tr("Up"), &QAPropertyListBoxWidget::moveUp);
            addButton("down", tr("Down"), &QAPropertyListBoxWidget::moveDown);
        }
        layout->addStretch();
        addEditorPart(column);
    }
    updateValue();
    connect(_list, &QListWidget::itemChanged, this, [this] {
        if (!isUpdating())
            write();
    });
}

QStringList QAPropertyListBoxWidget::items() const
{
    QStringList texts;
    for (int row = 0; row < _list->count(); ++row) {
        const QString text = _list->item(row)->text();
        if (!text.isEmpty())
            texts.append(text);
    }
    return texts;
}

void QAPropertyListBoxWidget::addItems()
{
    _list->addItem(editableItem(QString()));
    QListWidgetItem* item = _list->item(_list->count() - 1);
    _list->setCurrentItem(item);
    _list->editItem(item);
}

void QAPropertyListBoxWidget::removeItems()
{
    const QList<QListWidgetItem*> selected = _list->selectedItems();
    if (selected.isEmpty())
        return;
    qDeleteAll(selected);
    write();
}

void QAPropertyListBoxWidget::moveUp()
{
    moveCurrent(-1);
}

void QAPropertyListBoxWidget::moveDown()
{
    moveCurrent(1);
}

void QAPropertyListBoxWidget::showValue(const QVariant& value)
{
    _list->clear();
    for (const QString& text : value.toStringList())
        _list->addItem(editableItem(text));
}

void QAPropertyListBoxWidget::appendItems(const QStringList& texts)
{
    if (texts.isEmpty())
        return;
    for (const QString& text : texts)
        _list->addItem(editableItem(text));
    write();
}

void QAPropertyListBoxWidget::moveCurrent(int offset)
{
    const int row = _list->currentRow();
    const int target = row + offset;
    if (row < 0 || target < 0 || target >= _list->count())
        return;
    QListWidgetItem* item = _list->takeItem(row);
    _list->insertItem(target, item);
    _list->setCurrentRow(target);
    write();
}

void QAPropertyListBoxWidget::write()
{
    commit(items());
}
