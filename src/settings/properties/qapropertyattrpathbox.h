#pragma once

#include "qapropertypathbox.h"
#include "qastattribute.h"

#include <QStringList>

/// A PathBox setting bound to an attribute of project data: the attribute's set
/// flag says whether the value is overridden.
class SDK_EXPORT QAPropertyAttrPathBox : public QAPropertyPathBox
{
public:
    QAPropertyAttrPathBox(const QString& key, QAStAttribute<QStringList>* attribute);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;

    QAStAttribute<QStringList>* attribute() const { return _attribute; }

private:
    QAStAttribute<QStringList>* _attribute;
};
