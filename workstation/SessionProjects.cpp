// Opening projects of the store on this workstation.

#include <algorithm>
#include <ctime>
#include <vector>

#include "host/Cloud.h"
#include "host/Files.h"
#include "host/Guid.h"
#include "host/Project.h"
#include "host/System.h"
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

PRJ newDescriptor(const FoundProject& project) {
  PRJ prj(project.teamUuid, project.teamName, project.name, project.uuid, true);
  prj.creationTime = static_cast<std::int32_t>(std::time(nullptr));
  prj.countryNumber = GetInstalledDefaultCountryNumber();
  prj.projectGuid = GetGUID();
  prj.owner = currentUserNumber(prj);
  if (prj.owner >= 0) prj.setMember(static_cast<unsigned>(prj.owner));
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
  prj = existing;
  return true;
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

}  // namespace

bool openProject(const std::wstring& nameOrUuid, std::wstring& error) {
  if (!isStarted()) {
    error = L"The workstation is not started.";
    return false;
  }
  FoundProject found;
  if (nameOrUuid.empty() || !findProject(nameOrUuid, found, error)) {
    if (nameOrUuid.empty()) error = L"Expected the name or the UUID of a project.";
    return false;
  }
  if (!isSafeDirectoryName(found.uuid)) {
    error = platform::formatWide(L"\"%s\": expected a UUID that names one directory", found.uuid);
    return false;
  }
  PRJ prj = newDescriptor(found);
  std::wstring directory;
  if (!makeDirectories(prj, directory, error) || !ensureDescriptor(directory, prj, error)) return false;
  if (!noteAsLast(prj, error)) return false;
  set_ActivePrj(prj);
  noteOpenProject(prj.GetOndrathProjectUuid());
  return true;
}

bool reopenLastProject(std::wstring& error) {
  error.clear();
  const ProjectReference last = settings()->lastProject;
  return last.isSet() && openProject(last.directoryName, error);
}

bool forgetLastProject(std::wstring& name, std::wstring& error) {
  name = settings()->lastProject.name;
  return hostState().settings->change([](SettingsValues& values) { values.lastProject = {}; }, error);
}

void closeProject() {
  closeAllInCore();
  closeProjectDatabases();
  clearCoreObjects();
  if (textOf(get_ActivePrj().directoryName).empty()) return;
  set_ActivePrj(PRJ());
  noteOpenProject({});
}

}  // namespace workstation
