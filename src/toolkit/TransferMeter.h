// Counts what a transfer moves and tells its receiver. Internal to the toolkit.
#pragma once

#include <algorithm>
#include <cstdint>

#include "platform/Time.h"
#include "toolkit/Progress.h"

namespace Quorvel::FileAccess {

class TransferMeter {
 public:
  /// @param receiver  may be null
  explicit TransferMeter(CkFtp2ProgressW* receiver) : receiver_(receiver), start_(GetTickCount64()) {}

  /// @return bytes so far
  std::int64_t add(std::size_t count) {
    bytes_ += static_cast<std::int64_t>(count);
    if (receiver_ == nullptr) return bytes_;
    const auto milliseconds = static_cast<std::int64_t>(std::max<ULONGLONG>(GetTickCount64() - start_, 1));
    const std::int64_t rate = bytes_ > INT64_MAX / 1000 ? bytes_ / milliseconds * 1000 : bytes_ * 1000 / milliseconds;
    receiver_->onTransferRate(bytes_, static_cast<std::uint32_t>(std::min<std::int64_t>(rate, UINT32_MAX)));
    return bytes_;
  }
  std::int64_t bytes() const { return bytes_; }

 private:
  CkFtp2ProgressW* receiver_;
  ULONGLONG start_;
  std::int64_t bytes_ = 0;
};

}  // namespace Quorvel::FileAccess
