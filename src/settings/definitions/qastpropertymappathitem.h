#pragma once

#include "qapropertymappathitem.h"

/// A PathItem setting of a configuration: relative paths start in the
/// directory of the project that holds the configuration.
class SDK_EXPORT QAStPropertyMapPathItem : public QAPropertyMapPathItem
{
public:
    explicit QAStPropertyMapPathItem(const QString& key);

    QString basePath() const override;
};
