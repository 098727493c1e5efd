// `watch`: keeps the open project in step while people work, without being asked. One thread tells and decides, beside
// it the watcher notices what happens here, the library's background manager sends it, and a look at the store tells
// what others have done. docs/watch.md is about how these go together.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "workstation/program/ExitCode.h"
#include "workstation/program/Objects.h"
#include "workstation/program/StoreNews.h"
#include "workstation/program/WatchContainer.h"
#include "workstation/program/WatchFeed.h"

namespace workstation::program {

class Context;

class WatchRun {
 public:
  /// @param receives  also brings what others have changed
  WatchRun(Context& context, bool receives);
  ~WatchRun();
  WatchRun(const WatchRun&) = delete;
  WatchRun& operator=(const WatchRun&) = delete;

  /// Tells what it would do, and does nothing.
  ExitCode plan();
  /// Until `stops` is not 0. Throws CommandFailure when the project's directory is gone.
  ExitCode run(const std::atomic<int>& stops);

 private:
  /// A file that could not be sent or deleted there, until it could.
  struct Failing {
    bool isDeletion = false;
    bool isConflict = false;  ///< somebody else changed it; the next look at both sides tells what becomes of it
    bool isInUse = false;     ///< somebody writes it
    bool isTold = false;
    bool isWaiting = false;  ///< for `due`
    int attempts = 0;
    std::wstring reason;
    WatchClock::time_point failed;
    WatchClock::time_point due;
    Backoff backoff;
  };

  void turn(std::chrono::milliseconds limit, bool retries);
  void take(const WatchEvents::Batch& batch);
  void takeOutcome(const TransferOutcome& outcome);
  void noteFailure(const TransferOutcome& outcome, bool isConflict);
  void noteSilent();
  bool isStillToSend(const std::wstring& name);
  void tellFailures();
  void retry();
  void wakeFailing();
  void handRemovalsOver(bool all);
  void tellAccident(std::size_t count);
  bool isGoneThere(const std::wstring& name);
  void tellWaiting();
  void tellWaiting(const ItemView& view);
  void receive();
  void look();
  void sendWhatDiffers();
  void hurryPass();
  void pass();
  void takeLeft(const ItemView& view);
  void checkPlaces();
  void noteStore(const std::wstring* problem);
  void flush();
  void finish();
  ExitCode result();

  Context& context_;
  const bool receives_;
  const std::wstring project_;
  WatchPlaces places_;
  std::int64_t born_ = 0;  // when the project's directory was made
  WatchEvents events_;
  ServedFiles served_;
  std::shared_ptr<WatchJudge> judge_;
  std::optional<ScopedTransferJudge> standing_;
  WatchContainer container_;
  StoreNews news_;
  std::unique_ptr<WatchFeed> feed_;

  std::map<std::wstring, WatchClock::time_point> pending_;  // handed over, nothing told yet
  std::map<std::wstring, Failing> failing_;
  std::vector<TransferOutcome> unnoted_;
  std::set<std::wstring> candidates_;  // changed here, of a kind that the manager does not send
  WatchClock::time_point lastCandidate_;
  std::map<std::wstring, ItemName> waiting_;  // told to wait for the next sync, by label
  std::set<std::wstring> kept_;
  bool isPassDue_ = true;
  bool hasPassed_ = false;
  WatchClock::time_point nextPass_;
  Backoff passPause_;
  WatchClock::time_point nextQuestion_;
  WatchClock::time_point nextCheck_;
  bool isStoreAway_ = false;
  Backoff storePause_;
  std::size_t sent_ = 0;
  std::size_t fetched_ = 0;
};

}  // namespace workstation::program
