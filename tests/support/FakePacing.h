// Time in the hands of a test: background work sleeps as long as the test lets it, and no real time passes.
#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "background/Pacing.h"
#include "zephor/BackgroundChanges.h"

namespace zephor_test {

using std::chrono::milliseconds;

/// In use while it lives. Sleeps of a length that is not held end at once.
class FakePacing final : public Quorvel::FileAccess::Pacing {
 public:
  FakePacing() { Quorvel::FileAccess::setPacing(this); }
  ~FakePacing() override { Quorvel::FileAccess::setPacing(nullptr); }

  void hold(milliseconds time) {
    change([&] { held_.insert(time); });
  }
  void release(milliseconds time) {
    change([&] { held_.erase(time); });
  }
  /// Lets one sleep of this length end.
  void pass(milliseconds time) {
    change([&] { ++passes_[time]; });
  }
  /// Waits until so many sleeps of this length have begun, ever. @return how many have
  int awaitBegun(milliseconds time, int count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(30), [&] { return begun_[time] >= count; });
    return begun_[time];
  }

  void sleep(milliseconds time, const std::function<bool()>& isOver) override {
    std::unique_lock lock(mutex_);
    ++begun_[time];
    changed_.notify_all();
    changed_.wait(lock, [&] { return !held_.contains(time) || passes_[time] > 0 || (isOver && isOver()); });
    if (passes_[time] > 0) --passes_[time];
  }
  void wake() override {
    change([] {});
  }
  std::int64_t seconds() override { return 1'772'600'767; }
  SYSTEMTIME localTime() override { return {2026, 3, 3, 4, 5, 6, 7, 0}; }

 private:
  template <typename Change>
  void change(const Change& change) {
    const std::lock_guard lock(mutex_);
    change();
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::set<milliseconds> held_;
  std::map<milliseconds, int> passes_;
  std::map<milliseconds, int> begun_;
};

}  // namespace zephor_test
