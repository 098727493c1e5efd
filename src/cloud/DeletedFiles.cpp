#include "cloud/CacheNames.h"
#include "cloud/CloudCall.h"
#include "host/Files.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "zephor/CloudFiles.h"
#include "zephor/ProjectCache.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

void WGO_getOndrathDeletedFiles(const PRJ& prj, std::vector<std::wstring>& out, ShareFileTypeID type) {
  const CloudCall call(L"Quorvel::FileAccess::WGO_getOndrathDeletedFiles", prj);
  out.clear();
  if (type < eShareFile_Resource || type > eShareFile_Bim) {
    lfperrC(L"%s: wrong parameter\n", call.function());
    return;
  }
  if (!call.requireCloudProject()) return;
  const CTimeTrace timer(
      WGO_GetTrace(),
      platform::formatWide(L"%s{Ondrath GetQuorvelProjectResourceFiles() }: \"%s\"", call.function(), call.project()),
      1, false, true);
  std::vector<std::wstring> names;
  constexpr const wchar_t* kFailed = L"%s: listing the deleted files of \"%s\" failed with 0x%08lx.\n";
  const CloudStatus status =
      call.run(kFailed, call.project(), [&](ICloudProjectService& service, const std::wstring& project) {
        return service.GetQuorvelProjectResourceFiles(project, names, kCloudKindDeletedFirst + type);
      });
  if (status == 0) out = std::move(names);
}

void WGO_resolveOndrathDeletedFilesInCache(const PRJ& prj, ShareFileTypeID type) {
  if (!prj.IsOndrathProject()) return;
  const CloudCall call(L"Quorvel::FileAccess::WGO_resolveOndrathDeletedFilesInCache", prj);
  if (!requireOpenProject(call)) return;
  std::vector<std::wstring> names;
  WGO_getOndrathDeletedFiles(prj, names, type);
  if (names.empty()) {
    lfperrC(L"%s: no deleted files found\n", call.function());
    return;
  }
  const std::wstring directory = get_ActPrjPath();
  for (const std::wstring& name : names) {
    const std::optional<std::wstring> path = placeInDirectory(directory, name);
    if (!path) {
      lfperrC(L"%s: \"%s\" is no name of a file of the project\n", call.function(), name);
      continue;
    }
    const platform::FileStatus status = platform::fileStatus(*path);
    // A directory that has taken the name since is not what was deleted.
    if (!status.exists || status.isDirectory) continue;
    lfperrC(L"%s: move deleted file %s to WindowsRecycleBin\n", call.function(), *path);
    if (!moveFileToWindowsRecycleBin(*path))
      lfperrC(L"%s: \"%s\" stays: it could not be moved\n", call.function(), *path);
  }
}

}  // namespace Quorvel::FileAccess
