// Whether somebody else has changed something in the store of the open project, asked so cheaply that it can be asked
// all the time.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <unordered_map>

#include "workstation/program/WatchJudge.h"

namespace workstation::program {

class Context;

/// One thread.
class StoreNews {
 public:
  explicit StoreNews(Context& context);

  /// What this process has sent is no news; after each true the caller brings what is new. Looks at the store's files
  /// most times, at one row when they were written, and at the listing once a second when the row tells of a change.
  /// Throws CommandFailure when the store can't be asked.
  bool hasCome();
  void noteOwn(const TransferOutcome& outcome);

 private:
  using Clock = std::chrono::steady_clock;
  bool isWritten();
  bool differsFromOwn();

  Context& context_;
  const std::wstring project_;
  FileContent database_;  // size and time of the store's files, which change whenever something is written
  FileContent log_;
  Clock::time_point nextQuestion_;  ///< at the latest: not every file system tells times exactly
  Clock::time_point nextListing_;
  std::int64_t counter_ = -1;
  std::unordered_map<std::string, std::int64_t> revisions_;  // of the last listing, by key
  std::unordered_map<std::string, std::int64_t> own_;        // by key; 0 for what this process deleted
};

}  // namespace workstation::program
