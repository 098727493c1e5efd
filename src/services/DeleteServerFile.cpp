#include "cloud/CloudPaths.h"
#include "cloud/Ondrath_Services.h"
#include "core/LastError.h"
#include "core/ObjectNames.h"
#include "host/Locking.h"
#include "host/System.h"
#include "host/Trace.h"
#include "platform/WindowsTypes.h"
#include "services/ServedProject.h"
#include "zephor/FileServices.h"
#include "zephor/Projects.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::WGO_deleteServerFile";
constexpr unsigned long kNotDeleted = 0x8000FFFF;

unsigned long wrongParameter() {
  lfperrC(L"%s: wrong parameter\n", kFunction);
  return answered(ERROR_INVALID_DATA);
}

/// The lock of an object that is about to be deleted, given back at the end.
class ScopedObjectLock {
 public:
  ScopedObjectLock(int number, ObjectType type)
      : number_(number), type_(type), held_(getFileLockingManager().LockObject(number, type, 0) == 1) {}
  ~ScopedObjectLock() {
    if (held_) getFileLockingManager().UnlockObject(number_, type_, 0);
  }
  ScopedObjectLock(const ScopedObjectLock&) = delete;
  ScopedObjectLock& operator=(const ScopedObjectLock&) = delete;

  bool isHeld() const { return held_; }

 private:
  int number_;
  ObjectType type_;
  bool held_;
};

unsigned long deleteIn(const PRJ& prj, const std::wstring& directory, const std::wstring& file) {
  return Ondrath_deleteFile(prj, Ondrath_ResolveProjectPath(prj, directory, file)) ? ERROR_SUCCESS : kNotDeleted;
}

/// The texts must not be the transfer object's own, which the guard changes.
unsigned long deleteOn(const std::wstring& host, const std::wstring& dir, const std::wstring& file) {
  const CScopedPrjSettings settings(host.c_str(), nullptr);
  const std::optional<PRJ> active = activeProjectOn(host, kFunction);
  return active ? deleteIn(*active, WGO_BuildProjectDirectoryName(dir.c_str()), file) : ERROR_INVALID_DATA;
}

unsigned long deleteLocked(const std::wstring& name, int number, ObjectType type) {
  const ScopedObjectLock lock(number, type);
  if (!lock.isHeld()) {
    lfperrC(L"%s: lockFile failed %s\n", kFunction, name);
    return 1;
  }
  return WGO_deleteServerFile(currentHost().c_str(), currentProjectDirectory().c_str(), name.c_str());
}

}  // namespace

unsigned long WGO_deleteServerFile(const PRJ& prj, const wchar_t* file) {
  if (!ZSYST_IsOndrathServer(prj.host)) return answered(ERROR_INVALID_DATA);
  if (file == nullptr) return wrongParameter();
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  return answered(deleteIn(prj, prj.GetDirectoryName(), file));
}

unsigned long WGO_deleteServerFile(const wchar_t* host, const wchar_t* dir, const wchar_t* file) {
  if (host == nullptr || dir == nullptr || file == nullptr) return wrongParameter();
  if (!ZSYST_IsOndrathServer(host)) return answered(ERROR_INVALID_DATA);
  const ScopedAniCursor cursor(WGO_GetDisplayAniCursor());
  // Set when the guard that brings the server back has ended.
  return answered(deleteOn(host, dir, file));
}

unsigned long WGO_deleteServerFile(int number, int type) {
  if (number < 0) return wrongParameter();
  const std::optional<ObjectType> objectType = objectTypeOf(type);
  if (!objectType) {
    lfperrC(L"%s: object type unknown %d\n", kFunction, type);
    return answered(1);
  }
  return answered(deleteLocked(transferObjectFileName(number, type), number, *objectType));
}

}  // namespace Quorvel::FileAccess
