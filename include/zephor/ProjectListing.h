// Which objects a project has on each side, which its structure files name, and which projects a server has.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "platform/WindowsTypes.h"
#include "zephor/Export.h"

class PRJ;

namespace Quorvel::FileAccess {

/// Numbers in ascending order; empty, with the answer true, for a project that is not in the cloud.
ZEPHOR_API bool WGO_getTBNrInfoFromProject(PRJ& prj, std::vector<int>& onServer, std::vector<int>& onDisk);
ZEPHOR_API bool WGO_getPLNrInfoFromProject(PRJ& prj, std::vector<int>& onServer, std::vector<int>& onDisk);

/// Appends the numbers that one of the three structure files names, repeated ones too, and sorts.
/// @return false when the file is none of them or does not open
ZEPHOR_API bool getAssignedFilesFromStructureXML(const PRJ& prj, std::vector<int>& numbers,
                                                 const std::wstring& structureFile);
/// The same as file names.
ZEPHOR_API bool getAssignedFilesFromStructureXML(const PRJ& prj, std::vector<std::wstring>& names,
                                                 const std::wstring& structureFile);
/// Plans that the open project's layout structure names, of the numbers 1 to 9998.
ZEPHOR_API void WGO_getListOfLayoutsFromLayoutStructure(std::vector<int>& numbers);
/// The same as full paths.
ZEPHOR_API void WGO_getListOfLayoutFilesFromLayoutStructure(std::set<std::wstring>& files);

/// Directories of a server of the older store in which its projects lie, as they are listed. For a plain directory that
/// is its "Prj" or, where it has none, the directory itself.
/// @return the number of entries; for 0 the thread's last error tells a list that could not be read from an empty one
///         (0)
ZEPHOR_API std::size_t WGO_getProjectDirectoriesFromServer(const wchar_t* host, std::vector<WIN32_FIND_DATAW>& out);
/// Names of the projects, without ".prj"; kept for the host that was asked last. On the host's main thread.
/// @param forceRead  asks the server also when the list is known
ZEPHOR_API std::size_t WGO_getProjectDirectoriesFromServer(const wchar_t* host, std::vector<std::wstring>& names,
                                                           bool forceRead);
ZEPHOR_API void WGO_getProjectDirectoriesFromServerClearCache();

}  // namespace Quorvel::FileAccess
