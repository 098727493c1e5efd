#include "workstation/program/Arguments.h"

#include <filesystem>

#include "host/Files.h"
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

std::wstring placeInProject(const std::wstring& path) {
  const std::wstring project = platform::weaklyCanonical(lfinigC(1));
  if (project.empty()) return {};
  std::wstring place = platform::lexicallyRelative(platform::weaklyCanonical(path), project);
  return place == L".." || place.starts_with(L"..\\") ? std::wstring() : place;
}

std::wstring withoutPath(const std::wstring& message, const std::wstring& path) {
  const std::wstring start = path + L": ";
  return message.starts_with(start) ? message.substr(start.size()) : message;
}

std::wstring renamedIn(const std::wstring& message, const std::wstring& path, const std::wstring& name) {
  return message.starts_with(path + L": ") ? name + message.substr(path.size()) : message;
}

}  // namespace workstation::program
