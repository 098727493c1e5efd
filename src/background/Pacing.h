// The waits and the clock of background work, so that tests decide how time passes.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

/// From any thread.
class Pacing {
 public:
  virtual ~Pacing() = default;
  /// Waits, or until the condition holds; who changes what the condition asks calls wake().
  /// @param isOver  may be empty: waits the whole time
  virtual void sleep(std::chrono::milliseconds time, const std::function<bool()>& isOver) = 0;
  virtual void wake() = 0;
  /// Whole seconds since 1970.
  virtual std::int64_t seconds() = 0;
  virtual SYSTEMTIME localTime() = 0;
};

/// The one in use: real time, unless a test has put another in its place.
Pacing& pacing();
/// For tests, before background work begins. @param replacement  null brings real time back
void setPacing(Pacing* replacement);

}  // namespace Quorvel::FileAccess
