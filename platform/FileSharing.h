// The share modes of open files, as every process of this machine sees them.
#pragma once

#include <string>

#include "platform/Export.h"

namespace platform {

/// Whether a file (a path of the system) is open somewhere without FILE_SHARE_DELETE: it may then neither be deleted
/// nor renamed nor replaced.
PLATFORM_API bool isDeletingDenied(const std::string& path);
/// The same for the entry `name` of an open directory.
bool isDeletingDenied(int directory, const char* name);

}  // namespace platform
