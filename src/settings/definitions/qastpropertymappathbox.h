#pragma once

#include "qapropertymappathbox.h"

/// A PathBox setting of a configuration: relative paths start in the
/// directory of the project that holds the configuration.
class SDK_EXPORT QAStPropertyMapPathBox : public QAPropertyMapPathBox
{
public:
    explicit QAStPropertyMapPathBox(const QString& key);

    QString basePath() const override;
};
