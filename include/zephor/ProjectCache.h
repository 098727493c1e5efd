// The local copy of a cloud project: building it, refreshing it, taking out what the server deleted, removing it.
//
// docs/project-cache.md tells what is kept and what is not. Some of these take files away without asking whether this
// workstation has changed or made them; their comments say so, and their callers have to ask first. On the caller's
// thread.
#pragma once

#include <string>
#include <vector>

#include "host/Cloud.h"
#include "zephor/Export.h"
#include "zephor/Projects.h"

class PRJ;

namespace Quorvel::FileAccess {

/// Brings the cache and the user list up to date, by a full or a base load as the service says: for a full one see
/// WGO_syncPrjDir. @return 0, also for a project that is not in the cloud; the negative
/// code of the synchronisation; -23 when the user list can't be set up
ZEPHOR_API long WGO_refreshProjectCacheFromServer(PRJ& prj);
/// True for a project that is not in the cloud.
ZEPHOR_API bool WGO_ProjectCacheExists(const PRJ& prj);
/// Takes the cache to the trash, work that was never sent included. What the trash refuses is deleted for good.
/// @param quiet  asks and shows nothing. @return true for a project that is not in the cloud
ZEPHOR_API bool WGO_deleteLocalProjectCache(const PRJ& prj, bool quiet);
/// Deletes the exchange files of "BIM" on the server, except those in subfolders and the layout structure.
/// @return always true
ZEPHOR_API bool WGO_deleteBWSFiles();
/// Takes what the server has deleted out of the open project's cache, into the trash: by name, so also a file that was
/// changed or made anew here since.
ZEPHOR_API void WGO_resolveOndrathDeletedFilesInCache(const PRJ& prj, ShareFileTypeID type);
/// Brings the folder "BIM": in full the first time since WGO_syncPrjDir, lightly after that. With `fromStart` there is
/// nothing to do once it was brought in full. @return true for a project that is not in the cloud
ZEPHOR_API bool WGO_downloadBimDir(const PRJ& prj, bool fromStart);
/// The same for the open project.
ZEPHOR_API bool WGO_syncBimDir(bool fromStart);

/// Brings a project's cache in step with the server. For the time of the call the service points at the project. A full
/// load (modes 2 and 3) deletes the directories below "BIM" for good, files that were never sent included, and does so
/// when the transfer has failed too.
/// @return 0; a negative result of the cache; 0x20B10001 when nothing was done: mode 0, a project that is not in the
///         cloud, a synchronisation that the user's filter file switched off
ZEPHOR_API long WGO_syncPrjDir(PRJ& prj, WGO_PrjSyncMode mode);
/// Fills in a class of object files. Files are brought to a directory of their own first and copied over from there.
/// @param type  0 Teilbilder, 33 Plans
/// @param mode  0 the server's files replace all that are here, and what differs is kept in the project's "Backup"
///              first; 1 adds what the structure files name and is missing; 2 adds all that is missing
ZEPHOR_API bool WGO_syncPrjData(PRJ& prj, int type, int mode);
/// The whole project into a directory. @return false for a project that is not in the cloud
ZEPHOR_API bool WGO_fullDownloadProjectData(PRJ& prj, const std::wstring& targetDirectory);
/// The administration files. @return false when one of those that are needed did not come
ZEPHOR_API bool WGO_DownloadPrjDirAdminFiles(const PRJ& prj);
/// Whether a copy to the server is complete. @param missing  receives the files that the server lacks
ZEPHOR_API bool WGO_compareServerFilesWithLocalFiles(const PRJ& prj, const std::wstring& root,
                                                     std::vector<std::wstring>& localFiles,
                                                     std::vector<std::wstring>& missing, bool flag);

}  // namespace Quorvel::FileAccess
