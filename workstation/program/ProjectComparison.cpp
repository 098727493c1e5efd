#include "workstation/program/ProjectComparison.h"

#include <filesystem>
#include <map>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/People.h"
#include "workstation/program/SyncBase.h"
#include "zephor/ProjectCache.h"
#include "zephor/UploadFilters.h"

namespace workstation::program {

namespace {

namespace fs = std::filesystem;

/// By name in lower case.
using Compared = std::map<std::wstring, ComparedFile>;

void readHere(ProjectComparison& comparison, Compared& compared) {
  const fs::path root = platform::systemPath(comparison.directory);
  std::error_code error;
  fs::recursive_directory_iterator entry(root, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    if (!entry->is_regular_file(error)) continue;
    std::wstring name = platform::fromUtf8(entry->path().lexically_relative(root).generic_string());
    for (wchar_t& c : name) c = c == L'/' ? L'\\' : c;
    if (isPrivateFile(name)) continue;
    const platform::FileStatus status = platform::fileStatus(platform::joinPath(comparison.directory, name));
    ++comparison.files;
    comparison.bytes += status.size;
    ComparedFile& file = compared[platform::toLower(name)];
    file.hasTwin = !file.name.empty();
    file.name = std::move(name);
    file.here = {
        static_cast<std::int64_t>(status.size), static_cast<std::int64_t>(platform::toTicks(status.writeTime)), {}};
  }
  if (error) {
    throw CommandFailure{ExitCode::Failure,
                         comparison.directory + L" can't be read: " + platform::fromUtf8(error.message())};
  }
}

void readStore(Context& context, const ProjectComparison& comparison, Compared& compared) {
  std::vector<StoredFile> listed;
  check(context.store().files(context.actor(), comparison.projectUuid, kAllClasses, listed));
  for (StoredFile& stored : listed) {
    if (isPrivateFile(stored.name)) continue;
    ComparedFile& file = compared[platform::toLower(stored.name)];
    if (file.name.empty()) file.name = stored.name;
    file.store = std::move(stored);
  }
}

}  // namespace

ProjectComparison compareProject(Context& context) {
  ProjectComparison comparison;
  const PRJ project = get_ActivePrj();
  comparison.projectUuid = project.GetOndrathProjectUuid();
  comparison.directory = project.GetFullProjectPath(true);
  const auto record = CacheRecord::of(comparison.projectUuid, comparison.directory);
  comparison.isWhole = record != nullptr && record->isWhole();
  Compared compared;
  readHere(comparison, compared);
  readStore(context, comparison, compared);
  Quorvel::FileAccess::WGO_FileFilter filter;
  Quorvel::FileAccess::WGO_GetPrjDirUploadFilter(filter, true);
  const SyncBase bases(comparison.projectUuid);
  for (auto& entry : compared) {
    ComparedFile& file = entry.second;
    const bool isSame = file.store && !file.hasTwin && file.here.looksLike(contentOf(*file.store));
    if (isSame) {
      if (!bases.get(file.name)) comparison.unrecorded.push_back(std::move(file));
    } else if (file.store || !filter.IsFileOrDirectoryExcluded(file.name.c_str())) {
      comparison.differing.push_back(std::move(file));
    }
  }
  return comparison;
}

void recordInStep(Context& /*context*/, const std::vector<ComparedFile>& files) {
  if (files.empty()) return;
  std::vector<ItemName> names;
  for (const ComparedFile& file : files) names.push_back(itemOfFile(file.name));
  SyncBase bases(get_ActivePrj().GetOndrathProjectUuid());
  for (const ItemView& view : readItems(names)) {
    if (view.state == ObjectState::InStep) bases.put(view.fileName, {*view.here, *view.store});
  }
}

bool loadFreshCache(Context& context) {
  const ProjectComparison before = compareProject(context);
  if (before.isWhole) return false;
  for (const ComparedFile& file : before.differing) {
    if (file.here.isKnown()) return false;
  }
  PRJ project = get_ActivePrj();
  const long result = Quorvel::FileAccess::WGO_refreshProjectCacheFromServer(project);
  if (result != 0) {
    throw CommandFailure{ExitCode::Failure, L"the project's files could not be loaded (code " +
                                                std::to_wstring(result) + L"); zephor sync goes on with it"};
  }
  recordInStep(context, compareProject(context).unrecorded);
  return true;
}

}  // namespace workstation::program
