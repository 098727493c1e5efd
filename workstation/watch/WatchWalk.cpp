#include "workstation/watch/WatchWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string_view>
#include <system_error>

#include "platform/Text.h"
#include "workstation/store/LocalTree.h"

namespace workstation {

namespace {

FileState stateOf(const struct stat& status) {
  constexpr std::int64_t kSecond = 1'000'000'000;
  return {static_cast<std::int64_t>(status.st_size), status.st_mtim.tv_sec * kSecond + status.st_mtim.tv_nsec,
          status.st_ctim.tv_sec * kSecond + status.st_ctim.tv_nsec, static_cast<std::uint64_t>(status.st_ino)};
}

Sight sightOf(int code) {
  return code == ENOENT || code == ENOTDIR || code == ELOOP ? Sight::Missing : Sight::Unknown;
}

void fail(DirectoryListing& listing) {
  listing.sight = sightOf(errno);
  listing.failure = platform::fromUtf8(std::generic_category().message(errno));
}

/// @return false, with errno, when the entry can't be looked at
bool take(int directory, const dirent& entry, DirectoryListing& listing) {
  std::string name(entry.d_name);  // NOLINT(*-array-to-pointer-decay)
  if (name == "." || name == ".." || isOurOwn(name)) return true;
  if (entry.d_type != DT_DIR && entry.d_type != DT_REG && entry.d_type != DT_UNKNOWN) return true;
  if (!isTellable(name)) {
    listing.refused = platform::fromUtf8(name);
    return true;
  }
  struct stat status = {};
  if (entry.d_type != DT_DIR && ::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT;
  }
  if (entry.d_type == DT_DIR || S_ISDIR(status.st_mode)) {
    listing.directories.push_back(std::move(name));
  } else if (S_ISREG(status.st_mode)) {
    listing.files.emplace_back(std::move(name), stateOf(status));
  }
  return true;
}

}  // namespace

DirectoryListing listDirectory(const std::string& path, bool isRoot) {
  DirectoryListing listing;
  const int noLink = isRoot ? 0 : O_NOFOLLOW;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | noLink);  // NOLINT(*-vararg)
  if (descriptor < 0) {
    fail(listing);
    return listing;
  }
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(descriptor), &::closedir);
  struct stat status = {};
  if (stream == nullptr || ::fstat(descriptor, &status) != 0) {
    fail(listing);
    if (stream == nullptr) ::close(descriptor);
    return listing;
  }
  listing.number = {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino)};
  listing.sight = Sight::There;
  for (;;) {
    errno = 0;
    const dirent* const entry = ::readdir(stream.get());  // NOLINT(concurrency-mt-unsafe): own stream
    if (entry == nullptr && errno == 0) return listing;
    if (entry == nullptr || !take(descriptor, *entry, listing)) {
      fail(listing);
      return listing;
    }
  }
}

Sight lookAtFile(const std::string& path, FileState& state) {
  struct stat status = {};
  if (::lstat(path.c_str(), &status) != 0) return sightOf(errno);
  if (!S_ISREG(status.st_mode)) return Sight::Missing;
  state = stateOf(status);
  return Sight::There;
}

std::optional<DirectoryNumber> directoryNumber(const std::string& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
  return DirectoryNumber{static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino)};
}

bool isTellable(const std::string& name) {
  return name.find('\\') == std::string::npos && platform::isValidUtf8(name);
}

bool isOurOwn(const std::string& name) {
  std::string replaced;
  return isLeftoverOfLoad(name, replaced);
}

std::wstring remoteKind(const std::string& path) {
  struct statfs status = {};
  if (::statfs(path.c_str(), &status) != 0) return {};
  switch (static_cast<std::uint32_t>(status.f_type)) {
    case 0x6969:
      return L"NFS";
    case 0x517B:
      return L"SMB";
    case 0xFF534D42:
      return L"CIFS";
    case 0xFE534D42:
      return L"SMB2";
    case 0x65735546:
      return L"FUSE";
    case 0x01021997:
      return L"9P";
    default:
      return {};
  }
}

}  // namespace workstation
