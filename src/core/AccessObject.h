// The access object over the exported services.
#pragma once

#include "zephor/Service.h"

namespace Quorvel::FileAccess {

class WGOAccess : public IWGOAccess {
 public:
  bool IsProjectWithDownload(const PRJ& prj) override;
  void getOndrathResourceFiles(const PRJ& prj, std::vector<CResourceInfo>& out, int type) override;
  bool DownloadFiles(const PRJ& prj, const std::set<std::wstring>& files) override;
  bool DownloadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& files) override;
  long long UploadChangedFiles(const std::wstring& directory, const std::set<std::wstring>& files) override;
  bool UploadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& files) override;
  long long deleteServerFile(const PRJ& prj, const std::wstring& path) override;
  std::wstring& ConvertFileNameToFullPath(std::wstring& result, const PRJ& prj, const std::wstring& name) override;
};

/// The access object in place, made on the first demand; what the background services call.
/// @return null only when memory is short
IWGOAccess* currentWGOAccess();

}  // namespace Quorvel::FileAccess
