#include "workstation/program/PushRun.h"

#include <algorithm>
#include <functional>

#include "platform/Text.h"
#include "workstation/program/Agreement.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/Context.h"
#include "workstation/program/PushUpload.h"
#include "workstation/program/SendBarrier.h"
#include "zephor/NotUploadedFiles.h"

namespace workstation::program {

PushRun::PushRun(Context& context, const ProjectLook& look, const PushChoice& choice, Report report)
    : context_(context), look_(look), choice_(choice), report_(std::move(report)), bases_(look.projectUuid) {}

void PushRun::decide(const std::vector<ItemName>& names) {
  const PushFiles files(look_);
  const SendBarrier barrier = sendBarrier(context_);
  for (ItemView& view : readItems(names)) {
    PushItem& item = items_.emplace_back();
    item.file = files.of(view.fileName);
    item.decision = decidePush(view, choice_, item.file, barrier);
    item.before = std::move(view);
    tellDecision(item.before, item.decision);
  }
}

bool PushRun::hasWork() const {
  return std::any_of(items_.begin(), items_.end(),
                     [](const PushItem& item) { return item.isToSend() || item.isToDelete(); });
}

void PushRun::send(const std::function<void()>& beforeReading) {
  confirmDeletions();
  prepare();
  errorsBefore_ = context_.errorCount();
  uploadItems(look_, items_, [this](PushItem& item, std::wstring reason) { refuse(item, std::move(reason)); });
  if (beforeReading) beforeReading();
  tellResults();
}

bool PushRun::isSettled(const std::wstring& fileName) const {
  const auto found = settled_.find(itemKey(fileName));
  return found != settled_.end() && found->second;
}

void PushRun::tellDecision(const ItemView& view, const PushDecision& decision) {
  const bool dryRun = context_.options().dryRun;
  switch (decision.step) {
    case PushStep::Refuse:
      return report_(view, PushResult::Refused, decision.reason);
    case PushStep::RefuseLocked:
      return report_(view, PushResult::RefusedLocked, decision.reason);
    case PushStep::Leave:
      return report_(view, PushResult::Left, decision.reason);
    case PushStep::Nothing:
      if (choice_.named) report_(view, PushResult::InStep, L"nothing to send");
      return;
    case PushStep::Send:
      if (dryRun) report_(view, PushResult::WouldSend, stateName(view.state));
      return;
    case PushStep::Delete:
      if (dryRun) report_(view, PushResult::WouldDelete, stateName(view.state));
      return;
  }
}

void PushRun::refuse(PushItem& item, std::wstring reason) {
  item.decision = {PushStep::Refuse, std::move(reason)};
  tellDecision(item.before, item.decision);
}

void PushRun::confirmDeletions() {
  const auto count = std::count_if(items_.begin(), items_.end(), std::mem_fn(&PushItem::isToDelete));
  if (count == 0) return;
  const std::wstring question = platform::formatWide(
      L"Of what the store has, no longer here: %d. Delete that in the store too, for everybody?", count);
  if (agrees(question)) return;
  for (PushItem& item : items_) {
    if (item.isToDelete()) refuse(item, L"not deleted in the store: nobody said yes, --yes does");
  }
}

void PushRun::prepare() {
  for (PushItem& item : items_) {
    if (!item.isToSend()) continue;
    std::wstring problem = prepareToSend(item);
    if (!problem.empty()) refuse(item, std::move(problem));
  }
}

void PushRun::tellResults() {
  std::vector<ItemName> names;
  for (const PushItem& item : items_) names.push_back(item.name());
  const std::vector<ItemView> views = readItems(names);
  for (std::size_t i = 0; i < items_.size(); ++i) {
    settled_[itemKey(items_[i].before.fileName)] = settle(items_[i], views[i]);
  }
  bases_.put(inStep_);
  inStep_.clear();
}

/// Tells how an item ended. @return true when nothing is left to send of it
bool PushRun::settle(const PushItem& item, const ItemView& view) {
  if (!item.isToSend() && !item.isToDelete()) {
    if (view.state == ObjectState::InStep) inStep_.emplace_back(view.fileName, SyncPoint{*view.here, *view.store});
    const bool isLeft = item.decision.step == PushStep::Nothing && view.isUnchangedHere();
    return isLeft || view.state == ObjectState::InStep || view.state == ObjectState::Nowhere;
  }
  if (!item.isGone || !item.isDoneBy(view)) {
    report_(view, item.isToDelete() ? PushResult::NotDeleted : PushResult::NotSent, failureReason(item));
    return false;
  }
  if (item.isToDelete()) {
    bases_.forget(view.fileName);
    report_(view, PushResult::Deleted, giveBackLock(item));
    return !view.here;
  }
  // An upload that went through at a second try leaves the list alone.
  removeEntryFromNotUploadedFilesList(view.fileName.c_str());
  // What somebody else saved since may look the same.
  if (view.revision == item.after) inStep_.emplace_back(view.fileName, SyncPoint{*view.here, *view.store});
  report_(view, PushResult::Sent, view.object ? platform::formatWide(L"version %u", view.here->version) : L"");
  return true;
}

std::wstring PushRun::failureReason(const PushItem& item) const {
  if (!item.isTried) return L"not tried after the failure of other files; push again";
  if (item.isToSend() && existsEntryInNotUploadedFilesList(item.before.fileName.c_str())) {
    return L"it is in the list of what could not be sent; zephor not-uploaded retry";
  }
  if (context_.errorCount() > errorsBefore_) {
    const SendBarrier barrier = sendBarrier(context_);
    return barrier.reason.empty() ? L"what was wrong is told below" : barrier.reason;
  }
  return L"it changed here or in the store meanwhile; see zephor status";
}

NotUploadedList::NotUploadedList() {
  std::vector<std::wstring> names;
  getNotUploadedFilesList(names);
}

NotUploadedList::~NotUploadedList() {
  closeNotUploadedFilesList();
}

}  // namespace workstation::program
