#include "zephor/ProjectFileLocks.h"

#include <optional>

#include "host/Events.h"
#include "host/Files.h"
#include "host/Locking.h"
#include "host/Project.h"
#include "host/Trace.h"
#include "host/Users.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "services/ServedProject.h"
#include "zephor/FileServices.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kProjectPathNumber = 1;
constexpr const wchar_t* kLock = L"Quorvel::FileAccess::WGO_LockProjectSpecificFile";
constexpr const wchar_t* kUnlock = L"Quorvel::FileAccess::WGO_UnlockProjectSpecificFile";

bool isConversionRunning() {
  return globalEventManager::instance().get(kDatwaRunningEvent, nullptr);
}

struct LockableObject {
  int type = -1;
  int number = -1;
};

/// The object whose file a path names; none for another file, and for one that is not below the open project.
std::optional<LockableObject> objectOfOpenProject(const std::wstring& path) {
  LockableObject object;
  std::wstring name = path;
  if (!getInetFileManager().getFileInfoFromHandle(nullptr, object.type, object.number, name)) return std::nullopt;
  // Structure files are told by further numbers; nobody locks them.
  if (object.type < eObject_Teilbild || object.type > eObject_Plan) return std::nullopt;
  const std::wstring directory = lfinigC(kProjectPathNumber);
  if (directory.empty() || !platform::startsWithIgnoreCase(path, directory)) return std::nullopt;
  return object;
}

/// As the runtime's mode "a" would, but without making a file that is not there.
bool canBeAppended(const std::wstring& path) {
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_FILE_NOT_FOUND;
  CloseHandle(file);
  return true;
}

}  // namespace

ResultOf_WGO_LockProjectSpecificFile WGO_LockProjectSpecificFile(const wchar_t* file, bool wantOwner) {
  IZepFileLockingManager& locks = getFileLockingManager();
  if (isConversionRunning() || locks.IsLockingOff()) return {eLockFile_NotNeeded, {}};
  if (file == nullptr) {
    lfperrC(L"%s: wrong parameter\n", kLock);
    return {eLockFile_NoName, {}};
  }
  const std::optional<LockableObject> object = objectOfOpenProject(file);
  if (!object) return {eLockFile_NotNeeded, {}};
  ResultOf_WGO_LockProjectSpecificFile result{eLockFile_Refused, {}};
  {
    const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
    if (locks.LockObject(object->number, object->type, 0) == 1) return {eLockFile_Locked, {}};
    lfperrC(L"%s: ERROR_LOCK_VIOLATION %s\n", kLock, file);
    FileLockInfo info;
    if (wantOwner && locks.GetLockInfo(object->number, object->type, info)) result.ownerName = info.userName;
  }
  ZEPSetLockingError();
  // Last, since all that went before has errors of its own.
  SetLastError(ERROR_LOCK_VIOLATION);
  return result;
}

void WGO_UnlockProjectSpecificFile(const wchar_t* file) {
  if (isConversionRunning()) return;
  if (file == nullptr) {
    lfperrC(L"%s: wrong parameter\n", kUnlock);
    return;
  }
  IZepFileLockingManager& locks = getFileLockingManager();
  if (locks.IsLockingOff()) return;
  const std::optional<LockableObject> object = objectOfOpenProject(file);
  if (!object) return;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  locks.UnlockObject(object->number, object->type, 0);
}

bool WGO_IsDownloadPossible(int number) {
  if (!get_ActivePrj().IsOndrathProject()) return true;
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  const int owner = getFileLockingManager().GetLockOwner(number, eObject_Teilbild, 0);
  if (owner == -1 || owner == lzbnum()) return true;
  std::wstring path;
  const std::wstring name = transferObjectFileName(number, eFileType_Teilbild);
  return lffnamC(kProjectPathNumber, name, path) != 0 || canBeAppended(path);
}

}  // namespace Quorvel::FileAccess
