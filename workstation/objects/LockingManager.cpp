// The locking manager over the locks of the embedded cloud store.
//
// A project of the older store has no locks here: every question is answered with "nobody holds it", and no lock is
// given.
#include <map>

#include "host/Locking.h"
#include "host/System.h"
#include "host/Trace.h"
#include "host/Users.h"
#include "platform/Time.h"
#include "workstation/objects/LockNames.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/projects/OpenUnits.h"
#include "workstation/store/StoreContext.h"

namespace workstation {
namespace {

/// The store with the project and the person on whose behalf it is asked.
struct LockStore {
  std::shared_ptr<CloudStore> store;
  StoreActor actor;
  std::wstring project;
};

/// @return false when the project is not in the cloud, or, with a log line, when its store can't be reached
bool connect(const PRJ& prj, const wchar_t* operation, LockStore& out) {
  if (!prj.IsOndrathProject()) return false;
  CloudStatus status = kStoreOk;
  std::wstring error;
  out.store = currentStore(status, error);
  if (!out.store) {
    lfperrC(L"%s: the locks of %s can't be asked for: %s\n", operation, prj.GetProjectDisplayName(), error);
    return false;
  }
  out.actor = storeActor();
  out.project = prj.GetOndrathProjectUuid();
  return true;
}

bool isSamePerson(const ObjectLock& lock, const StoreActor& actor) {
  return lock.holder.uuid == actor.user.uuid;
}

bool isOwn(const ObjectLock& lock, const StoreActor& actor) {
  return isSamePerson(lock, actor) && lock.workstationId == actor.workstationId;
}

std::wstring textOf(const FILETIME& time) {
  SYSTEMTIME parts{};
  if (FileTimeToSystemTime(&time, &parts) == FALSE) return {};
  return platform::formatWide(L"%04d-%02d-%02d %02d:%02d:%02d", int{parts.wYear}, int{parts.wMonth}, int{parts.wDay},
                              int{parts.wHour}, int{parts.wMinute}, int{parts.wSecond});
}

FileLockInfo infoOf(const ObjectLock& lock, const StoreActor& actor) {
  FileLockInfo info;
  info.objectType = objectTypeOfFileType(lock.objectType);
  info.objectNumber = lock.number;
  info.userNumber = isSamePerson(lock, actor) ? lzbnum() : lock.memberNumber;
  info.userName = lock.holder.name;
  info.workstation = lock.workstationName;
  info.time = textOf(lock.since);
  info.fileName = lockFileName({info.objectType, info.objectNumber, info.userNumber, lock.workstationId});
  return info;
}

int logFailure(const wchar_t* operation, int objectType, int number) {
  lfperrC(L"%s: object type %d, number %d: %s\n", operation, objectType, number, CloudStore::lastText());
  return 0;
}

class LockingManager final : public IZepFileLockingManager {
 public:
  int LockObject(int number, int objectType, int /*flags*/) override {
    return lockIn(get_ActivePrj(), number, objectType);
  }
  int UnlockObject(int number, int objectType, int /*flags*/) override {
    return unlockIn(get_ActivePrj(), number, objectType);
  }
  int GetLockOwner(int number, int objectType, int /*flags*/) override {
    FileLockInfo info;
    return GetLockInfo(number, objectType, info) ? info.userNumber : -1;
  }
  int getLockOwner(int number, int objectType, int flags) override { return GetLockOwner(number, objectType, flags); }

  bool IsLockingOff() override {
    int off = 0;
    if (ZSYST_ZepRegGetNumber(L"HKCU", L"Settings\\LockingOff", off) && off != 0) return true;
    return get_ActPrjPath().empty();
  }

  bool GetLockInfo(int number, int objectType, FileLockInfo& out) override;
  bool IsLockedByCurrentUser(int number, int objectType) override;
  bool parseLockFileName(const std::wstring& name, int& objectType, int& number, int& userNumber) override;
  int getOwnLocks(std::vector<FileLockInfo>& out) override;
  int updateLockInfoEx(int unit, std::vector<FileLockInfo>& out) override;
  int CleanupLocks(int flags) override;
  bool LockDelayedList(const PRJ& prj, const std::vector<int>& numbers, int objectType,
                       std::vector<int>& refused) override;
  bool UnlockDelayedList(const PRJ& prj, const std::vector<int>& numbers, int objectType) override;
  // The lists are those of the host's main thread.
  std::vector<int>& delayedLocks() override { return delayedLocks_; }
  std::vector<int>& delayedUnlocks() override { return delayedUnlocks_; }

 private:
  static int lockIn(const PRJ& prj, int number, int objectType);
  static int unlockIn(const PRJ& prj, int number, int objectType);
  static bool findLock(int number, int objectType, LockStore& store, std::optional<ObjectLock>& out);
  static bool ownLocks(LockStore& store, std::vector<ObjectLock>& out);

  std::vector<int> delayedLocks_;
  std::vector<int> delayedUnlocks_;
};

int LockingManager::lockIn(const PRJ& prj, int number, int objectType) {
  const QuorvelFileType type = fileTypeOfObjectType(objectType);
  LockStore locks;
  if (!isPossibleNumber(type, number) || !connect(prj, L"LockObject", locks)) return 0;
  const CloudStatus status = locks.store->lockObject(locks.actor, locks.project, type, number);
  if (status == kStoreOk) return 1;
  // A refusal is an ordinary answer, which the caller tells of.
  return status == kStoreLocked ? 0 : logFailure(L"LockObject", objectType, number);
}

int LockingManager::unlockIn(const PRJ& prj, int number, int objectType) {
  const QuorvelFileType type = fileTypeOfObjectType(objectType);
  LockStore locks;
  if (!isPossibleNumber(type, number) || !connect(prj, L"UnlockObject", locks)) return 0;
  if (locks.store->unlockObject(locks.actor, locks.project, type, number) == kStoreOk) return 1;
  return logFailure(L"UnlockObject", objectType, number);
}

bool LockingManager::findLock(int number, int objectType, LockStore& store, std::optional<ObjectLock>& out) {
  const QuorvelFileType type = fileTypeOfObjectType(objectType);
  if (!isPossibleNumber(type, number) || !connect(get_ActivePrj(), L"GetLockOwner", store)) return false;
  if (store.store->lockOf(store.actor, store.project, type, number, out) != kStoreOk) {
    logFailure(L"GetLockOwner", objectType, number);
    return false;
  }
  return out.has_value();
}

bool LockingManager::GetLockInfo(int number, int objectType, FileLockInfo& out) {
  LockStore store;
  std::optional<ObjectLock> lock;
  if (!findLock(number, objectType, store, lock)) return false;
  out = infoOf(*lock, store.actor);
  return true;
}

bool LockingManager::IsLockedByCurrentUser(int number, int objectType) {
  LockStore store;
  std::optional<ObjectLock> lock;
  return findLock(number, objectType, store, lock) && isOwn(*lock, store.actor);
}

bool LockingManager::parseLockFileName(const std::wstring& name, int& objectType, int& number, int& userNumber) {
  const auto lock = parseLockName(name);
  if (!lock) return false;
  objectType = lock->objectType;
  number = lock->number;
  userNumber = lock->userNumber;
  return true;
}

bool LockingManager::ownLocks(LockStore& store, std::vector<ObjectLock>& out) {
  if (!connect(get_ActivePrj(), L"getOwnLocks", store)) return false;
  if (store.store->locks(store.actor, store.project, out) != kStoreOk) {
    lfperrC(L"getOwnLocks: %s\n", CloudStore::lastText());
    return false;
  }
  std::erase_if(out, [&](const ObjectLock& lock) { return !isOwn(lock, store.actor); });
  return true;
}

int LockingManager::getOwnLocks(std::vector<FileLockInfo>& out) {
  out.clear();
  LockStore store;
  std::vector<ObjectLock> locks;
  if (!ownLocks(store, locks)) return 0;
  for (const ObjectLock& lock : locks) out.push_back(infoOf(lock, store.actor));
  return static_cast<int>(out.size());
}

int LockingManager::updateLockInfoEx(int unit, std::vector<FileLockInfo>& out) {
  out.clear();
  const auto prj = projectOfUnit(unit);
  LockStore store;
  if (!prj || !connect(*prj, L"updateLockInfoEx", store)) return 0;
  std::vector<ObjectLock> locks;
  if (store.store->locks(store.actor, store.project, locks) != kStoreOk) {
    lfperrC(L"updateLockInfoEx: %s\n", CloudStore::lastText());
    return 0;
  }
  for (const ObjectLock& lock : locks) out.push_back(infoOf(lock, store.actor));
  return 1;
}

/// Gives back what this user still holds on this workstation. @return locks given back
int LockingManager::CleanupLocks(int /*flags*/) {
  LockStore store;
  std::vector<ObjectLock> locks;
  if (!ownLocks(store, locks)) return 0;
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

bool LockingManager::LockDelayedList(const PRJ& prj, const std::vector<int>& numbers, int objectType,
                                     std::vector<int>& refused) {
  refused.clear();
  for (const int number : numbers)
    if (lockIn(prj, number, objectType) != 1) refused.push_back(number);
  return refused.empty();
}

bool LockingManager::UnlockDelayedList(const PRJ& prj, const std::vector<int>& numbers, int objectType) {
  bool all = true;
  for (const int number : numbers) all = unlockIn(prj, number, objectType) == 1 && all;
  return all;
}

}  // namespace
}  // namespace workstation

IZepFileLockingManager& getFileLockingManager() {
  static workstation::LockingManager manager;
  return manager;
}
