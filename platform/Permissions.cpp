#include "platform/Permissions.h"

#include <sys/stat.h>

#include "platform/FileObject.h"
#include "platform/Paths.h"
#include "platform/TemporaryFile.h"

namespace platform {

void takePermissions(HANDLE file, const std::wstring& replaced) {
  const DWORD before = GetLastError();
  struct stat owner {};
  const auto object = findFile(file);
  const std::string path = systemPath(replaced);
  if (object && !path.empty() && ::stat(path.c_str(), &owner) == 0) takeOver(object->fd(), owner);
  SetLastError(before);
}

}  // namespace platform
