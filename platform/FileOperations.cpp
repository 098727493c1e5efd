// Files as a whole, by their paths: copy, move, delete, attributes.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/Attributes.h"
#include "platform/Errors.h"
#include "platform/FileObject.h"
#include "platform/FileSharing.h"
#include "platform/Files.h"
#include "platform/PathLookup.h"
#include "platform/Paths.h"
#include "platform/TemporaryFile.h"

namespace {

using platform::Descriptor;
using platform::EntryStatus;
using platform::fail;
using platform::fromErrno;
using platform::Location;
using platform::pathError;
using platform::TemporaryFile;

BOOL answer(DWORD error) {
  return error == ERROR_SUCCESS ? TRUE : fail(error);
}

DWORD openSource(const std::string& path, Descriptor& file, EntryStatus& status) {
  file = Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (!file) return pathError(errno, path);
  if (const int error = platform::readStatus(file.get(), status)) return fromErrno(error);
  if (!S_ISREG(status.mode)) return ERROR_ACCESS_DENIED;
  return platform::isReadingDenied(file.get()) ? ERROR_SHARING_VIOLATION : ERROR_SUCCESS;
}

/// Whether an entry that is there may be replaced by another file.
DWORD checkReplaceable(const std::string& path, const EntryStatus& status, DWORD protectedBy) {
  if (status.isDirectory() || (status.attributes & protectedBy) != 0) return ERROR_ACCESS_DENIED;
  return platform::isDeletingDenied(path) ? ERROR_SHARING_VIOLATION : ERROR_SUCCESS;
}

DWORD copyFile(const std::string& from, const std::string& to, bool failIfExists) {
  Descriptor source;
  EntryStatus sourceStatus;
  if (const DWORD error = openSource(from, source, sourceStatus)) return error;
  const std::string target = platform::followLink(to);
  EntryStatus targetStatus;
  const bool isThere = platform::readStatus(target, targetStatus) == 0;
  if (isThere) {
    if (failIfExists) return ERROR_FILE_EXISTS;
    const bool isSame = sourceStatus.device == targetStatus.device && sourceStatus.inode == targetStatus.inode;
    if (isSame) return ERROR_SHARING_VIOLATION;
    constexpr DWORD kProtected = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;
    if (const DWORD error = checkReplaceable(target, targetStatus, kProtected)) return error;
  }
  TemporaryFile copy(target, isThere ? &targetStatus : nullptr);
  // The missing thing is the directory: the file itself is only about to come.
  if (!copy.isOpen()) return errno == ENOENT ? ERROR_PATH_NOT_FOUND : fromErrno(errno);
  if (const int error = platform::copyFileBody(source.get(), sourceStatus, copy.fd())) return fromErrno(error);
  const int error = copy.takePlace(!failIfExists);
  return error == EEXIST ? ERROR_FILE_EXISTS : fromErrno(error);
}

/// Moves onto a free name or, with `replace`, onto a file.
DWORD moveEntry(const Location& from, const Location& to, bool replace) {
  EntryStatus source;
  if (const int error = platform::readStatus(from.path, source)) return pathError(error, from.path);
  if (!source.isDirectory() && platform::isDeletingDenied(from.path)) return ERROR_SHARING_VIOLATION;
  if (to.path == from.path) {
    const bool done = to.written == from.path || ::rename(from.path.c_str(), to.written.c_str()) == 0;
    return done ? ERROR_SUCCESS : fromErrno(errno);
  }
  EntryStatus target;
  const bool isThere = platform::readStatus(to.path, target) == 0;
  if (isThere && !replace) return ERROR_ALREADY_EXISTS;
  if (!isThere) {
    const int error = platform::renameWithoutReplacing(from.path, to.path);
    return error == ENOENT ? ERROR_PATH_NOT_FOUND : fromErrno(error);
  }
  if (source.isDirectory()) return ERROR_ACCESS_DENIED;
  if (const DWORD error = checkReplaceable(to.path, target, FILE_ATTRIBUTE_READONLY)) return error;
  if (::rename(from.path.c_str(), to.path.c_str()) != 0) return fromErrno(errno);
  // The file has arrived; the letter case of its new name is worth one try.
  if (to.written != to.path) ::rename(to.path.c_str(), to.written.c_str());
  return ERROR_SUCCESS;
}

DWORD moveBetweenVolumes(const Location& from, const Location& to, bool replace) {
  EntryStatus source;
  if (const int error = platform::readStatus(from.path, source)) return pathError(error, from.path);
  if (source.isDirectory() || source.isLink()) return ERROR_NOT_SAME_DEVICE;
  const DWORD error = copyFile(from.path, to.path, !replace);
  if (error != ERROR_SUCCESS) return error == ERROR_FILE_EXISTS ? ERROR_ALREADY_EXISTS : error;
  return ::unlink(from.path.c_str()) == 0 ? ERROR_SUCCESS : fromErrno(errno);
}

DWORD deleteFile(const std::string& path) {
  EntryStatus status;
  if (const int error = platform::readStatus(path, status)) return pathError(error, path);
  const bool isProtected = status.isDirectory() || (status.isReadOnly() && !status.isLink());
  if (isProtected) return ERROR_ACCESS_DENIED;
  if (platform::isDeletingDenied(path)) return ERROR_SHARING_VIOLATION;
  return ::unlink(path.c_str()) == 0 ? ERROR_SUCCESS : pathError(errno, path);
}

}  // namespace

BOOL CopyFileW(const wchar_t* from, const wchar_t* to, BOOL failIfExists) {
  Location source;
  Location target;
  if (const DWORD error = platform::locate(from, source)) return fail(error);
  if (const DWORD error = platform::locateForCreation(to, target)) return fail(error);
  return answer(copyFile(source.path, target.path, failIfExists != FALSE));
}

BOOL MoveFileW(const wchar_t* from, const wchar_t* to) {
  return MoveFileExW(from, to, MOVEFILE_COPY_ALLOWED);
}

BOOL MoveFileExW(const wchar_t* from, const wchar_t* to, DWORD flags) {
  Location source;
  Location target;
  if (const DWORD error = platform::locate(from, source)) return fail(error);
  if (const DWORD error = platform::locateForCreation(to, target)) return fail(error);
  const bool replace = (flags & MOVEFILE_REPLACE_EXISTING) != 0;
  DWORD error = moveEntry(source, target, replace);
  if (error == ERROR_NOT_SAME_DEVICE && (flags & MOVEFILE_COPY_ALLOWED) != 0) {
    error = moveBetweenVolumes(source, target, replace);
  }
  return answer(error);
}

BOOL DeleteFileW(const wchar_t* path) {
  Location place;
  if (const DWORD error = platform::locate(path, place)) return fail(error);
  return answer(deleteFile(place.path));
}

DWORD GetFileAttributesW(const wchar_t* path) {
  Location place;
  DWORD error = platform::locate(path, place);
  EntryStatus status;
  if (error == ERROR_SUCCESS) {
    const int statusError = platform::readStatus(place.path, status);
    if (statusError == 0) return status.attributes;
    error = pathError(statusError, place.path);
  }
  SetLastError(error);
  return INVALID_FILE_ATTRIBUTES;
}

BOOL SetFileAttributesW(const wchar_t* path, DWORD attributes) {
  Location place;
  if (const DWORD error = platform::locate(path, place)) return fail(error);
  const Descriptor file(::open(place.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (!file) return fail(pathError(errno, place.path));
  return answer(fromErrno(platform::writeAttributes(file.get(), attributes)));
}

int _waccess(const wchar_t* path, int mode) {
  Location place;
  EntryStatus status;
  if (platform::locate(path, place) != ERROR_SUCCESS || ::access(place.path.c_str(), mode & (R_OK | W_OK)) != 0) {
    if (place.path.empty()) errno = ENOENT;
    return -1;
  }
  const bool asksToWrite = (mode & W_OK) != 0;
  if (!asksToWrite || platform::readStatus(place.path, status) != 0) return 0;
  if (status.isDirectory() || !status.isReadOnly()) return 0;
  errno = EACCES;
  return -1;
}

int _wunlink(const wchar_t* path) {
  if (DeleteFileW(path) != FALSE) return 0;
  const DWORD error = GetLastError();
  errno = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? ENOENT : EACCES;
  return -1;
}

namespace platform {

FileStatus fileStatus(const std::wstring& path) {
  FileStatus result;
  EntryStatus status;
  const std::string place = systemPath(path);
  if (place.empty() || readStatus(place, status) != 0) return result;
  result.exists = true;
  result.isDirectory = status.isDirectory();
  result.size = status.size;
  result.creationTime = status.creation;
  result.writeTime = status.write;
  return result;
}

}  // namespace platform
