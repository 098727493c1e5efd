#include "platform/TemporaryFile.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "platform/PathLookup.h"

namespace platform {
namespace {

// Leaves room for the dots, sixteen digits and the ending within the 255 bytes of a name.
constexpr std::size_t kLongestStem = 220;
constexpr std::size_t kCopyChunk = std::size_t{1} << 30U;
constexpr std::size_t kBufferSize = std::size_t{256} * 1024;

std::string temporaryNameFor(const std::string& target) {
  std::uint64_t random = 0;
  if (::getrandom(&random, sizeof random, 0) != static_cast<ssize_t>(sizeof random)) {
    random = static_cast<std::uint64_t>(::getpid());
  }
  std::array<char, 17> digits{};
  std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(random));
  std::string stem = nameOf(target).substr(0, kLongestStem);
  const std::string parent = parentOf(target);
  return (parent == "/" ? parent : parent + '/') + '.' + stem + '.' + digits.data() + ".tmp";
}

int copyByReading(int from, int to) {
  std::vector<char> buffer(kBufferSize);
  for (;;) {
    std::size_t done = 0;
    if (readFully(from, buffer.data(), buffer.size(), done) < 0) return errno;
    if (done == 0) return 0;
    std::size_t written = 0;
    if (!writeFully(to, buffer.data(), done, written)) return errno;
  }
}

int copyContent(int from, int to) {
  for (;;) {
    const ssize_t count = ::copy_file_range(from, nullptr, to, nullptr, kCopyChunk, 0);
    if (count == 0) break;
    if (count > 0 || errno == EINTR) continue;
    const bool isRealFailure = errno == ENOSPC || errno == EIO || errno == EDQUOT || errno == EFBIG;
    if (isRealFailure) return errno;
    break;
  }
  // The system can't copy everywhere, and takes some files for empty that are not: what is left is read and written.
  return copyByReading(from, to);
}

}  // namespace

void takeOver(int fd, const struct stat& replaced) {
  if (::fchown(fd, replaced.st_uid, replaced.st_gid) != 0) {
    // Another user's file becomes ours when we replace it; the group of a shared directory goes on.
    static_cast<void>(::fchown(fd, static_cast<uid_t>(-1), replaced.st_gid) == 0);
  }
  ::fchmod(fd, replaced.st_mode & 07777);
}

TemporaryFile::TemporaryFile(const std::string& target, const EntryStatus* replaced) : target_(target) {
  const mode_t mode = replaced != nullptr ? (replaced->mode & 0777) | S_IWUSR : 0666;
  for (int attempt = 0; attempt < 100 && !file_; ++attempt) {
    path_ = temporaryNameFor(target);
    file_ = Descriptor(::open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
    if (!file_ && errno != EEXIST) break;
  }
  struct stat owner {};
  if (!file_) {
    path_.clear();
  } else if (replaced != nullptr && ::stat(target.c_str(), &owner) == 0) {
    takeOver(file_.get(), owner);
  }
}

TemporaryFile::~TemporaryFile() {
  if (!path_.empty()) ::unlink(path_.c_str());
}

int TemporaryFile::takePlace(bool replace) {
  if (!file_.close()) return errno;
  if (!replace) {
    const int error = renameWithoutReplacing(path_, target_);
    if (error == 0) path_.clear();
    return error;
  }
  if (::rename(path_.c_str(), target_.c_str()) != 0) return errno;
  path_.clear();
  return 0;
}

int renameWithoutReplacing(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) return errno;
  // The file system lacks the call. A second name refuses an existing target as well; directories can't have one, but a
  // rename of theirs refuses to replace anything but an empty directory.
  if (::link(from.c_str(), to.c_str()) == 0) return ::unlink(from.c_str()) == 0 ? 0 : errno;
  if (errno != EPERM && errno != ENOTSUP) return errno;
  struct stat status {};
  if (::lstat(to.c_str(), &status) == 0) return EEXIST;
  return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

int copyFileBody(int from, const EntryStatus& source, int to) {
  if (const int error = copyContent(from, to)) return error;
  const int error = writeAttributes(to, source.attributes);
  // A file system without attributes takes the file without them.
  if (error != 0 && error != ENOTSUP) return error;
  return writeTimes(to, nullptr, nullptr, &source.write);
}

}  // namespace platform
