#include "workstation/program/WatchJudge.h"

#include <sys/stat.h>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/program/ItemStamps.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/StoreError.h"

namespace workstation::program {

namespace {

std::optional<std::pair<std::uint64_t, std::uint64_t>> numberOf(const std::string& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return std::pair<std::uint64_t, std::uint64_t>{status.st_dev, status.st_ino};
}

}  // namespace

FileContent contentOnDisk(const std::wstring& path) {
  const platform::FileStatus status = platform::fileStatus(path);
  if (!status.exists || status.isDirectory) return {};
  return {static_cast<std::int64_t>(status.size), static_cast<std::int64_t>(platform::toTicks(status.writeTime)), {}};
}

WatchJudge::WatchJudge(const std::string& store, const std::wstring& project, std::wstring directory,
                       std::function<bool(const std::wstring&)> isServed, Listener listener)
    : database_(store + "/store.db"),
      number_(numberOf(database_).value_or(std::pair<std::uint64_t, std::uint64_t>{})),
      project_(project),
      directory_(std::move(directory)),
      isServed_(std::move(isServed)),
      listener_(std::move(listener)),
      record_(CacheRecord::of(project, directory_)),
      base_(project) {}

UploadStep WatchJudge::judge(CloudStore& store, const StoreActor& actor, const FilePut& put, std::int64_t& revision) {
  UploadFacts facts;
  std::int64_t own = 0;
  facts.here = contentOnDisk(put.path);
  {
    const std::lock_guard guard(mutex_);
    const std::optional<SeenFile> seen = record_ ? record_->ask(put.name) : std::nullopt;
    if (seen) facts.settled = seen->settled;
    const std::optional<SyncPoint> base = base_.get(put.name);
    if (base) facts.base = base->store;
    const auto sent = own_.find(platform::toLower(put.name));
    if (sent != own_.end()) own = sent->second;
  }
  StoredFile stored;
  const CloudStatus status = store.findFile(actor, project_, put.name, stored);
  // A store that does not answer refuses the upload itself, with the reason.
  if (status != kStoreOk && status != kStoreNotFound) return UploadStep::Send;
  if (status == kStoreOk) {
    // Two files here that differ in letter case are one in the store: the second would take the first one's place.
    const std::wstring path = platform::joinPath(directory_, stored.name);
    if (stored.name != put.name && platform::systemPath(path) != platform::systemPath(put.path)) {
      return UploadStep::ChangedThere;
    }
    revision = stored.revision;
    facts.isOwn = stored.revision == own;
    facts.stored = contentOf(stored);
    facts.store = stampOfStored(stored.revision, stored.size, facts.stored->modified);
  }
  facts.hasStoredContent = [&] {
    if (facts.here.size != facts.stored->size) return false;
    try {
      return sha256OfFile(platform::systemPath(put.path)) == stored.sha256;
    } catch (const StoreError&) {
      return false;
    }
  };
  return decideUpload(facts);
}

bool WatchJudge::isSameStore() const {
  return numberOf(database_).value_or(number_) == number_;
}

TransferVerdict WatchJudge::judgeUpload(CloudStore& store, const StoreActor& actor, const FilePut& put) {
  if (!isSameStore()) return {kNoSuchRevision, false};
  {
    const std::lock_guard guard(mutex_);
    moving_.insert(platform::toLower(put.name));
  }
  TransferVerdict verdict;
  switch (judge(store, actor, put, verdict.revision)) {
    case UploadStep::Send:
      break;
    case UploadStep::AlreadyThere:
      verdict.isThereAlready = true;
      break;
    default:
      verdict.revision = kNoSuchRevision;
  }
  return verdict;
}

TransferVerdict WatchJudge::judgeDeletion(CloudStore& store, const StoreActor& actor, const std::wstring& name) {
  StoredFile stored;
  if (store.findFile(actor, project_, name, stored) != kStoreOk) return {};
  // Made anew meanwhile: its own notice sends it.
  if (!isSameStore() || contentOnDisk(platform::joinPath(directory_, name)).isKnown()) return {kNoSuchRevision, false};
  const std::lock_guard guard(mutex_);
  const std::optional<SeenFile> seen = record_ ? record_->ask(name) : std::nullopt;
  const std::optional<SyncPoint> base = base_.get(name);
  const bool isSettled = seen && seen->settled.isKnown() && seen->settled.sha256 == stored.sha256;
  const bool isBase = base && base->store == stampOfStored(stored.revision, stored.size, contentOf(stored).modified);
  return {isSettled || isBase ? stored.revision : kNoSuchRevision, false};
}

void WatchJudge::uploaded(const std::wstring& name, CloudStatus status, const StoredFile& stored) {
  {
    const std::wstring key = platform::toLower(name);
    const std::lock_guard guard(mutex_);
    if (status == kStoreOk && stored.revision > 0) own_[key] = stored.revision;
    moving_.erase(key);
  }
  listener_({name, false, status, stored, status == kStoreOk ? std::wstring() : CloudStore::lastText()});
}

void WatchJudge::deleted(const std::wstring& name, CloudStatus status) {
  listener_({name, true, status, {}, status == kStoreOk ? std::wstring() : CloudStore::lastText()});
}

bool WatchJudge::isInStep(const std::wstring& name, const FileContent& here) {
  const std::lock_guard guard(mutex_);
  const std::optional<SeenFile> seen = record_ ? record_->ask(name) : std::nullopt;
  return seen && (here.looksLike(seen->settled) || here.looksLike(seen->announced));
}

bool WatchJudge::wasInStep(const std::wstring& name) {
  const std::lock_guard guard(mutex_);
  if (base_.get(name)) return true;
  const std::optional<SeenFile> seen = record_ ? record_->ask(name) : std::nullopt;
  return seen && seen->settled.isKnown();
}

bool WatchJudge::isOnItsWay(const std::wstring& name) {
  const std::wstring key = platform::toLower(name);
  const std::lock_guard guard(mutex_);
  return moving_.contains(key) || own_.contains(key);
}

void WatchJudge::forgetMoving() {
  const std::lock_guard guard(mutex_);
  moving_.clear();
}

void WatchJudge::note(const std::vector<TransferOutcome>& outcomes) {
  std::vector<std::pair<std::wstring, SyncPoint>> points;
  std::vector<std::wstring> gone;
  const std::lock_guard guard(mutex_);
  for (const TransferOutcome& outcome : outcomes) {
    if (outcome.status != kStoreOk) continue;
    if (outcome.isDeletion) {
      base_.forget(outcome.name);
      gone.push_back(outcome.name);
      continue;
    }
    std::erase(gone, outcome.name);
    if (outcome.stored.revision == 0) continue;
    const FileContent both = contentOf(outcome.stored);
    points.emplace_back(outcome.name,
                        SyncPoint{stampOf(both), stampOfStored(outcome.stored.revision, both.size, both.modified)});
    const auto own = own_.find(platform::toLower(outcome.name));
    if (own != own_.end() && own->second == outcome.stored.revision) own_.erase(own);
  }
  base_.put(points);
  if (record_) record_->forget(gone);
}

std::vector<std::string> WatchJudge::known() {
  const std::lock_guard guard(mutex_);
  std::vector<std::string> keys;
  const auto points = base_.all();
  if (!points) return keys;
  for (const auto& [key, point] : *points) keys.push_back(key);
  return keys;
}

}  // namespace workstation::program
