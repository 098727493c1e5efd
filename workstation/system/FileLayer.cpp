// Files and directories through the host's layer.

#include <utility>

#include "host/Files.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/HostState.h"

namespace {

int lastErrorOr(DWORD fallback) {
  const DWORD code = GetLastError();
  return static_cast<int>(code != 0 ? code : fallback);
}

bool isSeparator(wchar_t c) {
  return c == L'\\' || c == L'/';
}

std::wstring withoutTrailingSeparators(const std::wstring& path) {
  return path.substr(0, path.find_last_not_of(L"\\/") + 1);
}

/// A drive or the root itself: no operation on a whole tree may take one.
bool isRoot(const std::wstring& path) {
  const std::wstring name = platform::fileNameOf(withoutTrailingSeparators(path));
  return name.empty() || name == L"." || name == L".." || (name.size() == 2 && name[1] == L':');
}

bool isInside(const std::wstring& path, const std::wstring& directory) {
  const std::wstring relative =
      platform::lexicallyRelative(platform::weaklyCanonical(path), platform::weaklyCanonical(directory));
  return !relative.empty() && relative != L".." && !relative.starts_with(L"..\\");
}

/// Copies what can be copied. @return 0, or the first error
DWORD copyTree(const std::wstring& from, const std::wstring& to) {
  const int made = SHCreateDirectoryExW(nullptr, to.c_str(), nullptr);
  if (made != 0 && made != static_cast<int>(ERROR_ALREADY_EXISTS)) return static_cast<DWORD>(made);
  WIN32_FIND_DATAW data{};
  const HANDLE find = FindFirstFileW(platform::joinPath(from, L"*").c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return GetLastError();
  DWORD first = 0;
  const auto note = [&first](DWORD code) {
    if (first == 0) first = code;
  };
  do {
    const std::wstring name = data.cFileName;
    if (name == L"." || name == L"..") continue;
    const std::wstring source = platform::joinPath(from, name);
    const std::wstring target = platform::joinPath(to, name);
    const bool isDirectory = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isDirectory && (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
      // A linked directory may lead back to where the copy comes from.
      note(ERROR_NOT_SUPPORTED);
    } else if (isDirectory) {
      note(copyTree(source, target));
    } else if (CopyFileW(source.c_str(), target.c_str(), FALSE) == FALSE) {
      note(GetLastError());
    }
  } while (FindNextFileW(find, &data) != FALSE);
  FindClose(find);
  return first;
}

}  // namespace

int ldirmkc(const std::wstring& directory) {
  if (directory.empty()) return static_cast<int>(ERROR_INVALID_NAME);
  const int code = SHCreateDirectoryExW(nullptr, withoutTrailingSeparators(directory).c_str(), nullptr);
  if (code != static_cast<int>(ERROR_ALREADY_EXISTS)) return code;
  return platform::fileStatus(directory).isDirectory ? 0 : code;
}

int ldirrmc(const std::wstring& directory) {
  if (isRoot(directory)) return static_cast<int>(ERROR_ACCESS_DENIED);
  return static_cast<int>(platform::removeTree(withoutTrailingSeparators(directory)));
}

int ldircpRAW(const std::wstring& from, const std::wstring& to, int /*flags*/) {
  if (!platform::fileStatus(from).isDirectory) return static_cast<int>(ERROR_PATH_NOT_FOUND);
  if (to.empty() || isInside(to, from)) return static_cast<int>(ERROR_INVALID_PARAMETER);
  return static_cast<int>(copyTree(from, to));
}

// Mode 0 reads, 1 writes into an existing file, 2 makes the file anew.
int lfilopC(const std::wstring& path, int mode, int& handle) {
  handle = 0;
  if (mode < 0 || mode > 2) return static_cast<int>(ERROR_INVALID_PARAMETER);
  const DWORD access = mode == 0 ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
  const HANDLE file = CreateFileW(path.c_str(), access, FILE_SHARE_READ, nullptr,
                                  mode == 2 ? CREATE_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return lastErrorOr(ERROR_FILE_NOT_FOUND);
  workstation::HostState& state = workstation::hostState();
  const std::lock_guard guard(state.mutex);
  handle = state.nextFile++;
  state.openFiles.emplace(handle, file);
  return 0;
}

int lfilclC(int handle) {
  HANDLE file = nullptr;
  {
    workstation::HostState& state = workstation::hostState();
    const std::lock_guard guard(state.mutex);
    const auto found = state.openFiles.find(handle);
    if (found == state.openFiles.end()) return static_cast<int>(ERROR_INVALID_HANDLE);
    file = found->second;
    state.openFiles.erase(found);
  }
  return CloseHandle(file) != FALSE ? 0 : lastErrorOr(ERROR_INVALID_HANDLE);
}

int lfilrmC(const std::wstring& path) {
  return DeleteFileW(path.c_str()) != FALSE ? 0 : lastErrorOr(ERROR_ACCESS_DENIED);
}

// An existing target is replaced: the project services move a list aside and back under its name.
int lfilmvC(const std::wstring& from, const std::wstring& to) {
  const BOOL moved = MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING);
  return moved != FALSE ? 0 : lastErrorOr(ERROR_ACCESS_DENIED);
}

void lfslash_cat(std::wstring& path) {
  if (path.empty() || !isSeparator(path.back())) path += L'\\';
}

bool lfSplitPath(const std::wstring& path, std::wstring& directory, std::wstring& name) {
  const std::size_t separator = path.find_last_of(L"\\/");
  const std::size_t begin = separator == std::wstring::npos ? 0 : separator + 1;
  if (begin == path.size()) return false;
  // An output may be the input: the head is taken before the name is set.
  std::wstring head = path.substr(0, begin);
  name = path.substr(begin);
  directory = std::move(head);
  return true;
}

bool moveFileToWindowsRecycleBin(const std::wstring& path) {
  if (isRoot(path)) return false;
  return platform::moveToTrash(withoutTrailingSeparators(path)) == 0;
}

std::int64_t CDirectoryUtility::GetFileSize(const std::wstring& path) {
  const platform::FileStatus status = platform::fileStatus(path);
  return status.exists && !status.isDirectory ? static_cast<std::int64_t>(status.size) : -1;
}

std::wstring CDirectoryUtility::GetFileNameFromPath(const std::wstring& path) {
  return platform::fileNameOf(path);
}
