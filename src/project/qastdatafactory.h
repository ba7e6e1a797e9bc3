#pragma once

#include "sdk_export.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>

class QARes;
class QAStData;
class QDomElement;
class QUnknownInterface;

/// What the factory keeps of an element name that a plug-in serves: the
/// kind under which it was found first, 0 configuration block, 1 test node,
/// 2 tag, and that interface, held for the life of the process.
struct InterfaceDescriptor {
    int kind;
    QUnknownInterface* interface;
};

/// Builds tree objects from the elements of project files, objects files and
/// clipboard texts: the outermost element of an object names its class, one
/// of the library's or a test node or tag kind of a plug-in.
class SDK_EXPORT QAStDataFactory
{
public:
    /// The new object, attached to \a parent behind \a after, or null when
    /// no class and no plug-in answers to the element's name.
    static QAStData* create(const QDomElement& element, int version, QAStData* parent,
                            QAStData* after);

    /// The class code of an element name, or -1.
    static int classCode(const QString& elementName);

    /// Makes a new object of one class from values: named \a name, attached
    /// to \a parent behind \a after. \a subject is the object that the new one
    /// stands for, such as the target of a reference; null for other kinds.
    using Maker = std::function<QAStData*(const QString& name, QAStData* parent, QAStData* after,
                                          QAStData* subject)>;

    /// Lets the commands that make nodes reach a class that this layer does
    /// not know: the class registers its maker under its class name. A null
    /// maker takes the class out again.
    static void registerMaker(const QString& className, const Maker& maker);
    static bool hasMaker(const QString& className);
    /// The new object, or null with a trace line when no maker is registered
    /// under \a className.
    static QAStData* make(const QString& className, const QString& name, QAStData* parent,
                          QAStData* after, QAStData* subject = nullptr);

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
