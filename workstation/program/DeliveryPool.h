// Threads on which notices are handed to the library, which makes the one who hands over wait: many at once, those of
// one file one behind the other.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace workstation::program {

/// From any thread.
class DeliveryPool {
 public:
  using Job = std::function<void()>;

  /// @param most  threads; they are started as they are needed
  explicit DeliveryPool(std::size_t most);
  /// Does what was posted, and ends.
  ~DeliveryPool();
  DeliveryPool(const DeliveryPool&) = delete;
  DeliveryPool& operator=(const DeliveryPool&) = delete;

  /// Jobs of one key run in the order in which they were posted, never two at once.
  void post(const std::wstring& key, Job job);
  /// Jobs that are posted or run.
  std::size_t count() const;

 private:
  void work();

  const std::size_t most_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::map<std::wstring, std::deque<Job>> jobs_;  // a key stays until its last job has run
  std::deque<std::wstring> ready_;                // keys of which no job runs
  std::size_t count_ = 0;
  std::size_t idle_ = 0;
  bool ends_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace workstation::program
