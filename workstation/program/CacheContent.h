// What the open project's cache on this workstation holds, and which of it the store does not have.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace workstation::program {

class Context;

struct CacheContent {
  struct Unsent {
    std::wstring item;  ///< "tb12", or a file's name
    std::wstring reason;
  };
  std::wstring directory;
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
  bool isWhole = false;        ///< a load has gone through
  std::vector<Unsent> unsent;  ///< in the order of the items
};

/// Looks at every file, backup copies and what no upload takes among them. What can't be told apart from unsent work
/// counts as such. Throws CommandFailure when directory or store can't be read.
/// @param withStore  false: by what this workstation remembers alone
CacheContent readCache(Context& context, bool withStore = true);

}  // namespace workstation::program
