// A file that grows beside its future place and takes that place whole. Internal to the platform.
#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/Attributes.h"
#include "platform/Descriptor.h"

namespace platform {

/// Named `.<name>.<random>.tmp`, in the directory of its target, so that taking the place is a rename. Removed by the
/// destructor unless it took its place.
class TemporaryFile {
 public:
  /// @param replaced  the file that is going to be replaced; its permissions and owner are taken over. May be null.
  /// Failure leaves isOpen() false with errno.
  TemporaryFile(const std::string& target, const EntryStatus* replaced);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  bool isOpen() const { return static_cast<bool>(file_); }
  int fd() const { return file_.get(); }
  /// Closes the file and renames it onto the target.
  /// @return 0, or errno; EEXIST when `replace` is false and the target is there
  int takePlace(bool replace);

 private:
  std::string target_;
  std::string path_;  // empty once there is nothing to remove
  Descriptor file_;
};

/// Gives an open file owner and permissions of the one that it replaces, as far as this user may.
void takeOver(int fd, const struct stat& replaced);

/// Renames without ever replacing anything.
/// @return 0, or errno; EEXIST when the target is there
int renameWithoutReplacing(const std::string& from, const std::string& to);

/// Copies content, attributes and write time of an open file into another.
/// @return 0, or errno
int copyFileBody(int from, const EntryStatus& source, int to);

}  // namespace platform
