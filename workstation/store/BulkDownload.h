// Bringing many files of a project to one directory. In this workstation's cache a file that was changed here is looked
// after: see CacheRecord.h.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "workstation/store/CacheRecord.h"
#include "workstation/store/CloudStore.h"
#include "workstation/store/LocalTree.h"

namespace workstation {

/// How a file on the disk is found to be what the store has: its time and size are believed, or its content is read,
/// too. Reading is still much cheaper than replacing a file by its like.
enum class Compare : std::uint8_t { Time, Content };

/// What a download does to files that are in its way.
enum class Road : std::uint8_t {
  Named,  ///< as in full, but objects, and what is under a condition, are replaced without a copy: that was decided
  Full,   ///< they are replaced, and copied before if they may be somebody's work
  News,   ///< what was changed here stays
};

bool isOpenInHost(const LocalPlace& place);
/// Throws kStoreInUse.
void requireClosed(const LocalPlace& place);
/// Throws kStoreChanged when a condition is laid down for the file and it is not that any more. @param here
/// contentAt(place)
void requireAsJudged(const std::wstring& project, const std::wstring& name, const LocalPlace& place,
                     const FileContent& here);
/// @param here  contentAt(place)
bool isSame(const LocalPlace& place, const FileContent& here, const StoredFile& stored, Compare compare);

/// A file that fails does not keep the others back. The caller's thread decides, replaces, records and tells progress;
/// contents are copied and checked by a few threads beside it.
class BulkDownload {
 public:
  /// @param record  of the directory, when it is this workstation's cache; else null
  BulkDownload(CloudStore& store, const StoreActor& actor, const std::wstring& project, const std::wstring& root,
               Compare compare, Road road, CacheRecord* record);
  ~BulkDownload();
  BulkDownload(const BulkDownload&) = delete;
  BulkDownload& operator=(const BulkDownload&) = delete;

  /// @param failed  names that did not come, as they were given
  /// @return the first failure
  CloudStatus fetchNames(const std::vector<std::wstring>& names, const StoreProgress& progress,
                         std::vector<std::wstring>& failed);
  /// The same for files of a listing.
  CloudStatus fetchFiles(const std::vector<StoredFile>& files, const StoreProgress& progress,
                         std::vector<std::wstring>& failed);

 private:
  struct Waiting {
    std::wstring given;
    std::string from;
    LocalPlace place;
    StoredFile file;
    FileContent judged = {};  ///< what was at the place when it was decided
    std::size_t index = 0;    ///< of the item that it comes from
    // Written by the thread that copies, until the file is done.
    CloudStatus status = kStoreOk;
    std::wstring text = {};
    bool isDone = false;
  };

  template <typename Item, typename Fetch>
  CloudStatus fetchAll(const std::vector<Item>& items, const Fetch& fetchItem, const StoreProgress& progress,
                       std::vector<std::wstring>& failed);
  void note(CloudStatus status, const std::wstring& name, std::vector<std::wstring>& failed);
  void fetchNamed(const std::wstring& given);
  void fetchListed(const StoredFile& listed);
  void bring(Waiting waiting);
  bool isWanted(const LocalPlace& place, const StoredFile& file);
  bool isDecided(const StoredFile& file) const;
  void work(const std::stop_token& stop);
  bool copyNext(std::unique_lock<std::mutex>& lock);
  void await(std::size_t files, const StoreProgress& progress);
  void tell(std::size_t items, const StoreProgress& progress);
  void settle(std::size_t files, std::vector<std::wstring>& failed);

  CloudStore& store_;
  const StoreActor& actor_;
  const std::wstring& project_;
  const std::wstring root_;
  LocalTree tree_;
  Compare compare_;
  Road road_;
  CacheRecord* record_;
  CacheRecord::Files settled_;
  CloudStatus first_ = kStoreOk;
  std::wstring firstText_;
  std::size_t item_ = 0;  // the one that is decided
  std::size_t items_ = 0;
  std::size_t told_ = 0;  // items
  std::uint64_t bytes_ = 0;

  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::deque<Waiting> waiting_;  // in the order of the items; changed by the caller's thread alone
  std::size_t taken_ = 0;        // of those that wait, from the front: copied or being copied
  std::vector<std::jthread> helpers_;
};

}  // namespace workstation
