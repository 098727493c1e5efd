// Files that outlive a power failure with their names.
#pragma once

#include <string>
#include <vector>

#include "platform/Export.h"
#include "platform/WindowsTypes.h"

namespace platform {

/// Makes contents and names of files or directories below a directory outlive a power failure: a few one by one, more
/// together with all that was written to the file system. One that is gone is passed over.
/// @return 0, or the first error
PLATFORM_API DWORD makeDurable(const std::wstring& root, const std::vector<std::wstring>& names);

/// The same for all that was written to the file system of a directory.
PLATFORM_API DWORD makeDurable(const std::wstring& directory);

}  // namespace platform
