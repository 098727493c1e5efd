// What a lock file of the older store holds: who took the lock, where and when. Making and parsing side by side.
//
// Three lines: "Ada", "desk", "2026-11-21 18:04:05" (UTC).
#pragma once

#include <string>
#include <string_view>

#include "platform/WindowsTypes.h"
#include "workstation/Export.h"

namespace workstation {

struct LockText {
  std::wstring userName;
  std::wstring workstation;
  std::wstring time;
};

/// "2026-11-21 18:04:05"; empty for a time that is none.
WORKSTATION_API std::wstring lockTimeText(const FILETIME& time);

/// Line ends within a part become blanks; a part is cut to 200 characters.
WORKSTATION_API std::wstring makeLockText(const LockText& parts);
/// Any text gives what it has; lines that are missing are empty.
WORKSTATION_API LockText parseLockText(std::wstring_view text);

}  // namespace workstation
