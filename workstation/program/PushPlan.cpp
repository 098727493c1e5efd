#include "workstation/program/PushPlan.h"

#include "host/Locking.h"
#include "platform/Paths.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/program/Objects.h"

namespace workstation::program {

namespace {

PushDecision refuse(std::wstring reason) {
  return {PushStep::Refuse, std::move(reason)};
}

/// A Teilbild or Plan goes only with its lock, anything else when nobody else holds one.
PushDecision decideByLock(const ItemView& view, PushStep step) {
  if (!view.object) return {step, {}};
  IZepFileLockingManager& locks = getFileLockingManager();
  FileLockInfo info;
  const bool isHeld = locks.GetLockInfo(view.object->number, view.object->objectType(), info);
  if (isHeld && !locks.IsLockedByCurrentUser(view.object->number, view.object->objectType())) {
    return {PushStep::RefuseLocked, L"locked by " + holderOf(info)};
  }
  if (!isHeld && step == PushStep::Send && view.object->type != eFileType_Zeichnung) {
    return refuse(L"it is not locked; lock it first");
  }
  return {step, {}};
}

PushDecision decideMissing(const ItemView& view, const PushChoice& choice) {
  if (!view.store) {
    return choice.named ? refuse(L"there is no such item here or in the store") : PushDecision{PushStep::Nothing, {}};
  }
  if (!choice.deletes) {
    const std::wstring reason = L"not here; push --delete deletes it in the store too";
    return choice.named ? refuse(reason) : PushDecision{PushStep::Leave, reason};
  }
  if (view.state != ObjectState::RemovedHere) return refuse(stateReason(view.state));
  return decideByLock(view, PushStep::Delete);
}

}  // namespace

PushDecision decidePush(const ItemView& view, const PushChoice& choice, bool passesFilter) {
  if (view.damagedHere) return refuse(L"the file here is damaged");
  if (!view.here) return decideMissing(view, choice);
  if (!passesFilter) return refuse(L"the filter of uploads keeps it out");
  if (view.state == ObjectState::InStep) return {PushStep::Nothing, {}};
  if (!view.object && parseObjectFileName(platform::fileNameOf(view.fileName))) {
    return refuse(L"an object is sent from the project's own directory only");
  }
  if (!platform::isSafeRelativeName(view.fileName))
    return refuse(L"not every workstation can hold a file of this name");
  const bool isBehind = view.state == ObjectState::NewerInStore || view.state == ObjectState::ChangedOnBoth;
  const bool wouldRevive = view.state == ObjectState::RemovedFromStore && !choice.named;
  if (isBehind || wouldRevive) return refuse(stateReason(view.state));
  return decideByLock(view, PushStep::Send);
}

}  // namespace workstation::program
