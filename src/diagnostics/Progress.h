// Progress of long work, as the transfers report it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace Quorvel::FileAccess {

/// Belongs to the thread that created it. A value above 32 bits raises a NarrowingError.
class IProgress {
 public:
  virtual ~IProgress() = default;
  /// Sets the top of the range; 0 counts as 1.
  virtual void setRange(std::uint64_t value) = 0;
  /// @param force  shows the bar at once
  virtual void setPos(std::uint64_t value, bool force) = 0;
  virtual void setText(const std::wstring& text) = 0;
};

namespace ConnectionLogger {

/// A floating progress bar, hidden until the work has taken two seconds or a position is forced. Its end takes 300 ms,
/// in which the full bar is seen.
/// @return empty when there is no display for it; callers go on without progress
std::shared_ptr<IProgress> CreateProgress(const std::wstring& title);

}  // namespace ConnectionLogger
}  // namespace Quorvel::FileAccess
