// The host's path numbers: set for the process, or for one thread while a scope lives.

#include <algorithm>
#include <utility>
#include <vector>

#include "host/Files.h"
#include "host/Project.h"
#include "host/System.h"
#include "platform/Paths.h"
#include "platform/WindowsTypes.h"
#include "workstation/HostState.h"
#include "workstation/system/StandardResources.h"

namespace {

constexpr int kProjectPath = 1;
constexpr int kCloudRootPath = 41;

/// Paths that scopes of this thread put in the place of others, the innermost last.
thread_local std::vector<std::pair<int, std::wstring>> overlays;

/// How a path reads under its number: with one backslash at its end, the root of the cloud projects without.
std::wstring asPathNumber(int number, std::wstring path) {
  while (!path.empty() && (path.back() == L'\\' || path.back() == L'/')) path.pop_back();
  if (!path.empty() && number != kCloudRootPath) path += L'\\';
  return path;
}

std::wstring* findOverlay(int number) {
  const auto found =
      std::find_if(overlays.rbegin(), overlays.rend(), [number](const auto& entry) { return entry.first == number; });
  return found == overlays.rend() ? nullptr : &found->second;
}

std::wstring builtInPath(int number) {
  switch (number) {
    case kProjectPath:
      return get_ActPrjPath();
    case 8:
    case 18:
      return platform::joinPath(ZSYST_getLocalDataDirectory(), L"Net");
    case 29:
      return workstation::standardResourcesFolder();
    case kCloudRootPath:
      return globalHostsManager::instance().getHostPath(kOndrathHost);
    default:
      return {};
  }
}

}  // namespace

std::wstring lfinigC(int pathNumber) {
  if (const std::wstring* overlay = findOverlay(pathNumber)) return *overlay;
  workstation::HostState& state = workstation::hostState();
  {
    const std::lock_guard guard(state.mutex);
    const auto found = state.paths.find(pathNumber);
    if (found != state.paths.end()) return found->second;
  }
  return asPathNumber(pathNumber, builtInPath(pathNumber));
}

// Inside a scope the scope's path is the one that is set: who sets a path must read it back.
void lfinipC(int pathNumber, const std::wstring& path) {
  const std::wstring value = asPathNumber(pathNumber, path);
  if (std::wstring* overlay = findOverlay(pathNumber)) {
    *overlay = value;
    return;
  }
  workstation::HostState& state = workstation::hostState();
  const std::lock_guard guard(state.mutex);
  if (value.empty()) {
    state.paths.erase(pathNumber);
  } else {
    state.paths.insert_or_assign(pathNumber, value);
  }
}

ScopedPathPut::ScopedPathPut(int pathNumber, const std::wstring& path) : pathNumber_(pathNumber) {
  overlays.emplace_back(pathNumber, asPathNumber(pathNumber, path));
}

ScopedPathPut::~ScopedPathPut() {
  const auto found = std::find_if(overlays.rbegin(), overlays.rend(),
                                  [this](const auto& entry) { return entry.first == pathNumber_; });
  if (found != overlays.rend()) overlays.erase(std::next(found).base());
}

int lffnamC(int pathNumber, const std::wstring& name, std::wstring& path) {
  if (!platform::isSafeRelativeName(name)) return static_cast<int>(ERROR_INVALID_NAME);
  const std::wstring directory = lfinigC(pathNumber);
  if (directory.empty()) return static_cast<int>(ERROR_PATH_NOT_FOUND);
  path = platform::joinPath(directory, name);
  return 0;
}
