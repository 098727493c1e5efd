// What several threads want done at the same time, done at once: the thread that has waited longest does it for those
// that wait with it, while later ones gather. One thread that comes alone waits for nobody.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <utility>
#include <vector>

namespace workstation {

template <typename Item>
class Gathering {
 public:
  explicit Gathering(std::size_t most) : most_(most) {}

  /// Returns when the item is done, by this thread or another.
  /// @param doThem  gets items in the order in which they came, at most as many as the limit, and answers how many of
  ///                the first of them, one at least, it did; the others wait on. One thread at a time; never throws
  template <typename DoThem>
  void run(Item& item, const DoThem& doThem) {
    Waiting own{item, {}, false};
    std::unique_lock lock(mutex_);
    waiting_.push_back(&own);
    own.turn.wait(lock, [&] { return own.isDone || (!isBusy_ && waiting_.front() == &own); });
    if (own.isDone) return;
    isBusy_ = true;
    std::vector<Item*> items;
    for (std::size_t i = 0; i < std::min(most_, waiting_.size()); ++i) items.push_back(&waiting_[i]->item);
    lock.unlock();
    std::size_t done = doThem(std::as_const(items));
    lock.lock();
    isBusy_ = false;
    for (; done > 0; --done) {
      // Told under the lock: once it is let go the waiting one may be gone.
      waiting_.front()->isDone = true;
      waiting_.front()->turn.notify_one();
      waiting_.pop_front();
    }
    if (!waiting_.empty()) waiting_.front()->turn.notify_one();
  }

 private:
  struct Waiting {
    Item& item;
    std::condition_variable turn;
    bool isDone = false;
  };

  const std::size_t most_;
  std::mutex mutex_;
  bool isBusy_ = false;
  std::deque<Waiting*> waiting_;
};

}  // namespace workstation
