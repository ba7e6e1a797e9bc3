#pragma once

#include "qfeaturelistinterface.h"

#include <QPixmap>
#include <QString>

class QAStData;
class QDomElement;

/// What a plug-in of test node kinds offers the tree, for each of its
/// features (without the prefix "node:"): a text for menus and dialog
/// titles, an icon, the making of a node from values and from a project
/// file's element, and where a node of the kind may stand.
class SDK_EXPORT NodeTestInterface : public QFeatureListInterface
{
public:
    /// Called once by the registry for each feature, when plug-ins are found.
    virtual void initialize() = 0;
    virtual QString name(const QString& feature) const = 0;
    virtual QPixmap pixmap(const QString& feature) const = 0;
    /// A new node of \a feature named \a name, attached to \a parent behind
    /// \a after, or null.
    virtual QAStData* nodeTest(const QString& feature, const QString& name, QAStData* parent,
                               QAStData* after) = 0;
    /// The node that \a element describes, attached to \a parent behind
    /// \a after, or null.
    virtual QAStData* nodeTest(const QString& feature, const QDomElement& element, int version,
                               QAStData* parent, QAStData* after) = 0;
    /// Whether a node of \a feature may be added as a child of \a parent.
    virtual bool toAddChild(const QString& feature, QAStData* parent, QAStData* after) = 0;
    /// Whether a node of \a feature may be appended behind \a after.
    virtual bool toAddNext(const QString& feature, QAStData* parent, QAStData* after) = 0;
};
