#include "platform/ShellOperations.h"

#include <string>

#include "platform/Files.h"

namespace {

DWORD deleteForGood(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return GetLastError();
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return platform::removeTree(path);
  // A link shows its target's attributes, which are no matter here.
  const bool isReadOnly =
      (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_REPARSE_POINT)) == FILE_ATTRIBUTE_READONLY;
  if (isReadOnly) SetFileAttributesW(path.c_str(), attributes & ~FILE_ATTRIBUTE_READONLY);
  if (DeleteFileW(path.c_str()) != FALSE) return ERROR_SUCCESS;
  const DWORD error = GetLastError();
  if (isReadOnly) SetFileAttributesW(path.c_str(), attributes);
  return error;
}

DWORD deleteOne(const std::wstring& path, bool intoTrash) {
  if (path.find_first_of(L"*?") != std::wstring::npos) return ERROR_INVALID_NAME;
  return intoTrash ? platform::moveToTrash(path) : deleteForGood(path);
}

}  // namespace

int SHFileOperationW(SHFILEOPSTRUCTW* operation) {
  const bool isUsable = operation != nullptr && operation->wFunc == FO_DELETE && operation->pFrom != nullptr;
  if (!isUsable || *operation->pFrom == L'\0') return static_cast<int>(ERROR_INVALID_PARAMETER);
  operation->fAnyOperationsAborted = FALSE;
  const DWORD before = GetLastError();
  DWORD error = ERROR_SUCCESS;
  for (const wchar_t* next = operation->pFrom; *next != L'\0' && error == ERROR_SUCCESS;) {
    const std::wstring path = next;
    error = deleteOne(path, (operation->fFlags & FOF_ALLOWUNDO) != 0);
    next += path.size() + 1;
  }
  SetLastError(before);
  return static_cast<int>(error);
}
