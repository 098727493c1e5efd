// Names of one directory that need no search without regard to letter case.
#pragma once

#include <string>

#include "platform/Export.h"

namespace platform {

/// While it lives, this thread looks up the entries of one directory (a library path), not of those below it, exactly
/// as they are written. For a directory that nobody else fills and whose names are known to differ in more than letter
/// case: a name that is new costs a reading of the whole directory otherwise. Guards do not nest.
class PLATFORM_API ScopedExactNames {
 public:
  explicit ScopedExactNames(const std::wstring& directory);
  ~ScopedExactNames();
  ScopedExactNames(const ScopedExactNames&) = delete;
  ScopedExactNames& operator=(const ScopedExactNames&) = delete;
};

}  // namespace platform
