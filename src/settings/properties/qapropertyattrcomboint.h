#pragma once

#include "qapropertycomboint.h"
#include "qastattribute.h"

/// A ComboInt setting bound to an attribute of project data: the attribute's set
/// flag says whether the value is overridden.
class SDK_EXPORT QAPropertyAttrComboInt : public QAPropertyComboInt
{
public:
    QAPropertyAttrComboInt(const QString& key, QAStAttribute<int>* attribute);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;

    QAStAttribute<int>* attribute() const { return _attribute; }

private:
    QAStAttribute<int>* _attribute;
};
