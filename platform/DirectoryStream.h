// The names in a directory of the system. Internal to the platform.
#pragma once

#include <dirent.h>

#include <cerrno>
#include <memory>
#include <string>

#include "platform/Descriptor.h"

namespace platform {

/// Reads the entries one by one, in no order, `.` and `..` among them. Belongs to one thread.
class DirectoryStream {
 public:
  /// When the directory can't be opened, the stream is false and error() tells why.
  explicit DirectoryStream(const std::string& path) : stream_(::opendir(path.c_str()), ::closedir) {
    if (!stream_) error_ = errno;
  }
  explicit DirectoryStream(Descriptor directory) : stream_(::fdopendir(directory.get()), ::closedir) {
    if (!stream_) error_ = errno;
    if (stream_) directory.release();
  }

  explicit operator bool() const { return stream_ != nullptr; }
  int descriptor() const { return ::dirfd(stream_.get()); }
  /// @return the next name, which holds until the next call; null behind the last and when reading fails, of which
  ///         error() tells one from the other: a list that ended early must not pass for the whole directory
  const char* next() {
    errno = 0;
    const dirent* entry = ::readdir(stream_.get());
    if (entry == nullptr) error_ = errno;
    return entry != nullptr ? static_cast<const char*>(entry->d_name) : nullptr;
  }
  /// @return 0, or errno of what failed
  int error() const { return error_; }

 private:
  std::unique_ptr<DIR, int (*)(DIR*)> stream_;
  int error_ = 0;
};

}  // namespace platform
