#include "workstation/program/ObjectState.h"

namespace workstation::program {

ObjectState stateOf(const std::optional<VersionStamp>& here, const std::optional<VersionStamp>& store,
                    const std::optional<VersionStamp>& base) {
  if (!here && !store) return ObjectState::Nowhere;
  if (!store) {
    if (!base) return ObjectState::OnlyHere;
    return *here == *base ? ObjectState::RemovedFromStore : ObjectState::ChangedHere;
  }
  if (!here) {
    if (!base) return ObjectState::OnlyInStore;
    return *store == *base ? ObjectState::RemovedHere : ObjectState::NewerInStore;
  }
  if (*here == *store) return ObjectState::InStep;
  if (base) {
    if (*here == *base) return ObjectState::NewerInStore;
    return *store == *base ? ObjectState::ChangedHere : ObjectState::ChangedOnBoth;
  }
  if (here->version == store->version) return ObjectState::ChangedOnBoth;
  // The counters wrap: the newer of two lies less than half the range ahead.
  return here->version - store->version < 0x80000000U ? ObjectState::ChangedHere : ObjectState::NewerInStore;
}

const wchar_t* stateName(ObjectState state) {
  switch (state) {
    case ObjectState::InStep:
      return L"in step";
    case ObjectState::ChangedHere:
      return L"changed here";
    case ObjectState::NewerInStore:
      return L"newer in the store";
    case ObjectState::ChangedOnBoth:
      return L"changed on both sides";
    case ObjectState::OnlyHere:
      return L"only here";
    case ObjectState::OnlyInStore:
      return L"only in the store";
    case ObjectState::RemovedFromStore:
      return L"removed from the store";
    case ObjectState::RemovedHere:
      return L"removed here";
    case ObjectState::Nowhere:
      break;
  }
  return L"nowhere";
}

const wchar_t* stateReason(ObjectState state) {
  switch (state) {
    case ObjectState::InStep:
      return L"same version here and in the store";
    case ObjectState::ChangedHere:
      return L"changed since it was last in step; save it";
    case ObjectState::NewerInStore:
      return L"somebody saved a newer version; fetch it";
    case ObjectState::ChangedOnBoth:
      return L"somebody saved while it was changed here; export what is here, then fetch --force";
    case ObjectState::OnlyHere:
      return L"never saved to the store";
    case ObjectState::OnlyInStore:
      return L"not fetched yet";
    case ObjectState::RemovedFromStore:
      return L"somebody removed it from the store";
    case ObjectState::RemovedHere:
      return L"removed here, still in the store";
    case ObjectState::Nowhere:
      break;
  }
  return L"neither here nor in the store";
}

}  // namespace workstation::program
