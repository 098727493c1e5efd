#include "workstation/program/Arguments.h"

#include <unistd.h>
#include <climits>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "workstation/program/Context.h"

namespace workstation::program {

std::string absolutePath(const std::string& path) {
  if (!path.empty() && path.front() == '/') return path;
  std::string here(PATH_MAX, '\0');
  if (::getcwd(here.data(), here.size()) == nullptr) return path;
  here.resize(here.find('\0'));
  return here + "/" + path;
}

std::wstring fileArgument(const std::string& path) {
  const std::wstring shown = wide(path);
  std::wstring result = platform::libraryPath(absolutePath(path));
  const platform::FileStatus status = platform::fileStatus(result);
  if (!status.exists) throw CommandFailure{ExitCode::Failure, shown + L" does not exist"};
  if (status.isDirectory) throw CommandFailure{ExitCode::Failure, shown + L" is a directory; expected a file"};
  return result;
}

}  // namespace workstation::program
