#include "workstation/objects/FileLocks.h"

#include <algorithm>

#include "host/Locking.h"
#include "host/System.h"
#include "host/Trace.h"
#include "host/Users.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/Session.h"
#include "workstation/objects/LockNames.h"
#include "workstation/objects/LockPicture.h"
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
using Quorvel::FileAccess::kLocksOfEverybody;
using Quorvel::FileAccess::LockFileInfo;
using Locks = LockPicture::Locks;

LockPicture& picture() {
  static LockPicture instance;
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

LockPlace currentPlace() {
  const Transfer current = transfer();
  return {current.files.getServerName(), current.files.getProjectName()};
}

void logFailure(const wchar_t* operation, const std::wstring& name) {
  lfperrC(L"%s: lock file %s of %s: error %d\n", operation, name, projectDirectory(), GetLastError());
}

/// Deletes an own lock file. @return false, with a line in the error log, when it may still be there
bool removeFile(const wchar_t* operation, const LockPlace& place, const std::wstring& name) {
  const auto parts = parseLockName(name);
  const int number = parts ? parts->number : -1;
  const int objectType = parts ? parts->objectType : 0;
  if (!transfer().locking.deleteLockFile(number, &objectType, name.c_str())) {
    logFailure(operation, name);
    return false;
  }
  picture().setGranted(place, name, false);
  picture().forget(place, name);
  return true;
}

/// Takes back an own file that gives no lock. What can't be deleted now is deleted at the next contact.
void stepBack(const wchar_t* operation, const LockPlace& place, const std::wstring& name) {
  if (!removeFile(operation, place, name)) picture().addLeftOver(place, name);
}

/// Reads the lock files of the server. @return none, with a line in the error log, when they can't be read
std::optional<Locks> look(const wchar_t* operation) {
  const LockPlace place = currentPlace();
  for (const std::wstring& name : picture().takeLeftOvers(place)) stepBack(operation, place, name);
  const std::uint64_t begun = picture().beginListing();
  Locks locks;
  if (transfer().locking.fillLockInfo(place.project.c_str(), locks, kLocksOfEverybody) == 0 && GetLastError() != 0) {
    lfperrC(L"%s: the lock files of %s on %s can't be read: error %d\n", operation, place.project, place.server,
            GetLastError());
    ZEPSetLockingError();
    return std::nullopt;
  }
  picture().keep(place, begun, locks);
  return locks;
}

/// The picture as it stands, read first when there is none of this project.
Locks pictured(const wchar_t* operation) {
  if (auto known = picture().find(currentPlace())) return *std::move(known);
  return look(operation).value_or(Locks());
}

bool isOfThisWorkstation(const LockFileInfo& lock) {
  const auto name = parseLockName(lock.fileName);
  return name && name->userNumber == lzbnum() && name->workstation == lockTagOf(identity().workstationId);
}

bool isOf(const LockFileInfo& lock, int number, int objectType) {
  return lock.objectNumber == number && lock.objectType == objectType;
}

/// Who holds an object: somebody else before this workstation, unless this process was given the lock.
std::optional<LockFileInfo> holderIn(const Locks& locks, int number, int objectType) {
  std::optional<LockFileInfo> own;
  std::optional<LockFileInfo> other;
  for (const LockFileInfo& lock : locks) {
    if (!isOf(lock, number, objectType)) continue;
    std::optional<LockFileInfo>& kind = isOfThisWorkstation(lock) ? own : other;
    if (!kind) kind = lock;
  }
  const bool isOwn = own && (!other || picture().isGranted(currentPlace(), own->fileName));
  return isOwn ? own : other;
}

Locks ownIn(Locks locks) {
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

/// Writes the own file of an object that nobody held. @return false when that gives no lock
bool write(const LockPlace& place, int number, int objectType) {
  const std::wstring name = ownLockName(number, objectType);
  picture().setGranted(place, name, false);
  if (writeLock(number, objectType, name)) return true;
  const DWORD error = GetLastError();
  logFailure(L"LockObject", name);
  // Of a write that failed on the way an empty file may stay, which others would take for a lock.
  if (error != ERROR_LOCK_VIOLATION && error != ERROR_PATH_NOT_FOUND) stepBack(L"LockObject", place, name);
  return false;
}

}  // namespace

bool areInUse() {
  if (Quorvel::FileAccess::getInetFileManager == nullptr) return false;
  const Transfer current = transfer();
  return *current.files.getProjectName() != L'\0' && !ZSYST_IsOndrathServer(current.files.getServerName());
}

std::wstring projectDirectory() {
  if (Quorvel::FileAccess::getInetFileManager == nullptr) return {};
  return transfer().files.getProjectName();
}

std::vector<int> lock(const std::vector<int>& numbers, int objectType) {
  const LockPlace place = currentPlace();
  const auto before = look(L"LockObject");
  if (!before) return numbers;
  std::vector<int> refused;
  std::vector<int> written;
  for (const int number : numbers) {
    if (ownLockName(number, objectType).empty()) {
      refused.push_back(number);
    } else if (const auto held = holderIn(*before, number, objectType)) {
      if (isOfThisWorkstation(*held)) {
        picture().setGranted(place, held->fileName, true);
      } else {
        refused.push_back(number);
      }
    } else {
      (write(place, number, objectType) ? written : refused).push_back(number);
    }
  }
  if (written.empty()) return refused;
  // Somebody else may have written at the same time. Whoever sees the other's file steps back; a server that no longer
  // answers leaves the question open, which counts as no.
  const auto after = look(L"LockObject");
  for (const int number : written) {
    const auto held = after ? holderIn(*after, number, objectType) : std::nullopt;
    if (held && isOfThisWorkstation(*held)) {
      picture().setGranted(place, held->fileName, true);
    } else {
      stepBack(L"LockObject", place, ownLockName(number, objectType));
      refused.push_back(number);
    }
  }
  return refused;
}

bool unlock(const std::vector<int>& numbers, int objectType) {
  const LockPlace place = currentPlace();
  const auto locks = look(L"UnlockObject");
  if (!locks) return false;
  const Locks own = ownIn(*locks);
  bool all = true;
  for (const int number : numbers) {
    const auto release = [&](const LockFileInfo& lock) {
      return isOf(lock, number, objectType) && removeFile(L"UnlockObject", place, lock.fileName);
    };
    all = std::count_if(own.begin(), own.end(), release) != 0 && all;
  }
  return all;
}

std::optional<FileLockInfo> lockInfo(int number, int objectType) {
  const auto locks = look(L"GetLockInfo");
  const auto found = locks ? holderIn(*locks, number, objectType) : std::nullopt;
  if (!found) return std::nullopt;
  return readInfo(*found);
}

int owner(int number, int objectType) {
  const auto locks = look(L"GetLockOwner");
  const auto found = locks ? holderIn(*locks, number, objectType) : std::nullopt;
  return found ? found->userId : -1;
}

int ownerInPicture(int number, int objectType) {
  const auto found = holderIn(pictured(L"GetLockOwner"), number, objectType);
  return found ? found->userId : -1;
}

bool isOwn(int number, int objectType) {
  const auto locks = look(L"GetLockOwner");
  const auto found = locks ? holderIn(*locks, number, objectType) : std::nullopt;
  return found && isOfThisWorkstation(*found);
}

std::vector<FileLockInfo> ownLocks() {
  std::vector<FileLockInfo> infos;
  for (const LockFileInfo& lock : ownIn(pictured(L"getOwnLocks"))) infos.push_back(infoOf(lock));
  return infos;
}

bool allLocks(std::vector<FileLockInfo>& out) {
  const auto locks = look(L"updateLockInfoEx");
  if (!locks) return false;
  for (const LockFileInfo& lock : *locks) out.push_back(readInfo(lock));
  return true;
}

int releaseOwn() {
  const LockPlace place = currentPlace();
  const auto locks = look(L"CleanupLocks");
  if (!locks) return 0;
  const Locks own = ownIn(*locks);
  return static_cast<int>(std::count_if(own.begin(), own.end(), [&](const LockFileInfo& lock) {
    return removeFile(L"CleanupLocks", place, lock.fileName);
  }));
}

}  // namespace workstation::filelocks
