#include "zephor/Projects.h"

#include <algorithm>
#include <cwctype>
#include <map>
#include <mutex>

#include "platform/Paths.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kProjectExtension = L".prj";
/// Marks a descriptor that was never read; the value is the host's.
constexpr std::int32_t kLazyFormatNumber = 328;

template <std::size_t Size>
void copyText(wchar_t (&target)[Size], const wchar_t* text) {
  const std::wstring_view source = text != nullptr ? text : L"";
  const std::size_t length = std::min(source.size(), Size - 1);
  std::copy_n(source.begin(), length, target);
  std::fill(target + length, target + Size, L'\0');
}

struct RemoteProjectPaths {
  std::mutex lock;
  std::map<int, std::wstring> byNumber;
};

RemoteProjectPaths& remoteProjectPaths() {
  static auto& paths = *new RemoteProjectPaths;
  return paths;
}

}  // namespace

PRJ WGO_CreateLazyOnlinePRJ(const wchar_t* host, const wchar_t* name) {
  PRJ prj;
  copyText(prj.host, host);
  copyText(prj.directoryName, name);
  prj.projectNumber = kRemoteOnlineProjectNumber;
  prj.formatNumber = kLazyFormatNumber;
  return prj;
}

bool WGO_isRemoteOnlineProjectNr(int number) {
  return number == kRemoteOnlineProjectNumber;
}

bool WGO_registerRemoteOnlineProjectNrPath(int number, const std::wstring& path) {
  RemoteProjectPaths& remote = remoteProjectPaths();
  const std::lock_guard guard(remote.lock);
  remote.byNumber.insert_or_assign(number, path);
  return true;
}

bool WGO_unregisterRemoteOnlineProjectNrPath(int number, const std::wstring& path) {
  RemoteProjectPaths& remote = remoteProjectPaths();
  const std::lock_guard guard(remote.lock);
  const auto found = remote.byNumber.find(number);
  if (found == remote.byNumber.end() || !platform::equalsIgnoreCase(found->second, path)) return false;
  remote.byNumber.erase(found);
  return true;
}

bool WGO_getRemoteOnlineProjectPath(int number, std::wstring& path) {
  RemoteProjectPaths& remote = remoteProjectPaths();
  const std::lock_guard guard(remote.lock);
  const auto found = remote.byNumber.find(number);
  if (found == remote.byNumber.end()) return false;
  path = found->second;
  return true;
}

std::wstring WGO_BuildProjectDirectoryName(const wchar_t* name) {
  std::wstring result = name != nullptr ? name : L"";
  while (!result.empty() && std::iswspace(static_cast<std::wint_t>(result.back())) != 0) result.pop_back();
  if (platform::findIgnoreCase(result, kProjectExtension) == std::wstring::npos) result += kProjectExtension;
  return result;
}

std::wstring ConvertFileNameToFullPath(const PRJ& prj, const std::wstring& name) {
  return platform::joinPath(prj.GetFullProjectPath(true), name);
}

int WGO_DrawingsInteraction(WGO_DrawingInteraction /*interaction*/) {
  return 0;
}

}  // namespace Quorvel::FileAccess
