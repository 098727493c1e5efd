// Open files: create, read, write, position, times, close.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>

#include "platform/Attributes.h"
#include "platform/Errors.h"
#include "platform/FileObject.h"
#include "platform/Files.h"
#include "platform/PathLookup.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace platform {

bool FileObject::canRead() const {
  return (access_ & GENERIC_READ) != 0;
}
bool FileObject::canWrite() const {
  return (access_ & GENERIC_WRITE) != 0;
}
bool FileObject::canWriteAttributes() const {
  return (access_ & (GENERIC_WRITE | FILE_WRITE_ATTRIBUTES)) != 0;
}
DWORD FileObject::close() {
  return descriptor_.close() ? ERROR_SUCCESS : fromErrno(errno);
}

std::shared_ptr<FileObject> findFile(HANDLE handle) {
  return findHandleOf<FileObject>(handle);
}

}  // namespace platform

namespace {

using platform::Descriptor;
using platform::EntryStatus;
using platform::fail;
using platform::failWithErrno;
using platform::findFile;

constexpr DWORD kBackupSemantics = 0x02000000;  // lets a directory be opened
constexpr DWORD kHiddenOrSystem = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
constexpr DWORD kLowPart = 0xFFFFFFFF;

struct OpenRequest {
  DWORD access;
  DWORD shareMode;
  DWORD disposition;
  DWORD flags;

  bool writes() const { return (access & GENERIC_WRITE) != 0; }
  bool mayCreate() const {
    return disposition == CREATE_NEW || disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
  }
  bool empties() const { return disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING; }
};

/// Opens for both directions where it can: the share modes need to read.
Descriptor openFor(const std::string& path, bool writes, int extraFlags) {
  // A pipe in the place of a file must not stop the caller.
  const int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK | extraFlags;
  if (!writes) return Descriptor(::open(path.c_str(), O_RDONLY | flags, 0666));
  Descriptor file(::open(path.c_str(), O_RDWR | flags, 0666));
  if (!file && errno == EACCES) file = Descriptor(::open(path.c_str(), O_WRONLY | flags, 0666));
  return file;
}

/// What speaks against the use of an entry that is there. @return 0, or the error
DWORD refusal(const EntryStatus& status, const OpenRequest& request) {
  if (status.isDirectory()) {
    return (request.flags & kBackupSemantics) != 0 && !request.writes() ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
  }
  if (!S_ISREG(status.mode)) return ERROR_ACCESS_DENIED;
  if (status.isReadOnly() && (request.writes() || request.empties())) return ERROR_ACCESS_DENIED;
  const bool losesAttribute = (status.attributes & kHiddenOrSystem & ~request.flags) != 0;
  return request.disposition == CREATE_ALWAYS && losesAttribute ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

DWORD openExisting(const std::string& path, const OpenRequest& request, Descriptor& file) {
  EntryStatus status;
  file = openFor(path, request.writes() || request.empties(), 0);
  if (!file) {
    const int error = errno;
    // A directory or a read-only file tells so, whatever the system stumbled over.
    const DWORD refused = platform::readStatus(path, status) == 0 ? refusal(status, request) : ERROR_SUCCESS;
    const bool isOpenDirectory = error == EISDIR && refused == ERROR_SUCCESS;
    if (refused != ERROR_SUCCESS || isOpenDirectory) return ERROR_ACCESS_DENIED;
    return platform::pathError(error, path);
  }
  if (const int error = platform::readStatus(file.get(), status)) return platform::fromErrno(error);
  if (const DWORD refused = refusal(status, request)) return refused;
  if (!platform::enterShareModes(file.get(), request.access, request.shareMode)) return ERROR_SHARING_VIOLATION;
  if (request.empties() && ::ftruncate(file.get(), 0) != 0) return platform::fromErrno(errno);
  return ERROR_SUCCESS;
}

/// @param created  tells whether the file is new
DWORD openOrCreate(const platform::Location& place, const OpenRequest& request, Descriptor& file, bool& created) {
  created = false;
  // Between the two attempts another process may remove or create the file; that does not go on forever.
  for (int attempt = 0; attempt < 100; ++attempt) {
    if (request.mayCreate()) {
      file = openFor(place.path, request.writes(), O_CREAT | O_EXCL);
      created = static_cast<bool>(file);
      if (created) break;
      if (errno != EEXIST) return platform::pathError(errno, place.path);
      if (request.disposition == CREATE_NEW) return ERROR_FILE_EXISTS;
    }
    const DWORD error = openExisting(platform::followLink(place.path), request, file);
    const bool vanished = error == ERROR_FILE_NOT_FOUND && request.mayCreate();
    if (!vanished) return error;
  }
  if (!created) return ERROR_FILE_NOT_FOUND;
  return platform::enterShareModes(file.get(), request.access, request.shareMode) ? ERROR_SUCCESS
                                                                                  : ERROR_SHARING_VIOLATION;
}

BOOL splitNumber(std::uint64_t value, DWORD& low, DWORD* high) {
  low = static_cast<DWORD>(value & kLowPart);
  if (high != nullptr) *high = static_cast<DWORD>(value >> 32U);
  // The low part alone may look like the failure value: the last error then tells that it is none.
  if (low == kLowPart) SetLastError(ERROR_SUCCESS);
  return TRUE;
}

/// Null for a time that is to stay as it is: 0 and all ones say so as well.
const FILETIME* timeToSet(const FILETIME* time) {
  if (time == nullptr) return nullptr;
  const std::uint64_t ticks = platform::toTicks(*time);
  return ticks == 0 || ticks == UINT64_MAX ? nullptr : time;
}

bool isOutOfRange(const FILETIME* time) {
  return time != nullptr && platform::toTicks(*time) > INT64_MAX;
}

}  // namespace

HANDLE CreateFileW(const wchar_t* path, DWORD access, DWORD shareMode, void* /*security*/, DWORD disposition,
                   DWORD flagsAndAttributes, HANDLE /*templateFile*/) {
  const OpenRequest request{access, shareMode, disposition, flagsAndAttributes};
  const auto refuse = [](DWORD code) {
    SetLastError(code);
    return INVALID_HANDLE_VALUE;
  };
  if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING) return refuse(ERROR_INVALID_PARAMETER);
  if (disposition == TRUNCATE_EXISTING && !request.writes()) return refuse(ERROR_INVALID_PARAMETER);
  platform::Location place;
  const DWORD misplaced =
      request.mayCreate() ? platform::locateForCreation(path, place) : platform::locate(path, place);
  if (misplaced != ERROR_SUCCESS) return refuse(misplaced);

  Descriptor file;
  bool created = false;
  if (const DWORD error = openOrCreate(place, request, file, created)) return refuse(error);
  const DWORD attributes = (flagsAndAttributes & (kHiddenOrSystem | FILE_ATTRIBUTE_READONLY)) | FILE_ATTRIBUTE_ARCHIVE;
  const bool setsAttributes = created ? attributes != FILE_ATTRIBUTE_ARCHIVE : disposition == CREATE_ALWAYS;
  // A file system without attributes is no reason to have no file.
  if (setsAttributes) platform::writeAttributes(file.get(), attributes);
  if (disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS) {
    SetLastError(created ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS);
  }
  return platform::insertHandle(std::make_shared<platform::FileObject>(std::move(file), access));
}

BOOL CloseHandle(HANDLE handle) {
  const auto found = platform::findHandle(handle);
  if (!found || !found->isClosedByCloseHandle()) return fail(ERROR_INVALID_HANDLE);
  const auto object = platform::removeHandle(handle);
  if (!object) return fail(ERROR_INVALID_HANDLE);
  // Another thread that still works with the object ends it; only its last user can close it without harm.
  constexpr long kOwnReferences = 2;
  const DWORD error = object.use_count() <= kOwnReferences ? object->close() : ERROR_SUCCESS;
  return error == ERROR_SUCCESS ? TRUE : fail(error);
}

BOOL ReadFile(HANDLE file, void* buffer, DWORD size, DWORD* read, void* overlapped) {
  if (read != nullptr) *read = 0;
  const auto object = findFile(file);
  if (!object) return FALSE;
  if (!object->canRead()) return fail(ERROR_ACCESS_DENIED);
  if (overlapped != nullptr) return fail(ERROR_NOT_SUPPORTED);
  std::size_t done = 0;
  const ssize_t result = platform::readFully(object->fd(), buffer, size, done);
  if (read != nullptr) *read = static_cast<DWORD>(done);
  return result < 0 ? failWithErrno() : TRUE;
}

BOOL WriteFile(HANDLE file, const void* buffer, DWORD size, DWORD* written, void* overlapped) {
  if (written != nullptr) *written = 0;
  const auto object = findFile(file);
  if (!object) return FALSE;
  if (!object->canWrite()) return fail(ERROR_ACCESS_DENIED);
  if (overlapped != nullptr) return fail(ERROR_NOT_SUPPORTED);
  std::size_t done = 0;
  const bool isWhole = platform::writeFully(object->fd(), buffer, size, done);
  if (written != nullptr) *written = static_cast<DWORD>(done);
  return isWhole ? TRUE : failWithErrno();
}

DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD origin) {
  const auto refuse = [](DWORD code) {
    SetLastError(code);
    return INVALID_SET_FILE_POINTER;
  };
  const auto object = findFile(file);
  if (!object) return INVALID_SET_FILE_POINTER;
  if (origin > FILE_END) return refuse(ERROR_INVALID_PARAMETER);
  std::int64_t offset = distance;
  if (distanceHigh != nullptr) {
    const auto high = static_cast<std::uint64_t>(static_cast<std::uint32_t>(*distanceHigh));
    offset = static_cast<std::int64_t>(high << 32U | static_cast<std::uint32_t>(distance));
  }
  std::int64_t base = 0;
  if (origin == FILE_CURRENT) base = ::lseek(object->fd(), 0, SEEK_CUR);
  if (origin == FILE_END) {
    struct stat status {};
    base = ::fstat(object->fd(), &status) == 0 ? status.st_size : -1;
  }
  if (base < 0) return refuse(platform::fromErrno(errno));
  std::int64_t position = 0;
  if (__builtin_add_overflow(base, offset, &position)) return refuse(ERROR_INVALID_PARAMETER);
  if (position < 0) return refuse(ERROR_NEGATIVE_SEEK);
  // A caller that passes no high part could not tell where the file stands.
  if (distanceHigh == nullptr && position > kLowPart) return refuse(ERROR_INVALID_PARAMETER);
  if (::lseek(object->fd(), position, SEEK_SET) < 0) return refuse(platform::fromErrno(errno));
  DWORD low = 0;
  DWORD high = 0;
  splitNumber(static_cast<std::uint64_t>(position), low, &high);
  if (distanceHigh != nullptr) *distanceHigh = static_cast<LONG>(high);
  return low;
}

BOOL SetEndOfFile(HANDLE file) {
  const auto object = findFile(file);
  if (!object) return FALSE;
  if (!object->canWrite()) return fail(ERROR_ACCESS_DENIED);
  const off_t position = ::lseek(object->fd(), 0, SEEK_CUR);
  return position >= 0 && ::ftruncate(object->fd(), position) == 0 ? TRUE : failWithErrno();
}

BOOL FlushFileBuffers(HANDLE file) {
  const auto object = findFile(file);
  if (!object) return FALSE;
  if (!object->canWrite()) return fail(ERROR_ACCESS_DENIED);
  return ::fsync(object->fd()) == 0 ? TRUE : failWithErrno();
}

DWORD GetFileSize(HANDLE file, DWORD* sizeHigh) {
  const auto object = findFile(file);
  if (!object) return INVALID_FILE_SIZE;
  struct stat status {};
  if (::fstat(object->fd(), &status) != 0) {
    failWithErrno();
    return INVALID_FILE_SIZE;
  }
  DWORD low = 0;
  splitNumber(static_cast<std::uint64_t>(status.st_size), low, sizeHigh);
  return low;
}

BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* access, FILETIME* write) {
  const auto object = findFile(file);
  if (!object) return FALSE;
  EntryStatus status;
  if (const int error = platform::readStatus(object->fd(), status)) return fail(platform::fromErrno(error));
  if (creation != nullptr) *creation = status.creation;
  if (access != nullptr) *access = status.access;
  if (write != nullptr) *write = status.write;
  return TRUE;
}

BOOL SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* access, const FILETIME* write) {
  const auto object = findFile(file);
  if (!object) return FALSE;
  if (!object->canWriteAttributes()) return fail(ERROR_ACCESS_DENIED);
  creation = timeToSet(creation);
  access = timeToSet(access);
  write = timeToSet(write);
  if (isOutOfRange(creation) || isOutOfRange(access) || isOutOfRange(write)) return fail(ERROR_INVALID_PARAMETER);
  const int error = platform::writeTimes(object->fd(), creation, access, write);
  return error == 0 ? TRUE : fail(platform::fromErrno(error));
}

namespace platform {

std::wstring pathOfHandle(HANDLE file) {
  const auto object = findFile(file);
  if (!object) return {};
  std::array<char, PATH_MAX> buffer{};
  const std::string link = "/proc/self/fd/" + std::to_string(object->fd());
  const ssize_t length = ::readlink(link.c_str(), buffer.data(), buffer.size());
  if (length <= 0 || static_cast<std::size_t>(length) == buffer.size()) return {};
  const std::string path(buffer.data(), static_cast<std::size_t>(length));
  // A removed file still has a name here, marked by a text that a file's name may hold as well.
  struct stat open {};
  struct stat named {};
  const bool isStillThere = ::fstat(object->fd(), &open) == 0 && ::stat(path.c_str(), &named) == 0 &&
                            open.st_dev == named.st_dev && open.st_ino == named.st_ino;
  const bool hasLibraryName = path.find('\\') == std::string::npos && isValidUtf8(path);
  return isStillThere && hasLibraryName ? libraryPath(path) : std::wstring();
}

}  // namespace platform
