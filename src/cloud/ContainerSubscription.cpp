// Where a container's cache lies, and taking the standard resources from it.
#include "cloud/ContainerCall.h"
#include "host/Events.h"
#include "host/Files.h"
#include "host/Guid.h"
#include "host/System.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "zephor/ResourceContainers.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kCacheFolder = L"CloudSTD";
constexpr std::size_t kLongestDataDirectory = 192;

bool isUuid(const std::wstring& text) {
  GUID guid{};
  return Cad::Service::ZP_GUIDValueProvider::scanGUID(text, guid);
}

/// A name that stays where it is joined to: caches are deleted by this path.
bool isOneComponent(const std::wstring& name) {
  return platform::isSafeRelativeName(name) && name.find_first_of(L"\\/") == std::wstring::npos;
}

}  // namespace

std::wstring WGO_BuildCloudStdLocalCachePath(const std::wstring& container) {
  const std::wstring directory = ZSYST_getLocalDataDirectory();
  // A path that was cut would be another directory.
  if (directory.empty() || directory.size() > kLongestDataDirectory) return {};
  if (isNoContainer(container) || !isOneComponent(container)) return {};
  return platform::formatWide(L"%s\\%s\\%s", directory, kCacheFolder, container);
}

std::wstring WGO_GetCloudStdUuidFromPath(const std::wstring& path) {
  bool isBelowCaches = false;
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(path.find_first_of(L"\\/", begin), path.size());
    std::wstring component = path.substr(begin, end - begin);
    begin = end + 1;
    if (component.empty()) continue;
    if (isBelowCaches && isUuid(component)) return component;
    isBelowCaches = platform::equalsIgnoreCase(component, kCacheFolder);
  }
  return {};
}

bool WGO_SubscribeCOR(const std::wstring& container) {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_SubscribeCOR";
  const std::wstring path = WGO_BuildCloudStdLocalCachePath(container);
  if (path.empty()) return false;
  const CloudStatus status =
      callService(kFunction, [&](ICloudProjectService& service) { return service.SubscribeCOR(container, path); });
  if (status == 0) return true;
  lfperrC(L"%s: cannot subscribe to Standard Resources %s. Error = %d.\n", kFunction, container, status);
  tellUser(ContainerMessage::SubscribeFailed, messageParameters(status, container));
  return false;
}

bool WGO_UnsubscribeCOR() {
  constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_UnsubscribeCOR";
  const CloudStatus status =
      callService(kFunction, [](ICloudProjectService& service) { return service.UnsubscribeCOR(); });
  if (status == 0) return true;
  lfperrC(L"%s: problems by ending the current subscription. Error = %d.\n", kFunction, status);
  tellUser(ContainerMessage::UnsubscribeFailed, messageParameters(status));
  return false;
}

bool WGO_SwitchSTDPathsToCORCachePath(const std::wstring& container) {
  std::wstring path = WGO_BuildCloudStdLocalCachePath(container);
  if (path.empty()) return false;
  lfslash_cat(path);
  ZSYST_FreeStdFullPathStrings();
  ZSYST_putCurrentCORPath(path);
  lfpath_ini_std_dependent_paths();
  Zephor_CallbackCenter_GetCenter()->FireEvent();
  return true;
}

}  // namespace Quorvel::FileAccess
