#include "platform/Attributes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <ctime>
#include <optional>
#include <string_view>

#include "platform/Time.h"

namespace platform {
namespace {

constexpr const char* kAttributesName = "user.DOSATTRIB";
// Decimal ticks of a creation time that was set; the system's own can't be changed.
constexpr const char* kCreationName = "user.zephor.created";
constexpr DWORD kKept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;
constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;

/// An open descriptor or a path, whichever the caller has.
struct Target {
  const char* path = nullptr;
  int fd = -1;
  /// For a path whose directory is open as `fd`: the name in it, which spares the system the way there.
  const char* entry = nullptr;

  int statInto(struct statx& out, int flags) const {
    constexpr unsigned kWanted = STATX_BASIC_STATS | STATX_BTIME;
    if (entry != nullptr) return ::statx(fd, entry, flags, kWanted, &out);
    return path != nullptr ? ::statx(AT_FDCWD, path, flags, kWanted, &out)
                           : ::statx(fd, "", AT_EMPTY_PATH | flags, kWanted, &out);
  }
  ssize_t list() const { return path != nullptr ? ::listxattr(path, nullptr, 0) : ::flistxattr(fd, nullptr, 0); }
  template <std::size_t Size>
  std::optional<std::string_view> get(const char* name, std::array<char, Size>& buffer) const {
    const ssize_t size = path != nullptr ? ::getxattr(path, name, buffer.data(), buffer.size())
                                         : ::fgetxattr(fd, name, buffer.data(), buffer.size());
    if (size < 0) return std::nullopt;
    return std::string_view(buffer.data(), static_cast<std::size_t>(size));
  }
};

/// Takes "0x22" with or without a terminating zero; what other software appends behind the zero is passed over.
std::optional<DWORD> parseAttributes(std::string_view text) {
  if (text.substr(0, 2) != "0x" && text.substr(0, 2) != "0X") return std::nullopt;
  text.remove_prefix(2);
  DWORD value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (error != std::errc() || (end != text.data() + text.size() && *end != '\0')) return std::nullopt;
  return value;
}

DWORD keptAttributes(const Target& target, bool isDirectory) {
  std::array<char, 256> buffer{};
  const auto text = target.get(kAttributesName, buffer);
  const auto value = text ? parseAttributes(*text) : std::nullopt;
  if (!value) return isDirectory ? 0 : FILE_ATTRIBUTE_ARCHIVE;
  return *value & (isDirectory ? kKept | FILE_ATTRIBUTE_READONLY : kKept);
}

std::optional<FILETIME> keptCreation(const Target& target) {
  std::array<char, 32> buffer{};
  const auto text = target.get(kCreationName, buffer);
  if (!text) return std::nullopt;
  std::uint64_t ticks = 0;
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), ticks);
  if (error != std::errc() || end != text->data() + text->size()) return std::nullopt;
  return fromTicks(ticks);
}

FILETIME toFileTime(const statx_timestamp& time) {
  return fromUnixTime(time.tv_sec, static_cast<long>(time.tv_nsec));
}

FILETIME systemCreation(const struct statx& s) {
  if ((s.stx_mask & STATX_BTIME) != 0 && (s.stx_btime.tv_sec != 0 || s.stx_btime.tv_nsec != 0)) {
    return toFileTime(s.stx_btime);
  }
  const FILETIME changed = toFileTime(s.stx_ctime);
  const FILETIME written = toFileTime(s.stx_mtime);
  return toTicks(changed) < toTicks(written) ? changed : written;
}

int readStatus(const Target& target, EntryStatus& status) {
  struct statx s {};
  if (target.statInto(s, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  status = EntryStatus();
  bool canKeepAttributes = true;
  if (S_ISLNK(s.stx_mode)) {
    status.attributes = FILE_ATTRIBUTE_REPARSE_POINT;
    struct statx leadsTo {};
    canKeepAttributes = target.statInto(leadsTo, 0) == 0;
    if (canKeepAttributes) s = leadsTo;
  }
  const bool isDirectory = S_ISDIR(s.stx_mode);
  status.mode = static_cast<mode_t>(s.stx_mode);
  status.size = isDirectory || S_ISLNK(s.stx_mode) ? 0 : s.stx_size;
  status.device = ::makedev(s.stx_dev_major, s.stx_dev_minor);
  status.inode = s.stx_ino;
  status.access = toFileTime(s.stx_atime);
  status.write = toFileTime(s.stx_mtime);
  status.creation = systemCreation(s);
  // One call finds most entries without attributes of their own.
  if (canKeepAttributes && target.list() != 0) {
    status.attributes |= keptAttributes(target, isDirectory);
    status.creation = keptCreation(target).value_or(status.creation);
  } else if (!isDirectory) {
    status.attributes |= FILE_ATTRIBUTE_ARCHIVE;
  }
  if (isDirectory) status.attributes |= FILE_ATTRIBUTE_DIRECTORY;
  if (S_ISREG(s.stx_mode) && (s.stx_mode & S_IWUSR) == 0) status.attributes |= FILE_ATTRIBUTE_READONLY;
  if (status.attributes == 0) status.attributes = FILE_ATTRIBUTE_NORMAL;
  return 0;
}

int writeKept(int fd, DWORD kept, DWORD ordinary) {
  if (kept == ordinary) {
    if (::fremovexattr(fd, kAttributesName) == 0 || errno == ENODATA || errno == ENOTSUP) return 0;
    return errno;
  }
  std::array<char, 16> text{'0', 'x'};
  const auto end = std::to_chars(text.data() + 2, text.data() + text.size(), kept, 16).ptr;
  if (::fsetxattr(fd, kAttributesName, text.data(), static_cast<std::size_t>(end - text.data()), 0) == 0) return 0;
  const bool losesNothing = (kept & ~FILE_ATTRIBUTE_ARCHIVE) == 0;
  return errno == ENOTSUP && losesNothing ? 0 : errno;
}

timespec toTimespec(const FILETIME* time) {
  if (time == nullptr) return {0, UTIME_OMIT};
  const auto ticks = static_cast<std::int64_t>(toTicks(*time));
  return {ticks / kTicksPerSecond - kSecondsTo1970, static_cast<long>(ticks % kTicksPerSecond) * 100};
}

void writeCreation(int fd, const FILETIME& creation) {
  struct statx s {};
  const bool isSystems = Target{nullptr, fd}.statInto(s, 0) == 0 && toTicks(systemCreation(s)) == toTicks(creation);
  if (isSystems) {
    ::fremovexattr(fd, kCreationName);
    return;
  }
  const std::string text = std::to_string(toTicks(creation));
  // Where the file system keeps none, the system's own creation time goes on standing.
  ::fsetxattr(fd, kCreationName, text.data(), text.size(), 0);
}

}  // namespace

int readStatus(const std::string& path, EntryStatus& status) {
  return readStatus(Target{path.c_str()}, status);
}

int readStatus(int fd, EntryStatus& status) {
  return readStatus(Target{nullptr, fd}, status);
}

int readStatus(int directory, const char* name, const std::string& path, EntryStatus& status) {
  return readStatus(directory >= 0 ? Target{path.c_str(), directory, name} : Target{path.c_str()}, status);
}

int writeAttributes(int fd, DWORD attributes) {
  struct stat s {};
  if (::fstat(fd, &s) != 0) return errno;
  if (S_ISDIR(s.st_mode)) return writeKept(fd, attributes & (kKept | FILE_ATTRIBUTE_READONLY), 0);
  EntryStatus before;
  if (const int error = readStatus(fd, before)) return error;
  mode_t mode = s.st_mode & 07777;
  if ((before.attributes & kKept) != (attributes & kKept)) {
    // Extended attributes of a file can be changed only while it is writable.
    if ((mode & S_IWUSR) == 0 && ::fchmod(fd, mode | S_IWUSR) != 0) return errno;
    const int error = writeKept(fd, attributes & kKept, FILE_ATTRIBUTE_ARCHIVE);
    if ((mode & S_IWUSR) == 0) ::fchmod(fd, mode);
    if (error != 0) return error;
  }
  const mode_t wanted = (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? mode & ~mode_t{S_IWUSR} : mode | S_IWUSR;
  return wanted == mode || ::fchmod(fd, wanted) == 0 ? 0 : errno;
}

int writeTimes(int fd, const FILETIME* creation, const FILETIME* access, const FILETIME* write) {
  const std::array<timespec, 2> times{toTimespec(access), toTimespec(write)};
  if ((access != nullptr || write != nullptr) && ::futimens(fd, times.data()) != 0) return errno;
  if (creation != nullptr) writeCreation(fd, *creation);
  return 0;
}

}  // namespace platform
