// Names of lock files of the older store: making and parsing side by side.
//
// "tb000012.zdw.0007-3f2a90c1.lck": the object's file name, the user number with at least four digits and the start of
// the workstation's id, ".lck". Without its last two extensions it is the object's file name.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "workstation/Export.h"

namespace workstation {

struct LockName {
  int objectType = 0;  ///< 0 Teilbild, 1 Zeichnung, 2 Plan
  int number = -1;
  int userNumber = -1;
  /// First characters of the workstation's id, lower-case letters and digits; empty when the name carries none.
  std::wstring workstation;
};

/// @return an empty text when kind, object number or user number are impossible
WORKSTATION_API std::wstring lockFileName(const LockName& lock);
/// Letter case is ignored; a path is not accepted.
WORKSTATION_API std::optional<LockName> parseLockName(std::wstring_view name);

/// What a lock name carries of a workstation's id: its first eight letters and digits, in lower case.
WORKSTATION_API std::wstring lockTagOf(const std::wstring& workstationId);

}  // namespace workstation
