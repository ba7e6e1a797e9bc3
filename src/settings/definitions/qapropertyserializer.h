#pragma once

#include "sdk_export.h"

#include <QString>
#include <QVariant>

class QAPropertyGroup;
class QAPropertyStore;
class QARes;
class QDomElement;
class QTextStream;

/// Moves the values of a store to and from a project file or an older
/// resource tree, guided by a description tree. Only what the store holds
/// itself is written; inherited values stay out of the file.
class SDK_EXPORT QAPropertySerializer
{
public:
    static void write(QAPropertyStore* store, QAPropertyGroup* group, QTextStream& stream, int indent);
    static void write(QAPropertyStore* store, QAPropertyGroup* group, const QString& tag,
                      QTextStream& stream, int indent);
    static void read(QAPropertyStore* store, QAPropertyGroup* group, const QDomElement& element);
    static void read(QAPropertyStore* store, QAPropertyGroup* group, QARes* resources);

    /// The text of \a value in the project file for a leaf of kind \a type.
    static QString valueText(int type, const QVariant& value);
};
