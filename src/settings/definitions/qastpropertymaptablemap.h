#pragma once

#include "qaproperty.h"

/// A setting whose value is a table of names to texts, such as the
/// environment variables of a run, kept in the store of its group.
class SDK_EXPORT QAStPropertyMapTableMap : public QAProperty
{
public:
    explicit QAStPropertyMapTableMap(const QString& key);

    /// The entries as "name=value", joined with ",".
    QString displayValue() override;
    bool isOverriden() const override;
    bool isResetable() const override;
    void reset() override;
    void setValue(const QVariant& value) override;
    QVariant value() override;
    int type() override;
    /// The table is edited in the settings dialog of the host; there is no
    /// editor of its own.
    QWidget* createEditor(QWidget* parent) override;
};
