#include "zephor/DirectoryWalk.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "host/Trace.h"
#include "platform/Files.h"
#include "zephor/Diagnostics.h"
#include "zephor/FileFilter.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kFileInfo = L"Quorvel::FileAccess::WGO_getFileInfoFromDirectory";
constexpr const wchar_t* kFiles = L"Quorvel::FileAccess::WGO_getFilesFromDirectory";

class ScopedFind {
 public:
  explicit ScopedFind(HANDLE find) : find_(find) {}
  ~ScopedFind() { FindClose(find_); }
  ScopedFind(const ScopedFind&) = delete;
  ScopedFind& operator=(const ScopedFind&) = delete;

 private:
  HANDLE find_;
};

void tellPassedOver(const wchar_t* function, const std::wstring& path, const wchar_t* problem) {
  lfperrC(L"%s: %s is passed over: its name %s\n", function, path, problem);
}

/// @param directory  not empty
/// @return 0, or why the listing did not begin or is not whole
template <typename Visitor>
DWORD listDirectory(const wchar_t* function, const std::wstring& directory, const Visitor& visit) {
  WIN32_FIND_DATAW data;
  const std::wstring prefix = directory.ends_with(L'\\') ? directory : directory + L'\\';
  const HANDLE find = FindFirstFileW((prefix + L'*').c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return GetLastError();
  const ScopedFind guard(find);
  do visit(data);
  while (FindNextFileW(find, &data) != FALSE);
  const DWORD error = GetLastError();
  for (const std::wstring& name : platform::namesPassedOver(find)) {
    tellPassedOver(function, prefix + name, L"holds a backslash or is no UTF-8");
  }
  return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

void tellUnread(const wchar_t* function, const std::wstring& directory, DWORD error) {
  std::wstring text;
  ConnectionLogger::WGO_GetErrorString(error, text);
  lfperrC(L"%s: %s can't be read: %s\n", function, directory, text);
}

bool isDirectory(const WIN32_FIND_DATAW& entry) {
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool isWantedFile(const WIN32_FIND_DATAW& entry, const WGO_FileFilter* filter) {
  return !isDirectory(entry) && (filter == nullptr || !filter->IsFileExcluded(entry.cFileName));
}

/// A link is not followed: one that leads up would never end, and one that leads away holds another's files.
bool isWantedDirectory(const WIN32_FIND_DATAW& entry, const WGO_FileFilter* filter) {
  return isDirectory(entry) && (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 &&
         entry.cFileName[0] != L'.' && (filter == nullptr || !filter->IsDirectoryExcluded(entry.cFileName));
}

/// A directory with a wildcard in its name can't be listed, and no other workstation can hold it.
bool isListable(const WIN32_FIND_DATAW& directory) {
  return std::wcspbrk(directory.cFileName, L"*?") == nullptr;
}

bool isGone(DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

}  // namespace

int WGO_getFileInfoFromDirectory(const wchar_t* directory, std::vector<WIN32_FIND_DATAW>& out,
                                 const WGO_FileFilter* filter) {
  if (directory == nullptr || *directory == L'\0') {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return 0;
  }
  const std::size_t before = out.size();
  const DWORD error = listDirectory(kFileInfo, directory, [&](const WIN32_FIND_DATAW& entry) {
    if (isWantedFile(entry, filter)) out.push_back(entry);
  });
  if (error != ERROR_SUCCESS && !isGone(error)) tellUnread(kFileInfo, directory, error);
  SetLastError(error);
  return static_cast<int>(out.size() - before);
}

int WGO_getFilesFromDirectory(const wchar_t* directory, DirectorySnapshot& out, const WGO_FileFilter* filter,
                              bool withSubdirectories) {
  if (directory == nullptr || *directory == L'\0') {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return directory == nullptr ? 0 : static_cast<int>(out.size());
  }
  std::wstring top = directory;
  if (top.back() == L'\\') top.pop_back();
  std::vector<std::wstring> waiting{top};
  DWORD failure = ERROR_SUCCESS;
  while (!waiting.empty()) {
    const std::wstring current = std::move(waiting.back());
    waiting.pop_back();
    const std::wstring prefix = current + L'\\';
    const std::size_t firstBelow = waiting.size();
    auto hint = out.end();
    const DWORD error = listDirectory(kFiles, prefix, [&](const WIN32_FIND_DATAW& entry) {
      if (isWantedFile(entry, filter)) {
        // Names come nearly in the order of the map.
        hint = std::next(out.try_emplace(hint, prefix + entry.cFileName, entry));
      } else if (withSubdirectories && isWantedDirectory(entry, filter)) {
        if (isListable(entry)) return waiting.push_back(prefix + entry.cFileName);
        tellPassedOver(kFiles, prefix + entry.cFileName, L"holds a wildcard");
      }
    });
    // The next one off the end is the first in the listing's order.
    std::reverse(waiting.begin() + static_cast<std::ptrdiff_t>(firstBelow), waiting.end());
    // One below that went away since its parent was listed is no failure.
    if (error == ERROR_SUCCESS || (isGone(error) && current.size() > top.size())) continue;
    if (!isGone(error)) tellUnread(kFiles, current, error);
    if (failure == ERROR_SUCCESS) failure = error;
  }
  SetLastError(failure);
  return static_cast<int>(out.size());
}

}  // namespace Quorvel::FileAccess
