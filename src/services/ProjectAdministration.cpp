#include "zephor/ProjectAdministration.h"

#include <cwctype>

#include "cloud/ProjectInformation.h"
#include "host/Locking.h"
#include "services/ServedProject.h"
#include "zephor/ProjectCache.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {
namespace {

std::wstring trimmedAtEnd(std::wstring text) {
  while (!text.empty() && std::iswspace(static_cast<std::wint_t>(text.back())) != 0) text.pop_back();
  return text;
}

}  // namespace

bool WGO_deleteProject(PRJ& prj) {
  if (!prj.IsOndrathProject() || !Ondrath_deleteProject(prj)) return false;
  std::wstring directory;
  if (make_prj_dir(prj, directory) != 0) return false;
  WGO_deleteLocalProjectCache(prj, true);
  Prj_RemoveEntryFromRecentListByName(prj.GetDirectoryName(), prj.host);
  return true;
}

bool WGO_createProjectPath(const wchar_t* host, const wchar_t* name, std::wstring& path) {
  if (host == nullptr || name == nullptr) return false;
  PRJ prj;
  std::wstring directory;
  if (get_project_info(host, trimmedAtEnd(name), prj, 1, 0) != 0 || make_prj_dir(prj, directory) != 0) return false;
  path = directory;
  return true;
}

bool WGO_cleanupLocks(const wchar_t* host, const wchar_t* project) {
  if (host == nullptr || project == nullptr) return true;
  const IZepFileLockingAgent::ScopedSuspend suspend;
  const CScopedPrjSettings settings(host, project);
  // Still before the open project, this would give back the locks that its user works under.
  if (isAimedAt(host, project)) getFileLockingManager().CleanupLocks(0);
  return true;
}

bool WGO_deleteServerPrjDir(const wchar_t* /*host*/, const wchar_t* /*project*/) {
  return true;
}

bool WGO_renameServerPrjDir(const wchar_t* /*host*/, const wchar_t* /*oldName*/, const wchar_t* /*newName*/) {
  return true;
}

bool WGO_createOnlineServerDirectory(const wchar_t* /*directory*/) {
  return false;
}

bool WGO_isRemoteOnlineProject(const PRJ& /*prj*/) {
  return false;
}

bool WGO_isRemoteOnlineProjectInUse(const PRJ& /*prj*/) {
  return false;
}

unsigned long WGO_getUserInfoFromOnlineServerProject(const PRJ& /*prj*/, std::vector<QuorvelUser>& /*users*/) {
  return 0;
}

unsigned long WGO_getOnlineServerFiles(const wchar_t* /*directory*/, const wchar_t* /*pattern*/,
                                       std::vector<RemoteFileEntry>& /*files*/) {
  return 0;
}

}  // namespace Quorvel::FileAccess
