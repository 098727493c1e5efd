// Which files of a project travel: rules of the program, and those of the user in "WGO_SyncFilter.xml".
//
// Each function adds its rules to the filter that it is given. docs/filters.md lists them. The user's file is read
// afresh each time; when it is missing it is made, with entries that are all switched off. Any thread, each filter by
// one.
#pragma once

#include "zephor/Export.h"
#include "zephor/FileFilter.h"

namespace Quorvel::FileAccess {

/// For an upload of the project's directory.
/// @param withAllProjectFiles  false keeps out objects, resources and what other roads bring to the server
ZEPHOR_API void WGO_GetPrjDirUploadFilter(WGO_FileFilter& filter, bool withAllProjectFiles);
/// For a copy of the whole project to a server.
ZEPHOR_API void WGO_GetPrjCopyUploadFilter(WGO_FileFilter& filter);
/// For the upload of a resource container.
ZEPHOR_API void WGO_GetCorUploadFilter(WGO_FileFilter& filter);
ZEPHOR_API void WGO_Exclude_From_BackgroundUpload(WGO_FileFilter& filter);
/// For the directory "BIM" of a project.
ZEPHOR_API void WGO_AddPrjDirFilter_BimSubdir(WGO_FileFilter& filter);
/// Keeps out Teilbilder, Plans and Zeichnungen.
ZEPHOR_API void WGO_AddPrjDirFilter_ExcludeTBPlanFiles(WGO_FileFilter& filter);
/// Keeps out what another road brings to the server.
ZEPHOR_API void WGO_AddPrjDirFilter_OtherwayHandled_BackgroundUploadedFiles(WGO_FileFilter& filter);
/// Adds an include rule for each active "include" line of a project's sync filter file; nothing for a null name.
ZEPHOR_API void WGO_AddPrjDirFilter_UserDefinedAddOns(const wchar_t* projectName, WGO_FileFilter& filter);
/// Writes the default sync filter file of a project. @return true when it wrote one; one that is there stays as it is
ZEPHOR_API bool WGO_createSyncFilter(const wchar_t* projectName);

}  // namespace Quorvel::FileAccess
