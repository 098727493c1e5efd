// The first load of a project's cache.
#include <algorithm>
#include <set>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Context.h"
#include "workstation/program/ProjectComparison.h"
#include "workstation/program/SyncBase.h"
#include "workstation/store/TransferConditions.h"
#include "zephor/FileLists.h"
#include "zephor/ProjectCache.h"

namespace workstation::program {

namespace {

/// Decides what comes: what is not here, and what an interrupted load has brought and the store has newer since. What
/// was in step once is judged by `sync`.
class FirstLoad {
 public:
  explicit FirstLoad(const ProjectComparison& comparison)
      : comparison_(comparison),
        record_(CacheRecord::of(comparison.projectUuid, comparison.directory)),
        bases_(comparison.projectUuid) {
    for (const ComparedFile& file : comparison.differing) take(file, isWanted(file));
  }

  /// By name, since the library's full load would empty the directories below "BIM", unsent work included. The light
  /// load behind it brings the user list.
  void run() const {
    const ScopedTransferConditions judged(comparison_.projectUuid, conditions_);
    PRJ project = get_ActivePrj();
    // Which came is seen on the disk.
    if (!wanted_.empty()) Quorvel::FileAccess::WGO_DownloadFiles(project, wanted_);
    if (missing() == 0) Quorvel::FileAccess::WGO_refreshProjectCacheFromServer(project);
  }
  std::size_t missing() const {
    return static_cast<std::size_t>(std::count_if(
        wanted_.begin(), wanted_.end(), [](const std::wstring& path) { return !platform::fileStatus(path).exists; }));
  }
  const LoadedFiles& expected() const { return expected_; }

 private:
  void take(const ComparedFile& file, bool isWanted) {
    if (!file.store) return;
    conditions_.push_back({file.name, file.here, file.store->revision, !isWanted});
    if (!isWanted) return;
    wanted_.insert(platform::joinPath(comparison_.directory, file.name));
    ++expected_.files;
    expected_.bytes += static_cast<std::uint64_t>(file.store->size);
  }
  bool isWanted(const ComparedFile& file) const {
    if (!platform::isSafeRelativeName(file.name)) return false;
    if (!file.here.isKnown()) return true;
    const SeenFile* const seen = record_ != nullptr ? record_->find(file.name) : nullptr;
    return !file.hasTwin && seen != nullptr &&
           (seen->settled.looksLike(file.here) || seen->announced.looksLike(file.here)) && !bases_.get(file.name);
  }

  const ProjectComparison& comparison_;
  std::unique_ptr<CacheRecord> record_;
  SyncBase bases_;
  std::set<std::wstring> wanted_;
  std::vector<TransferCondition> conditions_;
  LoadedFiles expected_;
};

}  // namespace

void markCacheWhole(const ProjectComparison& comparison) {
  if (const auto record = CacheRecord::of(comparison.projectUuid, comparison.directory)) record->setWhole();
}

bool loadFreshCache(Context& context, LoadedFiles* loaded) {
  const ProjectComparison before = compareProject(context);
  if (before.isWhole) return false;
  const FirstLoad load(before);
  load.run();
  const ProjectComparison after = compareProject(context);
  recordInStep(context, after.unrecorded);
  if (const std::size_t missing = load.missing(); missing != 0) {
    throw CommandFailure{ExitCode::Failure, platform::formatWide(L"%llu of the project's files could not be loaded; "
                                                                 L"zephor sync goes on with it",
                                                                 static_cast<unsigned long long>(missing))};
  }
  markCacheWhole(after);
  if (loaded == nullptr) return true;
  *loaded = load.expected();
  loaded->left = static_cast<std::uint64_t>(std::count_if(after.differing.begin(), after.differing.end(),
                                                          [](const ComparedFile& file) { return file.store; }));
  return true;
}

}  // namespace workstation::program
