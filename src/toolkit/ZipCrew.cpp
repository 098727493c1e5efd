#include "toolkit/ZipCrew.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>

namespace Quorvel::FileAccess {

namespace {

constexpr unsigned kMostThreads = 8;
constexpr std::chrono::milliseconds kTellEvery{20};

class Crew {
 public:
  Crew(const std::vector<std::uint64_t>& weights, std::uint64_t most,
       const std::function<std::wstring(std::size_t)>& work)
      : weights_(weights), most_(most), work_(work), failedAt_(weights.size()) {}
  ~Crew() { join(); }
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;

  void hire(unsigned count) try {
    for (unsigned i = 0; i < count; ++i) helpers_.emplace_back([this] { work(); });
  } catch (const std::system_error&) {
    return;  // fewer threads do it too
  }

  void work() {
    std::unique_lock lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return isOver() || inWork_ == 0 || inWork_ + weights_[next_] <= most_; });
      if (isOver()) return;
      const std::size_t item = next_++;
      inWork_ += weights_[item];
      ++begun_;
      lock.unlock();
      std::wstring failure = workOn(item);
      lock.lock();
      inWork_ -= weights_[item];
      --begun_;
      if (!failure.empty() && item < failedAt_) {
        failedAt_ = item;
        failure_ = std::move(failure);
      }
      changed_.notify_all();
    }
  }

  /// Until nothing is in work any more.
  std::wstring finish(ZipTally& tally) {
    std::unique_lock lock(mutex_);
    while (!changed_.wait_for(lock, kTellEvery, [this] { return begun_ == 0; })) {
      lock.unlock();
      tally.tell();
      lock.lock();
    }
    return failure_;
  }

 private:
  bool isOver() const { return next_ == weights_.size() || failedAt_ < weights_.size(); }
  std::wstring workOn(std::size_t item) try { return work_(item); } catch (const std::exception&) {
    return L"out of memory";
  }
  void join() {
    for (std::thread& helper : helpers_) helper.join();
  }

  const std::vector<std::uint64_t>& weights_;
  const std::uint64_t most_;
  const std::function<std::wstring(std::size_t)>& work_;
  std::mutex mutex_;  // for all below but the helpers
  std::condition_variable changed_;
  std::size_t next_ = 0;
  std::uint64_t inWork_ = 0;  // bytes
  std::size_t begun_ = 0;     // items in work
  std::size_t failedAt_;
  std::wstring failure_;
  std::vector<std::thread> helpers_;
};

}  // namespace

unsigned suitableZipThreads() {
  return std::clamp(std::thread::hardware_concurrency(), 1U, kMostThreads);
}

std::wstring workTogether(const std::vector<std::uint64_t>& weights, std::uint64_t most, unsigned threads,
                          const std::function<std::wstring(std::size_t)>& work, ZipTally& tally) {
  Crew crew(weights, most, work);
  const auto items = static_cast<unsigned>(std::min<std::size_t>(weights.size(), kMostThreads));
  crew.hire(std::max(1U, std::min(threads, items)) - 1);
  crew.work();
  return crew.finish(tally);
}

}  // namespace Quorvel::FileAccess
