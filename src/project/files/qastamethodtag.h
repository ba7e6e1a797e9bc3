#pragma once

#include "qastafunctiontag.h"

class QAStAClassTag;

/// A member function. Declared inside its class it is the class's child; a
/// definition outside the class hangs under its file and knows its class by
/// its qualified name.
class SDK_EXPORT QAStAMethodTag : public QAStAFunctionTag
{
    Q_OBJECT
public:
    QAStAMethodTag(const QString& name, const QString& filePath, int line, QAStData* parent = nullptr,
                   QAStData* after = nullptr);
    QAStAMethodTag(const QDomElement& element, int version, QAStData* parent = nullptr,
                   QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    QString qualifiedName() const override;
    bool isDirectlyTestable() const override;
    bool isARootItem() const override;

    /// The qualified name without the method's own last part.
    QString classPrefix() const;
    /// The class of the method: its ancestor, or the project's class named
    /// by classPrefix().
    QAStAClassTag* ofClass() const;

protected:
    QString qualifierIcon() const override;

private:
    QString separator() const;
};
