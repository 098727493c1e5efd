// Progress of long work, as the transfers report it.
#pragma once

#include <cstdint>
#include <string>

namespace Quorvel::FileAccess {

/// Belongs to the thread that created it; the transfers call it on the thread that called them. A value above 32 bits
/// raises a NarrowingError.
class IProgress {
 public:
  virtual ~IProgress() = default;
  /// Sets the top of the range; 0 counts as 1.
  virtual void setRange(std::uint64_t value) = 0;
  /// @param force  shows the bar at once
  virtual void setPos(std::uint64_t value, bool force) = 0;
  virtual void setText(const std::wstring& text) = 0;
};

}  // namespace Quorvel::FileAccess
