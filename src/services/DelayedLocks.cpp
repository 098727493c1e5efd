#include "host/Events.h"
#include "host/Locking.h"
#include "host/Project.h"
#include "host/Trace.h"
#include "host/UserMessages.h"
#include "zephor/FileTransfer.h"
#include "zephor/TeilbildTimes.h"

namespace Quorvel::FileAccess {
namespace {

void logBothLists(const std::vector<int>& locks, const std::vector<int>& unlocks) {
  lfperrC(L"%s: !!! TBsToLock.size() == %d && TBsToUnlock.size() == %d !!!\n",
          L"Quorvel::FileAccess::WGO_manageDelayedTBLock", locks.size(), unlocks.size());
  for (const int number : locks) lfperrC(L"TBsToLock %d\n", number);
  for (const int number : unlocks) lfperrC(L"TBsToUnlock %d\n", number);
}

bool lockAll(const PRJ& prj, const std::vector<int>& numbers) {
  std::vector<int> refused;
  const bool locked = getFileLockingManager().LockDelayedList(prj, numbers, eObject_Teilbild, refused);
  if (refused.empty()) return locked;
  TBsLocked_MessageBox(refused);
  ProjectManagerProxy().TeilbilderNotLocked(refused, 0);
  return locked;
}

}  // namespace

std::size_t WGO_getDelayedTBLockList(std::vector<int>& numbers) {
  numbers = getFileLockingManager().delayedLocks();
  return numbers.size();
}

std::size_t WGO_getDelayedTBUnlockList(std::vector<int>& numbers) {
  numbers = getFileLockingManager().delayedUnlocks();
  return numbers.size();
}

void WGO_resetDelayedTBLockUnlockList() {
  getFileLockingManager().delayedLocks().clear();
  getFileLockingManager().delayedUnlocks().clear();
}

bool WGO_manageDelayedTBLock(bool force) {
  if (globalEventManager::instance().get(kDatwaRunningEvent, nullptr)) return true;
  const PRJ prj = get_ActivePrj();
  if (!prj.IsOndrathProject()) return true;
  std::vector<int> locks;
  std::vector<int> unlocks;
  WGO_getDelayedTBLockList(locks);
  WGO_getDelayedTBUnlockList(unlocks);
  if (locks.empty() && unlocks.empty()) return true;
  if (!locks.empty() && !unlocks.empty() && !force) logBothLists(locks, unlocks);
  bool result = true;
  if (!locks.empty()) result = lockAll(prj, locks);
  if ((locks.empty() || force) && !unlocks.empty()) {
    result = getFileLockingManager().UnlockDelayedList(prj, unlocks, eObject_Teilbild);
  }
  WGO_resetDelayedTBLockUnlockList();
  return result;
}

}  // namespace Quorvel::FileAccess
