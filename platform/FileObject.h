// An open file behind a handle, and the share modes between handles. Internal to the platform.
#pragma once

#include <memory>
#include <string>

#include "platform/Descriptor.h"
#include "platform/Handles.h"

namespace platform {

class FileObject : public HandleObject {
 public:
  FileObject(Descriptor descriptor, DWORD access) : descriptor_(std::move(descriptor)), access_(access) {}

  int fd() const { return descriptor_.get(); }
  bool canRead() const;
  bool canWrite() const;
  bool canWriteAttributes() const;
  DWORD close() override;

 private:
  Descriptor descriptor_;
  DWORD access_;
};

/// @return null with the last error ERROR_INVALID_HANDLE when the handle is no open file
std::shared_ptr<FileObject> findFile(HANDLE handle);

/// Enters an open file into the share modes; it stays there until its descriptor is closed. Never waits.
///
/// A handle holds a shared lock on one byte, far behind any data, for each thing that it does or denies to others, and
/// then looks whether another handle does what it denies or denies what it does. Two that come at the same moment may
/// both be refused, but never both be let in. The locks belong to the open file: they count between the handles of this
/// process and, advisory, between processes. Where the file system has no such locks nothing is refused.
/// @return false when another handle stands against it
bool enterShareModes(int fd, DWORD access, DWORD shareMode);

/// Whether an open handle denies others to read the file.
bool isReadingDenied(int fd);

}  // namespace platform
