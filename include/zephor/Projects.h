// Projects by name and number: naming rules and lazy descriptors.
#pragma once

#include <string>

#include "host/Project.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess {

/// A descriptor good enough to address a project that has not been read yet: host, directory name, number and format
/// only.
ZEPHOR_API PRJ WGO_CreateLazyOnlinePRJ(const wchar_t* host, const wchar_t* name);
ZEPHOR_API bool WGO_isRemoteOnlineProjectNr(int number);
/// The name without white space at its end, with ".prj" behind it unless it holds ".prj" in any letter case.
ZEPHOR_API std::wstring WGO_BuildProjectDirectoryName(const wchar_t* name);
/// Full local path of a file of a project.
ZEPHOR_API std::wstring ConvertFileNameToFullPath(const PRJ& prj, const std::wstring& name);

}  // namespace Quorvel::FileAccess
