// How far a long zip operation is, told to the caller's object. Internal to the toolkit.
#pragma once

#include <algorithm>
#include <cstdint>

#include "toolkit/ZipW.h"

namespace Quorvel::FileAccess {

class ZipMeter {
 public:
  /// @param callback  null for none
  ZipMeter(CkZipProgressW* callback, std::uint64_t total) : callback_(callback), total_(total) {}

  /// @return false when the caller's object asks for the end
  bool add(std::uint64_t bytes) {
    if (callback_ == nullptr) return true;
    done_ = std::min(total_, done_ + std::min(bytes, total_));
    bool isAborted = false;
    callback_->AbortCheck(&isAborted);
    // 100 is kept for the end.
    return !isAborted && tell(std::min(99, static_cast<int>(static_cast<double>(done_) * 100 / total())));
  }
  /// Tells the end, where nobody is asked any more.
  void finish() {
    if (callback_ != nullptr) tell(100);
  }

 private:
  double total() const { return total_ == 0 ? 1 : static_cast<double>(total_); }
  bool tell(int percent) {
    if (percent <= told_) return true;
    told_ = percent;
    bool isAborted = false;
    callback_->PercentDone(percent, &isAborted);
    return !isAborted;
  }

  CkZipProgressW* callback_;
  std::uint64_t total_;
  std::uint64_t done_ = 0;
  int told_ = -1;
};

}  // namespace Quorvel::FileAccess
