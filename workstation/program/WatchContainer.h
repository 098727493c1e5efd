// The resource container of a watch: what of its cache is on its way to the store, and what others have committed.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "workstation/program/WatchFeed.h"

namespace workstation::program {

class Context;

/// One thread.
class WatchContainer {
 public:
  /// Of the container that this workstation is subscribed to, if it is.
  explicit WatchContainer(Context& context);

  bool isThere() const { return !uuid_.empty(); }
  const std::wstring& cache() const { return cache_; }
  /// Files that the collector was told of; each is told once it has been committed.
  void await(const std::vector<std::wstring>& files);
  void tellCommitted();
  /// Brings what others have committed, unless something here waits for its own commit.
  void receive();
  std::size_t waiting() const { return waiting_.size(); }

 private:
  Context& context_;
  std::wstring uuid_;
  std::wstring cache_;
  std::set<std::wstring> waiting_;
  std::int64_t revision_ = -1;  // the last one that was looked at
  WatchClock::time_point nextLook_;
  WatchClock::time_point nextQuestion_;
};

}  // namespace workstation::program
