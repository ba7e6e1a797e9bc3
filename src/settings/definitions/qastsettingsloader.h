#pragma once

#include "qapropertymaploader.h"

/// The loader of the configuration settings: the kinds of every definition
/// file, and the words that only the settings of a configuration use.
class SDK_EXPORT QAStSettingsLoader : public QAPropertyMapLoader
{
public:
    QAProperty* createProperty(const QString& type, const QString& key, QARes* item) override;
};
