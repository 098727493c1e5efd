#include "cloud/ProjectInformation.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <optional>

#include "cloud/CloudCall.h"
#include "cloud/Ondrath_Services.h"
#include "host/Files.h"
#include "host/Guid.h"
#include "platform/Paths.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {
namespace {

constexpr CloudStatus kBadArgument = ERROR_INVALID_DATA;
constexpr CloudStatus kNoAdministrationPath = ERROR_PATH_NOT_FOUND;
constexpr int kAdministrationPath = 18;
constexpr int kProjectKind = 2;
constexpr int kAdminRole = 1;
constexpr int kEditorRole = 2;
constexpr const wchar_t* kDescriptorFile = L"Project1.Dat.xml";

/// The first project, in the order of teams, that `isWanted`. A team whose projects can't be listed is skipped.
std::optional<PRJ> findProject(const wchar_t* function, const std::function<bool(const CloudProjectEntry&)>& isWanted) {
  std::vector<SimpleCloudObject> teams;
  const auto service = [] { return QuorvelCloudController()->GetProjectService(); };
  if (guardedCall(function, [&] { return service()->GetTeams(teams, 0); }) != 0) return std::nullopt;
  for (const SimpleCloudObject& team : teams) {
    std::vector<CloudProjectEntry> projects;
    const CloudStatus status =
        guardedCall(function, [&] { return service()->GetProjects(team.uuid, projects, kProjectKind, 0); });
    if (status != 0) continue;
    const auto found = std::find_if(projects.begin(), projects.end(), isWanted);
    if (found != projects.end()) return PRJ(team.uuid, team.name, found->name, found->uuid, true);
  }
  return std::nullopt;
}

/// Points host path 18 of the process at a directory while it lives. One at a time: a second one would restore the
/// first one's path.
class AdministrationPath {
 public:
  explicit AdministrationPath(const std::wstring& directory) : lock_(mutex()), before_(lfinigC(kAdministrationPath)) {
    if (isKnown()) lfinipC(kAdministrationPath, directory);
  }
  ~AdministrationPath() {
    if (isKnown()) lfinipC(kAdministrationPath, before_);
  }
  AdministrationPath(const AdministrationPath&) = delete;
  AdministrationPath& operator=(const AdministrationPath&) = delete;

  /// False when the host has no such path: nothing is changed then.
  bool isKnown() const { return !before_.empty(); }

 private:
  static std::mutex& mutex() {
    static std::mutex instance;
    return instance;
  }

  const std::lock_guard<std::mutex> lock_;
  const std::wstring before_;
};

CloudStatus readDescriptor(const std::wstring& server, PRJ& out) {
  const AdministrationPath path(server);
  if (!path.isKnown()) return kNoAdministrationPath;
  PRJ read;
  if (NetID_ReadPrjInfo(kAdministrationPath, read) != 0) return kBadArgument;
  out = read;
  return 0;
}

bool isInRole(const wchar_t* function, const PRJ& prj, int role) {
  if (!prj.IsOndrathProject()) return false;
  bool inRole = false;
  const CloudStatus status =
      CloudCall(function, prj).run([&](ICloudProjectService& service, const std::wstring& project) {
        return service.IsCurrentUserInRole(inRole, project, role);
      });
  return status == 0 && inRole;
}

}  // namespace

CloudStatus Ondrath_getProjectInfoFromOnlineServer(const std::wstring& server, const std::wstring& uuid, PRJ& out) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::Ondrath_getProjectInfoFromOnlineServer";
  const CTimeTrace timer(WGO_GetTrace(), kFunction, 1, false, true);
  out.clear();
  GUID guid{};
  if (!Cad::Service::ZP_GUIDValueProvider::scanGUID(uuid, guid)) return kBadArgument;
  std::wstring name;
  std::wstring teamName;
  std::wstring teamUuid;
  const CloudStatus status = guardedCall(kFunction, [&] {
    return QuorvelCloudController()->GetProjectService()->GetProjectInfo(uuid, name, teamName, teamUuid);
  });
  if (status != 0) return kBadArgument;
  const PRJ project(teamUuid, teamName, name, uuid, true);
  if (Ondrath_downloadFile(project, platform::joinPath(server, kDescriptorFile), false) != 0) return kBadArgument;
  return readDescriptor(server, out);
}

bool Ondrath_getProjectInfoFromName(const std::wstring& name, PRJ& out) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::Ondrath_getProjectInfoFromName";
  const CTimeTrace timer(WGO_GetTrace(), kFunction, 1, false, true);
  const auto found = findProject(kFunction, [&](const CloudProjectEntry& entry) { return entry.name == name; });
  if (found) out = *found;
  return found.has_value();
}

bool Ondrath_getProjectInfoFromUuid(const std::wstring& uuid, PRJ& out) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::Ondrath_getProjectInfoFromUuid";
  const CTimeTrace timer(WGO_GetTrace(), kFunction, 1, false, true);
  const auto found = findProject(kFunction, [&](const CloudProjectEntry& entry) { return entry.uuid == uuid; });
  if (found) out = *found;
  return found.has_value();
}

bool Ondrath_deleteProject(const PRJ& prj) {
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_deleteProject", prj);
  if (!call.requireCloudProject()) return false;
  const CTimeTrace timer(WGO_GetTrace(), call.function(), 1, false, true);
  return call.run([](ICloudProjectService& service, const std::wstring& project) {
    return service.DeleteProject(project);
  }) == 0;
}

bool Ondrath_getProjectUsers(const PRJ& prj, std::vector<CloudProjectMember>& out) {
  if (!prj.IsOndrathProject()) return false;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_getProjectUsers", prj);
  const CTimeTrace timer(WGO_GetTrace(), L"Ondrath GetProjectMembers", 1, false, true);
  return call.run([&](ICloudProjectService& service, const std::wstring& project) {
    return service.GetProjectMembers(project, out);
  }) == 0;
}

CloudStatus Ondrath_setProjectLock(const PRJ& prj, OndrathProjectLockType type) {
  if (!prj.IsOndrathProject()) return kBadArgument;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_setProjectLock", prj);
  const CTimeTrace timer(WGO_GetTrace(), call.function(), 1, false, true);
  return call.run([&](ICloudProjectService& service, const std::wstring& project) {
    return service.SetProjectLock(prj.GetOndrathTeamUuid(), project, type);
  });
}

bool Ondrath_removeProjectLock(const PRJ& prj, bool all) {
  if (!prj.IsOndrathProject()) return false;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_removeProjectLock", prj);
  const CTimeTrace timer(WGO_GetTrace(), call.function(), 1, false, true);
  return call.run([&](ICloudProjectService& service, const std::wstring& project) {
    return service.RemoveProjectLock(prj.GetOndrathTeamUuid(), project, L"", all);
  }) == 0;
}

bool Ondrath_getProjectLocks(const PRJ& prj, std::vector<LockUser>& out) {
  if (!prj.IsOndrathProject()) return false;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_getProjectLocks", prj);
  const CTimeTrace timer(WGO_GetTrace(), call.function(), 1, false, true);
  return call.run([&](ICloudProjectService& service, const std::wstring& project) {
    return service.GetProjectLocks(prj.GetOndrathTeamUuid(), project, out);
  }) == 0;
}

bool Ondrath_IsCurrentUserAdmin(const PRJ& prj) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::Ondrath_IsCurrentUserAdmin";
  if (!prj.IsOndrathProject()) return false;
  lfperrC(L"%s: ========================== start\n", kFunction);
  const bool isAdmin = isInRole(kFunction, prj, kAdminRole);
  lfperrC(L"%s: ========================== end\n", kFunction);
  return isAdmin;
}

bool Ondrath_IsCurrentUserEditor(const PRJ& prj) {
  return isInRole(L"Quorvel::FileAccess::Ondrath_IsCurrentUserEditor", prj, kEditorRole);
}

}  // namespace Quorvel::FileAccess
