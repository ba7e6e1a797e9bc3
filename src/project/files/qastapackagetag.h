#pragma once

#include "qasttestedtag.h"

class QAStAFunctionTag;

/// A unit that holds others: a C++ namespace, a Java package, an Ada
/// package, task or protected unit. A namespace or Java package is no unit
/// under test; what it holds may be.
class SDK_EXPORT QAStAPackageTag : public QAStTestedTag
{
    Q_OBJECT
public:
    QAStAPackageTag(const QString& name, const QString& filePath, int line, QAStData* parent = nullptr,
                    QAStData* after = nullptr);
    QAStAPackageTag(const QDomElement& element, int version, QAStData* parent = nullptr,
                    QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    QString qualifiedName() const override;
    QStringList stubbableFiles() override;
    bool isTestable() const override;
    bool isDirectlyTestable() const override;
    bool isInstrumentable() const override;
    bool isARootItem() const override;

    /// The functions directly in the unit.
    QList<QAStAFunctionTag*> functions() const;

protected:
    QString qualifierIcon() const override;
};
