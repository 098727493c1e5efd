#include "workstation/store/ContainerVerdict.h"

namespace workstation {

namespace {

bool isSettled(const CacheCase& file) {
  return file.base != nullptr && file.base->way == FileWay::None && file.base->revision == file.stored->revision &&
         file.here.looksLike(file.base->content);
}

CacheAction actionWhereEqual(const CacheCase& file, bool& isEqual) {
  isEqual = true;
  if (!file.here.isKnown() && file.stored == nullptr) {
    return file.base != nullptr ? CacheAction::Forget : CacheAction::Nothing;
  }
  if (isSameContent(file)) return isSettled(file) ? CacheAction::Nothing : CacheAction::Settle;
  isEqual = false;
  return CacheAction::Nothing;
}

}  // namespace

bool needsHash(const CacheCase& file) {
  if (!file.here.isKnown() || (file.base != nullptr && file.here.looksLike(file.base->content))) return false;
  return (file.base != nullptr && file.here.size == file.base->content.size) ||
         (file.stored != nullptr && file.here.size == file.stored->size);
}

bool isSameContent(const CacheCase& file) {
  if (!file.here.isKnown() || file.stored == nullptr) return false;
  if (file.base != nullptr && file.here.looksLike(file.base->content)) {
    return file.base->content.sha256 == file.stored->sha256;
  }
  return file.here.sha256 == file.stored->sha256;
}

LocalChange localChange(const CacheCase& file) {
  if (file.base == nullptr) return file.here.isKnown() ? LocalChange::Created : LocalChange::None;
  if (!file.here.isKnown()) return LocalChange::Deleted;
  const bool isSame = file.here.looksLike(file.base->content) ||
                      (!file.here.sha256.empty() && file.here.sha256 == file.base->content.sha256);
  return isSame ? LocalChange::None : LocalChange::Changed;
}

bool isChangedInStore(const CacheCase& file) {
  const std::int64_t before = file.base != nullptr ? file.base->revision : 0;
  return before != (file.stored != nullptr ? file.stored->revision : 0);
}

CacheAction downloadAction(const CacheCase& file) {
  bool isEqual = false;
  const CacheAction action = actionWhereEqual(file, isEqual);
  if (isEqual) return action;
  const LocalChange change = localChange(file);
  if (file.stored == nullptr) {
    if (change == LocalChange::None) return CacheAction::Remove;
    return file.base != nullptr ? CacheAction::Forget : CacheAction::Nothing;
  }
  if (change == LocalChange::None) return CacheAction::Bring;
  if (!isChangedInStore(file)) return CacheAction::Nothing;
  return file.here.isKnown() ? CacheAction::BringAndKeep : CacheAction::Bring;
}

CacheAction rollbackAction(const CacheCase& file) {
  bool isEqual = false;
  const CacheAction action = actionWhereEqual(file, isEqual);
  if (isEqual) return action;
  const bool isWork = file.here.isKnown() && localChange(file) != LocalChange::None;
  if (file.stored == nullptr) return isWork ? CacheAction::MoveAway : CacheAction::Remove;
  return isWork ? CacheAction::BringAndKeep : CacheAction::Bring;
}

}  // namespace workstation
