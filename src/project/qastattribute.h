#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

/// A value with a set flag and an optional parent attribute. While the value
/// is not set, reading it walks the parent chain to the first attribute that
/// is set; a chain with none set answers the value of its last attribute.
template <typename T>
class QAStAttribute
{
public:
    QAStAttribute() = default;
    explicit QAStAttribute(const T& v, bool set = false) : value(v), isSet(set) {}

    QAStAttribute& operator=(const T& v)
    {
        value = v;
        isSet = true;
        return *this;
    }

    void init(const T& v, bool set)
    {
        value = v;
        isSet = set;
    }

    const T& get() const
    {
        const QAStAttribute* a = this;
        while (!a->isSet && a->parent)
            a = a->parent;
        return a->value;
    }
    operator const T&() const { return get(); }

    T value {};
    bool isSet = false;
    QAStAttribute* parent = nullptr;
};
