#include "workstation/program/SyncDecision.h"

namespace workstation::program {

namespace {

SyncDecision keep(const wchar_t* reason) {
  return {SyncStep::Keep, reason};
}

/// @param step  takes away or replaces what is here, unchanged as it is
SyncDecision unlessOpen(SyncStep step, const SyncCircumstances& circumstances) {
  if (circumstances.isOpen) return keep(L"it is open here, and somebody changed or deleted it in the store");
  return {step, {}};
}

}  // namespace

SyncDecision decideSync(const ItemView& view, const SyncCircumstances& circumstances) {
  if (circumstances.hasTwin) return keep(L"two files here differ only in letter case; rename one of them");
  if (view.damagedHere) return keep(L"the file here is damaged; zephor fetch --force replaces it, after a copy");
  if (view.state == ObjectState::Nowhere) return {};
  if (view.state == ObjectState::InStep) return {SyncStep::Record, {}};
  if (!circumstances.isNameSafe) return keep(L"not every workstation can hold a file of this name");
  switch (view.state) {
    case ObjectState::OnlyInStore:
    case ObjectState::RemovedHere:
      return {SyncStep::Fetch, {}};
    case ObjectState::NewerInStore:
      return view.here ? unlessOpen(SyncStep::Fetch, circumstances) : SyncDecision{SyncStep::Fetch, {}};
    case ObjectState::OlderInStore:
      return keep(stateReason(view.state));
    case ObjectState::RemovedFromStore:
      if (!circumstances.isDeletionTold) {
        return keep(
            L"the store no longer has it, and knows nothing of its deletion; was it restored from a backup? zephor "
            L"push with its name sends it again, or delete it here");
      }
      return unlessOpen(SyncStep::Trash, circumstances);
    case ObjectState::ChangedHere:
      if (view.store) return {SyncStep::Send, {}};
      return keep(
          L"changed here, and somebody deleted it in the store; zephor push with its name sends it again, or delete it "
          L"here");
    case ObjectState::OnlyHere:
      return {SyncStep::Send, {}};
    default:
      return keep(stateReason(ObjectState::ChangedOnBoth));
  }
}

bool looksLikeLostStore(std::uint64_t gone, std::uint64_t files) {
  constexpr std::uint64_t kFew = 20;
  return gone > kFew && gone * 10 > files * 9;
}

}  // namespace workstation::program
