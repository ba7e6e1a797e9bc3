#pragma once

#include "qunknowninterface.h"

/// The life of a plug-in's library: init() once it is loaded, cleanup()
/// before it goes; canUnload() tells whether nothing of it is still in use.
class SDK_EXPORT QLibraryInterface : public QUnknownInterface
{
public:
    virtual bool init() = 0;
    virtual void cleanup() = 0;
    virtual bool canUnload() const = 0;
};
