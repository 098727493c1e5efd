// The first load of a project's cache.
#include <algorithm>
#include <set>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Context.h"
#include "workstation/program/ProjectComparison.h"
#include "zephor/FileLists.h"
#include "zephor/ProjectCache.h"

namespace workstation::program {

namespace {

/// Stands from before a load until what came is noted.
std::wstring markOf(const std::wstring& projectUuid) {
  return platform::joinPath(L"C:\\State", projectUuid + L".loading");
}

void setMark(const std::wstring& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    throw CommandFailure{ExitCode::Failure, platform::formatWide(L"%s can't be made (error %u)", path, GetLastError())};
  }
  CloseHandle(file);
}

/// The full load empties the directories below "BIM".
bool isBelowBim(const std::wstring& name) {
  constexpr std::wstring_view kBim = L"BIM\\";
  return platform::startsWithIgnoreCase(name, kBim) && name.find(L'\\', kBim.size()) != std::wstring::npos;
}

/// Whether a file here may be somebody's work. What an interrupted load has brought is none.
bool isUnsent(const ComparedFile& file, CacheRecord* record) {
  if (!file.here.isKnown()) return false;
  const SeenFile* const seen = record != nullptr ? record->find(file.name) : nullptr;
  return file.hasTwin || seen == nullptr ||
         !(seen->settled.looksLike(file.here) || seen->announced.looksLike(file.here));
}

bool hasUnsent(const ProjectComparison& comparison) {
  const auto record = CacheRecord::of(comparison.projectUuid, comparison.directory);
  return std::any_of(comparison.differing.begin(), comparison.differing.end(),
                     [&](const ComparedFile& file) { return isUnsent(file, record.get()); }) ||
         std::any_of(comparison.keptOut.begin(), comparison.keptOut.end(), isBelowBim) ||
         std::any_of(comparison.passedOver.begin(), comparison.passedOver.end(), isBelowBim);
}

/// What the load has brought and taken away again comes once more, by name.
void fetchMissing(const ProjectComparison& comparison) {
  std::set<std::wstring> missing;
  for (const ComparedFile& file : comparison.differing) {
    if (!file.here.isKnown()) missing.insert(platform::joinPath(comparison.directory, file.name));
  }
  if (missing.empty() || Quorvel::FileAccess::WGO_DownloadFiles(get_ActivePrj(), missing)) return;
  throw CommandFailure{ExitCode::Failure, platform::formatWide(L"%d of the project's files could not be loaded; "
                                                               L"zephor sync goes on with it",
                                                               missing.size())};
}

}  // namespace

bool isLoadUnfinished(const std::wstring& projectUuid) {
  return platform::fileStatus(markOf(projectUuid)).exists;
}

void markCacheWhole(const ProjectComparison& comparison) {
  if (const auto record = CacheRecord::of(comparison.projectUuid, comparison.directory)) record->setWhole();
  DeleteFileW(markOf(comparison.projectUuid).c_str());
}

bool loadFreshCache(Context& context, LoadedFiles* loaded) {
  const ProjectComparison before = compareProject(context);
  if (before.isWhole || hasUnsent(before)) return false;
  const std::wstring mark = markOf(before.projectUuid);
  setMark(mark);
  PRJ project = get_ActivePrj();
  const long result = Quorvel::FileAccess::WGO_refreshProjectCacheFromServer(project);
  if (result != 0) {
    throw CommandFailure{ExitCode::Failure, L"the project's files could not be loaded (code " +
                                                std::to_wstring(result) + L"); zephor sync goes on with it"};
  }
  ProjectComparison after = compareProject(context);
  const bool isComplete = std::all_of(after.differing.begin(), after.differing.end(),
                                      [](const ComparedFile& file) { return file.here.isKnown(); });
  if (!isComplete) {
    fetchMissing(after);
    after = compareProject(context);
  }
  recordInStep(context, after.unrecorded);
  DeleteFileW(mark.c_str());
  if (loaded == nullptr) return true;
  const auto count = [&](const ComparedFile& file) {
    if (!file.store) return;
    ++loaded->files;
    loaded->bytes += static_cast<std::uint64_t>(file.store->size);
  };
  for (const ComparedFile& file : before.differing) count(file);
  if (before.userList) count(*before.userList);
  return true;
}

}  // namespace workstation::program
