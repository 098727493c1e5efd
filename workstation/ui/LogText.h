// What a text has to go through before it is written where people read it. Pure.
#pragma once

#include <string>
#include <string_view>

#include "workstation/Export.h"

namespace workstation {

/// Hides the values of passwords, tokens and the like: what follows `password=`, `token:` and their kin, in quotes or
/// not, what follows `Bearer`, the argument of an FTP PASS command, and the password within a URL.
WORKSTATION_API std::wstring withoutSecrets(std::wstring_view text);

/// Makes control characters visible (`\x1b`), so that no name or server reply can steer a terminal or fake a line. Line
/// feeds and tabs stay.
WORKSTATION_API std::wstring withVisibleControls(std::wstring_view text);

}  // namespace workstation
