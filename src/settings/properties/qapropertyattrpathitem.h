#pragma once

#include "qapropertypathitem.h"
#include "qastattribute.h"

/// A PathItem setting bound to an attribute of project data: the attribute's set
/// flag says whether the value is overridden.
class SDK_EXPORT QAPropertyAttrPathItem : public QAPropertyPathItem
{
public:
    QAPropertyAttrPathItem(const QString& key, QAStAttribute<QString>* attribute);

    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;

    QAStAttribute<QString>* attribute() const { return _attribute; }

private:
    QAStAttribute<QString>* _attribute;
};
