// Whole files: read with a limit, replaced at once or not at all.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "platform/Attributes.h"
#include "platform/Errors.h"
#include "platform/Files.h"
#include "platform/PathLookup.h"
#include "platform/Paths.h"
#include "platform/TemporaryFile.h"

namespace platform {
namespace {

constexpr std::size_t kChunk = std::size_t{256} * 1024;

/// Makes the renamed entry outlive a power failure. The file is whole either way, so that a failure here is none.
void syncDirectory(const std::string& path) {
  const Descriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory) ::fsync(directory.get());
}

DWORD readAll(int fd, std::uint64_t expected, std::uint64_t limit, std::string& content) {
  std::string result;
  // One byte more than expected, which shows a file that grows meanwhile.
  std::uint64_t room = expected + 1;
  for (;;) {
    const std::size_t before = result.size();
    result.resize(before + static_cast<std::size_t>(room));
    std::size_t done = 0;
    const bool failed = readFully(fd, result.data() + before, static_cast<std::size_t>(room), done) < 0;
    if (failed) return fromErrno(errno);
    result.resize(before + done);
    if (result.size() > limit) return ERROR_BAD_LENGTH;
    if (done < room) break;
    room = std::min<std::uint64_t>(kChunk, limit - result.size() + 1);
  }
  content = std::move(result);
  return ERROR_SUCCESS;
}

}  // namespace

DWORD writeFileAtomically(const std::wstring& path, const void* data, std::size_t size) {
  Location place;
  if (const DWORD error = locateForCreation(path.c_str(), place)) return error;
  const std::string target = followLink(place.path);
  EntryStatus replaced;
  const bool isThere = readStatus(target, replaced) == 0;
  if (isThere && (replaced.isDirectory() || replaced.isReadOnly())) return ERROR_ACCESS_DENIED;
  TemporaryFile file(target, isThere ? &replaced : nullptr);
  if (!file.isOpen()) return errno == ENOENT ? ERROR_PATH_NOT_FOUND : fromErrno(errno);
  std::size_t written = 0;
  if (!writeFully(file.fd(), data, size, written)) return fromErrno(errno);
  // Attributes that the file system could keep before, it can keep now.
  const int attributesError = isThere ? writeAttributes(file.fd(), replaced.attributes) : 0;
  if (attributesError != 0) return fromErrno(attributesError);
  if (::fsync(file.fd()) != 0) return fromErrno(errno);
  if (const int error = file.takePlace(true)) return fromErrno(error);
  syncDirectory(parentOf(target));
  return ERROR_SUCCESS;
}

DWORD readWholeFile(const std::wstring& path, std::string& content, std::uint64_t limit) {
  const std::string place = systemPath(path);
  if (place.empty()) return ERROR_PATH_NOT_FOUND;
  const Descriptor file(::open(place.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (!file) return pathError(errno, place);
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return fromErrno(errno);
  if (!S_ISREG(status.st_mode)) return ERROR_ACCESS_DENIED;
  const auto size = static_cast<std::uint64_t>(status.st_size);
  if (size > limit) return ERROR_BAD_LENGTH;
  try {
    return readAll(file.get(), size, limit, content);
  } catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}

}  // namespace platform
