#include "workstation/objects/FileLocks.h"

#include <algorithm>
#include <mutex>

#include "host/System.h"
#include "host/Trace.h"
#include "host/Users.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/Session.h"
#include "workstation/objects/LockNames.h"
#include "workstation/objects/LockText.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {
// The host is loaded without the library too.
[[gnu::weak]] IZepInetFileTransfer& getInetFileManager();
}  // namespace Quorvel::FileAccess

namespace workstation::filelocks {
namespace {

using Quorvel::FileAccess::ePrjPath;
using Quorvel::FileAccess::IZepInetFileTransfer;
using Quorvel::FileAccess::IZepInetFileTransferInternal;
using Quorvel::FileAccess::IZepInetFileTransferLocking;
using Quorvel::FileAccess::LockFileInfo;

/// The lock files of one project as they were last seen.
struct Picture {
  std::mutex mutex;  ///< no call leaves this room while it is held
  std::wstring server;
  std::wstring project;
  bool isLoaded = false;
  std::vector<LockFileInfo> locks;
};

Picture& picture() {
  static Picture instance;
  return instance;
}

/// The transfer object with the interfaces that locks need.
struct Transfer {
  IZepInetFileTransfer& files;
  IZepInetFileTransferInternal& internals;
  IZepInetFileTransferLocking& locking;
};

/// While areInUse() is true.
Transfer transfer() {
  IZepInetFileTransfer& files = Quorvel::FileAccess::getInetFileManager();
  return {files, dynamic_cast<IZepInetFileTransferInternal&>(files), dynamic_cast<IZepInetFileTransferLocking&>(files)};
}

/// Reads the lock files of the server. @return false, with a line in the error log, when they can't be read
bool refresh(const wchar_t* operation) {
  const Transfer current = transfer();
  const std::wstring server = current.files.getServerName();
  const std::wstring project = current.files.getProjectName();
  std::vector<LockFileInfo> locks;
  // The library lists those of one user, or of all others.
  for (const int filter : {-1, current.internals.getQuorvelUserID()}) {
    std::vector<LockFileInfo> part;
    if (current.locking.fillLockInfo(project.c_str(), part, filter) == 0 && GetLastError() != 0) {
      lfperrC(L"%s: the lock files of %s on %s can't be read: error %d\n", operation, project, server, GetLastError());
      return false;
    }
    locks.insert(locks.end(), part.begin(), part.end());
  }
  Picture& seen = picture();
  const std::lock_guard guard(seen.mutex);
  seen.server = server;
  seen.project = project;
  seen.locks = std::move(locks);
  seen.isLoaded = true;
  return true;
}

/// The picture as it stands, read first when there is none of this project.
std::vector<LockFileInfo> pictured(const wchar_t* operation) {
  const Transfer current = transfer();
  Picture& seen = picture();
  {
    const std::lock_guard guard(seen.mutex);
    if (seen.isLoaded && seen.server == current.files.getServerName() &&
        seen.project == current.files.getProjectName()) {
      return seen.locks;
    }
  }
  if (!refresh(operation)) return {};
  const std::lock_guard guard(seen.mutex);
  return seen.locks;
}

bool isOfThisWorkstation(const LockFileInfo& lock) {
  const auto name = parseLockName(lock.fileName);
  return name && name->userNumber == lzbnum() && name->workstation == lockTagOf(identity().workstationId);
}

bool isOf(const LockFileInfo& lock, int number, int objectType) {
  return lock.objectNumber == number && lock.objectType == objectType;
}

/// Who holds an object, by the picture: somebody else before this workstation.
std::optional<LockFileInfo> holder(int number, int objectType) {
  std::optional<LockFileInfo> own;
  for (const LockFileInfo& lock : pictured(L"GetLockOwner")) {
    if (!isOf(lock, number, objectType)) continue;
    if (!isOfThisWorkstation(lock)) return lock;
    own = lock;
  }
  return own;
}

std::vector<LockFileInfo> ownInPicture() {
  std::vector<LockFileInfo> locks = pictured(L"getOwnLocks");
  std::erase_if(locks, [](const LockFileInfo& lock) { return !isOfThisWorkstation(lock); });
  return locks;
}

/// What the name of a lock file tells.
FileLockInfo infoOf(const LockFileInfo& lock) {
  FileLockInfo info;
  info.objectType = lock.objectType;
  info.objectNumber = lock.objectNumber;
  info.userNumber = lock.userId;
  info.fileName = lock.fileName;
  if (isOfThisWorkstation(lock)) {
    info.userName = identity().user.name;
    info.workstation = identity().workstationName;
  } else {
    info.userName = lz_GetUserNameFromUserId(lock.userId);
    const auto name = parseLockName(lock.fileName);
    if (name) info.workstation = name->workstation;
  }
  return info;
}

/// The same with what the file says of itself; one that can't be read, or was made by others, tells less.
FileLockInfo readInfo(const LockFileInfo& lock) {
  FileLockInfo info = infoOf(lock);
  std::wstring text;
  if (!transfer().locking.readLockFile(lock.fileName.c_str(), text)) return info;
  const LockText parts = parseLockText(text);
  if (!parts.userName.empty()) info.userName = parts.userName;
  if (!parts.workstation.empty()) info.workstation = parts.workstation;
  info.time = parts.time;
  return info;
}

std::wstring ownLockText() {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return makeLockText({identity().user.name, identity().workstationName, lockTimeText(now)});
}

std::wstring lockDirectory(const Transfer& current) {
  const int pathNr = ePrjPath;
  std::wstring path = current.files.getServerPathFromNr(&pathNr);
  if (path.empty() || (path.back() != L'/' && path.back() != L'\\')) path += L'/';
  return path + current.files.getProjectName() + L"/Lck";
}

/// Writes this workstation's lock file, with the directory of lock files where that is missing.
bool writeLock(int number, int objectType, const std::wstring& name) {
  const Transfer current = transfer();
  const std::wstring text = ownLockText();
  if (current.locking.createLockFile(number, &objectType, name.c_str(), text.c_str())) return true;
  if (GetLastError() != ERROR_PATH_NOT_FOUND) return false;
  return current.internals.createServerDirectory(lockDirectory(current).c_str()) &&
         current.locking.createLockFile(number, &objectType, name.c_str(), text.c_str());
}

std::wstring ownLockName(int number, int objectType) {
  return lockFileName({objectType, number, lzbnum(), identity().workstationId});
}

void logFailure(const wchar_t* operation, const std::wstring& name) {
  lfperrC(L"%s: lock file %s of %s: error %d\n", operation, name, projectDirectory(), GetLastError());
}

bool removeLock(const wchar_t* operation, int number, int objectType, const std::wstring& name) {
  if (transfer().locking.deleteLockFile(number, &objectType, name.c_str())) return true;
  logFailure(operation, name);
  return false;
}

}  // namespace

bool areInUse() {
  if (Quorvel::FileAccess::getInetFileManager == nullptr) return false;
  const Transfer current = transfer();
  return *current.files.getProjectName() != L'\0' && !ZSYST_IsOndrathServer(current.files.getServerName());
}

std::wstring projectDirectory() {
  return transfer().files.getProjectName();
}

int lock(int number, int objectType) {
  const std::wstring name = ownLockName(number, objectType);
  if (name.empty() || !refresh(L"LockObject")) return 0;
  const auto before = holder(number, objectType);
  if (before) return isOfThisWorkstation(*before) ? 1 : 0;
  if (!writeLock(number, objectType, name)) {
    logFailure(L"LockObject", name);
    return 0;
  }
  // Somebody else may have written at the same time. Whoever sees the other's file steps back; a server that no longer
  // answers leaves the question open, which counts as no.
  const auto after = refresh(L"LockObject") ? holder(number, objectType) : std::nullopt;
  if (after && isOfThisWorkstation(*after)) return 1;
  removeLock(L"LockObject", number, objectType, name);
  refresh(L"LockObject");
  return 0;
}

int unlock(int number, int objectType) {
  if (!refresh(L"UnlockObject")) return 0;
  int result = 0;
  for (const LockFileInfo& lock : ownInPicture()) {
    if (isOf(lock, number, objectType) && removeLock(L"UnlockObject", number, objectType, lock.fileName)) result = 1;
  }
  if (result != 0) refresh(L"UnlockObject");
  return result;
}

std::optional<FileLockInfo> lockInfo(int number, int objectType) {
  if (!refresh(L"GetLockInfo")) return std::nullopt;
  const auto found = holder(number, objectType);
  if (!found) return std::nullopt;
  return readInfo(*found);
}

int owner(int number, int objectType) {
  return refresh(L"GetLockOwner") ? ownerInPicture(number, objectType) : -1;
}

int ownerInPicture(int number, int objectType) {
  const auto found = holder(number, objectType);
  return found ? found->userId : -1;
}

bool isOwn(int number, int objectType) {
  if (!refresh(L"GetLockOwner")) return false;
  const auto found = holder(number, objectType);
  return found && isOfThisWorkstation(*found);
}

std::vector<FileLockInfo> ownLocks() {
  std::vector<FileLockInfo> infos;
  for (const LockFileInfo& lock : ownInPicture()) infos.push_back(infoOf(lock));
  return infos;
}

bool allLocks(std::vector<FileLockInfo>& out) {
  if (!refresh(L"updateLockInfoEx")) return false;
  for (const LockFileInfo& lock : pictured(L"updateLockInfoEx")) out.push_back(readInfo(lock));
  return true;
}

int releaseOwn() {
  if (!refresh(L"CleanupLocks")) return 0;
  int count = 0;
  for (const LockFileInfo& lock : ownInPicture()) {
    if (removeLock(L"CleanupLocks", lock.objectNumber, lock.objectType, lock.fileName)) ++count;
  }
  refresh(L"CleanupLocks");
  return count;
}

}  // namespace workstation::filelocks
