// Resource containers: standard resources that a team shares in the cloud, and that one person changes at a time.
//
// A container is addressed by its UUID text. The text of the nil GUID stands for the standard resources of this
// workstation, which are in no cloud: for it, and for an empty text, nothing is asked and the answer is the one told at
// each function. A workstation works on a cache of the container, whose directory "\.cor" belongs to the service. A
// failure is told to the log and, where the function is not told to be quiet, to the user by a message of the host. On
// the host's main thread; the collector of background changes calls what it needs from its own.
#pragma once

#include <string>
#include <vector>

#include "host/Cloud.h"
#include "zephor/Export.h"

namespace Quorvel::FileAccess {

// Lists; each empties its list first.

ZEPHOR_API bool WGO_GetCORs(std::vector<SimpleCloudObject>& containers);
ZEPHOR_API bool WGO_GetCORsByTeam(const std::wstring& team, std::vector<SimpleCloudObject>& containers);
/// The containers of the teams that the user administers, team by team.
ZEPHOR_API bool WGO_GetCORsWithAdminRights(std::vector<SimpleCloudObject>& containers);
ZEPHOR_API bool WGO_GetCORTeams_UserIsAdmin(std::vector<SimpleCloudObject>& teams);
/// @return an empty text when it can't be told
ZEPHOR_API std::wstring WGO_GetTeamUuidByCORUuid(const std::wstring& container);
ZEPHOR_API std::wstring WGO_GetSTDResContainerName(const std::wstring& container);
/// @param team  UUID of a team, compared as it stands
ZEPHOR_API bool WGO_IsCurrentUserCORTeamAdmin(const std::wstring& team);

/// @return UUID of the new container; the nil GUID's text when it could not be made
ZEPHOR_API std::wstring WGO_CreateSTD(const std::wstring& team, const std::wstring& name);
/// The cache of a deleted container goes, too.
ZEPHOR_API bool WGO_DeleteSTD(const std::wstring& container);
/// A new container of a team with the content of another, or of this workstation's standard resources (nil).
/// @return true also when there is nothing to do: no team, or source and target are the same
ZEPHOR_API bool WGO_CopySTD(const std::wstring& source, const std::wstring& team, const std::wstring& name);

// The road of a change: download and lock, change files of the cache, commit or roll back. `flag` is handed through to
// the service.

/// Brings the cache up to date. @return true for nil
ZEPHOR_API bool WGO_DownloadSTDResContainer(const std::wstring& container, int flag, bool quiet);
/// @return false for nil
ZEPHOR_API bool WGO_DownloadAndLockCORForResourceUpload(const std::wstring& container, int flag, bool quiet);
/// Unlocks also when the upload failed. @return true when both succeeded; false for nil
ZEPHOR_API bool WGO_CommitAndUnlockCOR(const std::wstring& container, int flag, bool quiet);
/// @return false for nil
ZEPHOR_API bool WGO_RollbackAndUnlockCOR(const std::wstring& container, bool quiet);
ZEPHOR_API bool WGO_LockResourcesContainer(const std::wstring& container, int flag, bool quiet);
/// Of the container that this workstation's user holds.
ZEPHOR_API bool WGO_UnlockResourcesContainer(bool rollback, bool quiet);
ZEPHOR_API bool WGO_UploadResourcesContainer(const std::wstring& container, int flag, bool quiet);
ZEPHOR_API bool WGO_ConnectResourcesContainerwithLocalPath(const std::wstring& container, const std::wstring& path);

ZEPHOR_API bool WGO_CheckLockCOR(const std::wstring& container, bool& locked);
/// Whether this user may take the lock away.
ZEPHOR_API bool WGO_CanUnlockCOR(const std::wstring& container, bool& can);
/// Takes anybody's lock away.
ZEPHOR_API bool WGO_ForceUnlockCOR(const std::wstring& container);

ZEPHOR_API bool WGO_SubscribeCOR(const std::wstring& container);
/// Ends the subscription that there is.
ZEPHOR_API bool WGO_UnsubscribeCOR();
/// Lets the application take its standard resources from the container's cache.
ZEPHOR_API bool WGO_SwitchSTDPathsToCORCachePath(const std::wstring& container);

/// Local data directory, "CloudSTD", UUID. @return an empty text when there is no local data directory
ZEPHOR_API std::wstring WGO_BuildCloudStdLocalCachePath(const std::wstring& container);
/// UUID of the container in whose cache a path lies; empty for any other path.
ZEPHOR_API std::wstring WGO_GetCloudStdUuidFromPath(const std::wstring& path);

}  // namespace Quorvel::FileAccess
