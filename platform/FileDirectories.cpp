// Directories: create, remove, remove with everything below.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "platform/Attributes.h"
#include "platform/Descriptor.h"
#include "platform/DirectoryStream.h"
#include "platform/Errors.h"
#include "platform/Files.h"
#include "platform/PathLookup.h"
#include "platform/Paths.h"

namespace {

using platform::EntryStatus;
using platform::fail;
using platform::fromErrno;
using platform::Location;
using platform::pathError;

DWORD createDirectory(const Location& place) {
  if (::mkdir(place.path.c_str(), 0777) == 0) return ERROR_SUCCESS;
  // The new directory itself can't be what is missing.
  return errno == ENOENT ? ERROR_PATH_NOT_FOUND : fromErrno(errno);
}

DWORD createWithParents(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0) return S_ISDIR(status.st_mode) ? ERROR_ALREADY_EXISTS : ERROR_FILE_EXISTS;
  if (::mkdir(path.c_str(), 0777) == 0) return ERROR_SUCCESS;
  if (errno != ENOENT) return fromErrno(errno);
  const DWORD error = createWithParents(platform::parentOf(path));
  if (error == ERROR_FILE_EXISTS) return ERROR_PATH_NOT_FOUND;
  if (error != ERROR_SUCCESS && error != ERROR_ALREADY_EXISTS) return error;
  return ::mkdir(path.c_str(), 0777) == 0 ? ERROR_SUCCESS : fromErrno(errno);
}

/// Empties an open directory. Goes on after a failure, so that as much as possible goes.
/// @return 0, or the first errno
int removeContent(platform::Descriptor directory) {
  const int fd = directory.get();
  struct stat status {};
  // A directory's own permissions must not keep its content alive.
  const bool isLocked = ::fstat(fd, &status) == 0 && (status.st_mode & S_IRWXU) != S_IRWXU;
  if (isLocked) ::fchmod(fd, (status.st_mode & 07777) | S_IRWXU);
  platform::DirectoryStream stream(std::move(directory));
  if (!stream) return stream.error();
  int firstError = 0;
  const auto note = [&firstError](int error) {
    if (firstError == 0 && error != ENOENT) firstError = error;
  };
  while (const char* entry = stream.next()) {
    const std::string_view name = entry;
    if (name == "." || name == "..") continue;
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    // What is no directory, and a link to one, can't be opened so and goes by its name alone.
    platform::Descriptor child(::openat(fd, entry, kFlags));
    const int openError = child ? 0 : errno;
    if (openError == EACCES && ::fchmodat(fd, entry, S_IRWXU, 0) == 0) {
      child = platform::Descriptor(::openat(fd, entry, kFlags));
    }
    if (child) {
      note(removeContent(std::move(child)));
      if (::unlinkat(fd, entry, AT_REMOVEDIR) != 0) note(errno);
    } else if (::unlinkat(fd, entry, 0) != 0) {
      note(errno);
    }
  }
  note(stream.error());
  return firstError;
}

}  // namespace

BOOL CreateDirectoryW(const wchar_t* path, void* /*security*/) {
  Location place;
  if (const DWORD error = platform::locateForCreation(path, place)) return fail(error);
  const DWORD error = createDirectory(place);
  return error == ERROR_SUCCESS ? TRUE : fail(error);
}

int SHCreateDirectoryExW(HWND /*owner*/, const wchar_t* path, const void* /*security*/) {
  Location place;
  if (path == nullptr || !platform::splitPath(path).isAbsolute) return static_cast<int>(ERROR_BAD_PATHNAME);
  if (const DWORD error = platform::locateForCreation(path, place)) return static_cast<int>(error);
  return static_cast<int>(createWithParents(place.path));
}

BOOL RemoveDirectoryW(const wchar_t* path) {
  Location place;
  if (const DWORD error = platform::locate(path, place)) return fail(error);
  EntryStatus status;
  if (const int error = platform::readStatus(place.path, status)) return fail(pathError(error, place.path));
  if (!status.isDirectory()) return fail(ERROR_DIRECTORY);
  // A link to a directory is removed as the directory that it looks like; what it leads to stays.
  if (status.isLink()) return ::unlink(place.path.c_str()) == 0 ? TRUE : platform::failWithErrno();
  if (status.isReadOnly()) return fail(ERROR_ACCESS_DENIED);
  if (::rmdir(place.path.c_str()) == 0) return TRUE;
  return fail(errno == EEXIST ? ERROR_DIR_NOT_EMPTY : pathError(errno, place.path));
}

namespace platform {

DWORD removeSystemTree(const std::string& path) {
  Descriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!directory) return pathError(errno, path);
  const int contentError = removeContent(std::move(directory));
  const bool removed = ::rmdir(path.c_str()) == 0;
  if (contentError != 0) return fromErrno(contentError);
  return removed ? ERROR_SUCCESS : fromErrno(errno);
}

std::optional<std::uint64_t> freeSpace(const std::wstring& directory) {
  struct statvfs volume {};
  if (::statvfs(systemPath(directory).c_str(), &volume) != 0) return std::nullopt;
  return std::uint64_t{volume.f_bavail} * volume.f_frsize;
}

DWORD removeTree(const std::wstring& path) {
  // A whole volume is never what is meant.
  if (path.empty() || splitPath(path).components.empty())
    return path.empty() ? ERROR_PATH_NOT_FOUND : ERROR_ACCESS_DENIED;
  Location place;
  if (const DWORD error = locate(path.c_str(), place)) return error;
  EntryStatus status;
  if (const int error = readStatus(place.path, status)) return pathError(error, place.path);
  if (status.isLink()) return ::unlink(place.path.c_str()) == 0 ? ERROR_SUCCESS : fromErrno(errno);
  return status.isDirectory() ? removeSystemTree(place.path) : ERROR_DIRECTORY;
}

}  // namespace platform
