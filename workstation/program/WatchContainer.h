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
  /// Tells what was changed in the cache while nobody watched, which is left to the person who changed it.
  void begin();
  /// Files that the collector was told of; each is told once it has been committed.
  void await(const std::vector<std::wstring>& files);
  void tellCommitted(bool atOnce);
  /// Brings what others have committed, unless something here waits for its own commit.
  void receive();
  /// Tells what was not committed. @return how many are not in step, with those of which a copy was kept
  std::size_t tellStaying() const;

 private:
  std::vector<std::wstring> newCopies();

  Context& context_;
  std::wstring uuid_;
  std::wstring cache_;
  std::set<std::wstring> waiting_;
  std::set<std::wstring> copies_;  // of what a colleague's commit replaced, as far as they are known
  std::size_t kept_ = 0;
  std::int64_t revision_ = -1;  // the last one that was looked at
  WatchClock::time_point nextLook_;
  WatchClock::time_point nextQuestion_;
};

}  // namespace workstation::program
