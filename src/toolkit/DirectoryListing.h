// What a plain directory holds, as its client tells it. Internal to the toolkit.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

struct DirectoryEntry {
  std::wstring name;  ///< as on the disk
  bool isDirectory = false;
  bool isLink = false;
  bool isReadOnly = false;
  std::int64_t size = -1;  ///< bytes; -1 for directories
  FILETIME time{};         ///< last write, UTC, exact
};

/// Whether a listing shows files that are still on their way.
enum class Arriving : std::uint8_t { Hidden, Shown };

/// Appends the entries of a directory that match a pattern, without "." and "..".
/// @param unnamed  null, or receives those that no library path can name, see platform::namesPassedOver
/// @return 0, or the error
DWORD listDirectory(const std::wstring& directory, const std::wstring& pattern, Arriving arriving,
                    std::vector<DirectoryEntry>& out, std::vector<std::wstring>* unnamed = nullptr);

/// Appends the one entry that has the name; without regard to letter case where none has it exactly. Lists nothing.
/// @return 0, also when there is none; ERROR_PATH_NOT_FOUND when its directory is missing, or another error
DWORD findEntry(const std::wstring& path, std::vector<DirectoryEntry>& out);

/// Removes an entry with everything below it, read-only files too. A link goes, what it leads to stays.
/// @return 0, or the error
DWORD removeEntry(const std::wstring& path, const DirectoryEntry& entry);

}  // namespace Quorvel::FileAccess
