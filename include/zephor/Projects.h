// Projects by name and number: naming rules and lazy descriptors, and what work on whole projects takes and answers.
#pragma once

#include <string>

#include "host/Project.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess {

/// How much of a project its synchronisation brings.
enum WGO_PrjSyncMode : int {
  eWGOPrjSyncMode_NoWork = 0,      ///< refused
  eWGOPrjSyncMode_Refresh = 1,     ///< brings the local cache up to date
  eWGOPrjSyncMode_Full = 2,        ///< the whole project
  eWGOPrjSyncMode_FullBackup = 3,  ///< as eWGOPrjSyncMode_Full
};

/// Result of the download of project files.
enum WGOResult : int {
  eWGOResult_Downloaded = 0,  ///< the files were not up to date and are now
  eWGOResult_DownloadFailed = 1,
  eWGOResult_NotOnServer = 2,  ///< the project has none of these files there
  eWGOResult_UpToDate = 3,     ///< all of them were before
  eWGOResult_NoFiles = 4,      ///< the set was empty
  eWGOResult_NotServed = 5,    ///< the access object does not serve the project
};

/// The values are the host's.
enum WGO_DrawingInteraction : int {};

/// A descriptor good enough to address a project that has not been read yet: host, directory name, number and format
/// only.
ZEPHOR_API PRJ WGO_CreateLazyOnlinePRJ(const wchar_t* host, const wchar_t* name);
ZEPHOR_API bool WGO_isRemoteOnlineProjectNr(int number);

// Where projects without a local number lie, by the number that the host gave them. Kept for the process, from any
// thread.

/// Replaces what the number stood for.
ZEPHOR_API bool WGO_registerRemoteOnlineProjectNrPath(int number, const std::wstring& path);
/// @return false, nothing changed, when the number does not stand for this path
ZEPHOR_API bool WGO_unregisterRemoteOnlineProjectNrPath(int number, const std::wstring& path);
/// @return false, `path` untouched, for a number that is not registered
ZEPHOR_API bool WGO_getRemoteOnlineProjectPath(int number, std::wstring& path);
/// The name without white space at its end, with ".prj" behind it unless it holds ".prj" in any letter case.
ZEPHOR_API std::wstring WGO_BuildProjectDirectoryName(const wchar_t* name);
/// Full local path of a file of a project.
ZEPHOR_API std::wstring ConvertFileNameToFullPath(const PRJ& prj, const std::wstring& name);

/// Asked by the host before an interaction with drawings, to which the service has nothing to add. @return always 0
ZEPHOR_API int WGO_DrawingsInteraction(WGO_DrawingInteraction interaction);

}  // namespace Quorvel::FileAccess
