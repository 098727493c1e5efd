#include "workstation/store/ContainerCache.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "host/Trace.h"
#include "platform/FileSharing.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/ContainerLook.h"
#include "workstation/store/ParallelWork.h"
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

constexpr std::size_t kSyncSingly = 4;
constexpr int kMostKeptOfASecond = 1000;

std::string incomingOf(const std::string& root) {
  return root + "/" + kServiceDirectory + "/incoming";
}

/// Makes the service's own directories in a cache. They never lead out of it.
void makeServiceDirectories(const std::string& root) {
  const std::string service = root + "/" + kServiceDirectory;
  for (const std::string& directory : {service, incomingOf(root)}) {
    makeDirectory(directory);
    const auto status = diskStatus(directory);
    if (status && status->isDirectory) continue;
    throw StoreError{kStoreAccessDenied, L"\"" + platform::fromUtf8(directory) +
                                             L"\" has to be a directory: it is the cloud service's own"};
  }
}

DiskLock lockCache(const std::string& root) {
  constexpr auto kLongest = std::chrono::seconds(30);
  constexpr auto kPause = std::chrono::milliseconds(20);
  const auto end = std::chrono::steady_clock::now() + kLongest;
  for (;;) {
    auto lock = DiskLock::take(root + "/" + kServiceDirectory + "/lock", DiskLock::Kind::ExclusiveOrNothing);
    if (lock) return std::move(*lock);
    if (std::chrono::steady_clock::now() > end) {
      throw StoreError{kStoreInUse, L"\"" + platform::fromUtf8(root) +
                                        L"\" is being downloaded or committed by another program of this workstation"};
    }
    std::this_thread::sleep_for(kPause);
  }
}

FileContent onDisk(const std::string& path) {
  const platform::FileStatus status = platform::fileStatus(platform::libraryPath(path));
  if (!status.exists || status.isDirectory) return {};
  return {static_cast<std::int64_t>(status.size), ticksOf(status.writeTime), {}};
}

/// Removes a directory in which there is no file.
void removeIfEmpty(const std::string& directory) {
  const auto status = diskStatus(directory);
  if (!status || !status->isDirectory) return;
  for (const DiskEntry& entry : listDirectory(directory)) {
    if (entry.isDirectory) removeIfEmpty(directory + "/" + entry.name);
  }
  ::rmdir(directory.c_str());
}

std::string takenOutIn(const std::string& root, const std::string& name) {
  constexpr std::size_t kLongest = 200;
  return incomingOf(root) + "/~" + randomHex(8) + "." + (name.size() <= kLongest ? name : "file") + ".tmp";
}

}  // namespace

ContainerCache::ContainerCache(CloudStore& store, const StoreActor& actor, std::wstring container,
                               const std::wstring& root)
    : store_(store),
      actor_(actor),
      container_(std::move(container)),
      root_(root),
      tree_(root),
      systemRoot_(platform::systemPath(root)) {
  makeServiceDirectories(systemRoot_);
  alone_.emplace(lockCache(systemRoot_));
  record_.emplace(systemRoot_);
  clearLeftovers();
}

/// What a process left that was killed. A file that had changed places with the one that took its place may be
/// somebody's work.
void ContainerCache::clearLeftovers() {
  for (const DiskEntry& entry : listDirectory(incomingOf(systemRoot_))) {
    const std::string path = incomingOf(systemRoot_) + "/" + entry.name;
    std::string replaced;
    if (entry.isDirectory || !isLeftoverOfLoad(entry.name, replaced)) continue;
    if (replaced.empty()) {
      removeFile(path);
      continue;
    }
    keepTaken(path, replaced);
  }
  // The same name may be kept once more.
  kept_.clear();
}

void ContainerCache::connect() {
  record_->bind(container_);
}

void ContainerCache::download(const StoreProgress& progress) {
  bringUpToDate(&downloadAction, progress);
}

void ContainerCache::rollBack(const StoreProgress& progress) {
  isDownload_ = false;
  bringUpToDate(&rollbackAction, progress);
}

void ContainerCache::bringUpToDate(Verdict verdict, const StoreProgress& progress) {
  constexpr int kMostTries = 3;
  record_->bind(container_);
  for (int tries = 1;; ++tries) {
    CacheLook look;
    lookAtCache(store_, actor_, container_, root_, record_->files(), look);
    if (isDownload_ && isEmptied(look)) {
      lfperrC(L"\"%s\" was emptied; the files of the container are brought again\n", root_);
      record_->forget();
      lookAtCache(store_, actor_, container_, root_, {}, look);
    }
    Plan plan = planOf(look, verdict);
    try {
      fetch(plan, progress);
      announce(plan);
    } catch (const StoreError& error) {
      for (const Arrival& arrival : plan.arrivals) removeFile(arrival.from);
      StoreContainer now;
      // A content that a commit has replaced since may have been swept.
      const bool isOutdated = error.status == kStoreChanged && tries < kMostTries &&
                              store_.container(actor_, container_, now) == kStoreOk &&
                              now.revision != look.container.revision;
      if (!isOutdated) throw;
      continue;
    }
    apply(plan, look.container.revision);
    return;
  }
}

ContainerCache::Plan ContainerCache::planOf(const CacheLook& look, Verdict verdict) const {
  Plan plan;
  for (const auto& [key, item] : look.items) {
    switch (verdict(item.content)) {
      case CacheAction::Nothing:
        break;
      case CacheAction::Settle:
        plan.settled.push_back(settledFile(item));
        break;
      case CacheAction::Forget:
        plan.gone.push_back(item.name);
        if (item.content.here.isKnown()) {
          lfperrC(L"\"%s\" was deleted in the container and changed here: it stays, as a new file\n", item.name);
        }
        break;
      case CacheAction::Bring:
      case CacheAction::BringAndKeep:
        plan.arrivals.push_back({item, verdict(item.content) == CacheAction::BringAndKeep, {}, {}});
        break;
      case CacheAction::Remove:
        plan.leaving.push_back(item);
        break;
      case CacheAction::MoveAway:
        plan.movedAway.push_back(item);
        break;
    }
  }
  return plan;
}

/// Everything comes before anything gets its name: a full disk or a lost network leaves the cache as it was.
void ContainerCache::fetch(Plan& plan, const StoreProgress& progress) {
  for (Arrival& arrival : plan.arrivals) {
    requireContainerName(arrival.item.content.stored->name);
    arrival.from = incomingOf(systemRoot_) + "/~" + randomHex(8) + ".tmp";
  }
  std::atomic<std::uint64_t> bytes{0};
  const auto total = static_cast<std::uint32_t>(plan.arrivals.size());
  workInParallel(
      plan.arrivals.size(),
      [&](std::size_t i) {
        Arrival& arrival = plan.arrivals[i];
        const ContainerFile& stored = *arrival.item.content.stored;
        const CloudStatus status = store_.copyContainerFile(stored, arrival.from);
        if (status != kStoreOk) throw StoreError{status, CloudStore::lastText()};
        // As this disk keeps the time.
        arrival.content = onDisk(arrival.from);
        arrival.content.sha256 = stored.sha256;
        bytes += static_cast<std::uint64_t>(stored.size);
      },
      [&](std::size_t done) {
        if (progress) progress(static_cast<std::uint32_t>(done), total, bytes);
      });
  if (plan.arrivals.size() > kSyncSingly) {
    syncFileSystem(systemRoot_);
  } else {
    for (const Arrival& arrival : plan.arrivals) syncPath(arrival.from);
  }
}

void ContainerCache::announce(const Plan& plan) {
  std::vector<ContainerRecord::Announced> announced;
  for (const Arrival& arrival : plan.arrivals)
    announced.push_back({arrival.item.name, arrival.content, FileWay::Coming});
  for (const CacheItem& item : plan.leaving) announced.push_back({item.name, {}, FileWay::Leaving});
  for (const CacheItem& item : plan.movedAway) announced.push_back({item.name, {}, FileWay::Leaving});
  record_->announce(announced);
}

void ContainerCache::apply(Plan& plan, std::int64_t revision) {
  std::optional<StoreError> failure;
  const auto attempt = [&](const auto& work) {
    const std::optional<StoreError> error = caughtFrom(work);
    if (!error) return true;
    lfperrC(L"container cache: %s\n", error->text);
    if (!failure) failure = error;
    return false;
  };
  // Before what comes: a directory may take the place of a file, or a file that of a directory.
  for (const CacheItem& item : plan.leaving) {
    if (attempt([&] { remove(item); })) plan.gone.push_back(item.name);
  }
  for (const CacheItem& item : plan.movedAway) {
    if (attempt([&] { keep(item, true); })) plan.gone.push_back(item.name);
  }
  tree_ = LocalTree(root_);
  for (const Arrival& arrival : plan.arrivals) {
    if (attempt([&] { place(arrival); })) {
      plan.settled.push_back({arrival.item.name, arrival.content, arrival.item.content.stored->revision});
    } else {
      removeFile(arrival.from);
    }
  }
  if (!attempt([&] { requireOnDisk(plan.settled); })) plan.settled.clear();
  record_->settle(plan.settled, plan.gone, failure ? 0 : revision);
  if (failure) throw StoreError(*failure);
}

/// Before it is noted: an empty file in its place would count as changed here after a loss of power.
void ContainerCache::requireOnDisk(const std::vector<SettledFile>& settled) const {
  std::vector<std::wstring> names;
  names.reserve(settled.size());
  for (const SettledFile& file : settled) names.push_back(file.name);
  requireDurable(root_, names);
}

void ContainerCache::place(const Arrival& arrival) {
  // Left by a download that was killed, or by the user.
  removeIfEmpty(platform::systemPath(platform::joinPath(root_, arrival.item.name)));
  const LocalPlace place = tree_.place(arrival.item.name);
  if (arrival.isKept) keep(arrival.item, false);
  LocalTree::replace(arrival.from, place, arrival.item.content.here);
  if (!arrival.isKept || !isDownload_) return;
  lfperrC(L"\"%s\" was changed here and in the container: the container's is here now, yours is in \"%s\"\n",
          arrival.item.name, kept_);
}

void ContainerCache::remove(const CacheItem& item) {
  const LocalPlace place = tree_.place(item.name);
  if (!place.exists) return;
  const std::string target = place.systemPath();
  if (platform::isDeletingDenied(target) || isOpenForWriting(target)) {
    throw StoreError{kStoreInUse, L"\"" + place.path + L"\" was deleted in the container and is open in a program"};
  }
  const std::string taken = takenOutIn(systemRoot_, place.name);
  renameReplacing(target, taken);
  if (!isAsSeen(onDisk(taken), item.content.here)) {
    if (renameWithoutReplacing(taken, target)) throwChangedHere(place);
    keepTaken(taken, place.name);
    return;
  }
  removeFile(taken);
  removeEmptyDirectories(place.directory);
}

void ContainerCache::keepTaken(const std::string& taken, const std::string& name) {
  std::wstring target = platform::joinPath(keptDirectory(), platform::fromUtf8(name));
  if (!renameWithoutReplacing(taken, platform::systemPath(target))) {
    target += L"." + platform::fromUtf8(randomHex(4));
    renameReplacing(taken, platform::systemPath(target));
  }
  lfperrC(L"\"%s\" was taken out of the container's cache; what it was is kept as \"%s\"\n", platform::fromUtf8(name),
          target);
}

void ContainerCache::keep(const CacheItem& item, bool isMoved) {
  const LocalPlace place = tree_.place(item.name);
  if (!place.exists) return;
  const std::wstring target = platform::joinPath(keptDirectory(), item.name);
  SHCreateDirectoryExW(nullptr, platform::directoryOf(target).c_str(), nullptr);
  if (isMoved) {
    const std::string from = place.systemPath();
    if (platform::isDeletingDenied(from) || isOpenForWriting(from)) {
      throw StoreError{kStoreInUse, L"\"" + place.path + L"\" is open in a program and can't be put aside"};
    }
    if (!renameWithoutReplacing(from, platform::systemPath(target))) {
      throw StoreError{kStoreExists, L"\"" + target + L"\" is there already"};
    }
    removeEmptyDirectories(place.directory);
  } else if (CopyFileW(place.path.c_str(), target.c_str(), TRUE) == FALSE) {
    throw StoreError{statusOfError(GetLastError()),
                     L"\"" + place.path + L"\" stays: it could not be copied to \"" + target + L"\" before"};
  } else {
    // It is the only one as soon as the file is replaced.
    syncPath(platform::systemPath(target));
  }
}

void ContainerCache::removeEmptyDirectories(std::string directory) const {
  while (directory.size() > systemRoot_.size() && ::rmdir(directory.c_str()) == 0) {
    directory = directory.substr(0, directory.rfind('/'));
  }
}

std::wstring ContainerCache::keptDirectory() {
  if (!kept_.empty()) return kept_;
  SYSTEMTIME now{};
  GetLocalTime(&now);
  const std::wstring all = platform::joinPath(root_, kKeptCopies);
  makeDirectory(platform::systemPath(all));
  const std::wstring stamp = platform::formatWide(L"%04d%02d%02d-%02d%02d%02d", int{now.wYear}, int{now.wMonth},
                                                  int{now.wDay}, int{now.wHour}, int{now.wMinute}, int{now.wSecond});
  for (int i = 0; i < kMostKeptOfASecond; ++i) {
    const std::wstring directory = platform::joinPath(all, i == 0 ? stamp : platform::formatWide(L"%s-%d", stamp, i));
    if (!makeDirectory(platform::systemPath(directory))) continue;
    kept_ = directory;
    return kept_;
  }
  throw StoreError{kStoreExists, L"\"" + all + L"\" has no room for another copy of this second"};
}

void ContainerCache::upload(const StoreProgress& progress) {
  record_->bind(container_);
  CacheLook look;
  lookAtCache(store_, actor_, container_, root_, record_->files(), look);
  if (const std::vector<StoreError> obstacles = obstaclesToCommit(look, root_); !obstacles.empty()) {
    throw StoreError(obstacles.front());
  }
  std::vector<ContainerFileChange> changes;
  std::vector<SettledFile> settled;
  std::vector<std::wstring> gone;
  bool isBehind = false;
  for (const auto& [key, item] : look.items) {
    const CacheAction action = downloadAction(item.content);
    const LocalChange change = localChange(item.content);
    if (action == CacheAction::Settle) {
      settled.push_back(settledFile(item));
    } else if (change == LocalChange::None) {
      isBehind = isBehind || action != CacheAction::Nothing;
    } else if (change == LocalChange::Deleted && item.content.stored == nullptr) {
      gone.push_back(item.name);
    } else if (!isSameContent(item.content)) {
      const bool isHere = item.content.here.isKnown();
      changes.push_back({item.name, isHere ? platform::joinPath(root_, item.name) : std::wstring(),
                         item.content.base != nullptr ? item.content.base->revision : 0});
    }
  }
  std::int64_t revision = 0;
  std::vector<FileContent> sent;
  const auto announce = [&](const std::vector<FileContent>& contents) {
    sent = contents;
    std::vector<ContainerRecord::Announced> announced;
    for (std::size_t i = 0; i < changes.size(); ++i) {
      announced.push_back({changes[i].name, contents[i], FileWay::Sending});
    }
    record_->announce(announced);
  };
  const CloudStatus status = store_.commitContainer(actor_, container_, changes, revision, announce, progress);
  if (status != kStoreOk) throw StoreError{status, CloudStore::lastText()};
  for (std::size_t i = 0; i < changes.size(); ++i) {
    if (changes[i].path.empty()) {
      gone.push_back(changes[i].name);
    } else {
      settled.push_back({changes[i].name, sent[i], revision});
    }
  }
  const std::int64_t expected = look.container.revision + (changes.empty() ? 0 : 1);
  const CloudStatus noted = answerOf([&] {
    requireOnDisk(settled);
    record_->settle(settled, gone, isBehind || revision != expected ? 0 : revision);
  });
  // What was committed stands; the next comparison finds the contents the same.
  if (noted != kStoreOk) lfperrC(L"what was committed can't be noted here: %s\n", CloudStore::lastText());
}

}  // namespace workstation
