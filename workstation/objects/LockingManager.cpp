// The locking manager: locks of a project in the cloud live in its store, those of a project of the older store in
// files on its server. Where neither is at hand nobody holds a lock, and none is given.
#include "host/Locking.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/Text.h"
#include "workstation/objects/CloudLocks.h"
#include "workstation/objects/FileLocks.h"
#include "workstation/objects/LockNames.h"
#include "workstation/projects/OpenUnits.h"
#include "workstation/projects/ProjectNames.h"

namespace workstation {
namespace {

/// Where a project's locks live.
enum class LockPlace { None, Cloud, Files };

LockPlace placeOf(const PRJ& prj) {
  if (prj.IsOndrathProject()) return LockPlace::Cloud;
  if (!filelocks::areInUse()) return LockPlace::None;
  // Of the older store only the transfer object's project can be asked for. Without an open project that is the one.
  const std::wstring directory = prj.GetDirectoryName();
  const std::wstring served = filelocks::projectDirectory();
  const bool isTheOne = directory.empty() || platform::equalsIgnoreCase(served, directory) ||
                        platform::equalsIgnoreCase(served, directory + L".prj");
  return isTheOne ? LockPlace::Files : LockPlace::None;
}

int lockIn(const PRJ& prj, int number, int objectType) {
  switch (placeOf(prj)) {
    case LockPlace::Cloud:
      return cloudlocks::lock(prj, number, objectType);
    case LockPlace::Files:
      return filelocks::lock({number}, objectType).empty() ? 1 : 0;
    default:
      return 0;
  }
}

int unlockIn(const PRJ& prj, int number, int objectType) {
  switch (placeOf(prj)) {
    case LockPlace::Cloud:
      return cloudlocks::unlock(prj, number, objectType);
    case LockPlace::Files:
      return filelocks::unlock({number}, objectType) ? 1 : 0;
    default:
      return 0;
  }
}

class LockingManager final : public IZepFileLockingManager {
 public:
  int LockObject(int number, int objectType, int /*flags*/) override {
    return lockIn(get_ActivePrj(), number, objectType);
  }
  int UnlockObject(int number, int objectType, int /*flags*/) override {
    return unlockIn(get_ActivePrj(), number, objectType);
  }
  int GetLockOwner(int number, int objectType, int flags) override;
  int getLockOwner(int number, int objectType, int flags) override;
  bool IsLockingOff() override;
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
  std::vector<int> delayedLocks_;
  std::vector<int> delayedUnlocks_;
};

int LockingManager::GetLockOwner(int number, int objectType, int flags) {
  return placeOf(get_ActivePrj()) == LockPlace::Files ? filelocks::owner(number, objectType)
                                                      : getLockOwner(number, objectType, flags);
}

int LockingManager::getLockOwner(int number, int objectType, int /*flags*/) {
  const PRJ prj = get_ActivePrj();
  switch (placeOf(prj)) {
    case LockPlace::Cloud: {
      const auto info = cloudlocks::lockInfo(prj, number, objectType);
      return info ? info->userNumber : -1;
    }
    case LockPlace::Files:
      return filelocks::ownerInPicture(number, objectType);
    default:
      return -1;
  }
}

bool LockingManager::IsLockingOff() {
  int off = 0;
  if (ZSYST_ZepRegGetNumber(L"HKCU", L"Settings\\LockingOff", off) && off != 0) return true;
  return get_ActPrjPath().empty() && placeOf(get_ActivePrj()) == LockPlace::None;
}

bool LockingManager::GetLockInfo(int number, int objectType, FileLockInfo& out) {
  const PRJ prj = get_ActivePrj();
  const LockPlace place = placeOf(prj);
  if (place == LockPlace::None) return false;
  const auto info = place == LockPlace::Cloud ? cloudlocks::lockInfo(prj, number, objectType)
                                              : filelocks::lockInfo(number, objectType);
  if (info) out = *info;
  return info.has_value();
}

bool LockingManager::IsLockedByCurrentUser(int number, int objectType) {
  const PRJ prj = get_ActivePrj();
  switch (placeOf(prj)) {
    case LockPlace::Cloud:
      return cloudlocks::isOwn(prj, number, objectType);
    case LockPlace::Files:
      return filelocks::isOwn(number, objectType);
    default:
      return false;
  }
}

bool LockingManager::parseLockFileName(const std::wstring& name, int& objectType, int& number, int& userNumber) {
  const auto lock = parseLockName(name);
  if (!lock) return false;
  objectType = lock->objectType;
  number = lock->number;
  userNumber = lock->userNumber;
  return true;
}

int LockingManager::getOwnLocks(std::vector<FileLockInfo>& out) {
  out.clear();
  const PRJ prj = get_ActivePrj();
  const LockPlace place = placeOf(prj);
  if (place == LockPlace::Cloud) out = cloudlocks::ownLocks(prj);
  if (place == LockPlace::Files) out = filelocks::ownLocks();
  return static_cast<int>(out.size());
}

int LockingManager::updateLockInfoEx(int unit, std::vector<FileLockInfo>& out) {
  out.clear();
  // The open project's, or that of a scope that points the transfer object elsewhere.
  if (filelocks::areInUse()) return filelocks::allLocks(out) ? 1 : 0;
  const auto prj = projectOfUnit(unit);
  return prj && placeOf(*prj) == LockPlace::Cloud && cloudlocks::allLocks(*prj, out) ? 1 : 0;
}

int LockingManager::CleanupLocks(int /*flags*/) {
  if (filelocks::areInUse()) return filelocks::releaseOwn();
  const PRJ prj = get_ActivePrj();
  // Aimed at another cloud project, the open one's locks are none of the caller's business.
  const std::wstring served = withoutProjectEnding(filelocks::projectDirectory());
  if (!served.empty() && !platform::equalsIgnoreCase(served, prj.GetDirectoryName())) {
    return cloudlocks::releaseOwn(PRJ(L"", L"", L"", served, true));
  }
  return prj.IsOndrathProject() ? cloudlocks::releaseOwn(prj) : 0;
}

bool LockingManager::LockDelayedList(const PRJ& prj, const std::vector<int>& numbers, int objectType,
                                     std::vector<int>& refused) {
  refused.clear();
  if (placeOf(prj) == LockPlace::Files) {
    refused = filelocks::lock(numbers, objectType);
    return refused.empty();
  }
  for (const int number : numbers)
    if (lockIn(prj, number, objectType) != 1) refused.push_back(number);
  return refused.empty();
}

bool LockingManager::UnlockDelayedList(const PRJ& prj, const std::vector<int>& numbers, int objectType) {
  if (placeOf(prj) == LockPlace::Files) return filelocks::unlock(numbers, objectType);
  bool all = true;
  for (const int number : numbers) all = unlockIn(prj, number, objectType) == 1 && all;
  return all;
}

/// The workstation has no documents of its own to make read-only; what opens one asks for its lock again.
class ProjectManager final : public IProjectManagerProxy {
 public:
  void TeilbilderNotLocked(const std::vector<int>& numbers, int /*flags*/) override {
    for (const int number : numbers) lfperrC(L"Teilbild %d stays read-only: its lock was not given\n", number);
  }
};

}  // namespace
}  // namespace workstation

IZepFileLockingManager& getFileLockingManager() {
  static workstation::LockingManager manager;
  return manager;
}

IProjectManagerProxy& ProjectManagerProxy() {
  static workstation::ProjectManager manager;
  return manager;
}
