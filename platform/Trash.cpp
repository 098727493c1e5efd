// The desktop's trash, after the freedesktop.org Trash 1.0.
//
// A trash is a directory with `files/`, which holds what was thrown away, and `info/`, which tells for each of them
// where it was. The info file comes first, and creating it reserves the name in both.

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "platform/Attributes.h"
#include "platform/CheckedRemoval.h"
#include "platform/DirectoryStream.h"
#include "platform/Errors.h"
#include "platform/FileObject.h"
#include "platform/FileSharing.h"
#include "platform/Files.h"
#include "platform/PathLookup.h"
#include "platform/Paths.h"
#include "platform/TemporaryFile.h"

namespace platform {
namespace {

// Leaves room for a number and ".trashinfo" within the 255 bytes of a name.
constexpr std::size_t kLongestBase = 230;
constexpr int kMostNames = 100'000;

struct Trash {
  std::string directory;
  std::string top;  // paths in the info files are relative to it; empty for the home trash, whose paths are absolute
};

std::string homeTrash() {
  const char* data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && data[0] == '/') return std::string(data) + "/Trash";
  const char* home = std::getenv("HOME");
  if (home != nullptr && home[0] == '/') return std::string(home) + "/.local/share/Trash";
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 4096> buffer{};
  ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
  return found != nullptr ? std::string(found->pw_dir) + "/.local/share/Trash" : std::string();
}

/// @return 0, or errno
int makeTrash(const std::string& directory) {
  std::error_code error;
  std::filesystem::create_directories(parentOf(directory), error);
  for (const char* part : {"", "/files", "/info"}) {
    if (::mkdir((directory + part).c_str(), 0700) != 0 && errno != EEXIST) return errno;
  }
  struct stat status {};
  if (::lstat(directory.c_str(), &status) != 0) return errno;
  // Somebody else's directory, or a link to one, must not get the user's files.
  return S_ISDIR(status.st_mode) && status.st_uid == ::getuid() ? 0 : EACCES;
}

/// The trashes of the volume that holds `path`, in the order in which they are tried.
std::vector<Trash> volumeTrashes(const std::string& path) {
  struct stat status {};
  std::string top = parentOf(path);
  if (::stat(top.c_str(), &status) != 0) return {};
  const dev_t device = status.st_dev;
  while (top != "/" && ::stat(parentOf(top).c_str(), &status) == 0 && status.st_dev == device) top = parentOf(top);
  const std::string prefix = top == "/" ? top : top + '/';
  const std::string user = std::to_string(::getuid());
  const std::string shared = prefix + ".Trash";
  const bool isShared =
      ::lstat(shared.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
  std::vector<Trash> trashes;
  if (isShared) trashes.push_back({shared + '/' + user, top});
  trashes.push_back({prefix + ".Trash-" + user, top});
  return trashes;
}

std::string percentEncoded(const std::string& path) {
  static constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~/!$&'()*+,:=@";
  static constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string result;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (kPlain.find(c) != std::string_view::npos) {
      result += c;
    } else {
      result += {'%', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
    }
  }
  return result;
}

std::string infoText(const std::string& path, const Trash& trash) {
  std::string shown = path;
  if (!trash.top.empty()) shown = path.substr(trash.top == "/" ? 1 : trash.top.size() + 1);
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  std::array<char, 32> date{};
  const std::size_t length = std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &local);
  return "[Trash Info]\nPath=" + percentEncoded(shown) + "\nDeletionDate=" + std::string(date.data(), length) + '\n';
}

/// @return 0, EEXIST when the name is taken, or another errno
int writeInfo(const std::string& path, const std::string& text) {
  Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) return errno;
  std::size_t done = 0;
  if (writeFully(file.get(), text.data(), text.size(), done) && file.close()) return 0;
  const int error = errno;
  ::unlink(path.c_str());
  return error;
}

std::string below(const std::string& root, const std::string& name) {
  return name.empty() ? root : root + '/' + name;
}

/// What was copied, by the names below the root.
using Copied = std::map<std::string, EntryMark>;

int copyTree(const std::string& root, const std::string& name, const std::string& to, Copied& copied);

int copyDirectory(const std::string& root, const std::string& name, const EntryStatus& source, const std::string& to,
                  Copied& copied) {
  if (::mkdir(to.c_str(), 0700) != 0) return errno;
  DirectoryStream stream(below(root, name));
  if (!stream) return stream.error();
  while (const char* entry = stream.next()) {
    const std::string_view child = entry;
    if (child == "." || child == "..") continue;
    const std::string childName = name.empty() ? entry : name + '/' + entry;
    if (const int error = copyTree(root, childName, to + '/' + entry, copied)) return error;
  }
  if (stream.error() != 0) return stream.error();
  const Descriptor directory(::open(to.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory) return errno;
  writeAttributes(directory.get(), source.attributes);
  ::fchmod(directory.get(), source.mode & 07777);
  return writeTimes(directory.get(), nullptr, nullptr, &source.write);
}

int copyLink(const std::string& from, const std::string& to) {
  std::error_code error;
  const auto target = std::filesystem::read_symlink(from, error);
  if (error) return error.value();
  return ::symlink(target.c_str(), to.c_str()) == 0 ? 0 : errno;
}

/// Copies a file, a link or a directory with all that is in it; what came over before a failure is left to the caller.
/// @return 0, or errno
int copyTree(const std::string& root, const std::string& name, const std::string& to, Copied& copied) {
  const std::string from = below(root, name);
  EntryStatus source;
  // Before anything is read, so that what is written from now on tells.
  const std::optional<EntryMark> mark = markOf(from);
  if (const int error = readStatus(from, source)) return error;
  if (mark && (source.isLink() || !source.isDirectory())) copied.insert_or_assign(name, *mark);
  if (source.isLink()) return copyLink(from, to);
  if (source.isDirectory()) return copyDirectory(root, name, source, to, copied);
  if (!S_ISREG(source.mode)) return ENOTSUP;
  const Descriptor in(::open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!in) return errno;
  Descriptor out(::open(to.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!out) return errno;
  ::fchmod(out.get(), (source.mode & 07777) | S_IWUSR);
  if (const int error = copyFileBody(in.get(), source, out.get())) return error;
  if (::fsync(out.get()) != 0) return errno;
  return out.close() ? 0 : errno;
}

void removeCopy(const std::string& path) {
  removeChecked(path, [](const std::string&, const EntryMark&) { return true; });
}

/// The last resort: the original goes only after the whole copy has arrived, and of it what is still as it was copied.
/// It stands aside meanwhile.
/// @return 0, or errno
int copyAndRemove(const std::string& from, const std::string& to, TrashFailure& failure) {
  std::string aside;
  int error = EEXIST;
  for (int number = 1; error == EEXIST && number < kMostNames; ++number) {
    aside = from + ".to-trash" + (number == 1 ? "" : std::to_string(number));
    error = renameWithoutReplacing(from, aside);
  }
  if (error != 0) return error;
  Copied copied;
  RemovalResult removal;
  error = copyTree(aside, {}, to, copied);
  if (error == 0) {
    removal = removeChecked(aside, [&copied](const std::string& name, const EntryMark& mark) {
      const auto found = copied.find(name);
      return found != copied.end() && found->second == mark;
    });
    error = removal.error;
  }
  if (error == 0) return 0;
  const bool isBack = renameWithoutReplacing(aside, from) == 0;
  failure.isInTrash = removal.removed > 0;
  if (!failure.isInTrash) removeCopy(to);
  failure.place = isBack ? from : aside;
  failure.left = std::move(removal.left);
  return error;
}

/// True when a file, or one anywhere below a directory, is open for somebody who does not let it be deleted.
bool isHeld(const std::string& path, const EntryStatus& status) {
  if (status.isLink()) return false;
  if (!status.isDirectory()) return isDeletingDenied(path);
  std::error_code error;
  for (std::filesystem::recursive_directory_iterator entry(path, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code unknown;
    if (entry->symlink_status(unknown).type() == std::filesystem::file_type::regular &&
        isDeletingDenied(entry->path().string()))
      return true;
  }
  return false;
}

enum class Transport { Rename, Copy };

/// How a move ended.
struct Thrown {
  TrashFailure failure;
  std::string place;  ///< in the trash
};

/// @return 0, or errno
int throwInto(const Trash& trash, const std::string& path, Transport transport, Thrown& told) {
  told.failure.trash = trash.directory;
  // Before the trash is made in there.
  if (trash.directory.starts_with(path + '/')) return EACCES;
  if (const int error = makeTrash(trash.directory)) return error;
  const std::string text = infoText(path, trash);
  std::string base = nameOf(path);
  if (base.size() > kLongestBase) {
    // Never through the middle of a character.
    std::size_t end = kLongestBase;
    while (end > 0 && (static_cast<unsigned char>(base[end]) & 0xC0U) == 0x80U) --end;
    base.resize(end);
  }
  for (int number = 1; number < kMostNames; ++number) {
    const std::string name = number == 1 ? base : base + '.' + std::to_string(number);
    const std::string info = trash.directory + "/info/" + name + ".trashinfo";
    const std::string place = trash.directory + "/files/" + name;
    const int infoError = writeInfo(info, text);
    if (infoError == EEXIST) continue;
    if (infoError != 0) return infoError;
    struct stat status {};
    const bool isTaken = ::lstat(place.c_str(), &status) == 0;  // a file that lost its info
    int error = isTaken ? EEXIST : 0;
    if (transport == Transport::Rename) error = renameWithoutReplacing(path, place);
    const bool isCopying = transport == Transport::Copy && !isTaken;
    if (isCopying) error = copyAndRemove(path, place, told.failure);
    if (error == 0) {
      told.place = place;
      return 0;
    }
    // A copy that is whole keeps its info, though its original could not be removed.
    if (!isCopying || ::lstat(place.c_str(), &status) != 0) ::unlink(info.c_str());
    if (isCopying || error != EEXIST) return error;
  }
  return EEXIST;
}

int throwAway(const std::string& path, Thrown& told) {
  const Trash home{homeTrash(), {}};
  int error = ENOENT;
  if (!home.directory.empty()) error = throwInto(home, path, Transport::Rename, told);
  if (error == 0) return 0;
  for (const Trash& volume : volumeTrashes(path)) {
    error = throwInto(volume, path, Transport::Rename, told);
    if (error == 0) return 0;
  }
  if (home.directory.empty()) return error;
  // Where nothing may be removed a copy is of no use.
  if (::access(parentOf(path).c_str(), W_OK | X_OK) != 0) return errno;
  return throwInto(home, path, Transport::Copy, told);
}

}  // namespace

DWORD moveToTrash(const std::wstring& path, TrashFailure* failure, std::string* thrown) {
  Location place;
  if (const DWORD error = locate(path.c_str(), place)) return error;
  if (splitPath(path).components.empty()) return ERROR_ACCESS_DENIED;
  EntryStatus status;
  if (const int error = readStatus(place.path, status)) return pathError(error, place.path);
  if (isHeld(place.path, status)) return ERROR_SHARING_VIOLATION;
  Thrown told;
  const int error = throwAway(place.path, told);
  if (error != 0) {
    told.failure.reason = error == EBUSY ? "it was written meanwhile" : std::generic_category().message(error);
  }
  if (failure != nullptr) *failure = told.failure;
  if (thrown != nullptr && error == 0) *thrown = told.place;
  return fromErrno(error);
}

bool takeFromTrash(const std::string& thrown, const std::wstring& path) {
  Location place;
  if (locate(path.c_str(), place) != ERROR_SUCCESS || renameWithoutReplacing(thrown, place.path) != 0) return false;
  ::unlink((parentOf(parentOf(thrown)) + "/info/" + nameOf(thrown) + ".trashinfo").c_str());
  return true;
}

}  // namespace platform
