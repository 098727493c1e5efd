// One run that brings the open project's directory and the store in step, in both directions.
//
// An interrupted run leaves nothing that the next one has to know of: what moves is judged anew each time from both
// sides and the base. The base is written behind a transfer, never before it, so that a run that ends in between finds
// both sides the same and the base old, and only records that. Until then neither side's file is believed to be old.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "workstation/program/ExitCode.h"
#include "workstation/program/Objects.h"
#include "workstation/program/ProjectComparison.h"
#include "workstation/program/PushRun.h"
#include "workstation/program/SyncDecision.h"

namespace workstation::program {

class Context;

enum class SyncMode : std::uint8_t {
  Both,
  Receive,  ///< only brings what is newer in the store; what was changed or removed here stays as it is
};

/// The project's guard is held by the caller.
class ProjectSync {
 public:
  /// Asked in a receiving run for each item that stays, whether its line is still to be told.
  using KeptFilter = std::function<bool(const std::wstring& item, const std::wstring& reason)>;

  /// Asked in a receiving run: whether this process is sending an item, so that the store's may be its own.
  using SendingFilter = std::function<bool(const std::wstring& name)>;

  explicit ProjectSync(Context& context, SyncMode mode = SyncMode::Both, KeptFilter isNews = {},
                       SendingFilter isOnItsWay = {});
  ExitCode run();

  /// What a receiving run left to be sent, and what was removed here.
  const std::vector<ItemView>& left() const { return left_; }
  /// Labels of what a receiving run found to differ on both sides.
  const std::set<std::wstring>& kept() const { return keptLabels_; }
  /// Whether something that was to come did not: another run may bring it.
  bool isIncomplete() const { return isIncomplete_; }
  /// Whether something was not looked at, as this process was sending it.
  bool hasPassedOver() const { return hasPassedOver_; }
  std::size_t fetched() const { return fetched_; }

 private:
  struct Item {
    ComparedFile file;
    ItemView view;
    SyncDecision decision;
    std::wstring problem = {};  ///< why it did not come

    /// The store has an object, and can't tell its header.
    bool lacksHeader() const { return file.store && !file.storeStamp; }
  };

  void move();
  void tellSwitchedOff() const;
  void recordSame();
  void forgetGone() const;
  void loadIfFresh();
  void judge();
  void leave(Item& item);
  static SyncDecision decideWithoutHeader(const Item& item, bool isOpen);
  void keepAllOfLostStore();
  void tellPlan();
  void fetch();
  void fetchItems(std::vector<Item*> wanted);
  void completeCache();
  void fetchTogether(const std::vector<Item*>& wanted);
  void trash();
  void moveToTrash(const Item& item, SyncBase& bases);
  bool send();
  void tellSent(const ItemView& view, PushResult result, const std::wstring& detail);
  void settle();
  void tellSettled(const std::set<std::wstring>& differing);
  void clearWaiting(const std::set<std::wstring>& differing) const;
  void tellOthersFetched(const std::vector<ComparedFile>& same, const std::set<std::wstring>& differing);
  ExitCode finish() const;

  std::vector<Item*> itemsTo(SyncStep step);
  std::wstring pathOf(const Item& item) const;
  bool isBrought(const Item& item) const;
  void tellFetched(const ItemName& item);
  void keep(const std::wstring& item, const std::wstring& reason);

  Context& context_;
  const bool dryRun_;
  const bool receives_;
  const KeptFilter isNews_;
  const SendingFilter isOnItsWay_;
  std::vector<ItemView> left_;
  std::set<std::wstring> keptLabels_;
  bool isIncomplete_ = false;
  bool hasPassedOver_ = false;
  bool areUsersDue_ = false;  ///< the list of users is to be brought in step
  ProjectComparison comparison_;
  std::vector<Item> items_;
  std::set<std::wstring> told_;  ///< items with a result line, by key
  std::size_t fetched_ = 0;
  std::size_t sent_ = 0;
  std::size_t trashed_ = 0;
  std::size_t rescued_ = 0;
  std::size_t kept_ = 0;
};

}  // namespace workstation::program
