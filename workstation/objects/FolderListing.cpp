#include "workstation/objects/FolderListing.h"

#include "host/Files.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "workstation/objects/ObjectNames.h"

namespace workstation {

DWORD listObjectNumbers(const std::wstring& directory, int type, std::set<int>& out) {
  if (!isObjectType(type)) return ERROR_INVALID_PARAMETER;
  WIN32_FIND_DATAW entry{};
  const HANDLE find = FindFirstFileW(platform::joinPath(directory, L"*").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return GetLastError();
  std::set<int> numbers;
  do {
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
    const auto name = parseObjectFileName(entry.cFileName);
    if (name && name->type == type) numbers.insert(name->number);
  } while (FindNextFileW(find, &entry) != FALSE);
  const DWORD end = GetLastError();
  FindClose(find);
  // A listing that broke off must not pass for a whole one: rows are deleted by what it lacks.
  if (end != ERROR_NO_MORE_FILES) return end;
  out = std::move(numbers);
  return ERROR_SUCCESS;
}

int nextFreeNumber(const std::wstring& directory, int type) {
  std::set<int> taken;
  if (listObjectNumbers(directory, type, taken) != ERROR_SUCCESS) return 0;
  int number = 1;
  for (const int used : taken) {
    if (used != number) break;
    ++number;
  }
  return isPossibleNumber(type, number) ? number : 0;
}

}  // namespace workstation

int ListFilesInFolder(int pathNumber, int loadObject, std::set<int>& out, bool fromServer) {
  if (fromServer) {
    lfperrC(L"ListFilesInFolder: the folder of a server of the older store can't be listed by the host\n");
    return static_cast<int>(ERROR_NOT_SUPPORTED);
  }
  const std::wstring directory = lfinigC(pathNumber);
  if (directory.empty()) return static_cast<int>(ERROR_PATH_NOT_FOUND);
  return static_cast<int>(
      workstation::listObjectNumbers(directory, workstation::fileTypeOfLoadObject(loadObject), out));
}
