// Start and end of the host library, and the preferences handed to it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/ostrel.h"

// The host's plug-in folder as the last start gave it.
inline constexpr std::size_t plugin_folder_capacity = 2048;
extern char pluginFolderText[plugin_folder_capacity];

// Called by the host library while it starts: stores the plug-in folder under
// "ostrelPreferences" / "pluginFolder" in the host's preferences. A failed put
// throws OstrelException with the host's status.
int32_t PreferenceCallback(OstrelHandle preferences);
