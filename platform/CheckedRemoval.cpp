#include "platform/CheckedRemoval.h"

#include <unistd.h>

#include <cerrno>

#include "platform/DirectoryStream.h"

namespace platform {
namespace {

using MayRemove = std::function<bool(const std::string&, const EntryMark&)>;

std::int64_t nanoseconds(const timespec& time) {
  constexpr std::int64_t kSecond = 1'000'000'000;
  return static_cast<std::int64_t>(time.tv_sec) * kSecond + time.tv_nsec;
}

class Removal {
 public:
  Removal(const std::string& root, const MayRemove& mayRemove, RemovalResult& result)
      : root_(root), mayRemove_(mayRemove), result_(result) {}

  void remove(const std::string& name) {
    const std::string path = name.empty() ? root_ : root_ + '/' + name;
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
      if (errno != ENOENT) keep(name, errno);
    } else if (S_ISDIR(status.st_mode)) {
      removeDirectory(name, path, status.st_mode);
    } else if (!mayRemove_(name, markOf(status))) {
      keep(name, EBUSY);
    } else if (::unlink(path.c_str()) != 0) {
      keep(name, errno);
    } else {
      ++result_.removed;
    }
  }

 private:
  void note(int error) {
    if (result_.error == 0) result_.error = error;
  }
  void keep(const std::string& name, int error) {
    note(error);
    result_.left.push_back(name);
  }
  void removeDirectory(const std::string& name, const std::string& path, mode_t mode) {
    // A directory's own permissions must not keep its content alive.
    if ((mode & S_IRWXU) != S_IRWXU) ::chmod(path.c_str(), (mode & 07777) | S_IRWXU);
    std::vector<std::string> names;
    DirectoryStream stream(path);
    while (const char* entry = stream ? stream.next() : nullptr) names.emplace_back(entry);
    if (stream.error() != 0) keep(name, stream.error());
    const std::string prefix = name.empty() ? name : name + '/';
    for (std::string& entry : names) {
      if (entry != "." && entry != "..") remove(entry.insert(0, prefix));
    }
    if (::rmdir(path.c_str()) != 0) note(errno);
  }

  const std::string& root_;
  const MayRemove& mayRemove_;
  RemovalResult& result_;
};

}  // namespace

EntryMark markOf(const struct stat& status) {
  return {status.st_ino, status.st_size, nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)};
}

std::optional<EntryMark> markOf(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
  return markOf(status);
}

RemovalResult removeChecked(const std::string& root, const MayRemove& mayRemove) {
  RemovalResult result;
  Removal(root, mayRemove, result).remove({});
  return result;
}

}  // namespace platform
