// What a push works on: the items that it found, each with both its sides and the one file here that stands for it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "workstation/program/Objects.h"
#include "workstation/program/PushPlan.h"

namespace workstation::program {

struct ProjectLook;
class SyncBase;

/// An item from the decision to the result.
struct PushItem {
  ItemView before;  ///< both sides as they were judged
  PushFile file;
  PushDecision decision;
  std::optional<VersionStamp> sent;  ///< what was here when it was sent
  FileContent source;                ///< the file with that header
  bool wasWaiting = false;           ///< in the list of what could not be sent, before it was tried
  std::int64_t after = 0;            ///< revision of the store's when it had gone
  bool isGone = false;               ///< it was done when its group had gone
  bool isTried = false;              ///< false: the failure of others kept it back

  ItemName name() const { return {before.object, before.fileName}; }
  bool isToDelete() const { return decision.step == PushStep::Delete; }
  bool isToSend() const { return decision.step == PushStep::Send; }
  bool needsOwnLock() const { return isToSend() && hasStoredHeader(before); }
  /// Whether what was to happen has happened. @param now  both sides, read after the upload
  bool isDoneBy(const ItemView& now) const;
};

/// The files of a look by the item that they stand for.
class PushFiles {
 public:
  explicit PushFiles(const ProjectLook& look);
  PushFile of(const std::wstring& fileName) const;

 private:
  std::multimap<std::wstring, std::wstring> paths_;  ///< full path as it is written on the disk, by the item's key
};

/// Without regard to letter case, as the store tells names apart.
std::wstring itemKey(const std::wstring& fileName);

/// What a push without names has to judge, each once: what the look found changed or missing, and every file that is
/// not as it was when it was last in step with the store. What the look has to compare with does not decide that
/// anything is left out.
std::vector<ItemName> itemsToPush(const ProjectLook& look, const SyncBase& bases);

}  // namespace workstation::program
