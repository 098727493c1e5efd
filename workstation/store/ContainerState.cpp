// What programs ask about the caches of this workstation.
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/store/ContainerLook.h"
#include "workstation/store/Containers.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/LocalTree.h"
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

constexpr const wchar_t* kStateDirectory = L"C:\\State";
constexpr const wchar_t* kSubscription = L"C:\\State\\SubscribedContainer.txt";
constexpr std::uint64_t kLongestUuid = 200;

/// The record of one cache as it was read last, read again when somebody has written it.
class KnownRecord {
 public:
  explicit KnownRecord(std::string root) : root_(std::move(root)) {}

  /// Runs `ask` on the row of a file, null for none. Throws StoreError.
  template <typename Ask>
  bool ask(const std::string& key, const Ask& ask) {
    const std::lock_guard lock(mutex_);
    struct stat status = {};
    if (::stat(containerRecordPath(root_).c_str(), &status) != 0) {
      record_.reset();
      return false;
    }
    // A cache that was made anew has another file of that name.
    if (record_ == nullptr || status.st_ino != inode_ || status.st_dev != device_) {
      record_ = std::make_unique<ContainerRecord>(root_);
      inode_ = status.st_ino;
      device_ = status.st_dev;
      version_ = -1;
    }
    if (const std::int64_t version = record_->version(); version != version_) {
      files_ = record_->files();
      version_ = version;
    }
    const auto found = files_.find(key);
    return ask(found == files_.end() ? nullptr : &found->second);
  }

 private:
  const std::string root_;
  std::mutex mutex_;
  std::unique_ptr<ContainerRecord> record_;
  ino_t inode_ = 0;
  dev_t device_ = 0;
  std::int64_t version_ = -1;
  SettledFiles files_;
};

std::shared_ptr<KnownRecord> knownRecord(const std::string& root) {
  static std::mutex mutex;
  static std::map<std::string, std::shared_ptr<KnownRecord>> records;
  const std::lock_guard lock(mutex);
  auto& record = records[root];
  if (record == nullptr) record = std::make_shared<KnownRecord>(root);
  return record;
}

bool isInStep(const platform::FileStatus& here, const SettledFile* row) {
  if (!here.exists) return row == nullptr || row->way == FileWay::Leaving;
  if (here.isDirectory || row == nullptr) return false;
  const FileContent content{static_cast<std::int64_t>(here.size), ticksOf(here.writeTime), {}};
  return content.looksLike(row->content) || (row->way == FileWay::Coming && content.looksLike(row->announced));
}

ContainerChange changeOf(const CacheItem& item, LocalChange change) {
  const int kind = change == LocalChange::Deleted ? -1 : change == LocalChange::Created ? 0 : 1;
  return {item.name, kind, isChangedInStore(item.content)};
}

}  // namespace

CloudStatus containerCacheState(CloudStore& store, const StoreActor& actor, const std::wstring& container,
                                ContainerCacheState& state) {
  return answerOf([&] {
    state = {};
    StoreContainer found;
    const CloudStatus status = store.container(actor, container, found);
    if (status != kStoreOk) throw StoreError{status, CloudStore::lastText()};
    const std::wstring root = containerCachePath(container);
    const std::string path = platform::systemPath(root);
    if (root.empty() || !platform::fileStatus(root).isDirectory) return;
    SettledFiles settled;
    if (diskStatus(containerRecordPath(path))) {
      ContainerRecord record(path);
      state.exists = record.container() == container;
      if (state.exists) {
        settled = record.files();
        state.revision = record.revision();
      }
    }
    // Without a record of its own what is here is unknown, and may be somebody's work all the same.
    CacheLook look;
    lookAtCache(store, actor, container, root, std::move(settled), look);
    state.isNewerThere = state.exists && state.revision != look.container.revision;
    for (const auto& [key, item] : look.items) {
      const LocalChange change = localChange(item.content);
      const bool isGoneOnBothSides = change == LocalChange::Deleted && item.content.stored == nullptr;
      if (change == LocalChange::None || isGoneOnBothSides || isSameContent(item.content)) continue;
      state.changes.push_back(changeOf(item, change));
    }
    for (StoreError& obstacle : obstaclesToCommit(look, root)) state.obstacles.push_back(std::move(obstacle.text));
    const std::wstring kept = platform::joinPath(root, kKeptCopies);
    if (!diskStatus(platform::systemPath(kept))) return;
    const DirectoryScan copies = scanDirectory(platform::systemPath(kept), [](std::string_view) { return false; });
    for (const ScannedFile& file : copies.files) {
      state.keptCopies.push_back(platform::joinPath(kKeptCopies, platform::fromUtf8(file.name)));
    }
    std::sort(state.keptCopies.begin(), state.keptCopies.end());
  });
}

bool isContainerFileInStep(const std::wstring& path) {
  std::wstring root;
  std::wstring relative;
  if (containerOfPath(path, root, relative).empty() || relative.empty()) return false;
  const std::string key = platform::toUtf8(platform::toLower(relative));
  std::string replaced;
  const bool isOurs = key == kServiceDirectory || key.starts_with(std::string(kServiceDirectory) + '\\') ||
                      isLeftoverOfLoad(platform::toUtf8(platform::fileNameOf(relative)), replaced);
  if (isOurs) return true;
  bool isSame = false;
  answerOf([&] {
    // The file before the record: what has come is announced by then.
    const platform::FileStatus here = platform::fileStatus(path);
    isSame =
        knownRecord(platform::systemPath(root))->ask(key, [&](const SettledFile* row) { return isInStep(here, row); });
  });
  return isSame;
}

std::wstring subscribedContainer() {
  std::string text;
  if (platform::readWholeFile(kSubscription, text, kLongestUuid) != 0) return {};
  return platform::fromUtf8(text.substr(0, text.find_first_of("\r\n")));
}

void rememberSubscription(const std::wstring& container) {
  SHCreateDirectoryExW(nullptr, kStateDirectory, nullptr);
  const std::string text = container.empty() ? std::string() : platform::toUtf8(container) + "\n";
  const DWORD error = platform::writeFileAtomically(kSubscription, text.data(), text.size());
  if (error == ERROR_SUCCESS) return;
  throw StoreError{statusOfError(error),
                   L"the subscription can't be noted in \"" + std::wstring(kSubscription) + L"\""};
}

}  // namespace workstation
