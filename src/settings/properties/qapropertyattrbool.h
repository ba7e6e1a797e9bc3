#pragma once

#include "qapropertybool.h"
#include "qastattribute.h"

/// A Bool setting bound to an attribute of project data: the attribute's set
/// flag says whether the value is overridden.
class SDK_EXPORT QAPropertyAttrBool : public QAPropertyBool
{
public:
    QAPropertyAttrBool(const QString& key, QAStAttribute<bool>* attribute);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;

    QAStAttribute<bool>* attribute() const { return _attribute; }

private:
    QAStAttribute<bool>* _attribute;
};
