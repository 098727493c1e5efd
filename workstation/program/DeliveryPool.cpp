#include "workstation/program/DeliveryPool.h"

#include <system_error>

namespace workstation::program {

DeliveryPool::DeliveryPool(std::size_t most) : most_(most) {}

DeliveryPool::~DeliveryPool() {
  {
    const std::lock_guard guard(mutex_);
    ends_ = true;
  }
  wake_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void DeliveryPool::post(const std::wstring& key, Job job) {
  const std::lock_guard guard(mutex_);
  std::deque<Job>& jobs = jobs_[key];
  jobs.push_back(std::move(job));
  ++count_;
  if (jobs.size() > 1) return;
  ready_.push_back(key);
  if (idle_ < ready_.size() && threads_.size() < most_) {
    try {
      threads_.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
      // With a thread less, as long as there is one.
      if (threads_.empty()) throw;
    }
  } else {
    wake_.notify_one();
  }
}

std::size_t DeliveryPool::count() const {
  const std::lock_guard guard(mutex_);
  return count_;
}

void DeliveryPool::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    ++idle_;
    wake_.wait(lock, [this] { return !ready_.empty() || (ends_ && count_ == 0); });
    --idle_;
    if (ready_.empty()) return;
    const std::wstring key = std::move(ready_.front());
    ready_.pop_front();
    const Job job = jobs_[key].front();
    lock.unlock();
    job();
    lock.lock();
    --count_;
    // It stayed in front while it ran, so that a later one of its key waited.
    std::deque<Job>& jobs = jobs_[key];
    jobs.pop_front();
    if (jobs.empty()) {
      jobs_.erase(key);
    } else {
      ready_.push_back(key);
      wake_.notify_one();
    }
    if (ends_ && count_ == 0) wake_.notify_all();
  }
}

}  // namespace workstation::program
