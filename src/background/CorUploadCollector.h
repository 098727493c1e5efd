// Changes in the cache of a resource container, committed together: the container travels as a whole, downloaded and
// locked, then committed and unlocked.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace Quorvel::FileAccess {

struct CORUploadInfo {
  std::wstring path;
  std::int64_t seconds = 0;  ///< since 1970, of the notice
  unsigned long action = 0;  ///< 1 added, 2 removed, 3 modified
};

/// Records come from any thread. Nobody waits for a transfer to insert one.
class CORUploadInfoCollector {
 public:
  /// Appends a record unless its path is listed: the first notice stands. A path whose commit goes on counts as not
  /// listed, since the commit may have read the file before the change.
  void insertInfo(const CORUploadInfo& record);
  /// Begins to commit as soon as there are enough records. std::logic_error while it runs, std::system_error without
  /// a thread. Not from several threads at once, nor stopThread().
  void startThread();
  /// Commits what there is, once, ends the thread and forgets what could not be committed. Without a thread it forgets.
  /// std::logic_error on that thread itself.
  void stopThread();
  /// Commits the first records to the container of the open project. They stay when that fails.
  /// @return true when it is done, also when there is nothing to do
  bool upload(std::size_t count);
  std::size_t count() const;

 private:
  using Batch = std::vector<CORUploadInfo>;

  void work();
  Batch beginBatch(std::size_t count);
  void endBatch(const Batch& batch, bool isDone);
  static bool commit(const Batch& batch);

  mutable std::mutex lock_;
  std::deque<CORUploadInfo> records_;
  std::unordered_set<std::wstring> listed_;  ///< paths of the records behind the batch under way
  std::uint64_t threshold_ = 4;
  std::mutex transferLock_;  ///< one batch at a time; taken before lock_
  std::atomic<bool> stop_{false};
  std::thread worker_;
  std::atomic<std::thread::id> workerId_{};
};

}  // namespace Quorvel::FileAccess
