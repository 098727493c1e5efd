#include "workstation/store/DiskFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Durable.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/store/StoreError.h"

namespace workstation {

namespace {

constexpr mode_t kFileMode = 0666;
constexpr mode_t kDirectoryMode = 0777;

DWORD errorOfErrno(int code) {
  switch (code) {
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ELOOP:
      return ERROR_ACCESS_DENIED;
    case EEXIST:
      return ERROR_ALREADY_EXISTS;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ERROR_DISK_FULL;
    case EMFILE:
    case ENFILE:
      return ERROR_TOO_MANY_OPEN_FILES;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case ENAMETOOLONG:
      return ERROR_FILENAME_EXCED_RANGE;
    default:
      return ERROR_GEN_FAILURE;
  }
}

[[noreturn]] void fail(const std::string& path, const char* what) {
  const int code = errno;
  throw StoreError{statusOfError(errorOfErrno(code)), L"\"" + platform::fromUtf8(path) + L"\": " +
                                                          platform::fromUtf8(what) + L": " +
                                                          platform::fromUtf8(std::generic_category().message(code))};
}

int openOrFail(const std::string& path, int flags, const char* what) {
  const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC, kFileMode);  // NOLINT(*-vararg)
  if (descriptor < 0) fail(path, what);
  return descriptor;
}

}  // namespace

DiskFile DiskFile::createNew(const std::string& path) {
  return {openOrFail(path, O_WRONLY | O_CREAT | O_EXCL, "can't be made"), path};
}

DiskFile DiskFile::createOrEmpty(const std::string& path) {
  return {openOrFail(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, "can't be written"), path};
}

std::optional<DiskFile> DiskFile::openToRead(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);  // NOLINT(*-vararg)
  if (descriptor < 0 && errno == ENOENT) return std::nullopt;
  if (descriptor < 0) fail(path, "can't be read");
  return DiskFile(descriptor, path);
}

DiskFile::DiskFile(DiskFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), path_(std::move(other.path_)) {}

DiskFile::~DiskFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::size_t DiskFile::read(std::uint8_t* buffer, std::size_t size) {
  for (;;) {
    const ssize_t got = ::read(descriptor_, buffer, size);
    if (got >= 0) return static_cast<std::size_t>(got);
    if (errno != EINTR) fail(path_, "can't be read");
  }
}

void DiskFile::write(const std::uint8_t* data, std::size_t size) {
  while (size > 0) {
    const ssize_t done = ::write(descriptor_, data, size);
    if (done < 0 && errno == EINTR) continue;
    if (done < 0) fail(path_, "can't be written");
    data += done;
    size -= static_cast<std::size_t>(done);
  }
}

void DiskFile::setWriteTime(const FILETIME& time) {
  timespec times[2] = {};
  times[0].tv_nsec = UTIME_OMIT;
  times[1].tv_sec = platform::toUnixSeconds(time);
  const FILETIME whole = platform::fromUnixTime(times[1].tv_sec, 0);
  const std::uint64_t ticks = platform::toTicks(time);
  const std::uint64_t wholeTicks = platform::toTicks(whole);
  times[1].tv_nsec = ticks > wholeTicks ? static_cast<long>((ticks - wholeTicks) % 10'000'000U) * 100 : 0;
  if (::futimens(descriptor_, times) != 0) fail(path_, "its time can't be set");
}

void DiskFile::sync() {
  if (::fsync(descriptor_) != 0) fail(path_, "can't be synced");
}

void DiskFile::close() {
  if (::close(std::exchange(descriptor_, -1)) != 0) fail(path_, "can't be closed");
}

std::optional<DiskLock> DiskLock::take(const std::string& path, Kind kind) {
  DiskLock lock(openOrFail(path, O_RDWR | O_CREAT, "can't be opened"));
  const int operation = kind == Kind::Shared ? LOCK_SH : LOCK_EX | LOCK_NB;
  while (::flock(lock.descriptor_, operation) != 0) {
    if (errno == EWOULDBLOCK) return std::nullopt;
    if (errno != EINTR) fail(path, "can't be locked");
  }
  return lock;
}

DiskLock::DiskLock(DiskLock&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

DiskLock::~DiskLock() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::optional<DiskStatus> diskStatus(const std::string& path) {
  struct stat status = {};
  if (::lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return std::nullopt;
    fail(path, "can't be looked at");
  }
  constexpr std::int64_t kTicksPerSecond = 10'000'000;
  constexpr std::int64_t kSecondsBefore1970 = 11'644'473'600;
  const bool isLink = S_ISLNK(status.st_mode);
  const std::int64_t ticks =
      (status.st_mtim.tv_sec + kSecondsBefore1970) * kTicksPerSecond + status.st_mtim.tv_nsec / 100;
  return DiskStatus{S_ISDIR(status.st_mode),
                    (status.st_mode & S_IWUSR) == 0 && !isLink,
                    static_cast<std::uint64_t>(status.st_size),
                    status.st_mtim.tv_sec,
                    isLink,
                    ticks};
}

bool mayWrite(const std::string& path) {
  return ::access(path.c_str(), W_OK) == 0;
}

std::vector<DiskEntry> listDirectory(const std::string& path) {
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(path.c_str()), &::closedir);
  if (directory == nullptr) fail(path, "can't be listed");
  std::vector<DiskEntry> entries;
  for (;;) {
    errno = 0;
    const dirent* const entry = ::readdir(directory.get());  // NOLINT(concurrency-mt-unsafe): own stream
    if (entry == nullptr) break;
    const std::string name(entry->d_name);  // NOLINT(*-array-to-pointer-decay)
    if (name == "." || name == "..") continue;
    struct stat status = {};
    // Gone since it was listed: somebody else is at work here, too.
    if (::fstatat(::dirfd(directory.get()), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    entries.push_back({name, S_ISDIR(status.st_mode), static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec,
                       status.st_ctim.tv_sec});
  }
  if (errno != 0) fail(path, "can't be listed whole");
  return entries;
}

bool makeDirectory(const std::string& path) {
  if (::mkdir(path.c_str(), kDirectoryMode) == 0) return true;
  if (errno != EEXIST) fail(path, "can't be made");
  return false;
}

void copyPermissions(const std::string& from, const std::string& to) noexcept {
  constexpr mode_t kPermissions = 07777;
  struct stat given = {};
  struct stat taking = {};
  if (::stat(from.c_str(), &given) != 0 || ::stat(to.c_str(), &taking) != 0) return;
  ::chmod(to.c_str(), given.st_mode & (S_ISDIR(taking.st_mode) ? kPermissions : kFileMode));
}

void makeDirectories(const std::string& path) {
  for (std::size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1)) {
    const std::string parent = path.substr(0, at);
    if (::access(parent.c_str(), F_OK) != 0) makeDirectory(parent);
  }
  makeDirectory(path);
}

bool renameWithoutReplacing(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno == EEXIST) return false;
  if (errno != EINVAL && errno != ENOSYS) fail(to, "can't be renamed to");
  // A file system without that call: a second name does the same.
  if (::link(from.c_str(), to.c_str()) != 0) {
    if (errno == EEXIST) return false;
    fail(to, "can't be linked to");
  }
  removeFile(from);
  return true;
}

void renameReplacing(const std::string& from, const std::string& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) fail(to, "can't be replaced");
}

bool exchangeNames(const std::string& one, const std::string& other) {
  if (::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) fail(other, "can't be replaced");
  return false;
}

bool isOpenForWriting(const std::string& path) noexcept {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);  // NOLINT(*-vararg)
  if (descriptor < 0) return false;
  // Who opens it while the lease is held would have this process told by a signal that ends it; this one is ignored.
  ::fcntl(descriptor, F_SETSIG, SIGURG);                                                 // NOLINT(*-vararg)
  const bool isOpen = ::fcntl(descriptor, F_SETLEASE, F_RDLCK) != 0 && errno == EAGAIN;  // NOLINT(*-vararg)
  ::close(descriptor);
  return isOpen;
}

bool removeFile(const std::string& path) noexcept {
  return ::unlink(path.c_str()) == 0;
}

void syncPath(const std::string& path) {
  const int descriptor = openOrFail(path, O_RDONLY, "can't be opened");
  const bool synced = ::fsync(descriptor) == 0;
  const int code = errno;
  ::close(descriptor);
  errno = code;
  if (!synced) fail(path, "can't be synced");
}

void syncFileSystem(const std::string& path) {
  const int descriptor = openOrFail(path, O_RDONLY, "can't be opened");
  const bool synced = ::syncfs(descriptor) == 0;
  const int code = errno;
  ::close(descriptor);
  errno = code;
  if (!synced) fail(path, "can't be synced");
}

void requireDurable(const std::wstring& root, const std::vector<std::wstring>& names) {
  const DWORD error = platform::makeDurable(root, names);
  if (error == ERROR_SUCCESS) return;
  throw StoreError{statusOfError(error),
                   platform::formatWide(L"files below \"%s\" can't be synced (error %u)", root, error)};
}

void waitForLaterTime(std::int64_t modifiedTicks) {
  constexpr int kMostTries = 20;
  constexpr std::int64_t kMostAhead = 200'000;
  for (int i = 0; i < kMostTries; ++i) {
    timespec now{};
    // The clock that dates files, which stands still for some milliseconds.
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    const auto ticks = static_cast<std::int64_t>(platform::toTicks(platform::fromUnixTime(now.tv_sec, now.tv_nsec)));
    // A time that lies further ahead was set by hand.
    if (modifiedTicks < ticks || modifiedTicks - ticks > kMostAhead) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

std::int64_t nowSeconds() {
  return ::time(nullptr);
}

}  // namespace workstation
