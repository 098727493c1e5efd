// The projects that this workstation knows: those with a descriptor on its disk, and those opened lately.

#include <algorithm>

#include "host/Files.h"
#include "host/Project.h"
#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/HostState.h"
#include "workstation/projects/ProjectNames.h"

using workstation::textOf;

namespace {

bool hasDescriptor(const std::wstring& host, const std::wstring& name) {
  if (globalHostsManager::instance().getHostPath(host).empty()) return false;
  const std::wstring directory = workstation::projectDirectory(host, name);
  return !directory.empty() && platform::fileStatus(platform::joinPath(directory, workstation::kDescriptorFile)).exists;
}

}  // namespace

bool projectExistsEx(const std::wstring& host, const std::wstring& name) {
  return hasDescriptor(host, name);
}

int ltbispC(const std::wstring& project) {
  if (project.empty()) return 0;
  const auto settings = workstation::settings();
  const std::wstring name = workstation::withoutProjectEnding(project);
  if (hasDescriptor(kOndrathHost, name) || hasDescriptor(L"localhost", name)) return 1;
  for (const auto& [server, unused] : settings->servers) {
    if (hasDescriptor(server, name)) return 1;
  }
  return std::any_of(settings->recentProjects.begin(), settings->recentProjects.end(),
                     [&](const workstation::ProjectReference& recent) {
                       return platform::equalsIgnoreCase(recent.directoryName, name) || recent.name == name;
                     })
             ? 1
             : 0;
}

int ltbgetC(std::wstring& directory, std::wstring& name, int /*flags*/) {
  const PRJ prj = get_ActivePrj();
  const std::wstring path = prj.GetFullProjectPath(true);
  if (path.empty()) return static_cast<int>(ERROR_FILE_NOT_FOUND);
  directory = platform::directoryOf(path);
  name = workstation::withoutProjectEnding(textOf(prj.directoryName));
  return 0;
}

int put_project_info(const PRJ& prj) {
  std::wstring directory;
  if (const int code = make_prj_dir(prj, directory)) return code;
  if (const int code = ldirmkc(directory)) return code;
  if (const int code = NetID_WritePrjInfoByPath(directory, prj, 0)) return code;
  const PRJ active = get_ActivePrj();
  const bool isActive =
      textOf(active.directoryName) == textOf(prj.directoryName) && textOf(active.host) == textOf(prj.host);
  if (isActive) set_ActivePrj(prj);
  return 0;
}

int ltbpcrC(const PRJ& prj) {
  if (hasDescriptor(textOf(prj.host), textOf(prj.directoryName))) return static_cast<int>(ERROR_ALREADY_EXISTS);
  return put_project_info(prj);
}

void Prj_RemoveEntryFromRecentListByName(const std::wstring& directoryName, const std::wstring& host) {
  const workstation::ProjectReference place{host, workstation::withoutProjectEnding(directoryName), {}};
  workstation::changeSettings([&](workstation::SettingsValues& values) {
    std::erase_if(values.recentProjects, [&](const auto& recent) { return recent.isSamePlace(place); });
    if (values.lastProject.isSamePlace(place)) values.lastProject = {};
  });
}
