// A whole project brought in step with the server.
#include "cloud/ProjectCache.h"
#include "filters/UploadFilters.h"
#include "host/Locking.h"
#include "host/Project.h"
#include "host/Trace.h"
#include "services/ServedProject.h"
#include "zephor/FileServices.h"
#include "zephor/ProjectCache.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kSyncPrjDir = L"Quorvel::FileAccess::WGO_syncPrjDir";

/// Puts together what a synchronisation leaves out.
/// @return false when the user's filter file switched the project's synchronisation off
bool buildFilter(const PRJ& prj, int mode, WGO_FileFilter& filter) {
  AddPrjDirFilter_BaseRules(filter);
  AddPrjDirFilter_InternalFiles(filter);
  AddPrjDirFilter_UserFiles(filter);
  filter.ExcludeFileExact(L"PrjAtt.dat");
  if (!ApplySyncFilterExcludes(prj.GetDirectoryName(), filter)) return false;
  if (mode == eWGOPrjSyncMode_Full || mode == eWGOPrjSyncMode_FullBackup) return true;
  WGO_AddPrjDirFilter_ExcludeTBPlanFiles(filter);
  AddPrjDirFilter_ResourceFiles(filter);
  filter.ExcludeFileExact(L"MarkNumberingSchema.xml");
  return true;
}

long synchronise(const PRJ& prj, int mode) {
  // The cloud alone decides which files come. The filter is put together all the same, in every mode, because through
  // it the user's file can forbid the synchronisation. The directory's name is not handed on either, and none that ends
  // in ".backup" is ever made.
  WGO_FileFilter filter;
  if (!buildFilter(prj, mode, filter)) {
    lfperrC(L"%s: the filter file of \"%s\" switches its synchronisation off\n", kSyncPrjDir, prj.GetDirectoryName());
    return static_cast<long>(kNoSyncDone);
  }
  [[maybe_unused]] std::wstring directory = WGO_BuildProjectDirectoryName(prj.GetDirectoryName());
  if (mode == eWGOPrjSyncMode_FullBackup) directory += L".backup";
  const long result = Ondrath_EnsureLocalProjectCache(prj, mode);
  return result < 0 ? result : 0;
}

}  // namespace

long WGO_syncPrjDir(PRJ& prj, WGO_PrjSyncMode mode) {
  if (mode == eWGOPrjSyncMode_NoWork) {
    lfperrC(L"%s: eSyncMode == eWGOPrjSyncMode_NoWork\n", kSyncPrjDir);
    return static_cast<long>(kNoSyncDone);
  }
  if (!prj.IsOndrathProject()) {
    lfperrC(L"%s: host is no ondrath server %s\n", kSyncPrjDir, prj.host);
    return static_cast<long>(kNoSyncDone);
  }
  resetBimDownload();
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  // The files that are rewritten must not raise lock traffic.
  const IZepFileLockingAgent::ScopedSuspend suspend;
  const std::wstring oldHost = currentHost();
  const std::wstring oldProject = currentProjectDirectory();
  const CScopedPrjSettings settings(prj.host, prj.GetDirectoryName());
  const long result = synchronise(prj, mode);
  // Back before the guard's own end, which does it once more.
  std::wstring host;
  std::wstring project;
  WGO_FullInitWorkgroup(oldHost, oldProject, host, project);
  return result;
}

}  // namespace Quorvel::FileAccess
