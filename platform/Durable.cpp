#include "platform/Durable.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <set>

#include "platform/Descriptor.h"
#include "platform/Errors.h"
#include "platform/Paths.h"

namespace platform {
namespace {

constexpr std::size_t kMostSingly = 4;

/// @return 0, or errno
int syncWith(int (*sync)(int), const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (!file) return errno == ENOENT || errno == ENOTDIR ? 0 : errno;
  // EINVAL: a file system that has nothing to sync there.
  return sync(file.get()) == 0 || errno == EINVAL ? 0 : errno;
}

}  // namespace

DWORD makeDurable(const std::wstring& directory) {
  const std::string path = systemPath(directory);
  return path.empty() ? DWORD{ERROR_PATH_NOT_FOUND} : fromErrno(syncWith(&::syncfs, path));
}

DWORD makeDurable(const std::wstring& root, const std::vector<std::wstring>& names) {
  if (names.size() > kMostSingly) return makeDurable(root);
  const std::string above = systemPath(root);
  // New directories on the way have to be there, too; the deepest come first.
  std::set<std::string, std::greater<>> directories;
  for (const std::wstring& name : names) {
    const std::string path = systemPath(joinPath(root, name));
    if (const int error = syncWith(&::fsync, path)) return fromErrno(error);
    for (std::size_t end = path.rfind('/'); end != std::string::npos && end >= above.size() && end != 0;
         end = path.rfind('/', end - 1)) {
      directories.insert(path.substr(0, end));
    }
  }
  for (const std::string& directory : directories) {
    if (const int error = syncWith(&::fsync, directory)) return fromErrno(error);
  }
  return ERROR_SUCCESS;
}

}  // namespace platform
