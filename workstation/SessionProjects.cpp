// Opening projects of the store on this workstation.

#include <algorithm>
#include <ctime>
#include <vector>

#include "host/Cloud.h"
#include "host/Files.h"
#include "host/Guid.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/HostState.h"
#include "workstation/Session.h"
#include "workstation/objects/CoreObjects.h"
#include "workstation/objects/OpenFiles.h"
#include "workstation/objects/ProjectDatabaseFile.h"
#include "workstation/projects/CurrentUser.h"
#include "workstation/projects/DescriptorXml.h"
#include "workstation/projects/ProjectNames.h"
#include "workstation/store/StoreContext.h"

namespace workstation {
namespace {

/// All projects that are not archived.
constexpr int kProjectKind = 2;
/// A project's owner for the store, and in every user list that was begun with the owner in it.
constexpr int kOwnerNumber = 2;

constexpr const wchar_t* kStateDirectory = L"C:\\State";
constexpr DWORD kMarkPause = 100;  // milliseconds
constexpr int kMarkAttempts = 30;

struct FoundProject {
  std::wstring teamUuid;
  std::wstring teamName;
  std::wstring uuid;
  std::wstring name;

  std::wstring fullName() const { return teamName + L"/" + name; }
};

bool listProjects(std::vector<FoundProject>& out, std::wstring& error) {
  if (const CloudStatus status = QuorvelCloudController()->Login(false, true)) {
    error = platform::formatWide(L"There is no login to the store (0x%08x).", static_cast<std::uint32_t>(status));
    return false;
  }
  ICloudProjectService* const service = QuorvelCloudController()->GetProjectService();
  std::vector<SimpleCloudObject> teams;
  if (const CloudStatus status = service->GetTeams(teams, 0)) {
    error =
        platform::formatWide(L"The teams of the store can't be listed (0x%08x).", static_cast<std::uint32_t>(status));
    return false;
  }
  for (const SimpleCloudObject& team : teams) {
    std::vector<CloudProjectEntry> projects;
    if (const CloudStatus status = service->GetProjects(team.uuid, projects, kProjectKind, 0)) {
      error = platform::formatWide(L"The projects of the team \"%s\" can't be listed (0x%08x).", team.name,
                                   static_cast<std::uint32_t>(status));
      return false;
    }
    for (const CloudProjectEntry& project : projects) {
      out.push_back({team.uuid, team.name, project.uuid, project.name});
    }
  }
  return true;
}

bool isNamedBy(const FoundProject& project, const std::wstring& nameOrUuid) {
  return platform::equalsIgnoreCase(project.uuid, nameOrUuid) || project.name == nameOrUuid ||
         project.fullName() == nameOrUuid;
}

bool findProject(const std::wstring& nameOrUuid, FoundProject& out, std::wstring& error) {
  std::vector<FoundProject> projects;
  if (!listProjects(projects, error)) return false;
  std::erase_if(projects, [&](const FoundProject& project) { return !isNamedBy(project, nameOrUuid); });
  if (projects.empty()) {
    error = platform::formatWide(L"There is no project \"%s\" that this user is a member of.", nameOrUuid);
    return false;
  }
  if (projects.size() > 1) {
    error = platform::formatWide(L"Several projects are called \"%s\"; name one of them:", nameOrUuid);
    for (const FoundProject& project : projects) error += L"\n  " + project.fullName() + L"  " + project.uuid;
    return false;
  }
  ICloudProjectService* const service = QuorvelCloudController()->GetProjectService();
  out = projects.front();
  if (const CloudStatus status = service->GetProjectInfo(out.uuid, out.name, out.teamName, out.teamUuid)) {
    error = platform::formatWide(L"The project \"%s\" can't be read (0x%08x).", nameOrUuid,
                                 static_cast<std::uint32_t>(status));
    return false;
  }
  return true;
}

/// Number of the one who owns the project in the store, in the project's user list where it has one; 0 when the store
/// does not tell.
int ownerNumber(const PRJ& prj) {
  CloudStatus status = 0;
  std::wstring ignored;
  const std::shared_ptr<CloudStore> store = currentStore(status, ignored);
  if (store == nullptr) return 0;
  const CloudUser owner = store->memberByNumber(prj.GetOndrathProjectUuid(), kOwnerNumber);
  return owner.uuid.empty() ? 0 : numberOf(projectUsers(prj), owner.uuid, kOwnerNumber);
}

PRJ newDescriptor(const FoundProject& project) {
  PRJ prj(project.teamUuid, project.teamName, project.name, project.uuid, true);
  prj.creationTime = static_cast<std::int32_t>(std::time(nullptr));
  prj.countryNumber = GetInstalledDefaultCountryNumber();
  prj.projectGuid = GetGUID();
  prj.owner = ownerNumber(prj);
  const int own = currentUserNumber(prj);
  if (own > 1 && own != prj.owner) prj.setMember(static_cast<unsigned>(own - 1));
  return prj;
}

/// Takes the descriptor in `directory`, or makes it. One that is damaged or of another project is refused and kept.
bool ensureDescriptor(const std::wstring& directory, PRJ& prj, std::wstring& error) {
  const std::wstring file = platform::joinPath(directory, kDescriptorFile);
  if (!platform::fileStatus(file).exists) {
    const int code = NetID_WritePrjInfoByPath(directory, prj, 0);
    if (code != 0) error = platform::formatWide(L"%s: the descriptor can't be written (error %d)", file, code);
    return code == 0;
  }
  PRJ existing;
  if (readDescriptor(directory, existing, error) != 0) return false;
  const bool isSame = existing.IsOndrathProject() &&
                      platform::equalsIgnoreCase(existing.GetOndrathProjectUuid(), prj.GetOndrathProjectUuid());
  if (!isSame) {
    error = platform::formatWide(L"%s: expected the descriptor of the project %s, not of \"%s\"", file,
                                 prj.GetOndrathProjectUuid(), existing.GetOndrathProjectUuid());
    return false;
  }
  // Another one was noted by a program that took who opened it first for the owner.
  if (prj.owner > 0 && existing.owner != prj.owner) {
    existing.owner = prj.owner;
    if (NetID_WritePrjInfoByPath(directory, existing, 0) != 0)
      lfperrC(L"%s: the owner's number can't be written\n", file);
  }
  prj = existing;
  return true;
}

/// Any number of processes has the mark of an open project, or one that takes it alone.
std::shared_ptr<void> takeMark(const std::wstring& uuid, bool isAlone, DWORD& error) {
  SHCreateDirectoryExW(nullptr, kStateDirectory, nullptr);
  const std::wstring path = platform::joinPath(kStateDirectory, uuid + L".open");
  for (int attempt = 0;; ++attempt) {
    const HANDLE file = CreateFileW(path.c_str(), isAlone ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ,
                                    isAlone ? 0 : FILE_SHARE_READ, nullptr, OPEN_ALWAYS, 0, nullptr);
    if (file != INVALID_HANDLE_VALUE) return {file, [](void* handle) { CloseHandle(handle); }};
    error = GetLastError();
    if (error != ERROR_SHARING_VIOLATION || attempt == kMarkAttempts) return nullptr;
    Sleep(kMarkPause);
  }
}

/// A workstation whose state can't be written goes on without a mark: nobody can take the project alone there either.
bool markOpen(const std::wstring& uuid, std::wstring& error) {
  DWORD code = 0;
  std::shared_ptr<void> mark = takeMark(uuid, false, code);
  if (mark == nullptr && code == ERROR_SHARING_VIOLATION) {
    error = L"another process of this workstation is just taking the project's cache away; try again";
    return false;
  }
  hostState().projectMark = std::move(mark);
  return true;
}

/// For who can't open a project, of which files lie here all the same.
void tellOfCache(const std::wstring& nameOrUuid, std::wstring& error) {
  std::vector<ProjectReference> places = settings()->recentProjects;
  places.push_back(settings()->lastProject);
  std::wstring uuid = nameOrUuid;
  for (const ProjectReference& place : places) {
    if (place.name == nameOrUuid) uuid = place.directoryName;
  }
  std::wstring directory;
  const bool isHere = isSafeDirectoryName(uuid) && make_prj_dir(PRJ({}, {}, uuid, uuid, true), directory) == 0 &&
                      platform::fileStatus(directory).isDirectory;
  if (!isHere) return;
  error += platform::formatWide(L"\nIts files are still here, in %s; zephor cache remove --project %s takes them away",
                                platform::fromUtf8(platform::systemPath(directory)), uuid);
}

bool makeDirectories(const PRJ& prj, std::wstring& directory, std::wstring& error) {
  if (make_prj_dir(prj, directory) != 0) {
    error = platform::formatWide(L"\"%s\": expected a UUID that names one directory", textOf(prj.directoryName));
    return false;
  }
  const std::wstring bim = platform::joinPath(directory, L"BIM");
  const int code = ldirmkc(bim);
  if (code != 0) error = platform::formatWide(L"%s: the directory can't be made (error %d)", bim, code);
  return code == 0;
}

bool noteAsLast(const PRJ& prj, std::wstring& error) {
  const ProjectReference place{textOf(prj.host), textOf(prj.directoryName), prj.GetProjectName()};
  return hostState().settings->change(
      [&](SettingsValues& values) {
        values.lastProject = place;
        std::erase_if(values.recentProjects, [&](const auto& recent) { return recent.isSamePlace(place); });
        values.recentProjects.insert(values.recentProjects.begin(), place);
        if (values.recentProjects.size() > kLongestRecentList) values.recentProjects.resize(kLongestRecentList);
      },
      error);
}

/// @param isKept  it is noted as the one that was open last
bool open(const std::wstring& nameOrUuid, bool isKept, std::wstring& error) {
  if (!isStarted()) {
    error = L"The workstation is not started.";
    return false;
  }
  FoundProject found;
  if (nameOrUuid.empty() || !findProject(nameOrUuid, found, error)) {
    if (nameOrUuid.empty()) error = L"Expected the name or the UUID of a project.";
    if (!nameOrUuid.empty()) tellOfCache(nameOrUuid, error);
    return false;
  }
  if (!isSafeDirectoryName(found.uuid)) {
    error = platform::formatWide(L"\"%s\": expected a UUID that names one directory", found.uuid);
    return false;
  }
  if (!markOpen(found.uuid, error)) return false;
  PRJ prj = newDescriptor(found);
  std::wstring directory;
  if (!makeDirectories(prj, directory, error) || !ensureDescriptor(directory, prj, error)) {
    tellOfCache(found.uuid, error);
    return false;
  }
  if (isKept && !noteAsLast(prj, error)) return false;
  set_ActivePrj(prj);
  noteOpenProject(prj.GetOndrathProjectUuid());
  return true;
}

}  // namespace

bool openProject(const std::wstring& nameOrUuid, std::wstring& error) {
  return open(nameOrUuid, true, error);
}

bool openProjectForRun(const std::wstring& nameOrUuid, std::wstring& error) {
  return open(nameOrUuid, false, error);
}

bool openCache(const std::wstring& uuid, std::wstring& error) {
  const std::wstring wanted = uuid.empty() ? settings()->lastProject.directoryName : uuid;
  PRJ prj({}, {}, wanted, wanted, true);
  std::wstring directory;
  const bool isThere = !wanted.empty() && isSafeDirectoryName(wanted) && make_prj_dir(prj, directory) == 0 &&
                       platform::fileStatus(directory).isDirectory;
  if (!isThere) {
    error = wanted.empty() ? L"no project is open. Name it with --project"
                           : platform::formatWide(L"the project %s has no directory on this workstation", wanted);
    return false;
  }
  if (!markOpen(wanted, error)) return false;
  PRJ existing;
  std::wstring damage;
  // A descriptor that can't be read keeps nobody from leaving.
  const bool isUsable = readDescriptor(directory, existing, damage) == 0 && existing.IsOndrathProject() &&
                        platform::equalsIgnoreCase(existing.GetOndrathProjectUuid(), wanted);
  set_ActivePrj(isUsable ? existing : prj);
  noteOpenProject(get_ActivePrj().GetOndrathProjectUuid());
  return true;
}

std::shared_ptr<void> takeProjectAlone(std::wstring& error) {
  const std::wstring uuid = get_ActivePrj().GetOndrathProjectUuid();
  hostState().projectMark.reset();
  DWORD code = 0;
  std::shared_ptr<void> mark = takeMark(uuid, true, code);
  if (mark == nullptr) {
    error = code == ERROR_SHARING_VIOLATION
                ? std::wstring(L"another process of this workstation has the project open; end it first")
                : platform::formatWide(L"%s\\%s.open can't be opened (error %u)", kStateDirectory, uuid, code);
  }
  return mark;
}

bool findProjectUuid(const std::wstring& nameOrUuid, std::wstring& uuid, std::wstring& error) {
  FoundProject found;
  if (!findProject(nameOrUuid, found, error)) return false;
  uuid = found.uuid;
  return true;
}

bool isLastProject(const std::wstring& nameOrUuid) {
  const ProjectReference last = settings()->lastProject;
  return last.isSet() &&
         (isNamedBy({{}, {}, last.directoryName, last.name}, nameOrUuid) || nameOrUuid.ends_with(L'/' + last.name));
}

bool reopenLastProject(std::wstring& error) {
  error.clear();
  const ProjectReference last = settings()->lastProject;
  return last.isSet() && openProjectForRun(last.directoryName, error);
}

bool forgetLastProject(std::wstring& name, std::wstring& error) {
  name = settings()->lastProject.name;
  return hostState().settings->change([](SettingsValues& values) { values.lastProject = {}; }, error);
}

bool forgetProject(const std::wstring& uuid, std::wstring& error) {
  return hostState().settings->change(
      [&](SettingsValues& values) {
        const auto isIt = [&](const ProjectReference& place) {
          return platform::equalsIgnoreCase(place.directoryName, uuid);
        };
        if (isIt(values.lastProject)) values.lastProject = {};
        std::erase_if(values.recentProjects, isIt);
      },
      error);
}

void closeProject() {
  closeAllInCore();
  closeProjectDatabases();
  clearCoreObjects();
  hostState().projectMark.reset();
  if (textOf(get_ActivePrj().directoryName).empty()) return;
  set_ActivePrj(PRJ());
  noteOpenProject({});
}

}  // namespace workstation
