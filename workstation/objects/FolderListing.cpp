#include "workstation/objects/FolderListing.h"

#include <vector>

#include "host/Files.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "workstation/objects/FileLocks.h"
#include "workstation/objects/ObjectNames.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {
// The host is loaded without the library too.
[[gnu::weak]] IZepInetFileTransfer& getInetFileManager();
}  // namespace Quorvel::FileAccess

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

namespace {

constexpr int kProjectPathNumber = 1;

/// Numbers of the objects of a kind in the project's directory on the server of the older store.
DWORD listOnServer(int type, std::set<int>& out) {
  if (!isObjectType(type)) return ERROR_INVALID_PARAMETER;
  if (!filelocks::areInUse()) {
    lfperrC(L"ListFilesInFolder: no project of the older store is in use\n");
    return ERROR_NOT_SUPPORTED;
  }
  auto& transfer = Quorvel::FileAccess::getInetFileManager();
  const int projects = Quorvel::FileAccess::eServerPrjPath;
  std::wstring directory = transfer.getPathFromNr(&projects);
  if (!directory.ends_with(L'/')) directory += L'/';
  directory += transfer.getProjectName();
  std::vector<std::wstring> names;
  if (const DWORD error = transfer.getServerFileNames(directory.c_str(), L"*", names, nullptr)) return error;
  std::set<int> numbers;
  for (const std::wstring& entry : names) {
    const auto name = parseObjectFileName(entry);
    if (name && name->type == type) numbers.insert(name->number);
  }
  out = std::move(numbers);
  return ERROR_SUCCESS;
}

}  // namespace
}  // namespace workstation

int ListFilesInFolder(int pathNumber, int loadObject, std::set<int>& out, bool fromServer) {
  const int type = workstation::fileTypeOfLoadObject(loadObject);
  if (fromServer) {
    if (pathNumber != workstation::kProjectPathNumber) return static_cast<int>(ERROR_INVALID_PARAMETER);
    return static_cast<int>(workstation::listOnServer(type, out));
  }
  const std::wstring directory = lfinigC(pathNumber);
  if (directory.empty()) return static_cast<int>(ERROR_PATH_NOT_FOUND);
  return static_cast<int>(workstation::listObjectNumbers(directory, type, out));
}
