// Removing a tree after each file in it was looked at once more, so that what was written meanwhile stays.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/WindowsTypes.h"

namespace platform {

/// What tells a state of an entry from every later one. Links are not followed.
struct EntryMark {
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t written = 0;  ///< nanoseconds
  std::int64_t changed = 0;  ///< of the content or the attributes, by nobody's will but the system's
  bool operator==(const EntryMark&) const = default;
};

EntryMark markOf(const struct stat& status);
/// @param path  a system path
/// @return nothing when there is no such entry
PLATFORM_API std::optional<EntryMark> markOf(const std::string& path);

struct RemovalResult {
  int error = 0;                  ///< the first errno; EBUSY when something was not to be removed
  std::uint64_t removed = 0;      ///< entries that are no directories
  std::vector<std::string> left;  ///< what else stays of them, relative to the root; "" for the root itself
};

/// Removes an entry, and a directory with what is below it: entries go when `mayRemove` lets them, directories when
/// they are empty then. Goes on after a failure.
/// @param root  a system path
PLATFORM_API RemovalResult removeChecked(const std::string& root,
                                         const std::function<bool(const std::string&, const EntryMark&)>& mayRemove);

}  // namespace platform
