#pragma once

#include "qasttestedtag.h"

class QAStAPackageTag;

/// A function or procedure: a declaration (a prototype, an Ada spec) or a
/// body. The two are separate tags, often in separate files, and find each
/// other by qualified name.
class SDK_EXPORT QAStAFunctionTag : public QAStTestedTag
{
    Q_OBJECT
public:
    QAStAFunctionTag(const QString& name, const QString& filePath, int line, QAStData* parent = nullptr,
                     QAStData* after = nullptr);
    QAStAFunctionTag(const QDomElement& element, int version, QAStData* parent = nullptr,
                     QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    QAPropertyGroup* propertyGroup() override;
    void localActionMenuItems(QMenu* menu) override;
    QString qualifiedName() const override;
    QStringList stubbableFiles() override;
    bool isTestable() const override;
    bool isDirectlyTestable() const override;
    bool isInstrumentable() const override;
    bool isARootItem() const override;

    /// The body of this function in the project: itself when it is one.
    QAStAFunctionTag* implementation() const;
    /// The declaration of this function in the project: itself when it is one.
    QAStAFunctionTag* declaration() const;
    /// The package that holds the function, through nested functions; null
    /// when something else holds it.
    QAStAPackageTag* ofPackage() const;

public slots:
    void editImplementation();
    void editDeclaration();

protected:
    void writeFunction(QTextStream& stream, int indent);
    QString qualifierIcon() const override;

private:
    QAStAFunctionTag* counterpart(int bit) const;
};
