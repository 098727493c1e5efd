// Stands in for src/cloud/ProjectCache.h where the library has no bodies for it yet.
#include "cloud/CloudCall.h"
#include "cloud/ProjectCache.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {

long Ondrath_EnsureLocalProjectCache(const PRJ& prj, int mode) {
  ICloudProjectService& service = *QuorvelCloudController()->GetProjectService();
  std::wstring text;
  if (service.CheckProjectAccess(prj.GetOndrathProjectUuid(), text) != 0) {
    return static_cast<std::int32_t>(kProjectRefused);
  }
  const std::wstring uuid = prj.GetOndrathProjectUuid();
  const std::wstring directory = prj.GetFullProjectPath(true);
  const CloudStatus status = mode == 2 || mode == 3 ? service.DownloadQuorvelProjectFiles(uuid, directory, 5, {})
                                                    : service.DownloadQuorvelProjectBaseFiles(uuid, directory, 1, {});
  return status == 0 ? 0 : -1;
}

bool Ondrath_CompareServerFilesWithLocalFiles(const PRJ&, const std::wstring&, const std::vector<std::wstring>&,
                                              std::vector<std::wstring>&, bool) {
  return false;
}

void resetBimDownload() {}

}  // namespace Quorvel::FileAccess
