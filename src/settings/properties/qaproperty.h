#pragma once

#include "sdk_export.h"

#include <QMetaType>
#include <QString>
#include <QVariant>

class QAPropertyGroup;
class QWidget;

/// One setting as the user sees it: a key, a title, a help text, a value kind
/// and an editor. A property holds no value of its own; where the value lives
/// (a store, an attribute of project data) is left to the derived classes, so
/// that one description tree can be pointed at one store after another.
///
/// Kinds are the small closed set of value type numbers that stores, project
/// files and definition files share (see Type); variantType() and metaType()
/// are the one translation between those numbers and the toolkit's types.
class SDK_EXPORT QAProperty
{
public:
    enum Type {
        InvalidType = 0,
        MapType = 1,
        StringType = 3,
        StringListType = 4,
        IntType = 16,
        UIntType = 17,
        BoolType = 18,
        DoubleType = 19,
        ByteArrayType = 20
    };

    explicit QAProperty(const QString& key);
    virtual ~QAProperty();

    virtual bool isGroup() const;
    virtual QString displayValue() = 0;
    virtual bool isOverriden() const = 0;
    virtual bool isResetable() const = 0;
    virtual void reset() = 0;
    virtual void setValue(const QVariant& value) = 0;
    virtual QVariant value() = 0;
    virtual int type() = 0;
    /// A new editor of this property under \a parent, or null for none.
    virtual QWidget* createEditor(QWidget* parent) = 0;

    QString name() const { return _name; }
    void setName(const QString& name) { _name = name; }
    QString whatThis() const { return _whatThis; }
    void setWhatThis(const QString& whatThis) { _whatThis = whatThis; }
    /// The contexts in which the property appears, one bit each.
    quint32 mask() const { return _mask; }
    void setMask(quint32 mask) { _mask = mask; }
    QString key() const { return _key; }
    bool isReadOnly() const { return _readOnly; }
    void setReadOnly(bool readOnly) { _readOnly = readOnly; }
    QString perlVarName() const { return _perlVarName; }
    void setPerlVarName(const QString& perlVarName) { _perlVarName = perlVarName; }
    QAPropertyGroup* parent() const { return _parent; }
    QVariant initialValue() const { return _initialValue; }
    void setInitialValue(const QVariant& initialValue) { _initialValue = initialValue; }

    /// The kind number of \a value; InvalidType for an invalid variant, -1 for
    /// a type outside the set.
    static int variantType(const QVariant& value);
    /// The toolkit's type for kind \a type; an invalid QMetaType outside the set.
    static QMetaType metaType(int type);
    /// \a value converted to kind \a type; an invalid variant when \a type is
    /// outside the set.
    static QVariant convert(const QVariant& value, int type);

    /// Tells the nearest group above that watches its tree that this
    /// property has just stored a value (QAPropertyGroup::setModifiedHandler).
    void notifyModified();

private:
    friend class QAPropertyGroup;

    QString _name;
    QString _whatThis;
    quint32 _mask = 0xFFFFFFFFu;
    QString _key;
    bool _readOnly = false;
    QString _perlVarName;
    QAPropertyGroup* _parent = nullptr;
    QVariant _initialValue;
};
