// Where the standard resources of this process are: the workstation's own folder, or the cache of a container. From any
// thread.
#pragma once

#include <cstdint>
#include <string>

#include "workstation/Export.h"

namespace workstation {

/// The folder that counts now, without a backslash at its end.
WORKSTATION_API std::wstring standardResourcesFolder();
/// Ends what ZSYST_putCurrentCORPath began: the workstation's own folder counts again, and the event is fired.
WORKSTATION_API void useLocalStandardResources();
/// How often the event of changed standard resources was fired in this process.
WORKSTATION_API std::uint64_t standardResourceEvents();

}  // namespace workstation
