// How often and how loudly an operation is repeated: a stack whose top is in force, for all threads. Any thread calls.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

namespace Quorvel::FileAccess {

struct RetrySettings {
  bool logErrors = false;
  bool keepTimeTrace = true;
  bool interactive = true;   ///< dialogs may appear
  std::int32_t retries = 3;  ///< silent repeats of one operation
};

class RetrySettingsStack {
 public:
  explicit RetrySettingsStack(const RetrySettings& bottom) : settings_{bottom} {}

  RetrySettings top() const;
  /// The top once more, without dialogs.
  void pushSilent();
  /// Never takes the last entry.
  void pop();

 private:
  mutable std::mutex mutex_;
  std::vector<RetrySettings> settings_;
};

/// Without dialogs while it lives, when that is wanted.
class ScopedSilence {
 public:
  ScopedSilence(RetrySettingsStack& stack, bool silent) : stack_(silent ? &stack : nullptr) {
    if (stack_ != nullptr) stack_->pushSilent();
  }
  ~ScopedSilence() {
    if (stack_ != nullptr) stack_->pop();
  }
  ScopedSilence(const ScopedSilence&) = delete;
  ScopedSilence& operator=(const ScopedSilence&) = delete;

 private:
  RetrySettingsStack* stack_;  ///< null when nothing was pushed
};

}  // namespace Quorvel::FileAccess
