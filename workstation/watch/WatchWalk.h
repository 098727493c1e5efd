// Looks at the disk for the watcher: one directory at a time, one file at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "workstation/watch/PendingNotices.h"

namespace workstation {

/// A directory as the system tells it from all others.
struct DirectoryNumber {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  bool operator==(const DirectoryNumber&) const = default;
};

enum class Sight { There, Missing, Unknown };

struct DirectoryListing {
  Sight sight = Sight::Unknown;  ///< of the directory; Unknown, with the reason, when not all of it was read
  std::wstring failure;
  DirectoryNumber number;
  std::vector<std::pair<std::string, FileState>> files;  ///< bare names, links and special files left out
  std::vector<std::string> directories;
  std::wstring refused;  ///< a name that can't be told, if there is one
};

/// @param isRoot  a link to a directory is entered
DirectoryListing listDirectory(const std::string& path, bool isRoot);

/// @return Missing for a path that is no regular file, too
Sight lookAtFile(const std::string& path, FileState& state);

std::optional<DirectoryNumber> directoryNumber(const std::string& path);

/// Whether a name can stand in a library path.
bool isTellable(const std::string& name);
/// Whether a transfer of ours made the name, for the time of the transfer.
bool isOurOwn(const std::string& name);

/// Kind of a file system that does not tell what other machines do; empty for all others.
std::wstring remoteKind(const std::string& path);

}  // namespace workstation
