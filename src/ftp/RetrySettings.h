// How often and how loudly an operation is repeated: a stack whose top is in force.
#pragma once

#include <cstdint>
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

  const RetrySettings& top() const { return settings_.back(); }
  /// The top once more, without dialogs.
  void pushSilent();
  /// Never takes the last entry.
  void pop();

 private:
  std::vector<RetrySettings> settings_;
};

}  // namespace Quorvel::FileAccess
