#pragma once

#include "qunknowninterface.h"

#include <QStringList>

/// An interface that serves several features, each named by a string: a
/// plug-in of several node kinds, say. The names carry the prefix of their
/// interface ("node:", "tag:", "conf:").
class SDK_EXPORT QFeatureListInterface : public QUnknownInterface
{
public:
    virtual QStringList featureList() const = 0;
};
