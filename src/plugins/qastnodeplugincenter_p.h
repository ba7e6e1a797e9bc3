#pragma once

#include "sdk_export.h"

/// For tests only, and not installed: the registry looks for plug-ins once
/// in a process, and a test that tries several directories starts again.
class SDK_EXPORT QAStNodePluginCenterPrivate
{
public:
    /// Forgets what was found and the directories added, and releases the
    /// components, so that the next nodePluginCenter() searches again. The
    /// plug-ins' libraries stay loaded, and an interface still held stays
    /// valid.
    static void reset();
};
