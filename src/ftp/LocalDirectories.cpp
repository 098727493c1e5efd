#include "ftp/LocalDirectories.h"

#include "platform/Files.h"
#include "platform/Paths.h"

namespace Quorvel::FileAccess {
namespace {

DWORD forEachEntry(const std::wstring& directory, const std::function<void(const WIN32_FIND_DATAW&)>& visit) {
  WIN32_FIND_DATAW data{};
  const HANDLE find = FindFirstFileW(platform::joinPath(directory, L"*").c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_FILE_NOT_FOUND ? 0 : GetLastError();
  do {
    const std::wstring name = data.cFileName;
    if (name != L"." && name != L"..") visit(data);
  } while (FindNextFileW(find, &data) != FALSE);
  const DWORD error = GetLastError();
  FindClose(find);
  return error == ERROR_NO_MORE_FILES ? 0 : error;
}

bool has(const WIN32_FIND_DATAW& data, DWORD attribute) {
  return (data.dwFileAttributes & attribute) != 0;
}

}  // namespace

DWORD listLocalFiles(const std::wstring& directory, std::vector<RemoteFileEntry>& files) {
  return forEachEntry(directory, [&](const WIN32_FIND_DATAW& data) {
    if (has(data, FILE_ATTRIBUTE_DIRECTORY)) return;
    const auto size = static_cast<std::uint64_t>(data.nFileSizeHigh) << 32U | data.nFileSizeLow;
    files.push_back({data.cFileName, data.ftLastWriteTime, static_cast<std::int64_t>(size)});
  });
}

DWORD listLocalDirectories(const std::wstring& directory, const std::function<bool(const std::wstring& name)>& excludes,
                           std::vector<std::wstring>& directories) {
  DWORD error = 0;
  const auto listBelow = [&](const std::wstring& relative) {
    const std::wstring path = relative.empty() ? directory : platform::joinPath(directory, relative);
    const DWORD result = forEachEntry(path, [&](const WIN32_FIND_DATAW& data) {
      if (!has(data, FILE_ATTRIBUTE_DIRECTORY) || has(data, FILE_ATTRIBUTE_REPARSE_POINT)) return;
      if (excludes(data.cFileName)) return;
      directories.push_back(relative.empty() ? data.cFileName : relative + L"/" + data.cFileName);
    });
    if (error == 0) error = result;
  };
  std::size_t next = directories.size();
  listBelow(L"");
  // The list grows while it is walked; a copy, since it may move.
  for (; next < directories.size(); ++next) listBelow(std::wstring(directories[next]));
  return error;
}

}  // namespace Quorvel::FileAccess
