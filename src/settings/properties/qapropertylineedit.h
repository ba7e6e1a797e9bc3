#pragma once

#include "qaproperty.h"

#include <memory>

class QValidator;

/// A one-line text setting.
class SDK_EXPORT QAPropertyLineEdit : public QAProperty
{
public:
    explicit QAPropertyLineEdit(const QString& key);
    ~QAPropertyLineEdit() override;

    QString displayValue() override;
    int type() override;
    QWidget* createEditor(QWidget* parent) override;

    /// The editor takes only the text that \a validator accepts; the
    /// property owns it.
    void setValidator(QValidator* validator);
    const QValidator* validator() const { return _validator.get(); }

private:
    std::unique_ptr<QValidator> _validator;
};
