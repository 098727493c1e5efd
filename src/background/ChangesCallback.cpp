// Who takes a change: an upload, a deletion, the collector of the container, or the host's next synchronisation.
#include "background/BackgroundFile.h"
#include "background/BackgroundState.h"
#include "background/BackgroundThread.h"
#include "background/DeleteThread.h"
#include "background/Pacing.h"
#include "cloud/CloudCall.h"
#include "host/FileTypes.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "zephor/BackgroundChanges.h"
#include "zephor/ResourceContainers.h"
#include "zephor/Service.h"
#include "zephor/UploadFilters.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_callbackManageChanges";
constexpr const wchar_t* kFunctionForWG = L"Quorvel::FileAccess::WGO_callbackManageChangesCORForWG";
constexpr int kSkippedAbove = 2;

enum Action : unsigned long { kAdded = 1, kRemoved = 2, kModified = 3 };
enum class ContainerPart { None, Management, Content };

/// What a path is to the open project's resource container.
ContainerPart containerPartOf(const std::wstring& path) {
  // Empty without a container, and nothing lies below that.
  const std::wstring cache = WGO_BuildCloudStdLocalCachePath(get_ActivePrjCorUuid());
  if (!liesBelow(path, cache)) return ContainerPart::None;
  const std::wstring management = cache + L"\\.cor";
  const bool isManagement = platform::equalsIgnoreCase(path, management) || liesBelow(path, management);
  return isManagement ? ContainerPart::Management : ContainerPart::Content;
}

void collect(const std::wstring& path, unsigned long action) {
  if (action < kAdded || action > kModified) return;
  backgroundState().collector.insertInfo({path, pacing().seconds(), action});
}

/// The rules that never change, made once: to ask is free of locks.
struct ServedFiles {
  ServedFiles() {
    WGO_Exclude_From_BackgroundUpload(excluded);
    WGO_AddPrjDirFilter_OtherwayHandled_BackgroundUploadedFiles(broughtOtherwise);
  }
  WGO_FileFilter excluded;
  WGO_FileFilter broughtOtherwise;
};

/// An object in a served directory is left to the synchronisation: it needs a lock and a header, and a failed upload of
/// it would ask the user.
bool isObject(const std::wstring& name) {
  QuorvelFileType type = eFileType_Unknown;
  int number = -1;
  GetTypeFromFilePathName(name, type, number);
  return type == eFileType_Teilbild || type == eFileType_Plan;
}

bool isServed(const BackgroundFile& file) {
  static const auto& filters = *new ServedFiles;
  const std::wstring relative = file.relativePath();
  return !filters.excluded.IsFileOrDirectoryExcluded(relative.c_str()) &&
         filters.broughtOtherwise.IsFileOrDirectoryExcluded(relative.c_str()) && !isObject(file.name);
}

void manage(const std::wstring& fullPath, unsigned long action) {
  const PRJ project = get_ActivePrj();
  if (!project.IsOndrathProject()) return;
  const std::size_t lastBackslash = fullPath.rfind(L'\\');
  std::wstring directory;
  if (lastBackslash == std::wstring::npos || make_prj_dir(project, directory) != 0) return;
  if (const ContainerPart part = containerPartOf(fullPath); part != ContainerPart::None) {
    if (part == ContainerPart::Content) collect(fullPath, action);
    return;
  }
  if (!liesBelow(fullPath, directory)) return;
  const std::size_t begin = directory.size() + 1;
  const BackgroundFile file{project, directory, fullPath.substr(begin, lastBackslash + 1 - begin),
                            fullPath.substr(lastBackslash + 1)};
  if (!isServed(file)) {
    ltbproC_updateDirChanges(fullPath, action);
    if (WGO_GetTrace() > kSkippedAbove)
      traceBackground(L"%s: UploadThread - skipped! File=\"%s\"\n", kFunction, fullPath);
    return;
  }
  // A new file is left to the notice that it was written.
  if (action == kRemoved) startDeletion(file);
  if (action == kModified && !platform::fileStatus(fullPath).isDirectory) startUpload(file);
}

void manageForWG(const std::wstring& fullPath, unsigned long action) {
  if (containerPartOf(fullPath) == ContainerPart::Content) collect(fullPath, action);
}

/// Keeps exceptions from the host's thread. @return false after one
template <typename Operation>
bool guarded(const wchar_t* function, Operation&& operation) {
  return guardedCall(function, [&] {
           operation();
           return CloudStatus{0};
         }) == 0;
}

}  // namespace

void WGO_callbackManageChanges(const std::wstring& fullPath, unsigned long action) {
  if (!guarded(kFunction, [&] { manage(fullPath, action); })) {
    guarded(kFunction, [&] { ltbproC_updateDirChanges(fullPath, action); });
  }
}

WGO_ChangesCallback WGO_callbackManageChangesFkt() {
  return WGO_callbackManageChanges;
}

void WGO_callbackManageChangesCORForWG(const std::wstring& fullPath, unsigned long action) {
  guarded(kFunctionForWG, [&] { manageForWG(fullPath, action); });
}

WGO_ChangesCallback WGO_callbackManageChangesCORForWGFkt() {
  return WGO_callbackManageChangesCORForWG;
}

}  // namespace Quorvel::FileAccess
