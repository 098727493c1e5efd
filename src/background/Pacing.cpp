#include "background/Pacing.h"

#include <atomic>
#include <condition_variable>
#include <ctime>
#include <mutex>

#include "platform/Time.h"

namespace Quorvel::FileAccess {
namespace {

class RealPacing final : public Pacing {
 public:
  void sleep(std::chrono::milliseconds time, const std::function<bool()>& isOver) override {
    std::unique_lock lock(mutex_);
    woken_.wait_for(lock, time, [&] { return isOver && isOver(); });
  }
  void wake() override {
    { const std::lock_guard lock(mutex_); }
    woken_.notify_all();
  }
  std::int64_t seconds() override { return std::time(nullptr); }
  SYSTEMTIME localTime() override {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return now;
  }

 private:
  std::mutex mutex_;
  std::condition_variable woken_;
};

std::atomic<Pacing*>& replaced() {
  static std::atomic<Pacing*> pacing{nullptr};
  return pacing;
}

}  // namespace

Pacing& pacing() {
  // Never destroyed: threads that upload may still run at the exit.
  static auto& real = *new RealPacing;
  Pacing* const other = replaced();
  return other != nullptr ? *other : real;
}

void setPacing(Pacing* replacement) {
  replaced() = replacement;
}

}  // namespace Quorvel::FileAccess
