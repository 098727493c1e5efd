// What the library told the core about objects: kept, so that the program can show it and tests can see it. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "workstation/Export.h"

namespace workstation {

/// One notice that data of an object changed.
struct DataChange {
  int kind = 0;  ///< 1 Teilbild, 2 Plan
  int number = 0;
  int changed = 0;

  bool operator==(const DataChange&) const = default;
};

/// The latest notices of the open project, at most 10000.
WORKSTATION_API std::vector<DataChange> dataChanges();
/// Version that the selection list shows of an object.
WORKSTATION_API std::optional<std::uint32_t> selectionListVersion(int type, int number);
/// Forgets drawing-file objects, versions and notices, as closing a project does.
WORKSTATION_API void clearCoreObjects();

}  // namespace workstation
