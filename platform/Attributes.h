// Attributes and times of one entry of the disk, as Windows tells them. Internal to the platform.
//
// Hidden, system and archive are kept as text ("0x22") in the extended attribute `user.DOSATTRIB`, as other
// Windows-compatible software on POSIX keeps them; an entry without it is an ordinary one. Read-only is the owner's
// missing write permission; for a directory, where that permission means something else, it is kept with the others. A
// leading dot of a name hides nothing.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "platform/WindowsTypes.h"

namespace platform {

struct EntryStatus {
  DWORD attributes = 0;  ///< of the entry itself: a link adds FILE_ATTRIBUTE_REPARSE_POINT to those of its target
  FILETIME creation{};
  FILETIME access{};
  FILETIME write{};
  std::uint64_t size = 0;  ///< in bytes; 0 for directories
  mode_t mode = 0;         ///< of what a link leads to, where it leads to something
  dev_t device = 0;
  ino_t inode = 0;

  bool isDirectory() const { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
  bool isLink() const { return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0; }
  bool isReadOnly() const { return (attributes & FILE_ATTRIBUTE_READONLY) != 0; }
};

/// @return 0, or errno
int readStatus(const std::string& path, EntryStatus& status);
int readStatus(int fd, EntryStatus& status);
/// The entry `name` of an open directory (-1: it is not open), whose path is `path`.
int readStatus(int directory, const char* name, const std::string& path, EntryStatus& status);

/// Sets exactly the attributes that can be set; the others (directory, link) are no matter.
/// @return 0, or errno; ENOTSUP when the file system can't keep hidden or system
int writeAttributes(int fd, DWORD attributes);

/// Sets the times that are not null; null leaves a time as it is.
/// @return 0, or errno
int writeTimes(int fd, const FILETIME* creation, const FILETIME* access, const FILETIME* write);

}  // namespace platform
