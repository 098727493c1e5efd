// Watches directories with all below them and tells what happens to their files.
//
// A file is told as modified when it is whole: when its writer has closed it, or when it was moved to its name, and
// then nothing more has happened to it for a short while. So a program that writes beside and renames, one that empties
// the file and writes it, and one that writes for minutes all end in one notice about the final content. A file that is
// gone is told as removed when it is still gone a moment later: programs that save by way of a copy take the old one
// away for that moment.
//
// Where the system's limit of watches is reached, and for file systems that tell nothing, the directories are walked
// and compared every few seconds instead. Events that the system had to drop are made up for by a walk, too.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "workstation/Export.h"

namespace workstation {

/// Actions as the library's callback takes them.
enum WatchAction : unsigned long {
  kWatchAdded = 1,
  kWatchRemoved = 2,
  kWatchModified = 3,
  kWatchRenamedFrom = 4,
  kWatchRenamedTo = 5,
};

struct WatchNotice {
  std::wstring path;  ///< library path
  unsigned long action = 0;
  bool operator==(const WatchNotice&) const = default;
};

struct WatchOptions {
  std::chrono::milliseconds quiet{25};     ///< after which a closed file counts as whole
  std::chrono::milliseconds goneFor{300};  ///< after which a missing file counts as removed
  std::chrono::milliseconds poll{2000};    ///< between two walks where nothing is told
  bool alwaysPoll = false;
  std::size_t watchLimit = 0;  ///< most watches to take from the system, one a directory; 0: as it gives
  std::size_t queueLimit = std::size_t{64} * 1024 * 1024;  ///< bytes of events that may wait for a slow receiver
};

class WORKSTATION_API DirectoryWatcher {
 public:
  /// Called on the watcher's thread, which waits for it; nothing is lost meanwhile, and what happens to a file several
  /// times is told once.
  /// A rename is told as kWatchRenamedFrom and kWatchRenamedTo, one behind the other, then as kWatchModified of the new
  /// name.
  using Receiver = std::function<void(const WatchNotice& notice)>;
  /// What a person should know: that the watcher walks instead of being told, that events were lost and made up for,
  /// that a directory is gone or can't be read. Called on the watcher's thread, and on the constructor's.
  using Warning = std::function<void(const std::wstring& text)>;

  /// Begins to watch; what happens from the return on is told. A root that is not there yet is waited for.
  /// @param roots  library paths of directories, none below another
  DirectoryWatcher(const std::vector<std::wstring>& roots, Receiver receiver, Warning warning,
                   WatchOptions options = {});
  /// Ends; notices that wait for their quiet are told before. Takes at most WatchOptions::goneFor and the receiver's
  /// time.
  ~DirectoryWatcher();
  DirectoryWatcher(const DirectoryWatcher&) = delete;
  DirectoryWatcher& operator=(const DirectoryWatcher&) = delete;

  bool isPolling() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace workstation
