// One batch of items on its way to the store: judged, made ready, sent in groups, and told by what the store then has.
// `push` and `sync` send through it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "workstation/program/ExitCode.h"
#include "workstation/program/PushItems.h"
#include "workstation/program/SyncBase.h"

namespace workstation::program {

class Context;
struct ProjectLook;

/// How an item ended, or would end in a dry run.
enum class PushResult : std::uint8_t {
  Refused,
  RefusedLocked,  ///< somebody else holds the lock
  Left,           ///< deleted here; the store keeps it
  InStep,         ///< and there is nothing to send
  WouldSend,
  WouldDelete,
  Sent,
  Deleted,
  NotSent,
  NotDeleted,
};

class PushRun {
 public:
  using Report = std::function<void(const ItemView& view, PushResult result, const std::wstring& detail)>;

  /// @param look    outlives the run: what an upload of the project takes
  /// @param report  called once for each item that is decided or done; not for one of an unnamed choice that has
  ///                nothing to send
  PushRun(Context& context, const ProjectLook& look, const PushChoice& choice, Report report);

  /// Judges the items; changes nothing.
  void decide(const std::vector<ItemName>& names);
  /// Whether an item was found that is to be sent or deleted.
  bool hasWork() const;
  /// Sends and deletes what was decided, after the question about deletions.
  /// @param beforeReading  called when all has gone, before it is read what both sides have now
  void send(const std::function<void()>& beforeReading = {});
  /// True when nothing is left to send of an item, by the name of its file; after send().
  bool isSettled(const std::wstring& fileName) const;

 private:
  void tellDecision(const ItemView& view, const PushDecision& decision);
  void refuse(PushItem& item, std::wstring reason);
  void confirmDeletions();
  void prepare();
  void tellResults();
  bool settle(const PushItem& item, const ItemView& view);
  std::wstring failureReason(const PushItem& item) const;

  Context& context_;
  const ProjectLook& look_;
  PushChoice choice_;
  Report report_;
  SyncBase bases_;
  std::vector<std::pair<std::wstring, SyncPoint>> inStep_;  ///< to be noted
  std::vector<PushItem> items_;
  std::map<std::wstring, bool> settled_;  ///< by the key of the item
  std::size_t errorsBefore_ = 0;          ///< told before anything was sent
};

/// Sends what is not in step of the open project and tells of it, as `push` does. Guard and list are the caller's.
ExitCode pushChanges(Context& context);

/// The list of what could not be sent, loaded with what earlier runs left and written at the end.
class NotUploadedList {
 public:
  NotUploadedList();
  ~NotUploadedList();
  NotUploadedList(const NotUploadedList&) = delete;
  NotUploadedList& operator=(const NotUploadedList&) = delete;
};

}  // namespace workstation::program
