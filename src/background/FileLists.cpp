#include "zephor/FileLists.h"

#include "cloud/Ondrath_Services.h"
#include "host/Project.h"

namespace Quorvel::FileAccess {

bool WGO_DownloadFiles(const PRJ& prj, const std::set<std::wstring>& files) {
  return !prj.IsOndrathProject() || Ondrath_downloadFiles(prj, files, true);
}

bool WGO_DownloadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& files) {
  return !prj.IsOndrathProject() || Ondrath_downloadFiles(prj, files, false);
}

bool WGO_UploadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& /*files*/) {
  return !prj.IsOndrathProject();
}

}  // namespace Quorvel::FileAccess
