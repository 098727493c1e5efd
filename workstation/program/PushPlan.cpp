#include "workstation/program/PushPlan.h"

#include "host/Locking.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/Objects.h"
#include "workstation/program/SendBarrier.h"
#include "workstation/program/StoredContent.h"

namespace workstation::program {

namespace {

PushDecision refuse(std::wstring reason) {
  return {PushStep::Refuse, std::move(reason)};
}

/// A Teilbild or Plan goes only with its lock, anything else when nobody else holds one.
PushDecision decideByLock(const ItemView& view, PushStep step, const SendBarrier& barrier) {
  if (!barrier.reason.empty()) {
    return {barrier.isLocked ? PushStep::RefuseLocked : PushStep::Refuse, barrier.reason};
  }
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

PushDecision decideMissing(const ItemView& view, const PushChoice& choice, const SendBarrier& barrier) {
  if (!view.store) {
    return choice.named ? refuse(L"there is no such item here or in the store") : PushDecision{PushStep::Nothing, {}};
  }
  if (!choice.deletes) {
    const std::wstring reason = view.state == ObjectState::RemovedHere
                                    ? L"not here; push --delete deletes it in the store too"
                                    : stateReason(view.state);
    return choice.named ? refuse(reason) : PushDecision{PushStep::Leave, reason};
  }
  if (view.state != ObjectState::RemovedHere) return refuse(stateReason(view.state));
  return decideByLock(view, PushStep::Delete, barrier);
}

/// What is wrong with the file here, read whole for an object; empty when nothing is. A damaged version must not
/// replace a good one, and one file that can't be read would keep all others of the batch back.
std::wstring contentProblem(const ItemView& view) {
  const std::wstring path = itemPath(view.fileName);
  std::wstring error;
  if (view.object)
    return verifyObject(path, error) == ERROR_SUCCESS ? L"" : L"damaged here: " + withoutPath(error, path);
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return platform::formatWide(L"it can't be read (error %u)", GetLastError());
  CloseHandle(file);
  return {};
}

PushDecision decideToSend(const ItemView& view, const SendBarrier& barrier) {
  PushDecision decision = decideByLock(view, PushStep::Send, barrier);
  if (decision.step != PushStep::Send) return decision;
  std::wstring problem = contentProblem(view);
  return problem.empty() ? decision : refuse(std::move(problem));
}

}  // namespace

PushDecision decidePush(const ItemView& view, const PushChoice& choice, const PushFile& file,
                        const SendBarrier& barrier) {
  if (file.hasTwin) return refuse(L"two files here differ only in letter case");
  if (view.damagedHere) return refuse(L"the file here is damaged");
  if (!view.here && !file.path.empty()) return refuse(L"the file here can't be read");
  if (!view.here) return decideMissing(view, choice, barrier);
  if (file.path.empty()) return refuse(L"the filter of uploads keeps it out");
  if (view.state == ObjectState::InStep) return {PushStep::Nothing, {}};
  // Nobody worked on it here: what happened in the store is a matter of fetching.
  if (!choice.named && view.isUnchangedHere()) return {PushStep::Nothing, {}};
  if (!view.object && parseObjectFileName(platform::fileNameOf(view.fileName))) {
    return refuse(L"an object is sent from the project's own directory only");
  }
  if (!platform::isSafeRelativeName(view.fileName))
    return refuse(L"not every workstation can hold a file of this name");
  if (view.isUntold() && !isContentStored(view.fileName)) {
    return refuse(L"the store has something else, and can't tell its version; zephor save --force");
  }
  const bool isBehind = view.state == ObjectState::NewerInStore || view.state == ObjectState::OlderInStore ||
                        view.state == ObjectState::ChangedOnBoth;
  const bool wouldRevive = view.state == ObjectState::RemovedFromStore && !choice.named;
  if (isBehind || wouldRevive) return refuse(stateReason(view.state));
  return decideToSend(view, barrier);
}

}  // namespace workstation::program
