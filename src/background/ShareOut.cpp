#include "background/ShareOut.h"

#include <tbb/blocked_range.h>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/parallel_for_each.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>
#include <tbb/task_scheduler_observer.h>

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <numeric>
#include <set>
#include <thread>
#include <vector>

#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess::Threading {
namespace {

/// Ends the connections of a list's threads, each on its own thread when that leaves the arena, because there is no
/// work for it or the list is done: nobody can reach a thread of the pool afterwards.
class ConnectionRelease final : public tbb::task_scheduler_observer {
 public:
  ConnectionRelease(tbb::task_arena& arena, const ShareOut& how)
      : tbb::task_scheduler_observer(arena), connections_(how.connections), silenced_(how.silenced) {
    // What this thread has prepared comes before the work of the others. The library sees to that as well, but race
    // detectors can't look into it.
    { const std::lock_guard guard(lock()); }
    observe(true);
  }
  ~ConnectionRelease() override { observe(false); }

  /// The calling thread is about to work, and may open a connection.
  void working() {
    {
      const std::lock_guard guard(lock());
      if (!workers_.insert(std::this_thread::get_id()).second) return;
    }
    if (silenced_ != nullptr) silenced_->setDialogsSuppressed(true);
  }

  void on_scheduler_exit(bool /*isWorker*/) override { release(); }

  /// Waits until every thread that worked has left.
  void waitForAll() {
    std::unique_lock hold(lock());
    allLeft_.wait(hold, [&] { return workers_.empty(); });
  }

 private:
  void release() noexcept {
    if (!isWorker()) return;
    try {
      if (connections_ != nullptr) connections_->releaseThreadData();
    } catch (...) {
      // The thread must still count as gone, or the list would wait for it for ever.
    }
    const std::lock_guard guard(lock());
    workers_.erase(std::this_thread::get_id());
    // Under the lock: the waiting thread destroys this object as soon as it can have it.
    allLeft_.notify_all();
  }

  bool isWorker() {
    const std::lock_guard guard(lock());
    return workers_.contains(std::this_thread::get_id());
  }

  /// One for all lists: it is asked for once a range, and outlives them.
  static std::mutex& lock() {
    static std::mutex mutex;
    return mutex;
  }

  IZepInetFileTransferInternal* connections_;
  IZepInetFileTransfer* silenced_;
  std::condition_variable allLeft_;
  std::set<std::thread::id> workers_;
};

/// Runs `body` in an arena of this list.
template <typename Body>
void inArena(const ShareOut& how, const Body& body) {
  tbb::task_arena arena(how.threads);
  ConnectionRelease release(arena, how);
  std::exception_ptr failure;
  try {
    arena.execute([&] { body(release); });
  } catch (...) {
    failure = std::current_exception();
  }
  release.waitForAll();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace

int allowedThreads() {
  constexpr std::size_t kMost = 1024;
  const std::size_t allowed = tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism);
  return static_cast<int>(std::clamp<std::size_t>(allowed, 1, kMost));
}

void ShareOut::ranges(std::size_t count, ListWork& work) const {
  constexpr std::size_t kSmallestGrain = 3;
  const std::size_t grain = std::max(count / static_cast<std::size_t>(threads), kSmallestGrain);
  inArena(*this, [&](ConnectionRelease& release) {
    tbb::task_group_context context;
    const auto body = [&](const tbb::blocked_range<std::size_t>& range) {
      release.working();
      work.workOn(range.begin(), range.end());
    };
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count, grain), body, tbb::auto_partitioner(), context);
  });
}

void ShareOut::elements(std::size_t count, ListWork& work) const {
  std::vector<std::size_t> indices(count);
  std::iota(indices.begin(), indices.end(), std::size_t{0});
  inArena(*this, [&](ConnectionRelease& release) {
    tbb::task_group_context context;
    const auto body = [&](std::size_t index) {
      release.working();
      work.workOn(index, index + 1);
    };
    tbb::parallel_for_each(indices.begin(), indices.end(), body, context);
  });
}

}  // namespace Quorvel::FileAccess::Threading
