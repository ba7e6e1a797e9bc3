#pragma once

#include "studiocomponentinterface.h"

class QWidget;

/// A component's page of the preferences dialog.
class SDK_EXPORT PreferenceInterface : public StudioComponentInterface
{
public:
    /// A new page, which the host owns; null when the component has none.
    virtual QWidget* preferenceSettings() = 0;
};
