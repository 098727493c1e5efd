#include "ftp/ServerPaths.h"

#include <algorithm>

namespace Quorvel::FileAccess {
namespace {

bool isSeparator(wchar_t character) {
  return character == L'/' || character == L'\\';
}

}  // namespace

ServerPath splitServerPath(const std::wstring& path) {
  const std::size_t separator = path.find_last_of(L"/\\");
  if (separator == std::wstring::npos) return {{}, path};
  return {path.substr(0, separator == 0 ? 1 : separator), path.substr(separator + 1)};
}

bool hasDotComponent(std::wstring_view path) {
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find_first_of(L"/\\", begin), path.size());
    const std::wstring_view component = path.substr(begin, end - begin);
    if (component == L"." || component == L"..") return true;
    begin = end + 1;
  }
  return false;
}

std::wstring joinServerPath(const std::wstring& directory, const std::wstring& below) {
  if (directory.empty()) return below;
  if (below.empty()) return directory;
  if (isSeparator(directory.back()) || isSeparator(below.front())) return directory + below;
  return directory + L'/' + below;
}

std::vector<std::wstring> componentPaths(const std::wstring& path) {
  std::vector<std::wstring> paths;
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(path.find_first_of(L"/\\", begin), path.size());
    const bool isDrive = begin == 0 && end == 2 && path[1] == L':';
    if (end > begin && !isDrive) paths.push_back(path.substr(0, end));
    begin = end + 1;
  }
  return paths;
}

DWORD codeOf(const RemoteStatus& status) {
  if (!status.failed) return ERROR_SUCCESS;
  return status.error != ERROR_SUCCESS ? status.error : ERROR_READ_FAULT;
}

}  // namespace Quorvel::FileAccess
