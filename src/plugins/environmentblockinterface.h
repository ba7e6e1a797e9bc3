#pragma once

#include "qunknowninterface.h"

#include <QString>

class QAStData;
class QTextStream;

/// The lines that a plug-in's block of settings adds to an environment file,
/// for each feature it serves as a configuration block (without the prefix
/// "conf:"). They follow the settings of the configuration and come before
/// the lines of the node's own kind; they must be Perl that the tool chain's
/// scripts read, each statement ending its line.
class SDK_EXPORT EnvironmentBlockInterface : public QUnknownInterface
{
public:
    virtual void generateEnv(const QString& feature, QAStData* data, QTextStream& stream) = 0;
};
