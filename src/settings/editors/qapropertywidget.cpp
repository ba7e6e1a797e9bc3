#include "qapropertywidget.h"

#include <QComboBox>

#include "qaproperty.h"

#include <QHBoxLayout>
#include <QToolButton>

QAPropertyWidget::QAPropertyWidget(QAProperty* property, QWidget* parent)
    : QWidget(parent), _property(property), _layout(new QHBoxLayout(this)),
      _reset(new QToolButton(this))
{
    Q_ASSERT(property);
    _layout->setContentsMargins(0, 0, 0, 0);
    _layout->setSpacing(2);
    _reset->setObjectName(QStringLiteral("reset"));
    _reset->setText(tr("Reset"));
    _reset->setToolTip(tr("Use the inherited value"));
    _layout->addWidget(_reset, 0, Qt::AlignTop);
    setToolTip(property->whatThis());
    setWhatsThis(property->whatThis());
    connect(_reset, &QToolButton::clicked, this, &QAPropertyWidget::resetValue);
}

QAPropertyWidget::~QAPropertyWidget()
{
    // ~QWidget takes the focus from the input widget, which then reports the
    // end of an edit to slots of an object that is already half destroyed.
    const QList<QObject*> parts = findChildren<QObject*>();
    for (QObject* part : parts)
        disconnect(part, nullptr, this, nullptr);
}

QAbstractButton* QAPropertyWidget::resetButton() const
{
    return _reset;
}

void QAPropertyWidget::updateValue()
{
    _updating = true;
    showValue(_property->value());
    _updating = false;
    showOverriden();
}

void QAPropertyWidget::resetValue()
{
    _property->reset();
    updateValue();
    emit valueChanged();
}

void QAPropertyWidget::setEditor(QWidget* editor)
{
    Q_ASSERT(!_editor);
    _editor = editor;
    _layout->insertWidget(0, editor, 1);
    editor->setEnabled(!_property->isReadOnly());
    setFocusProxy(editor);
}

void QAPropertyWidget::addEditorPart(QWidget* part)
{
    _layout->insertWidget(_layout->count() - 1, part);
    part->setEnabled(!_property->isReadOnly());
}

void QAPropertyWidget::commit(const QVariant& value)
{
    if (_property->isReadOnly())
        return;
    _property->setValue(value);
    showOverriden();
    emit valueChanged();
}

void QAPropertyWidget::showOverriden()
{
    const bool overriden = _property->isOverriden();
    if (_editor) {
        QFont font = _editor->font();
        font.setBold(overriden);
        _editor->setFont(font);
    }
    _reset->setEnabled(overriden && _property->isResetable() && !_property->isReadOnly());
}

void QAPropertyWidget::setChoiceEditor(QComboBox* box)
{
    setEditor(box);
    updateValue();
    connect(box, &QComboBox::activated, this, [this, box](int index) {
        if (!isUpdating() && index >= 0)
            commit(box->itemData(index));
    });
}
