#pragma once

#include "sdk_export.h"

#include <QVariant>
#include <QWidget>

class QAProperty;
class QComboBox;
class QAbstractButton;
class QHBoxLayout;
class QToolButton;

/// The frame of every property editor: the kind's own input widget, then a
/// reset button. What the user changes is written through the property at
/// once; an overridden value shows in bold, and the reset button, enabled
/// only when there is something to fall back on, drops the override.
class SDK_EXPORT QAPropertyWidget : public QWidget
{
    Q_OBJECT
public:
    explicit QAPropertyWidget(QAProperty* property, QWidget* parent = nullptr);
    ~QAPropertyWidget() override;

    QAProperty* propertyItem() const { return _property; }
    /// The input widget of the kind.
    QWidget* editor() const { return _editor; }
    QAbstractButton* resetButton() const;

public slots:
    /// Shows the property's value again, and whether it is overridden.
    void updateValue();
    /// Drops the override, so that the inherited value shows.
    void resetValue();

signals:
    /// The user changed the value, and it was written through the property.
    void valueChanged();

protected:
    /// Makes \a editor the input widget, first in the row.
    void setEditor(QWidget* editor);
    /// Makes \a box the editor of a choice: the item the user picks commits
    /// the value carried in its data.
    void setChoiceEditor(QComboBox* box);
    /// Adds \a part behind the input widget, before the reset button.
    void addEditorPart(QWidget* part);
    virtual void showValue(const QVariant& value) = 0;
    /// Writes \a value through the property, as the user's change.
    void commit(const QVariant& value);
    /// True while updateValue() fills the input widget: changes seen then
    /// come from the property, not from the user, and must not be written.
    bool isUpdating() const { return _updating; }

private:
    void showOverriden();

    QAProperty* _property;
    QWidget* _editor = nullptr;
    QHBoxLayout* _layout;
    QToolButton* _reset;
    bool _updating = false;
};
