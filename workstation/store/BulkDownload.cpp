#include "workstation/store/BulkDownload.h"

#include <algorithm>

#include "host/ObjectFiles.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/StoreImpl.h"
#include "workstation/store/TransferConditions.h"

namespace workstation {

namespace {

/// Files that wait for their names together, so that one sync serves them all.
constexpr std::size_t kGroup = 512;
constexpr std::size_t kSyncSingly = 4;

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
    if (CopyFileW(place.path.c_str(), name.c_str(), TRUE) != FALSE) return true;
    error = GetLastError();
    if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) break;
  }
  lfperrC(L"%s: no copy could be made in \"%s\" (error %u)\n", place.path, directory, error);
  return false;
}

}  // namespace

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
  for (const Waiting& waiting : waiting_) removeFile(waiting.from);
}

template <typename Item, typename Fetch>
CloudStatus BulkDownload::fetchAll(const std::vector<Item>& items, const Fetch& fetchItem,
                                   const StoreProgress& progress, std::vector<std::wstring>& failed) {
  std::uint64_t bytes = 0;
  for (std::size_t i = 0; i < items.size(); ++i) {
    bytes += fetchItem(items[i]);
    if (waiting_.size() >= kGroup) settle(failed);
    if (progress) progress(static_cast<std::uint32_t>(i + 1), static_cast<std::uint32_t>(items.size()), bytes);
  }
  settle(failed);
  if (first_ != kStoreOk) setLastStoreText(firstText_);
  return first_;
}

CloudStatus BulkDownload::fetchNames(const std::vector<std::wstring>& names, const StoreProgress& progress,
                                     std::vector<std::wstring>& failed) {
  const auto fetchOne = [&](const std::wstring& name) {
    std::uint64_t bytes = 0;
    note(answerOf([&] { bytes = fetchNamed(name); }), name, failed);
    return bytes;
  };
  return fetchAll(names, fetchOne, progress, failed);
}

CloudStatus BulkDownload::fetchFiles(const std::vector<StoredFile>& files, const StoreProgress& progress,
                                     std::vector<std::wstring>& failed) {
  const auto fetchOne = [&](const StoredFile& file) {
    std::uint64_t bytes = 0;
    note(answerOf([&] { bytes = fetchListed(file); }), file.name, failed);
    return bytes;
  };
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

std::uint64_t BulkDownload::fetchNamed(const std::wstring& given) {
  std::wstring name;
  if (!normaliseStoreName(given, name)) {
    throw StoreError{kStoreInvalidName, L"\"" + given + L"\" is not a valid name of a file of a project"};
  }
  Waiting waiting{given, {}, tree_.place(name), {}};
  const bool isKnown = waiting.place.exists && store_.findFile(actor_, project_, name, waiting.file) == kStoreOk;
  if (isKnown && !isWanted(waiting.place, waiting.file)) return 0;
  waiting.file.name = name;
  return bring(std::move(waiting));
}

std::uint64_t BulkDownload::fetchListed(const StoredFile& listed) {
  Waiting waiting{listed.name, {}, tree_.place(listed.name), listed};
  return isWanted(waiting.place, listed) ? bring(std::move(waiting)) : 0;
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
  if (record_ == nullptr || road_ == Road::Named) return true;
  const bool mayKeep = road_ == Road::News && record_->isWhole();
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

std::uint64_t BulkDownload::bring(Waiting waiting) {
  requireClosed(waiting.place);
  waiting.judged = contentAt(waiting.place);
  if (record_ != nullptr) requireAsJudged(project_, waiting.file.name, waiting.place, waiting.judged);
  waiting.from = LocalTree::besides(waiting.place);
  StoredFile file;
  const CloudStatus status = store_.copyOut(actor_, project_, waiting.file.name, waiting.from, file);
  if (status != kStoreOk) throw StoreError{status, CloudStore::lastText()};
  waiting.file = std::move(file);
  const auto bytes = static_cast<std::uint64_t>(waiting.file.size);
  waiting_.push_back(std::move(waiting));
  return bytes;
}

/// Gives the files of the group their names. Those that take another file's place are synced before.
void BulkDownload::settle(std::vector<std::wstring>& failed) {
  if (record_ != nullptr) {
    CacheRecord::Files announced;
    for (const Waiting& waiting : waiting_) announced.emplace_back(waiting.file.name, contentOf(waiting.file));
    record_->announce(announced);
  }
  const auto replacing =
      std::count_if(waiting_.begin(), waiting_.end(), [](const Waiting& one) { return one.place.exists; });
  const bool together = static_cast<std::size_t>(replacing) > kSyncSingly;
  const CloudStatus synced = answerOf([&] {
    if (together) syncFileSystem(waiting_.front().place.directory);
  });
  for (const Waiting& waiting : waiting_) {
    CloudStatus status = synced;
    if (status == kStoreOk) {
      status = answerOf([&] {
        if (waiting.place.exists && !together) syncPath(waiting.from);
        requireClosed(waiting.place);
        LocalTree::replace(waiting.from, waiting.place, waiting.judged);
      });
    }
    if (status == kStoreOk) {
      settled_.emplace_back(waiting.file.name, contentOf(waiting.file));
      if (record_ != nullptr) moveConditionHere(project_, waiting.file.name, contentOf(waiting.file));
    } else {
      removeFile(waiting.from);
    }
    note(status, waiting.given, failed);
  }
  waiting_.clear();
  if (record_ != nullptr) record_->settle(settled_);
  settled_.clear();
}

}  // namespace workstation
