// What the open project's cache on this workstation holds, and which of it the store does not have.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/CheckedRemoval.h"

namespace workstation::program {

class Context;

struct CacheContent {
  struct Unsent {
    std::wstring item;  ///< "tb12", or a file's name
    std::wstring reason;
    bool isBackup = false;  ///< a copy that the program or the host has kept
  };
  std::wstring directory;
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
  std::uint64_t backups = 0;   ///< of the unsent
  bool isWhole = false;        ///< see isCacheWhole
  std::vector<Unsent> unsent;  ///< in the order of the items
  /// What was looked at, by its path below the directory; without what isOwnInCache() tells.
  std::map<std::string, platform::EntryMark> marks;
};

/// Whether a load has gone through to its end since the directory was made.
bool isCacheWhole(const std::wstring& projectUuid, const std::wstring& directory);

/// The library's name of a file with this system path below the project's directory.
std::wstring nameInCache(const std::string& relativePath);

/// Whether a workstation makes a file of this name for itself: nobody's work is in it.
bool isOwnInCache(const std::wstring& name);

/// "1 file", "2 files".
std::wstring counted(std::uint64_t number, const wchar_t* one, const wchar_t* many);

/// Looks at every file, backup copies and what no upload takes among them. What can't be told apart from unsent work
/// counts as such. Throws CommandFailure when directory or store can't be read.
/// @param withStore  false: by what this workstation remembers alone
CacheContent readCache(Context& context, bool withStore = true);

}  // namespace workstation::program
