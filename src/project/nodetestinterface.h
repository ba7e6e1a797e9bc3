#pragma once

#include "sdk_export.h"

#include <QString>

class QAStData;

/// What a provider of test node kinds offers the tree: a text for menus and
/// dialog titles, and the making of a node, for each of its features. The
/// caller releases an interface when it is done with it.
class SDK_EXPORT NodeTestInterface
{
public:
    virtual ~NodeTestInterface() = default;

    virtual QString name(const QString& feature) const = 0;
    /// A new node of \a feature named \a name, attached to \a parent behind
    /// \a after, or null.
    virtual QAStData* nodeTest(const QString& feature, const QString& name, QAStData* parent,
                               QAStData* after) = 0;
    virtual void release() {}
};
