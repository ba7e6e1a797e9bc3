#pragma once

#include "sdk_export.h"

#include <QHash>
#include <QString>

class QARes;
class QAStData;
class QDomElement;

/// Builds tree objects from the elements of project files, objects files and
/// clipboard texts: the outermost element of an object names its class.
class SDK_EXPORT QAStDataFactory
{
public:
    /// The new object, attached to \a parent behind \a after, or null when
    /// no class answers to the element's name.
    static QAStData* create(const QDomElement& element, int version, QAStData* parent,
                            QAStData* after);

    /// The class code of an element name, or -1.
    static int classCode(const QString& elementName);

    /// The class that a node "type" of the older resource form names, by
    /// its short name or its class name; empty for a name not known.
    static QString resourceClassName(const QString& type);
    /// The new object of class \a className read from the older resource
    /// form, attached to \a parent behind \a after, or null when the class
    /// is not one that this library makes.
    static QAStData* create(const QString& className, QARes* resources, QAStData* parent,
                            QAStData* after);

private:
    static const QHash<QString, int>& elementMap();
};
