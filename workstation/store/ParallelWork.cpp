#include "workstation/store/ParallelWork.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "workstation/store/CloudStore.h"
#include "workstation/store/StoreError.h"

namespace workstation {

namespace {

constexpr unsigned kMostThreads = 4;

}  // namespace

void workInParallel(std::size_t count, const std::function<void(std::size_t item)>& work,
                    const std::function<void(std::size_t done)>& progress) {
  std::mutex mutex;
  std::condition_variable changed;
  std::size_t next = 0;
  std::size_t done = 0;
  std::size_t running = 0;
  std::optional<StoreError> failure;
  const auto run = [&] {
    std::unique_lock lock(mutex);
    while (next < count && !failure) {
      const std::size_t item = next++;
      lock.unlock();
      const CloudStatus status = answerOf([&] { work(item); });
      lock.lock();
      ++done;
      if (status != kStoreOk && !failure) failure = StoreError{status, CloudStore::lastText()};
      changed.notify_one();
    }
    --running;
    changed.notify_one();
  };
  // The count is asked of the system once.
  static const unsigned cores = std::clamp(std::thread::hardware_concurrency(), 1U, kMostThreads);
  running = std::min<std::size_t>(cores, count);
  std::vector<std::jthread> threads;
  for (std::size_t i = running; i > 0; --i) threads.emplace_back(run);
  std::unique_lock lock(mutex);
  std::size_t told = 0;
  while (running > 0) {
    changed.wait(lock, [&] { return running == 0 || told != done; });
    while (told < done) {
      ++told;
      lock.unlock();
      progress(told);
      lock.lock();
    }
  }
  lock.unlock();
  threads.clear();
  if (failure) throw StoreError(*failure);
}

}  // namespace workstation
