#include "workstation/projects/ProjectNames.h"

#include "host/Project.h"
#include "host/System.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/WindowsTypes.h"
#include "workstation/system/Folders.h"

namespace workstation {
namespace {

constexpr const wchar_t* kEnding = L".prj";
constexpr std::size_t kEndingLength = 4;
constexpr std::size_t kLongestDirectoryName = 50;

}  // namespace

bool isSafeDirectoryName(const std::wstring& name) {
  const bool isShort = name.size() <= kLongestDirectoryName && name.find_first_of(L"\\/") == std::wstring::npos;
  const bool isEndingAlone = platform::equalsIgnoreCase(name, kEnding);
  return isShort && !isEndingAlone && platform::isSafeRelativeName(withoutProjectEnding(name));
}

std::wstring withProjectEnding(const std::wstring& name) {
  return platform::endsWithIgnoreCase(name, kEnding) ? name : name + kEnding;
}

std::wstring withoutProjectEnding(const std::wstring& name) {
  const bool isEnded = name.size() > kEndingLength && platform::endsWithIgnoreCase(name, kEnding);
  return isEnded ? name.substr(0, name.size() - kEndingLength) : name;
}

std::wstring projectDirectory(const std::wstring& host, const std::wstring& directoryName) {
  if (!isSafeDirectoryName(directoryName)) return {};
  return platform::formatWide(L"%s\\Prj\\%s\\%s", ZSYST_getLocalDataDirectory(), serverRootName(host),
                              withProjectEnding(directoryName));
}

}  // namespace workstation

int make_prj_dir(const PRJ& prj, std::wstring& out) {
  std::wstring host = workstation::textOf(prj.host);
  if (host.empty()) host = workstation::kLocalHost;
  if (!workstation::isKnownHost(host)) return static_cast<int>(ERROR_PATH_NOT_FOUND);
  const std::wstring directory = workstation::projectDirectory(host, workstation::textOf(prj.directoryName));
  if (directory.empty()) return static_cast<int>(ERROR_INVALID_NAME);
  out = directory;
  return 0;
}
