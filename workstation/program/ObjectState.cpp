#include "workstation/program/ObjectState.h"

namespace workstation::program {

bool isOlder(const VersionStamp& stamp, const VersionStamp& before) {
  const bool isOther = stamp.guidFirst != before.guidFirst || stamp.guidSecond != before.guidSecond;
  return !isOther && stamp.version != before.version && before.version - stamp.version < 0x80000000U;
}

ObjectState stateOf(const std::optional<VersionStamp>& here, const std::optional<VersionStamp>& store, bool same,
                    const std::optional<SyncPoint>& base) {
  if (!here && !store) return ObjectState::Nowhere;
  if (!store) {
    if (!base) return ObjectState::OnlyHere;
    return *here == base->here ? ObjectState::RemovedFromStore : ObjectState::ChangedHere;
  }
  if (!here) {
    if (!base) return ObjectState::OnlyInStore;
    return *store == base->store ? ObjectState::RemovedHere : ObjectState::NewerInStore;
  }
  if (base) {
    const bool changedHere = *here != base->here;
    const bool changedThere = *store != base->store;
    if (!changedHere && !changedThere) return ObjectState::InStep;
    if (same) return ObjectState::InStep;
    // An old copy that was put back is nobody's new work: sent, it would replace what came after it.
    if (changedHere && (changedThere || isOlder(*here, base->here))) return ObjectState::ChangedOnBoth;
    if (changedHere) return ObjectState::ChangedHere;
    return isOlder(*store, base->store) ? ObjectState::OlderInStore : ObjectState::NewerInStore;
  }
  return same ? ObjectState::InStep : ObjectState::ChangedOnBoth;
}

const wchar_t* stateName(ObjectState state) {
  switch (state) {
    case ObjectState::InStep:
      return L"in step";
    case ObjectState::ChangedHere:
      return L"changed here";
    case ObjectState::NewerInStore:
      return L"newer in the store";
    case ObjectState::OlderInStore:
      return L"older in the store";
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
    case ObjectState::OlderInStore:
      return L"the store has an older version than was seen here; was it restored from a backup? zephor save --force "
             L"sends what is here, zephor fetch --force takes the store's";
    case ObjectState::ChangedOnBoth:
      return L"changed here and in the store, or an old version was put back here; zephor fetch --force takes the "
             L"store's version, zephor save --force "
             L"yours, and the other one stays in the project's backup directory";
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
