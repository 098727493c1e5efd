// Where the things of a workstation are, before it is started.
#pragma once

#include <string>

#include "workstation/HostState.h"

namespace workstation {

/// The directories of a workstation; an empty text means the user's own, as the XDG variables say.
/// @return false with an error when no place can be found
bool findDirectories(const std::string& directory, Directories& out, std::wstring& error);

/// Library path of its settings.json.
std::wstring settingsPath(const Directories& directories);

}  // namespace workstation
