// The objects that lie in a project folder.
#pragma once

#include <set>
#include <string>

#include "platform/WindowsTypes.h"
#include "workstation/Export.h"

namespace workstation {

/// Numbers of the objects of a kind in a directory. Directories and impossible names are passed over.
/// @return 0, or the error; the output is then untouched
WORKSTATION_API DWORD listObjectNumbers(const std::wstring& directory, int type, std::set<int>& out);

/// Lowest number of a kind that no file of the directory has, 0 when all are taken or the directory can't be read.
WORKSTATION_API int nextFreeNumber(const std::wstring& directory, int type);

}  // namespace workstation
