// Which containers there are, and making, copying and deleting one.
#include "zephor/ResourceContainers.h"

#include <algorithm>

#include "cloud/ContainerCall.h"
#include "host/Files.h"
#include "host/System.h"
#include "platform/Paths.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

using Containers = std::map<std::wstring, StdResContainer>;

bool GetRawStdResContainers(Containers& containers) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::GetRawStdResContainers";
  containers.clear();
  const CloudStatus status =
      callService(kFunction, [&](ICloudProjectService& service) { return service.GetStdResContainers(containers); });
  if (status == 0) return true;
  containers.clear();
  lfperrC(L"%s: cannot get CORs. Error = %d.\n", kFunction, status);
  tellUser(ContainerMessage::ListFailed, messageParameters(status));
  return false;
}

void appendTeamsContainers(const Containers& raw, const std::wstring& team, std::vector<SimpleCloudObject>& out) {
  for (const auto& [key, container] : raw) {
    if (container.teamUuid == team) out.push_back({container.uuid, container.name});
  }
}

/// The folder of this workstation itself, also while the application takes its resources from a container.
std::wstring localFolder() {
  return platform::joinPath(ZSYST_getLocalDataDirectory(), L"Std");
}

bool copyLocalResources(const std::wstring& path) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_CopySTD";
  const CTimeTrace timer(WGO_GetTrace(), L"_CopyFromStdToCachePath", 1, false, true);
  const std::wstring folder = localFolder();
  const int error = ldircpRAW(folder, path, 0);
  if (error == 0) return true;
  lfperrC(L"%s: cannot copy from %s to %s, err = %d.\n", kFunction, folder, path, error);
  tellUser(ContainerMessage::CopyFailed, copyParameters(error, folder, path));
  return false;
}

}  // namespace

bool WGO_GetCORs(std::vector<SimpleCloudObject>& containers) {
  containers.clear();
  Containers raw;
  if (!GetRawStdResContainers(raw)) return false;
  for (const auto& [key, container] : raw) containers.push_back({container.uuid, container.name});
  return true;
}

bool WGO_GetCORsByTeam(const std::wstring& team, std::vector<SimpleCloudObject>& containers) {
  containers.clear();
  Containers raw;
  if (isNoContainer(team) || !GetRawStdResContainers(raw)) return false;
  appendTeamsContainers(raw, team, containers);
  return true;
}

bool WGO_GetCORsWithAdminRights(std::vector<SimpleCloudObject>& containers) {
  containers.clear();
  std::vector<SimpleCloudObject> teams;
  Containers raw;
  if (!WGO_GetCORTeams_UserIsAdmin(teams) || !GetRawStdResContainers(raw)) return false;
  for (const SimpleCloudObject& team : teams) appendTeamsContainers(raw, team.uuid, containers);
  return true;
}

bool WGO_GetCORTeams_UserIsAdmin(std::vector<SimpleCloudObject>& teams) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_GetCORTeams_UserIsAdmin";
  teams.clear();
  const CloudStatus status =
      callService(kFunction, [&](ICloudProjectService& service) { return service.GetCORTeams(teams); });
  if (status == 0) return true;
  teams.clear();
  lfperrC(L"%s: cannot get the teams of CORs. Error = %d.\n", kFunction, status);
  tellUser(ContainerMessage::ListFailed, messageParameters(status));
  return false;
}

std::wstring WGO_GetTeamUuidByCORUuid(const std::wstring& container) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_GetTeamUuidByCORUuid";
  if (isNoContainer(container)) return {};
  std::wstring team;
  const CloudStatus status = callService(
      kFunction, [&](ICloudProjectService& service) { return service.GetTeamUuidByCORUuid(container, team); });
  if (status == 0) return team;
  // Readers of logs look for the line with these letters in this order.
  lfperrC(L"%s: cannot get team uuid by COR uuid s%%. Error = %d.\n", kFunction, status);
  tellUser(ContainerMessage::TeamNotFound, messageParameters(status, container));
  return {};
}

std::wstring WGO_GetSTDResContainerName(const std::wstring& container) {
  Containers raw;
  if (isNoContainer(container) || !GetRawStdResContainers(raw)) return {};
  const auto found =
      std::find_if(raw.begin(), raw.end(), [&](const auto& one) { return one.second.uuid == container; });
  return found == raw.end() ? std::wstring() : found->second.name;
}

bool WGO_IsCurrentUserCORTeamAdmin(const std::wstring& team) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_IsCurrentUserCORTeamAdmin";
  if (isNoContainer(team)) return false;
  lfperrC(L"%s: ========================== start\n", kFunction);
  std::vector<SimpleCloudObject> teams;
  WGO_GetCORTeams_UserIsAdmin(teams);
  const bool isAdmin =
      std::any_of(teams.begin(), teams.end(), [&](const SimpleCloudObject& one) { return one.uuid == team; });
  lfperrC(L"%s: ========================== end\n", kFunction);
  return isAdmin;
}

std::wstring WGO_CreateSTD(const std::wstring& team, const std::wstring& name) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_CreateSTD";
  if (isNoContainer(team)) return localStandardResources();
  std::wstring created;
  const CloudStatus status =
      callService(kFunction, [&](ICloudProjectService& service) { return service.CreateSTD(team, name, created); });
  if (status == 0) return created;
  lfperrC(L"%s: cannot create Ondrath Standard Resources %s. Error = %d.\n", kFunction, name, status);
  tellUser(ContainerMessage::CreateFailed, messageParameters(status, name));
  return localStandardResources();
}

bool WGO_DeleteSTD(const std::wstring& container) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_DeleteSTD";
  if (isNoContainer(container)) return false;
  const CloudStatus status =
      callService(kFunction, [&](ICloudProjectService& service) { return service.DeleteSTD(container); });
  if (status != 0) {
    lfperrC(L"%s: cannot delete Ondrath Standard Resources %s. Error = %d.\n", kFunction, container, status);
    tellUser(ContainerMessage::DeleteFailed, messageParameters(status, container));
    return false;
  }
  const std::wstring path = WGO_BuildCloudStdLocalCachePath(container);
  // The container is gone; what stays of its cache harms nobody.
  if (!path.empty()) ldirrmc(path);
  return true;
}

bool WGO_CopySTD(const std::wstring& source, const std::wstring& team, const std::wstring& name) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_CopySTD";
  if (source.empty() || isNoContainer(team) || source == team) return true;
  // No container is made whose content has no way there.
  if (WGO_BuildCloudStdLocalCachePath(team).empty()) return false;
  const std::wstring created = WGO_CreateSTD(team, name);
  const std::wstring path = WGO_BuildCloudStdLocalCachePath(created);
  if (path.empty()) return false;
  const bool isHere =
      isNoContainer(source) ? copyLocalResources(path) : downloadContainer(kFunction, source, path, false);
  return isHere && WGO_ConnectResourcesContainerwithLocalPath(created, path) &&
         WGO_UploadResourcesContainer(created, 0, false);
}

}  // namespace Quorvel::FileAccess
