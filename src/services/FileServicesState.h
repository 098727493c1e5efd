// What the one-file services keep for the whole process. It outlives projects: nothing here is emptied when one is
// closed.
#pragma once

#include <atomic>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Quorvel::FileAccess {

/// The lists belong to the host's main thread; the counts and the switch to any.
struct FileServicesState {
  std::atomic<int> uploadBlocks{0};
  std::atomic<int> downloadBlocks{0};
  std::atomic<bool> displayBusyCursor{true};
  std::mutex cursorLock;
  int busyCursors = 0;  ///< under cursorLock
  /// Name and full path of the files that wait for the end of a data conversion.
  std::set<std::pair<std::wstring, std::wstring>> convertedFiles;
  std::vector<int> markedForDelete;
};

FileServicesState& fileServicesState();

}  // namespace Quorvel::FileAccess
