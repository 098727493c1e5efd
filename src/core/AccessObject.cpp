#include "core/AccessObject.h"

#include <new>
#include <utility>

#include "core/ServiceState.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "zephor/DirectoryChanges.h"
#include "zephor/FileLists.h"
#include "zephor/FileServices.h"
#include "zephor/Projects.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {

bool WGOAccess::IsProjectWithDownload(const PRJ& prj) {
  return WGO_IsProjectWithDownload(prj);
}

void WGOAccess::getOndrathResourceFiles(const PRJ& prj, std::vector<CResourceInfo>& out, int type) {
  WGO_getOndrathResourceFiles(prj, out, static_cast<ShareFileTypeID>(type));
}

bool WGOAccess::DownloadFiles(const PRJ& prj, const std::set<std::wstring>& files) {
  return WGO_DownloadFiles(prj, files);
}

bool WGOAccess::DownloadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& files) {
  return WGO_DownloadFilesWithoutProgressBar(prj, files);
}

long long WGOAccess::UploadChangedFiles(const std::wstring& directory, const std::set<std::wstring>& files) {
  std::vector<WGO_FileCompareInfo> changed;
  for (const std::wstring& file : files) {
    if (_waccess(file.c_str(), 0) == 0) changed.emplace_back(file, WIN32_FIND_DATAW{}, WIN32_FIND_DATAW{});
  }
  const PRJ active = get_ActivePrj();
  WGO_DirectoryChanges changes;
  // The upload asks for its directory alone; a look below that would only take its time.
  changes.init(directory.c_str(), nullptr, false);
  return changes.upload(changed, &active, false) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

bool WGOAccess::UploadFilesWithoutProgressBar(const PRJ& prj, const std::set<std::wstring>& files) {
  return WGO_UploadFilesWithoutProgressBar(prj, files);
}

long long WGOAccess::deleteServerFile(const PRJ& prj, const std::wstring& path) {
  return static_cast<long long>(WGO_deleteServerFile(prj, path.c_str()));
}

std::wstring& WGOAccess::ConvertFileNameToFullPath(std::wstring& result, const PRJ& prj, const std::wstring& name) {
  result = FileAccess::ConvertFileNameToFullPath(prj, name);
  return result;
}

std::unique_ptr<IWGOAccess> CreateWGOAccess() {
  return std::unique_ptr<IWGOAccess>(new (std::nothrow) WGOAccess);
}

void SetWGOAccess(std::unique_ptr<IWGOAccess>&& access) {
  // The old object's end may already ask for the new one.
  const std::unique_ptr<IWGOAccess> old = std::exchange(serviceState().access, std::move(access));
}

IWGOAccess* currentWGOAccess() {
  std::unique_ptr<IWGOAccess>& access = serviceState().access;
  if (access == nullptr) access = CreateWGOAccess();
  return access.get();
}

}  // namespace Quorvel::FileAccess
