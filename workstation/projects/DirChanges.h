// Changes in the open project's directory that the library handed back to the host. Any thread.
#pragma once

#include <string>
#include <vector>

#include "workstation/Export.h"

namespace workstation {

struct DirectoryChange {
  std::wstring path;
  unsigned long action = 0;  ///< 1 added, 2 removed, 3 modified, 4 renamed from, 5 renamed to

  bool operator==(const DirectoryChange&) const = default;
};

/// The latest changes, at most 10000, in the order in which they came; a change that only repeats the one before it is
/// not kept.
WORKSTATION_API std::vector<DirectoryChange> directoryChanges();

/// The same, and empties the list.
WORKSTATION_API std::vector<DirectoryChange> takeDirectoryChanges();

}  // namespace workstation
