#include "archives/ReplacedProject.h"

#include <utility>

#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "zephor/Diagnostics.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kOperation = L"Quorvel::FileAccess::WGO_unzipProjectFolderToPath";
constexpr int kMostBackups = 1000;

bool isOpenHere(const std::wstring& directory) {
  const std::wstring open = get_ActPrjPath();
  return !open.empty() &&
         platform::equalsIgnoreCase(platform::weaklyCanonical(open), platform::weaklyCanonical(directory));
}

std::wstring reasonOf(DWORD error) {
  std::wstring reason;
  ConnectionLogger::WGO_GetErrorString(error, reason);
  return reason;
}

}  // namespace

ReplacedProject::ReplacedProject(std::wstring directory) : directory_(std::move(directory)) {}

bool ReplacedProject::setAside() {
  if (isOpenHere(directory_)) return fail(reasonOf(ERROR_SHARING_VIOLATION));
  platform::TrashFailure trouble;
  const DWORD error = platform::moveToTrash(directory_, &trouble, &thrown_);
  if (error == ERROR_SUCCESS) {
    lfperrC(L"%s: %s: moved to the trash, %s\n", kOperation, directory_, platform::fromUtf8(thrown_));
    return true;
  }
  thrown_.clear();
  if (trouble.isInTrash) return fail(platform::fromUtf8(trouble.reason + "\n" + trouble.place));
  return error == ERROR_SHARING_VIOLATION ? fail(reasonOf(error)) : renameBeside();
}

bool ReplacedProject::renameBeside() {
  for (int i = 1; i < kMostBackups; ++i) {
    const std::wstring name = directory_ + L".bak" + (i > 1 ? std::to_wstring(i) : L"");
    if (MoveFileExW(directory_.c_str(), name.c_str(), 0) != FALSE) {
      backup_ = name;
      lfperrC(L"%s: %s: renamed to %s\n", kOperation, directory_, backup_);
      return true;
    }
    if (GetLastError() != ERROR_ALREADY_EXISTS) break;
  }
  return fail(reasonOf(GetLastError()));
}

void ReplacedProject::bringBack() {
  const bool isBack = !backup_.empty() ? MoveFileExW(backup_.c_str(), directory_.c_str(), 0) != FALSE
                                       : platform::takeFromTrash(thrown_, directory_);
  if (!isBack) lfperrC(L"%s: %s: its place is taken\n", kOperation, directory_);
}

bool ReplacedProject::fail(const std::wstring& reason) {
  failure_ = platform::formatWide(L"%s\n\n%s", directory_, reason);
  return false;
}

}  // namespace Quorvel::FileAccess
