#pragma once

#include "qasttestedtag.h"

/// A structure or union; one declared inside a class is no unit of its own.
class SDK_EXPORT QAStAStructTag : public QAStTestedTag
{
    Q_OBJECT
public:
    QAStAStructTag(const QString& name, const QString& filePath, int line, QAStData* parent = nullptr,
                   QAStData* after = nullptr);
    QAStAStructTag(const QDomElement& element, int version, QAStData* parent = nullptr,
                   QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    QString qualifiedName() const override;
    bool isTestable() const override;
    bool isDirectlyTestable() const override;
    bool isInstrumentable() const override;
    bool isARootItem() const override;

protected:
    QString qualifierIcon() const override;
};
