#pragma once

#include "qasttestedtag.h"

class QAStAMethodTag;

/// A class of C++ or Java. Members declared in it are its children; a
/// definition outside its class hangs under the file and finds its class by
/// name.
class SDK_EXPORT QAStAClassTag : public QAStTestedTag
{
    Q_OBJECT
public:
    QAStAClassTag(const QString& name, const QString& filePath, int line, QAStData* parent = nullptr,
                  QAStData* after = nullptr);
    QAStAClassTag(const QDomElement& element, int version, QAStData* parent = nullptr,
                  QAStData* after = nullptr);

    void write(QTextStream& stream, int indent) override;
    QString qualifiedName() const override;
    QStringList stubbableFiles() override;
    bool isTestable() const override;
    bool isDirectlyTestable() const override;
    bool isInstrumentable() const override;
    bool isARootItem() const override;

    /// The enclosing class, or null.
    QAStAClassTag* ofClass() const;
    /// The methods declared or defined inside the class.
    QList<QAStAMethodTag*> methods() const;
    QAStAMethodTag* method(const QString& name) const;
    /// The classes of the project that name this one as a base.
    QList<QAStAClassTag*> specialize() const;
    /// The classes of the project that this one names as bases.
    QList<QAStAClassTag*> generalize() const;
    const QStringList& inherits() const { return _inherits; }
    void setInherits(const QStringList& bases) { _inherits = bases; }

protected:
    QString qualifierIcon() const override;

private:
    QStringList _inherits;
};
