// A file on its way into a plain directory: it grows beside its place and takes it whole. Internal to the toolkit.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/WindowsTypes.h"
#include "toolkit/OpenFile.h"

namespace Quorvel::FileAccess {

/// Removed by the destructor unless it took its place. Operations that fail leave why in the thread's last error.
class ArrivingFile {
 public:
  /// @param target  library path. A link there stays, and the file that it stands for is replaced. A directory and a
  ///                read-only file are refused (ERROR_ACCESS_DENIED), a name that no volume can hold as well
  ///                (ERROR_INVALID_NAME)
  explicit ArrivingFile(const std::wstring& target);
  ~ArrivingFile();
  ArrivingFile(const ArrivingFile&) = delete;
  ArrivingFile& operator=(const ArrivingFile&) = delete;

  bool isOpen() const { return file_.has_value() && file_->isOpen(); }
  bool write(const void* data, DWORD size) const { return file_->write(data, size); }
  bool seek(std::uint64_t offset) const { return file_->seek(offset); }
  /// The write time that the file has once it took its place.
  bool setWriteTime(const FILETIME& time) const {
    return SetFileTime(file_->handle(), nullptr, nullptr, &time) != FALSE;
  }
  /// Closes the file and renames it onto the target, whose permissions it has had from the start. With `isSynced` the
  /// content outlives a power failure from then on.
  bool takePlace(bool isSynced = true);
  /// True when there was a file at the target.
  bool isReplacement() const { return attributes_ != INVALID_FILE_ATTRIBUTES; }

  /// The name of a file that is still on its way, which no listing shows.
  static bool isNameOfOne(const std::wstring& name);

 private:
  DWORD attributes_ = INVALID_FILE_ATTRIBUTES;  // of the file that is replaced
  std::wstring target_;
  std::wstring path_;  // empty once there is nothing to remove
  std::optional<OpenFile> file_;
};

}  // namespace Quorvel::FileAccess
