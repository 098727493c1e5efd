#include <fcntl.h>

#include <cerrno>

#include "platform/FileObject.h"
#include "platform/FileSharing.h"
#include "platform/Files.h"

namespace platform {
namespace {

// The bytes that stand for what a handle does and denies; no file grows to them.
enum ShareByte : off_t {
  kReads = 0x7FFF'FFFF'FFFF'FF00,
  kWrites,
  kDeniesReading,
  kDeniesWriting,
  kDeniesDeleting,
};

struct flock lockOf(short type, ShareByte byte) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  return lock;
}

void hold(int fd, ShareByte byte) {
  struct flock lock = lockOf(F_RDLCK, byte);
  ::fcntl(fd, F_OFD_SETLK, &lock);
}

bool isHeldByOther(int fd, ShareByte byte) {
  struct flock lock = lockOf(F_WRLCK, byte);
  return ::fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace

bool enterShareModes(int fd, DWORD access, DWORD shareMode) {
  const bool reads = (access & GENERIC_READ) != 0;
  const bool writes = (access & GENERIC_WRITE) != 0;
  // A handle for attributes alone stands in nobody's way.
  if (!reads && !writes) return true;
  const bool deniesReading = (shareMode & FILE_SHARE_READ) == 0;
  const bool deniesWriting = (shareMode & FILE_SHARE_WRITE) == 0;
  if (reads) hold(fd, kReads);
  if (writes) hold(fd, kWrites);
  if (deniesReading) hold(fd, kDeniesReading);
  if (deniesWriting) hold(fd, kDeniesWriting);
  if ((shareMode & FILE_SHARE_DELETE) == 0) hold(fd, kDeniesDeleting);
  return !(reads && isHeldByOther(fd, kDeniesReading)) && !(writes && isHeldByOther(fd, kDeniesWriting)) &&
         !(deniesReading && isHeldByOther(fd, kReads)) && !(deniesWriting && isHeldByOther(fd, kWrites));
}

bool isReadingDenied(int fd) {
  return isHeldByOther(fd, kDeniesReading);
}

bool isDeletingDenied(const std::string& path) {
  return isDeletingDenied(AT_FDCWD, path.c_str());
}

bool isDeletingDenied(int directory, const char* name) {
  const Descriptor file(::openat(directory, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  return file && isHeldByOther(file.get(), kDeniesDeleting);
}

}  // namespace platform
