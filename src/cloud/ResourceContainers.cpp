#include "zephor/ResourceContainers.h"

namespace Quorvel::FileAccess {

bool WGO_GetCORs(std::vector<SimpleCloudObject>& /*containers*/) {
  return false;
}

bool WGO_GetCORsByTeam(const std::wstring& /*team*/, std::vector<SimpleCloudObject>& /*containers*/) {
  return false;
}

bool WGO_GetCORsWithAdminRights(std::vector<SimpleCloudObject>& /*containers*/) {
  return false;
}

bool WGO_GetCORTeams_UserIsAdmin(std::vector<SimpleCloudObject>& /*teams*/) {
  return false;
}

std::wstring WGO_GetTeamUuidByCORUuid(const std::wstring& /*container*/) {
  return {};
}

std::wstring WGO_GetSTDResContainerName(const std::wstring& /*container*/) {
  return {};
}

bool WGO_IsCurrentUserCORTeamAdmin(const std::wstring& /*team*/) {
  return false;
}

std::wstring WGO_CreateSTD(const std::wstring& /*team*/, const std::wstring& /*name*/) {
  return {};
}

bool WGO_DeleteSTD(const std::wstring& /*container*/) {
  return false;
}

bool WGO_CopySTD(const std::wstring& /*source*/, const std::wstring& /*team*/, const std::wstring& /*name*/) {
  return false;
}

bool WGO_DownloadSTDResContainer(const std::wstring& /*container*/, int /*flag*/, bool /*quiet*/) {
  return false;
}

bool WGO_DownloadAndLockCORForResourceUpload(const std::wstring& /*container*/, int /*flag*/, bool /*quiet*/) {
  return false;
}

bool WGO_CommitAndUnlockCOR(const std::wstring& /*container*/, int /*flag*/, bool /*quiet*/) {
  return false;
}

bool WGO_RollbackAndUnlockCOR(const std::wstring& /*container*/, bool /*quiet*/) {
  return false;
}

bool WGO_LockResourcesContainer(const std::wstring& /*container*/, int /*flag*/, bool /*quiet*/) {
  return false;
}

bool WGO_UnlockResourcesContainer(bool /*rollback*/, bool /*quiet*/) {
  return false;
}

bool WGO_UploadResourcesContainer(const std::wstring& /*container*/, int /*flag*/, bool /*quiet*/) {
  return false;
}

bool WGO_ConnectResourcesContainerwithLocalPath(const std::wstring& /*container*/, const std::wstring& /*path*/) {
  return false;
}

bool WGO_CheckLockCOR(const std::wstring& /*container*/, bool& /*locked*/) {
  return false;
}

bool WGO_CanUnlockCOR(const std::wstring& /*container*/, bool& /*can*/) {
  return false;
}

bool WGO_ForceUnlockCOR(const std::wstring& /*container*/) {
  return false;
}

bool WGO_SubscribeCOR(const std::wstring& /*container*/) {
  return false;
}

bool WGO_UnsubscribeCOR() {
  return false;
}

bool WGO_SwitchSTDPathsToCORCachePath(const std::wstring& /*container*/) {
  return false;
}

std::wstring WGO_BuildCloudStdLocalCachePath(const std::wstring& /*container*/) {
  return {};
}

std::wstring WGO_GetCloudStdUuidFromPath(const std::wstring& /*path*/) {
  return {};
}

}  // namespace Quorvel::FileAccess
