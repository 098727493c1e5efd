// The service's operations on people, projects, roles and project locks.
#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Text.h"
#include "workstation/store/CacheRecord.h"
#include "workstation/store/EmbeddedProjectService.h"
#include "workstation/store/EmbeddedSession.h"
#include "workstation/store/StoreError.h"
#include "workstation/store/TransferConditions.h"

namespace workstation {

CloudStatus EmbeddedProjectService::run(const wchar_t* operation, const Work& work) {
  if (session_.isLoggedOut()) {
    setLastStoreText(L"this user is logged out of the cloud store");
    return kStoreNotConnected;
  }
  CloudStatus status = kStoreOk;
  std::wstring error;
  const std::shared_ptr<CloudStore> store = session_.store(status, error);
  if (store != nullptr) {
    status = work(*store, session_.actor());
    if (status < 0) error = CloudStore::lastText();
  }
  if (status < 0 && status != kStoreNotFound) {
    lfperrC(L"cloud store, %s: 0x%08x: %s\n", operation, static_cast<unsigned>(status), error);
  }
  return status;
}

const CloudUser* EmbeddedProjectService::GetCurrentUser(CloudUser& user) {
  const CloudStatus status = run(L"GetCurrentUser", [&](CloudStore& store, const StoreActor& actor) {
    return store.findUser(actor.user.uuid, user);
  });
  return status == kStoreOk ? &user : nullptr;
}

CloudStatus EmbeddedProjectService::GetProjectInfo(const std::wstring& project, std::wstring& name,
                                                   std::wstring& teamName, std::wstring& teamUuid) {
  return run(L"GetProjectInfo", [&](CloudStore& store, const StoreActor& actor) {
    StoreProject found;
    const CloudStatus status = store.project(actor, project, found);
    if (status != kStoreOk) return status;
    name = found.name;
    teamName = found.teamName;
    teamUuid = found.teamUuid;
    return status;
  });
}

CloudStatus EmbeddedProjectService::GetProjectMembers(const std::wstring& project,
                                                      std::vector<CloudProjectMember>& members) {
  return run(L"GetProjectMembers", [&](CloudStore& store, const StoreActor& actor) {
    members.clear();
    std::vector<StoreMember> found;
    const CloudStatus status = store.members(actor, project, found);
    for (const StoreMember& member : found) {
      members.push_back({member.user.uuid, member.user.name, member.user.email, static_cast<int>(member.role)});
    }
    return status;
  });
}

CloudStatus EmbeddedProjectService::CheckProjectAccess(const std::wstring& project, std::wstring& text) {
  text.clear();
  const CloudStatus status = run(L"CheckProjectAccess", [&](CloudStore& store, const StoreActor& actor) {
    StoreProject found;
    const CloudStatus asked = store.project(actor, project, found);
    if (asked != kStoreOk || !found.archived) return asked;
    setLastStoreText(L"the project \"" + found.name + L"\" is archived");
    return kStoreAccessDenied;
  });
  if (status != kStoreOk) text = CloudStore::lastText();
  return status;
}

CloudStatus EmbeddedProjectService::GetSessionState(std::wstring& state, bool& first, bool& second) {
  first = session_.isUp();
  second = false;
  state = first ? L"online" : L"offline";
  if (!first) setLastStoreText(L"there is no session in the cloud store");
  return first ? kStoreOk : kStoreNotConnected;
}

CloudStatus EmbeddedProjectService::GetTeams(std::vector<SimpleCloudObject>& teams, int /*flags*/) {
  return run(L"GetTeams", [&](CloudStore& store, const StoreActor& actor) {
    teams.clear();
    std::vector<StoreTeam> found;
    const CloudStatus status = store.teams(actor, found);
    for (const StoreTeam& team : found) teams.push_back({team.uuid, team.name});
    return status;
  });
}

CloudStatus EmbeddedProjectService::IsCurrentUserInRole(bool& inRole, std::wstring project, int role) {
  inRole = false;
  return run(L"IsCurrentUserInRole", [&](CloudStore& store, const StoreActor& actor) {
    if (role != 1 && role != 2) {
      setLastStoreText(platform::formatWide(L"role %d; expected 1 (administrator) or 2 (editor)", role));
      return kStoreInvalidParameter;
    }
    StoreProject found;
    const CloudStatus status = store.project(actor, project, found);
    if (status == kStoreOk) inRole = found.role <= (role == 1 ? StoreRole::Admin : StoreRole::Editor);
    return status;
  });
}

CloudStatus EmbeddedProjectService::GetProjects(const std::wstring& team, std::vector<CloudProjectEntry>& projects,
                                                int /*kind*/, int /*flags*/) {
  return run(L"GetProjects", [&](CloudStore& store, const StoreActor& actor) {
    projects.clear();
    std::vector<StoreProject> found;
    const CloudStatus status = store.projects(actor, team, false, found);
    for (const StoreProject& project : found) projects.push_back({project.ownerName, project.uuid, project.name, L""});
    return status;
  });
}

CloudStatus EmbeddedProjectService::DeleteProject(const std::wstring& project) {
  return run(L"DeleteProject",
             [&](CloudStore& store, const StoreActor& actor) { return store.deleteProject(actor, project); });
}

CloudStatus EmbeddedProjectService::CreateModel(const std::wstring& text, int number, const std::wstring& displayName,
                                                std::wstring& model) {
  return run(L"CreateModel", [&](CloudStore& store, const StoreActor& actor) {
    return store.createModel(actor, text, number, displayName, model);
  });
}

CloudStatus EmbeddedProjectService::GetProjectLocks(const std::wstring& /*team*/, const std::wstring& project,
                                                    std::vector<LockUser>& locks) {
  return run(L"GetProjectLocks",
             [&](CloudStore& store, const StoreActor& actor) { return store.projectLocks(actor, project, locks); });
}

// `flag` asks for everybody's locks to go; the text is a remark that this store does not keep.
CloudStatus EmbeddedProjectService::RemoveProjectLock(const std::wstring& /*team*/, const std::wstring& project,
                                                      const std::wstring& /*text*/, bool flag) {
  return run(L"RemoveProjectLock",
             [&](CloudStore& store, const StoreActor& actor) { return store.unlockProject(actor, project, flag); });
}

CloudStatus EmbeddedProjectService::SetProjectLock(const std::wstring& /*team*/, const std::wstring& project,
                                                   OndrathProjectLockType kind) {
  return run(L"SetProjectLock",
             [&](CloudStore& store, const StoreActor& actor) { return store.lockProject(actor, project, kind); });
}

CloudStatus EmbeddedProjectService::IsProjectInUse(const std::wstring& /*team*/, const std::wstring& project,
                                                   bool ignoreOwn, bool& inUse) {
  return run(L"IsProjectInUse", [&](CloudStore& store, const StoreActor& actor) {
    return store.isProjectInUse(actor, project, session_.id(), ignoreOwn, inUse);
  });
}

CloudStatus EmbeddedProjectService::TriggerProjectItemChangedNotification(const std::wstring& project,
                                                                          const std::wstring& name) {
  return run(L"TriggerProjectItemChangedNotification", [&](CloudStore& store, const StoreActor& actor) {
    std::wstring normal;
    if (!normaliseStoreName(name, normal)) {
      setLastStoreText(L"\"" + name + L"\" is not a valid name of a file of a project");
      return kStoreInvalidName;
    }
    return store.notifyChange(actor, project);
  });
}

CloudStatus EmbeddedProjectService::RefreshProjectCache(const std::wstring& project, bool& full) {
  return run(L"RefreshProjectCache", [&](CloudStore& store, const StoreActor& actor) {
    StoreProject found;
    const CloudStatus status = store.project(actor, project, found);
    if (status != kStoreOk) return status;
    std::wstring directory;
    const PRJ descriptor(found.teamUuid, found.teamName, found.name, found.uuid, true);
    const auto record = make_prj_dir(descriptor, directory) == 0 ? CacheRecord::of(project, directory) : nullptr;
    full = !areTransfersJudged(project) && (record == nullptr || !record->isWhole());
    return status;
  });
}

}  // namespace workstation
