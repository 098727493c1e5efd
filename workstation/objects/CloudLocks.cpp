#include "workstation/objects/CloudLocks.h"

#include "host/Trace.h"
#include "workstation/objects/LockNames.h"
#include "workstation/objects/LockText.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/projects/CurrentUser.h"
#include "workstation/store/StoreContext.h"

namespace workstation::cloudlocks {
namespace {

/// The store with the project and the person on whose behalf it is asked.
struct LockStore {
  std::shared_ptr<CloudStore> store;
  StoreActor actor;
  std::wstring project;
};

bool connect(const PRJ& prj, const wchar_t* operation, LockStore& out) {
  CloudStatus status = kStoreOk;
  std::wstring error;
  out.store = currentStore(status, error);
  if (!out.store) {
    lfperrC(L"%s: the locks of %s can't be asked for: %s\n", operation, prj.GetProjectDisplayName(), error);
    ZEPSetLockingError();
    return false;
  }
  out.actor = storeActor();
  out.project = prj.GetOndrathProjectUuid();
  return true;
}

bool isOfThisWorkstation(const ObjectLock& lock, const StoreActor& actor) {
  return lock.holder.uuid == actor.user.uuid && lock.workstationId == actor.workstationId;
}

FileLockInfo infoOf(const ObjectLock& lock, const std::vector<QuorvelUser>& users) {
  FileLockInfo info;
  info.objectType = objectTypeOfFileType(lock.objectType);
  info.objectNumber = lock.number;
  info.userNumber = numberOf(users, lock.holder.uuid, lock.memberNumber);
  info.userName = lock.holder.name;
  info.workstation = lock.workstationName;
  info.time = lockTimeText(lock.since);
  info.fileName = lockFileName({info.objectType, info.objectNumber, info.userNumber, lock.workstationId});
  return info;
}

int logFailure(const wchar_t* operation, int objectType, int number) {
  lfperrC(L"%s: object type %d, number %d: %s\n", operation, objectType, number, CloudStore::lastText());
  return 0;
}

bool findLock(const PRJ& prj, int number, int objectType, LockStore& store, std::optional<ObjectLock>& out) {
  const QuorvelFileType type = fileTypeOfObjectType(objectType);
  if (!isPossibleNumber(type, number) || !connect(prj, L"GetLockOwner", store)) return false;
  if (store.store->lockOf(store.actor, store.project, type, number, out) != kStoreOk) {
    logFailure(L"GetLockOwner", objectType, number);
    ZEPSetLockingError();
    return false;
  }
  return out.has_value();
}

bool listLocks(const PRJ& prj, const wchar_t* operation, LockStore& store, std::vector<ObjectLock>& out) {
  if (!connect(prj, operation, store)) return false;
  if (store.store->locks(store.actor, store.project, out) == kStoreOk) return true;
  lfperrC(L"%s: %s\n", operation, CloudStore::lastText());
  return false;
}

bool listOwn(const PRJ& prj, LockStore& store, std::vector<ObjectLock>& out) {
  if (!listLocks(prj, L"getOwnLocks", store, out)) return false;
  std::erase_if(out, [&](const ObjectLock& lock) { return !isOfThisWorkstation(lock, store.actor); });
  return true;
}

std::vector<FileLockInfo> infosOf(const PRJ& prj, const std::vector<ObjectLock>& locks) {
  const std::vector<QuorvelUser> users = projectUsers(prj);
  std::vector<FileLockInfo> infos;
  infos.reserve(locks.size());
  for (const ObjectLock& lock : locks) infos.push_back(infoOf(lock, users));
  return infos;
}

}  // namespace

int lock(const PRJ& prj, int number, int objectType) {
  const QuorvelFileType type = fileTypeOfObjectType(objectType);
  LockStore locks;
  if (!isPossibleNumber(type, number) || !connect(prj, L"LockObject", locks)) return 0;
  const CloudStatus status = locks.store->lockObject(locks.actor, locks.project, type, number);
  if (status == kStoreOk) return 1;
  // A refusal is an ordinary answer, which the caller tells of.
  return status == kStoreLocked ? 0 : logFailure(L"LockObject", objectType, number);
}

int unlock(const PRJ& prj, int number, int objectType) {
  const QuorvelFileType type = fileTypeOfObjectType(objectType);
  LockStore locks;
  if (!isPossibleNumber(type, number) || !connect(prj, L"UnlockObject", locks)) return 0;
  if (locks.store->unlockObject(locks.actor, locks.project, type, number) == kStoreOk) return 1;
  return logFailure(L"UnlockObject", objectType, number);
}

std::optional<FileLockInfo> lockInfo(const PRJ& prj, int number, int objectType) {
  LockStore store;
  std::optional<ObjectLock> found;
  if (!findLock(prj, number, objectType, store, found)) return std::nullopt;
  return infoOf(*found, projectUsers(prj));
}

bool isOwn(const PRJ& prj, int number, int objectType) {
  LockStore store;
  std::optional<ObjectLock> found;
  return findLock(prj, number, objectType, store, found) && isOfThisWorkstation(*found, store.actor);
}

std::vector<FileLockInfo> ownLocks(const PRJ& prj) {
  LockStore store;
  std::vector<ObjectLock> locks;
  return listOwn(prj, store, locks) ? infosOf(prj, locks) : std::vector<FileLockInfo>();
}

bool allLocks(const PRJ& prj, std::vector<FileLockInfo>& out) {
  LockStore store;
  std::vector<ObjectLock> locks;
  if (!listLocks(prj, L"updateLockInfoEx", store, locks)) return false;
  out = infosOf(prj, locks);
  return true;
}

int releaseOwn(const PRJ& prj) {
  LockStore store;
  std::vector<ObjectLock> locks;
  if (!listOwn(prj, store, locks)) return 0;
  int count = 0;
  for (const ObjectLock& lock : locks) {
    if (store.store->unlockObject(store.actor, store.project, lock.objectType, lock.number) == kStoreOk) {
      ++count;
    } else {
      logFailure(L"CleanupLocks", objectTypeOfFileType(lock.objectType), lock.number);
    }
  }
  return count;
}

}  // namespace workstation::cloudlocks
