#include "workstation/store/BulkDownload.h"

#include <algorithm>
#include <atomic>

#include "host/ObjectFiles.h"
#include "host/Trace.h"
#include "platform/Durable.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/StoreContext.h"
#include "workstation/store/StoreImpl.h"
#include "workstation/store/TransferConditions.h"

namespace workstation {

namespace {

/// Files that wait for their names together, so that one sync serves them all.
constexpr std::size_t kGroup = 512;
constexpr std::size_t kSyncSingly = 4;
/// Copies go on while a group gets its names.
constexpr std::size_t kMostWaiting = 2 * kGroup;
constexpr unsigned kMostThreads = 4;
std::atomic<unsigned> askedThreads = 0;
/// Made of the store's members: what the library added to it here, it adds again to the one that comes.
constexpr const wchar_t* kUserList = L"Net\\user.cfg";

/// Into the project's own "Backup", whatever directory the file is in: those below "BIM" end with the next full load.
bool copyToBackup(const std::wstring& root, const LocalPlace& place) {
  constexpr int kMostCopies = 1000;
  const std::wstring directory = platform::joinPath(root, L"Backup");
  SHCreateDirectoryExW(nullptr, directory.c_str(), nullptr);
  SYSTEMTIME now{};
  GetLocalTime(&now);
  const std::wstring target = platform::formatWide(L"%s\\%s.%04d%02d%02d-%02d%02d%02d", directory,
                                                   platform::fileNameOf(place.path), int{now.wYear}, int{now.wMonth},
                                                   int{now.wDay}, int{now.wHour}, int{now.wMinute}, int{now.wSecond});
  DWORD error = ERROR_SUCCESS;
  for (int i = 0; i < kMostCopies; ++i) {
    const std::wstring name = i == 0 ? target : platform::formatWide(L"%s-%d", target, i);
    if (CopyFileW(place.path.c_str(), name.c_str(), TRUE) != FALSE) {
      // It is the only one as soon as the file is replaced.
      error = platform::makeDurable(root, {platform::joinPath(L"Backup", platform::fileNameOf(name))});
      if (error == ERROR_SUCCESS) return true;
      break;
    }
    error = GetLastError();
    if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) break;
  }
  lfperrC(L"%s: no copy could be made in \"%s\" (error %u)\n", place.path, directory, error);
  return false;
}

}  // namespace

void setTransferThreads(unsigned threads) {
  askedThreads = threads;
}

bool isOpenInHost(const LocalPlace& place) {
  return place.exists && cfgethandle(place.path, 0) != -1;
}

void requireClosed(const LocalPlace& place) {
  if (isOpenInHost(place)) throw StoreError{kStoreInUse, L"\"" + place.path + L"\" is open"};
}

void requireAsJudged(const std::wstring& project, const std::wstring& name, const LocalPlace& place,
                     const FileContent& here) {
  const auto condition = transferCondition(project, name);
  if (condition && !isAsSeen(here, condition->here)) throwChangedHere(place);
}

bool isSame(const LocalPlace& place, const FileContent& here, const StoredFile& stored, Compare compare) {
  if (!here.looksLike(contentOf(stored))) return false;
  return compare == Compare::Time || sha256OfFile(place.systemPath()) == stored.sha256;
}

BulkDownload::BulkDownload(CloudStore& store, const StoreActor& actor, const std::wstring& project,
                           const std::wstring& root, Compare compare, Road road, CacheRecord* record)
    : store_(store),
      actor_(actor),
      project_(project),
      root_(root),
      tree_(root),
      compare_(compare),
      road_(road),
      record_(record) {}

BulkDownload::~BulkDownload() {
  helpers_.clear();
  for (const Waiting& waiting : waiting_) removeFile(waiting.from);
}

template <typename Item, typename Fetch>
CloudStatus BulkDownload::fetchAll(const std::vector<Item>& items, const Fetch& fetchItem,
                                   const StoreProgress& progress, std::vector<std::wstring>& failed) {
  items_ = items.size();
  told_ = 0;
  for (item_ = 0; item_ < items_; ++item_) {
    fetchItem(items[item_]);
    if (waiting_.size() >= kMostWaiting) {
      await(kGroup, progress);
      settle(kGroup, failed);
    }
    tell(waiting_.empty() ? item_ + 1 : 0, progress);
  }
  await(waiting_.size(), progress);
  settle(waiting_.size(), failed);
  tell(items_, progress);
  if (first_ != kStoreOk) setLastStoreText(firstText_);
  return first_;
}

/// Tells of the first `items` items, each once.
void BulkDownload::tell(std::size_t items, const StoreProgress& progress) {
  while (told_ < items) {
    ++told_;
    if (progress) progress(static_cast<std::uint32_t>(told_), static_cast<std::uint32_t>(items_), bytes_);
  }
}

void BulkDownload::work(const std::stop_token& stop) {
  std::unique_lock lock(mutex_);
  const auto isWork = [this] { return taken_ < waiting_.size(); };
  while (changed_.wait(lock, stop, isWork) && !stop.stop_requested()) copyNext(lock);
}

/// @return false when no file waits for its content
bool BulkDownload::copyNext(std::unique_lock<std::mutex>& lock) {
  if (taken_ >= waiting_.size()) return false;
  Waiting& waiting = waiting_[taken_++];
  lock.unlock();
  StoredFile file;
  waiting.status = store_.copyOut(actor_, project_, waiting.file.name, waiting.from, file);
  if (waiting.status == kStoreOk) {
    waiting.file = std::move(file);
  } else {
    waiting.text = CloudStore::lastText();
  }
  lock.lock();
  waiting.isDone = true;
  changed_.notify_all();
  return true;
}

/// Copies, too, until the first `files` of those that wait have come or failed.
void BulkDownload::await(std::size_t files, const StoreProgress& progress) {
  for (std::size_t i = 0; i < files; ++i) {
    {
      std::unique_lock lock(mutex_);
      while (!waiting_[i].isDone) {
        if (!copyNext(lock)) changed_.wait(lock, [&] { return waiting_[i].isDone; });
      }
    }
    if (waiting_[i].status == kStoreOk) bytes_ += static_cast<std::uint64_t>(waiting_[i].file.size);
    const bool isLast = i + 1 == waiting_.size();
    tell(isLast ? item_ : waiting_[i + 1].index, progress);
  }
}

CloudStatus BulkDownload::fetchNames(const std::vector<std::wstring>& names, const StoreProgress& progress,
                                     std::vector<std::wstring>& failed) {
  const auto fetchOne = [&](const std::wstring& name) { note(answerOf([&] { fetchNamed(name); }), name, failed); };
  return fetchAll(names, fetchOne, progress, failed);
}

CloudStatus BulkDownload::fetchFiles(const std::vector<StoredFile>& files, const StoreProgress& progress,
                                     std::vector<std::wstring>& failed) {
  const auto fetchOne = [&](const StoredFile& file) { note(answerOf([&] { fetchListed(file); }), file.name, failed); };
  return fetchAll(files, fetchOne, progress, failed);
}

void BulkDownload::note(CloudStatus status, const std::wstring& name, std::vector<std::wstring>& failed) {
  if (status == kStoreOk) return;
  failed.push_back(name);
  if (first_ == kStoreOk) {
    first_ = status;
    firstText_ = CloudStore::lastText();
  }
}

void BulkDownload::fetchNamed(const std::wstring& given) {
  std::wstring name;
  if (!normaliseStoreName(given, name)) {
    throw StoreError{kStoreInvalidName, L"\"" + given + L"\" is not a valid name of a file of a project"};
  }
  Waiting waiting{given, {}, tree_.place(name), {}};
  const bool isKnown = waiting.place.exists && store_.findFile(actor_, project_, name, waiting.file) == kStoreOk;
  if (isKnown && !isWanted(waiting.place, waiting.file)) return;
  waiting.file.name = name;
  bring(std::move(waiting));
}

void BulkDownload::fetchListed(const StoredFile& listed) {
  const auto condition = record_ != nullptr ? transferCondition(project_, listed.name) : std::nullopt;
  if (condition && condition->stays) return;
  Waiting waiting{listed.name, {}, tree_.place(listed.name), listed};
  if (isWanted(waiting.place, listed)) bring(std::move(waiting));
}

/// Whether a file has to come. What is here is made safe before, where it may be somebody's work.
bool BulkDownload::isWanted(const LocalPlace& place, const StoredFile& file) {
  const FileContent here = contentAt(place);
  const FileContent stored = contentOf(file);
  const SeenFile* seen = record_ != nullptr ? record_->find(file.name) : nullptr;
  const bool isNoted = seen != nullptr && seen->settled.looksLike(stored) && seen->settled.sha256 == stored.sha256;
  // Size and time alone prove nothing about a file that no transfer has brought.
  const bool isUnproved = record_ != nullptr && !isNoted;
  if (isSame(place, here, file, isUnproved ? Compare::Content : compare_)) {
    if (isUnproved) settled_.emplace_back(file.name, stored);
    return false;
  }
  if (record_ == nullptr || isDecided(file)) return true;
  if (platform::equalsIgnoreCase(file.name, kUserList)) return true;
  const bool mayKeep = road_ == Road::News && (record_->isWhole() || areTransfersJudged(project_));
  switch (loadVerdict(here, stored, seen, mayKeep)) {
    case LoadVerdict::Bring:
      return true;
    case LoadVerdict::BringAfterBackup:
      if (copyToBackup(root_, place)) return true;
      throw StoreError{kStoreAccessDenied,
                       L"\"" + place.path + L"\" stays: it could not be copied before it is replaced"};
    case LoadVerdict::KeepBoth:
      lfperrC(L"\"%s\" stays: it was changed here and in the store\n", place.path);
      return false;
    case LoadVerdict::Leave:
      return false;
  }
  return false;
}

/// Whether a file that was named replaces what is here without a copy: somebody has judged both sides, or its header
/// tells its version.
bool BulkDownload::isDecided(const StoredFile& file) const {
  const bool isObject = file.fileClass == FileClass::Teilbild || file.fileClass == FileClass::Plan;
  return road_ == Road::Named && (isObject || transferCondition(project_, file.name));
}

void BulkDownload::bring(Waiting waiting) {
  requireClosed(waiting.place);
  waiting.judged = contentAt(waiting.place);
  if (record_ != nullptr) requireAsJudged(project_, waiting.file.name, waiting.place, waiting.judged);
  waiting.from = LocalTree::besides(waiting.place);
  waiting.index = item_;
  {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(waiting));
  }
  // The count is asked of the system once.
  static const unsigned suitable = std::clamp(std::thread::hardware_concurrency(), 1U, kMostThreads);
  const unsigned asked = askedThreads;
  if (waiting_.size() > 1 && helpers_.size() + 1 < (asked == 0 ? suitable : asked)) {
    helpers_.emplace_back([this](const std::stop_token& stop) { work(stop); });
  }
  changed_.notify_one();
}

/// Gives the first `files` of those that wait, which have come or failed, their names. They are synced before: nothing
/// has its name that is not whole.
void BulkDownload::settle(std::size_t files, std::vector<std::wstring>& failed) {
  const auto begin = waiting_.begin();
  const auto end = begin + static_cast<std::ptrdiff_t>(files);
  if (record_ != nullptr) {
    CacheRecord::Files announced;
    for (auto waiting = begin; waiting != end; ++waiting) {
      if (waiting->status == kStoreOk) announced.emplace_back(waiting->file.name, contentOf(waiting->file));
    }
    record_->announce(announced);
  }
  const auto come = std::count_if(begin, end, [](const Waiting& one) { return one.status == kStoreOk; });
  const bool together = static_cast<std::size_t>(come) > kSyncSingly;
  const CloudStatus synced = answerOf([&] {
    if (together) syncFileSystem(begin->place.directory);
  });
  for (auto waiting = begin; waiting != end; ++waiting) {
    if (waiting->status != kStoreOk) {
      setLastStoreText(waiting->text);
      note(waiting->status, waiting->given, failed);
      continue;
    }
    CloudStatus status = synced;
    if (status == kStoreOk) {
      status = answerOf([&] {
        if (!together) syncPath(waiting->from);
        requireClosed(waiting->place);
        LocalTree::replace(waiting->from, waiting->place, waiting->judged);
      });
    }
    if (status == kStoreOk) {
      settled_.emplace_back(waiting->file.name, contentOf(waiting->file));
      if (record_ != nullptr) moveConditionHere(project_, waiting->file.name, contentOf(waiting->file));
    } else {
      removeFile(waiting->from);
    }
    note(status, waiting->given, failed);
  }
  {
    const std::lock_guard lock(mutex_);
    waiting_.erase(begin, end);
    taken_ -= files;
  }
  if (record_ != nullptr) record_->settle(settled_);
  settled_.clear();
}

}  // namespace workstation
