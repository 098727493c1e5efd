#include "ftp/RetrySettings.h"

namespace Quorvel::FileAccess {

void RetrySettingsStack::pushSilent() {
  RetrySettings silent = top();
  silent.interactive = false;
  settings_.push_back(silent);
}

void RetrySettingsStack::pop() {
  if (settings_.size() > 1) settings_.pop_back();
}

}  // namespace Quorvel::FileAccess
