#include "services/ProjectPlace.h"

#include "host/Files.h"
#include "host/NetManager.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "zephor/Projects.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kCloudRoot = 41;

}  // namespace

bool isPlainName(const std::wstring& name) {
  return name.find_first_of(L"\\/") == std::wstring::npos && platform::isSafeRelativeName(name);
}

std::wstring projectPlace(const PRJ& prj) {
  const std::wstring root = lfinigC(kCloudRoot);
  const std::wstring name = WGO_BuildProjectDirectoryName(prj.GetDirectoryName());
  if (root.empty() || *prj.GetDirectoryName() == L'\0' || !isPlainName(name)) return {};
  return platform::formatWide(L"%s\\%s", root, name);
}

std::wstring transferPlace(const PRJ& prj) {
  const std::wstring root = NetManager::getUserAppDataPath();
  const std::wstring uuid = prj.GetOndrathProjectUuid();
  if (root.empty() || !isPlainName(uuid)) return {};
  return platform::formatWide(L"%s\\Temp\\%s.bak", root, uuid);
}

}  // namespace Quorvel::FileAccess
