// Who may use a file that takes another one's place.
#pragma once

#include <string>

#include "platform/WindowsTypes.h"

namespace platform {

/// Gives an open file, which is going to replace the one at a path, that one's permissions and, as far as this user
/// may, its owner. To be called before the first byte is written. Without a file there nothing happens; a link stands
/// for its target. Any thread; the last error stays.
PLATFORM_API void takePermissions(HANDLE file, const std::wstring& replaced);

}  // namespace platform
