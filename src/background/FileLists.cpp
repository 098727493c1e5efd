#include "background/FileLists.h"

#include "cloud/CloudCall.h"
#include "cloud/Ondrath_Services.h"
#include "cloud/UploadPipeline.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "zephor/DirectoryChanges.h"
#include "zephor/FileLists.h"
#include "zephor/NotUploadedFiles.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

bool WGO_DownloadFiles(const PRJ& prj, const std::set<std::wstring>& files) {
  return !prj.IsOndrathProject() || Ondrath_downloadFiles(prj, files, true);
}

bool WGO_DownloadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& files) {
  return !prj.IsOndrathProject() || Ondrath_downloadFiles(prj, files, false);
}

bool WGO_UploadFilesInternals(const PRJ& prj, const std::set<std::wstring>& files, bool progressBar) {
  if (!prj.IsOndrathProject()) return true;
  const CloudCall call(L"Quorvel::FileAccess::WGO_UploadFilesInternals", prj);
  const CTimeTrace timer(WGO_GetTrace(),
                         platform::formatWide(L"%s(): \"count = %d\"", call.function(), static_cast<int>(files.size())),
                         1, false, true);
  std::vector<WGO_FileCompareInfo> batch;
  for (const std::wstring& file : files) {
    const platform::FileStatus status = platform::fileStatus(file);
    if (status.exists && !status.isDirectory) {
      // Two empty entries: sent as a change, whether the server has the file or not.
      batch.emplace_back(file, WIN32_FIND_DATAW{}, WIN32_FIND_DATAW{});
    } else {
      lfperrC(L"%s: cannot access %s\n", call.function(), file);
      addEntryToNotUploadedFilesList(file.c_str());
    }
  }
  const int count = static_cast<int>(batch.size());
  std::wstring text;
  getlocalizedMessageTextForOndrath(text, prj.GetProjectDisplayName(), 5, count, 0, 0);
  const CloudTransferOptions options =
      call.options(std::move(text), progressBar ? static_cast<std::uint32_t>(count) : 0);
  return Threading::Ondrath_UploadFreeFiles(prj, batch, std::vector<bool>(batch.size()), options) == 0;
}

bool WGO_UploadFiles(const PRJ& prj, const std::set<std::wstring>& files) {
  return WGO_UploadFilesInternals(prj, files, true);
}

bool WGO_UploadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& files) {
  return WGO_UploadFilesInternals(prj, files, false);
}

}  // namespace Quorvel::FileAccess
