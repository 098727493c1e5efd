// The cache of a cloud project: which group of files the service moves, and what must be done around that.
//
// What is newer is the service's decision. Modes 2 and 3 are the full loads, every other value is the load of the base
// files.
#pragma once

#include <string>
#include <vector>

#include "host/Cloud.h"

class PRJ;

namespace Quorvel::FileAccess {

/// @return 0; -1 when the download failed; 0xA0B10001 or 0xA0B10002, as signed numbers, when release or service refuse
long Ondrath_EnsureLocalProjectCache(const PRJ& prj, int mode);
/// Shows a box when the download fails, also where dialogs are forbidden. A full load deletes the directories below
/// "BIM" for good, however it ends: what was never sent from there is lost. @return 0 or 2
int Ondrath_DownLoadProject(const PRJ& prj, int mode);
/// Asks the user whether to try again. @return true on success
bool Ondrath_DownloadBIMFiles(const PRJ& prj, bool full);
/// Deletes the exchange files of "BIM" on the server.
void Ondrath_DeleteBwsFiles(const PRJ& prj);
/// Deletes those exchange files of the open project that the server does not have, for good: also those that were made
/// here and never sent. When the server does not tell, all stay.
void Ondrath_CleanLocalBimFiles(const PRJ& prj);
/// False also for a project that is not in the cloud, and when the server does not tell.
bool Ondrath_IsProjectEmpty(const PRJ& prj);
/// @param missing  receives those of `expected` that the server lacks. @return true when there are none
bool Ondrath_CompareServerFilesWithLocalFiles(const PRJ& prj, const std::wstring& localDirectory,
                                              const std::vector<std::wstring>& expected,
                                              std::vector<std::wstring>& missing, bool flag);

/// The next WGO_downloadBimDir brings everything.
void resetBimDownload();

}  // namespace Quorvel::FileAccess
