#include "workstation/program/Arguments.h"

#include <filesystem>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "workstation/program/Context.h"

namespace workstation::program {

std::string absolutePath(const std::string& path) {
  std::error_code problem;
  const auto absolute = std::filesystem::absolute(path, problem);
  return problem ? path : absolute.lexically_normal().string();
}

std::wstring fileArgument(const std::string& path) {
  const std::wstring shown = wide(path);
  std::wstring result = platform::libraryPath(absolutePath(path));
  const platform::FileStatus status = platform::fileStatus(result);
  if (!status.exists) throw CommandFailure{ExitCode::Failure, shown + L" does not exist"};
  if (status.isDirectory) throw CommandFailure{ExitCode::Failure, shown + L" is a directory; expected a file"};
  return result;
}

std::wstring withoutPath(const std::wstring& message, const std::wstring& path) {
  const std::wstring start = path + L": ";
  return message.starts_with(start) ? message.substr(start.size()) : message;
}

}  // namespace workstation::program
