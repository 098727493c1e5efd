#include "workstation/program/WatchFeed.h"

#include <algorithm>

#include "host/FileTypes.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Objects.h"
#include "workstation/store/Containers.h"
#include "zephor/BackgroundChanges.h"
#include "zephor/UploadFilters.h"

namespace workstation::program {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostThreads = 128;
/// So many uploads at once keep the store busy; more would only wait with open files.
constexpr std::size_t kMostUploads = 256;
constexpr auto kPause = 5ms;
/// The manager waits half a second for a second notice, and starts at once when it has come.
constexpr auto kUntilSecond = 10ms;
constexpr auto kRemovalsQuiet = 700ms;

/// What stands behind a directory in a path below it; empty for any other.
std::wstring nameBelow(const std::wstring& directory, const std::wstring& path) {
  if (directory.empty() || !platform::startsWithIgnoreCase(path, directory + L"\\")) return {};
  return path.substr(directory.size() + 1);
}

void deliver(const std::wstring& path, unsigned long action) {
  Quorvel::FileAccess::WGO_callbackManageChangesFkt()(path, action);
}

}  // namespace

WatchEvents::Batch WatchEvents::take(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  const auto isFilled = [this] {
    return !batch_.outcomes.empty() || !batch_.container.empty() || !batch_.warnings.empty();
  };
  wake_.wait_for(lock, limit, isFilled);
  return std::exchange(batch_, {});
}

void WatchEvents::outcome(TransferOutcome outcome) {
  {
    const std::lock_guard guard(mutex_);
    batch_.outcomes.push_back(std::move(outcome));
  }
  wake_.notify_one();
}

void WatchEvents::handedOver(const std::wstring& name) {
  const std::lock_guard guard(mutex_);
  batch_.handedOver.push_back(name);
}

void WatchEvents::container(const std::wstring& path) {
  {
    const std::lock_guard guard(mutex_);
    batch_.container.push_back(path);
  }
  wake_.notify_one();
}

void WatchEvents::warning(const std::wstring& text) {
  {
    const std::lock_guard guard(mutex_);
    batch_.warnings.push_back(text);
  }
  wake_.notify_one();
}

ServedFiles::ServedFiles() {
  Quorvel::FileAccess::WGO_Exclude_From_BackgroundUpload(keptOut_);
  Quorvel::FileAccess::WGO_AddPrjDirFilter_OtherwayHandled_BackgroundUploadedFiles(served_);
}

bool ServedFiles::contain(const std::wstring& name) const {
  QuorvelFileType type = eFileType_Unknown;
  int number = -1;
  // An object needs its lock and its header, wherever it lies.
  GetTypeFromFilePathName(name, type, number);
  if (type == eFileType_Teilbild || type == eFileType_Plan) return false;
  return !keptOut_.IsFileOrDirectoryExcluded(name.c_str()) && served_.IsFileOrDirectoryExcluded(name.c_str());
}

WatchFeed::WatchFeed(WatchPlaces places, const ServedFiles& served, WatchJudge& judge, WatchEvents& events)
    : places_(std::move(places)), served_(served), judge_(judge), events_(events), pool_(kMostThreads) {
  repeater_ = std::thread([this] { repeat(); });
  std::vector<std::wstring> roots{places_.project};
  if (!places_.cache.empty()) roots.push_back(places_.cache);
  watcher_ = std::make_unique<DirectoryWatcher>(
      roots, [this](const WatchNotice& notice) { take(notice); },
      [this](const std::wstring& text) { events_.warning(text); });
}

WatchFeed::~WatchFeed() {
  watcher_.reset();
  while (pool_.count() > 0) std::this_thread::sleep_for(kPause);
  {
    const std::lock_guard guard(secondsMutex_);
    ends_ = true;
  }
  secondsWake_.notify_all();
  repeater_.join();
}

void WatchFeed::take(const WatchNotice& notice) {
  const std::wstring name = nameBelow(places_.project, notice.path);
  if (name.empty()) return takeOfContainer(notice);
  if (isPrivateFile(name)) return;
  if (!served_.contain(name)) {
    pool_.post(platform::toLower(notice.path), [notice] { deliver(notice.path, notice.action); });
    return;
  }
  if (notice.action == kWatchModified) return send(name);
  if (notice.action != kWatchRemoved && notice.action != kWatchRenamedFrom) return;
  const std::lock_guard guard(mutex_);
  removals_.push_back(name);
  lastRemoval_ = WatchClock::now();
}

void WatchFeed::takeOfContainer(const WatchNotice& notice) {
  const std::wstring name = nameBelow(places_.cache, notice.path);
  if (name.empty() || platform::startsWithIgnoreCase(name, L".cor\\")) return;
  // The manager knows no renames: the new name is told as modified besides.
  const unsigned long action = notice.action == kWatchRenamedFrom ? kWatchRemoved : notice.action;
  if (action == kWatchRenamedTo) return;
  pool_.post(platform::toLower(notice.path), [this, path = notice.path, action] {
    if (isContainerFileInStep(path)) return;
    deliver(path, action);
    events_.container(path);
  });
}

void WatchFeed::send(const std::wstring& name) {
  if (!platform::isSafeRelativeName(name)) {
    TransferOutcome refused;
    refused.name = name;
    refused.status = kStoreInvalidName;
    refused.reason = L"no other workstation can hold a file of this name";
    return events_.outcome(std::move(refused));
  }
  const std::wstring path = platform::joinPath(places_.project, name);
  pool_.post(platform::toLower(path), [this, name, path] {
    const FileContent here = contentOnDisk(path);
    if (!here.isKnown() || judge_.isInStep(name, here)) return;
    while (Quorvel::FileAccess::WGO_GetBackgroundWork().uploads >= kMostUploads) std::this_thread::sleep_for(kPause);
    events_.handedOver(name);
    deliverTwice(path);
  });
}

void WatchFeed::deliverTwice(const std::wstring& path) {
  const auto first = std::make_shared<bool>(true);
  {
    const std::lock_guard guard(secondsMutex_);
    seconds_.push_back({path, WatchClock::now() + kUntilSecond, first});
  }
  secondsWake_.notify_one();
  deliver(path, kWatchModified);
}

/// A second notice that is late is left out: the upload may have begun, and it would be another one.
void WatchFeed::repeat() {
  std::unique_lock lock(secondsMutex_);
  for (;;) {
    secondsWake_.wait(lock, [this] { return ends_ || !seconds_.empty(); });
    if (seconds_.empty()) return;
    if (secondsWake_.wait_until(lock, seconds_.front().due, [this] { return ends_; })) {
      seconds_.clear();
      return;
    }
    const Second second = std::move(seconds_.front());
    seconds_.pop_front();
    lock.unlock();
    if (const auto first = second.first.lock()) deliver(second.path, kWatchModified);
    lock.lock();
  }
}

std::vector<std::wstring> WatchFeed::takeRemovals(bool all) {
  const std::lock_guard guard(mutex_);
  if (removals_.empty() || (!all && WatchClock::now() - lastRemoval_ < kRemovalsQuiet)) return {};
  std::sort(removals_.begin(), removals_.end());
  removals_.erase(std::unique(removals_.begin(), removals_.end()), removals_.end());
  return std::exchange(removals_, {});
}

void WatchFeed::remove(const std::wstring& name) {
  const std::wstring path = platform::joinPath(places_.project, name);
  pool_.post(platform::toLower(path), [path] {
    while (Quorvel::FileAccess::WGO_GetBackgroundWork().deletions >= kMostUploads) std::this_thread::sleep_for(kPause);
    if (!contentOnDisk(path).isKnown()) deliver(path, kWatchRemoved);
  });
}

}  // namespace workstation::program
