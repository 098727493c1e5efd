// Items of work on several threads, with progress told on the caller's. Internal to the toolkit.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "toolkit/ZipMeter.h"

namespace Quorvel::FileAccess {

/// As many threads as there are processors, but few.
unsigned suitableZipThreads();

/// Collects progress from all threads for a meter that belongs to the thread which makes this.
class ZipTally {
 public:
  explicit ZipTally(ZipMeter& meter) : meter_(meter) {}
  /// @return false when the caller's object has asked for the end
  bool add(std::uint64_t bytes) {
    waiting_ += bytes;
    return owner_ == std::this_thread::get_id() ? tell() : !isEnded_;
  }
  /// On the owner's thread.
  bool tell() {
    if (!isEnded_ && !meter_.add(waiting_.exchange(0))) isEnded_ = true;
    return !isEnded_;
  }

 private:
  ZipMeter& meter_;
  const std::thread::id owner_ = std::this_thread::get_id();
  std::atomic<std::uint64_t> waiting_{0};
  std::atomic<bool> isEnded_{false};
};

/// Does the work of each item, begun in their order, on this thread and others. Behind a failure nothing is begun, and
/// what is in work comes to its end.
///
/// @param weights  bytes of memory that each item takes; about `most` of them are in work together
/// @param threads  this one counted in
/// @param work     any thread; answers the reason of a failure, and may throw
/// @return the reason of the failure that comes first in the order; empty when there was none
std::wstring workTogether(const std::vector<std::uint64_t>& weights, std::uint64_t most, unsigned threads,
                          const std::function<std::wstring(std::size_t item)>& work, ZipTally& tally);

}  // namespace Quorvel::FileAccess
