#pragma once

#include "qfeaturelistinterface.h"

#include <QMap>
#include <QString>
#include <QVariant>

class QAStData;
class QDomElement;

/// What a plug-in of tag kinds offers, for each of its features (without the
/// prefix "tag:"): a tag made from the named values of a line of the tag
/// file, or read back from an objects file's element.
class SDK_EXPORT NodeTagInterface : public QFeatureListInterface
{
public:
    virtual QAStData* nodeTag(const QString& feature, QMap<QString, QVariant>& values, int version,
                              QAStData* parent, QAStData* after) = 0;
    virtual QAStData* nodeTag(const QString& feature, const QDomElement& element, int version,
                              QAStData* parent, QAStData* after) = 0;
};
