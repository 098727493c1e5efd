// The process-wide table of open handles. Internal to the platform.
//
// A handle is an opaque number, a multiple of 4 beginning at 4, never given twice while it is open. All functions may
// be called from any thread. An object lives as long as a thread still works with it, even when its handle was closed
// meanwhile.
#pragma once

#include <memory>

#include "platform/WindowsTypes.h"

namespace platform {

/// What stands behind a handle; each kind of handle derives its own.
class HandleObject {
 public:
  HandleObject() = default;
  virtual ~HandleObject() = default;
  HandleObject(const HandleObject&) = delete;
  HandleObject& operator=(const HandleObject&) = delete;

  /// Ends the object while its errors can still be told; called by CloseHandle when nobody else uses the object.
  /// @return 0, or the error
  virtual DWORD close() { return ERROR_SUCCESS; }
  /// False for the kinds that CloseHandle has to refuse.
  virtual bool isClosedByCloseHandle() const { return true; }
};

HANDLE insertHandle(std::shared_ptr<HandleObject> object);
/// @return null when the handle is not open
std::shared_ptr<HandleObject> findHandle(HANDLE handle);
/// Takes the object out of the table; it ends with its last user.
/// @return null when the handle is not open
std::shared_ptr<HandleObject> removeHandle(HANDLE handle);

/// The object of a handle when it is of the wanted kind; otherwise null with the last error ERROR_INVALID_HANDLE.
template <typename Kind>
std::shared_ptr<Kind> findHandleOf(HANDLE handle) {
  auto object = std::dynamic_pointer_cast<Kind>(findHandle(handle));
  if (!object) SetLastError(ERROR_INVALID_HANDLE);
  return object;
}

}  // namespace platform
