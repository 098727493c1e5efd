#include "ftp/RetrySettings.h"

namespace Quorvel::FileAccess {

RetrySettings RetrySettingsStack::top() const {
  const std::lock_guard lock(mutex_);
  return settings_.back();
}

void RetrySettingsStack::pushSilent() {
  const std::lock_guard lock(mutex_);
  RetrySettings silent = settings_.back();
  silent.interactive = false;
  settings_.push_back(silent);
}

void RetrySettingsStack::pop() {
  const std::lock_guard lock(mutex_);
  if (settings_.size() > 1) settings_.pop_back();
}

}  // namespace Quorvel::FileAccess
