#pragma once

#include "qunknowninterface.h"

#include <QString>

/// What a component of the studio's windows (a viewer, an editor, a project
/// or a link) says of itself in the host's list of components.
class SDK_EXPORT QComponentInformationInterface : public QUnknownInterface
{
public:
    virtual QString name() const = 0;
    virtual QString description() const = 0;
    virtual QString author() const = 0;
    virtual QString version() const = 0;
};
