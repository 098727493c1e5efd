// The road of a change to a container: download, lock, upload, unlock.
#include "cloud/ContainerCall.h"
#include "cloud/Ondrath_Services.h"
#include "host/System.h"
#include "zephor/FileServices.h"
#include "zephor/ResourceContainers.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::uint32_t kAllSteps = 0xFFFFFFFF;

/// The application shows a transfer that it was not told to keep quiet about.
CloudTransferOptions containerOptions(const wchar_t* function, const std::wstring& text, bool quiet) {
  if (quiet || !isExecutedByQuorvel()) return transferOptions(function, {}, 0);
  return transferOptions(function, text, kAllSteps);
}

using LockQuestion = CloudStatus (ICloudProjectService::*)(const std::wstring&, const std::wstring&, bool&);

bool askAboutLock(const wchar_t* function, LockQuestion question, const std::wstring& container, bool& answer) {
  answer = false;
  const std::wstring path = WGO_BuildCloudStdLocalCachePath(container);
  if (path.empty()) return false;
  const CloudStatus status = callService(
      function, [&](ICloudProjectService& service) { return (service.*question)(container, path, answer); });
  if (status == 0) return true;
  answer = false;
  lfperrC(L"%s: cannot check the lock of Standard Resources %s. Error = %d.\n", function, container, status);
  tellUser(ContainerMessage::LockCheckFailed, messageParameters(status, path));
  return false;
}

bool isUnlocked(const wchar_t* function, CloudStatus status, bool quiet) {
  if (status == 0) return true;
  lfperrC(L"%s: cannot unlock Standard Resources. Error = %d.\n", function, status);
  if (!quiet) tellUser(ContainerMessage::UnlockFailed, messageParameters(status));
  return false;
}

}  // namespace

bool downloadContainer(const wchar_t* function, const std::wstring& container, const std::wstring& path, bool quiet) {
  const ScopedAniCursor cursor(!quiet && WGO_GetDisplayAniCursor());
  std::wstring text;
  getlocalizedMessageTextForOndrath(text, path, 0, 0, 0, 0);
  const CloudTransferOptions options = containerOptions(function, text, quiet);
  const CloudStatus status = callService(function, [&](ICloudProjectService& service) {
    return service.DownloadSTDResContainer(container, path, options);
  });
  if (status == 0) return true;
  lfperrC(L"%s: cannot download the Standard Resource to %s. Error = %d.\n", function, path, status);
  if (!quiet) tellUser(ContainerMessage::DownloadFailed, messageParameters(status, path));
  return false;
}

bool WGO_DownloadSTDResContainer(const std::wstring& container, int /*flag*/, bool quiet) {
  if (isNoContainer(container)) return true;
  const std::wstring path = WGO_BuildCloudStdLocalCachePath(container);
  return !path.empty() &&
         downloadContainer(L"Quorvel::FileAccess::WGO_DownloadSTDResContainer", container, path, quiet);
}

bool WGO_DownloadAndLockCORForResourceUpload(const std::wstring& container, int flag, bool quiet) {
  return !isNoContainer(container) && WGO_DownloadSTDResContainer(container, flag, quiet) &&
         WGO_LockResourcesContainer(container, flag, quiet);
}

bool WGO_CommitAndUnlockCOR(const std::wstring& container, int flag, bool quiet) {
  if (isNoContainer(container)) return false;
  const bool isUploaded = WGO_UploadResourcesContainer(container, flag, quiet);
  // Nobody else shall wait for one whose upload failed.
  return WGO_UnlockResourcesContainer(false, quiet) && isUploaded;
}

bool WGO_RollbackAndUnlockCOR(const std::wstring& container, bool quiet) {
  return !isNoContainer(container) && WGO_UnlockResourcesContainer(true, quiet);
}

bool WGO_LockResourcesContainer(const std::wstring& container, int flag, bool quiet) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_LockResourcesContainer";
  if (isNoContainer(container)) return false;
  const CloudStatus status = callService(
      kFunction, [&](ICloudProjectService& service) { return service.LockResourcesContainer(container, flag); });
  if (status == 0) return true;
  lfperrC(L"%s: cannot lock Standard Resources from %s. Error = %d.\n", kFunction, container, status);
  if (!quiet) tellUser(ContainerMessage::LockFailed, messageParameters(status, container));
  return false;
}

bool WGO_UnlockResourcesContainer(bool rollback, bool quiet) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_UnlockResourcesContainer";
  const CloudStatus status =
      callService(kFunction, [&](ICloudProjectService& service) { return service.UnlockResourcesContainer(rollback); });
  return isUnlocked(kFunction, status, quiet);
}

bool WGO_UploadResourcesContainer(const std::wstring& container, int flag, bool quiet) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_UploadResourcesContainer";
  if (isNoContainer(container)) return false;
  const ScopedAniCursor cursor(!quiet && WGO_GetDisplayAniCursor());
  const ContainerUploadRequest request{container, flag, containerOptions(kFunction, {}, quiet)};
  const CloudStatus status =
      callService(kFunction, [&](ICloudProjectService& service) { return service.UploadResourcesContainer(request); });
  if (status == 0) return true;
  lfperrC(L"%s: cannot upload Standard Resources from %s. Error = %d.\n", kFunction, container, status);
  if (!quiet) tellUser(ContainerMessage::UploadFailed, messageParameters(status, container));
  return false;
}

bool WGO_ConnectResourcesContainerwithLocalPath(const std::wstring& container, const std::wstring& path) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_ConnectResourcesContainerwithLocalPath";
  if (isNoContainer(container)) return false;
  const CloudStatus status = callService(kFunction, [&](ICloudProjectService& service) {
    return service.ConnectResourcesContainerWithLocalPath(container, path);
  });
  if (status == 0) return true;
  lfperrC(L"%s: cannot connect Standard Resources %s with %s. Error = %d.\n", kFunction, container, path, status);
  tellUser(ContainerMessage::CopyFailed, copyParameters(status, path, container));
  return false;
}

bool WGO_CheckLockCOR(const std::wstring& container, bool& locked) {
  return askAboutLock(L"Quorvel::FileAccess::WGO_CheckLockCOR", &ICloudProjectService::CheckLockCOR, container, locked);
}

bool WGO_CanUnlockCOR(const std::wstring& container, bool& can) {
  return askAboutLock(L"Quorvel::FileAccess::WGO_CanUnlockCOR", &ICloudProjectService::CanUnlockCOR, container, can);
}

bool WGO_ForceUnlockCOR(const std::wstring& container) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_ForceUnlockCOR";
  const std::wstring path = WGO_BuildCloudStdLocalCachePath(container);
  if (path.empty()) return false;
  const CloudStatus status =
      callService(kFunction, [&](ICloudProjectService& service) { return service.ForceUnlockCOR(path); });
  return isUnlocked(kFunction, status, false);
}

}  // namespace Quorvel::FileAccess
